// An order against its table.
//
// The tree is walked from the root, page by page. All that is to be known of a page is looked at under one
// internal lock, under which neither the page, nor those above it, nor the records can change: its keys
// ascend, they lie between the two keys of the pages above that lead to it, and each is the key of its record.
// Some pages are looked at under one lock; when it is taken again the pages above are compared with what they
// were, and if somebody changed them the walk goes down anew to where it was. So what is found is true
// whatever others do. Since the subtrees of a page have no key in common, no page can be met twice without a
// fault, and the walk comes to its end.
//
// Only what needs all pages at one time (how many keys and free pages there are) is believed just when
// nobody changed the order during the walk. A record whose key the walk did not meet is sought.
#include <cstring>
#include <memory>
#include <optional>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "db/dbfidx/check/parts.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/progress.h"

namespace tarnel {
namespace {

constexpr int kPagesAtOnce = 16;
constexpr std::int32_t kRecordsAtOnce = 256;

std::string page_place(std::uint32_t sector) {
  return "page " + std::to_string(sector);
}

// What the beginning of an order says.
struct OrderFile {
  idx::Header header;
  idx::Extension extension;

  // Can keys be compared, by the collation in force?
  bool comparable() const {
    std::uint8_t table[256];
    current_collation(table);
    return header.type != 'C' ||
           std::equal(std::begin(table), std::end(table), std::begin(extension.collation));
  }
};

// An order that the engine opened for its keys.
class OpenedOrder {
 public:
  OpenedOrder(DbfIdx& dbf, const std::string& path) : dbf_(dbf) {
    const ShortLock lock(&dbf);
    if (lock.held() && refresh_header(dbf)) index_ = open_index(dbf, {.file = path, .tag = {}});
  }
  ~OpenedOrder() noexcept(false) {
    if (index_ != nullptr) close_index(dbf_, index_);
  }
  OpenedOrder(const OpenedOrder&) = delete;
  OpenedOrder& operator=(const OpenedOrder&) = delete;
  IndexControl* get() const { return index_; }

 private:
  DbfIdx& dbf_;
  IndexControl* index_ = nullptr;
};

class OrderCheck {
 public:
  OrderCheck(CheckedTable& table, int fd, const OrderFile& file, IndexControl* index)
      : findings_(table.findings),
        dbf_(*table.dbf),
        fd_(fd),
        mapped_(fd),
        header_(file.header),
        index_(index),
        comparable_(file.comparable()),
        plain_(!file.header.unique() && file.extension.condition.empty()),
        records_(static_cast<std::uint64_t>(dbf_.lastRec)),
        pages_(header_.nextSector) {}

  void run() {
    walk();
    if (whole_) compare_counts();
    if (whole_ && index_ != nullptr && !header_.unique()) seek_lacking();
  }

 private:
  struct Level {
    std::uint32_t sector, next;  // child to go down into
    // Entries of pages above between which the keys must lie; null: no bound.
    const std::uint8_t *low, *high;
    std::uint8_t page[idx::kSectorSize];
  };

  const std::uint8_t* entry(const Level& level, std::uint32_t i) const {
    return idx::entry(level.page, header_.stride(), i);
  }
  bool read_page(std::uint32_t sector, std::uint8_t* page) {
    const std::int64_t at = std::int64_t{sector} * static_cast<std::int64_t>(idx::kSectorSize);
    return mapped_.read(page, idx::kSectorSize, at) || read_at(fd_, page, idx::kSectorSize, at);
  }

  void fault(Fault fault, std::uint32_t sector, std::string_view detail = {}) {
    findings_.add(fault, page_place(sector), detail);
  }
  // What hangs below stays unseen.
  void cut(Fault what, std::uint32_t sector, std::string_view detail = {}) {
    fault(what, sector, detail);
    whole_ = false;
  }

  // --- Under one lock.

  // Reads what may have changed since the last lock. False when the table can't be read any more.
  bool begin_piece() {
    std::uint8_t counts[idx::kCountsSize];
    if (!refresh_header(dbf_) || !read_at(fd_, counts, sizeof counts, idx::kCountsAt)) return false;
    idx::get_counts(counts, header_);
    const std::array<std::uint32_t, 5> now = {header_.keyCount, header_.root, header_.freeList,
                                              header_.nextSector, dbf_.header.counter()};
    quiet_ = quiet_ && (!known_ || *known_ == now);
    known_ = now;
    pages_.grow(header_.nextSector);
    return true;
  }

  // Are the pages above what they were? Their links to parents don't count.
  bool is_path_valid() {
    std::uint8_t page[idx::kSectorSize];
    if (path_.front()->sector != header_.root) return false;
    for (const auto& level : path_) {
      const std::size_t n = (idx::key_count(level->page) + 1) * header_.stride();
      if (!read_page(level->sector, page) || idx::key_count(page) != idx::key_count(level->page) ||
          std::memcmp(page + idx::kPageHead, level->page + idx::kPageHead, n) != 0)
        return false;
    }
    return true;
  }

  bool in_order(const std::uint8_t* first, const std::uint8_t* second) const {
    return !comparable_ || first == nullptr || second == nullptr ||
           entries_ascend(first, second, header_);
  }

  // Is the page sound enough to go down into its subtrees?
  bool check_keys(const Level& level) {
    const std::uint32_t count = idx::key_count(level.page);
    bool ordered = true;
    const std::uint8_t* former = level.low;
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint8_t* e = entry(level, i);
      if (!in_order(former, e) || (i + 1 == count && !in_order(e, level.high))) {
        cut(Fault::kKeyMisplaced, level.sector, key_place(i, e));
        ordered = false;
      } else if (header_.unique() && former != nullptr && same_keys(former, e, header_)) {
        fault(Fault::kKeyTwice, level.sector, key_place(i, e));
      }
      former = e;
      check_record(level.sector, i, e);
    }
    return ordered;
  }

  static std::string key_place(std::uint32_t i, const std::uint8_t* e) {
    return "key " + std::to_string(i + 1) + ", record " + std::to_string(idx::record(e));
  }

  void check_record(std::uint32_t sector, std::uint32_t i, const std::uint8_t* e) {
    ++keys_;
    const std::uint32_t n = idx::record(e);
    if (n == 0 || n > static_cast<std::uint32_t>(dbf_.lastRec))
      return fault(Fault::kKeyOfNone, sector, key_place(i, e));
    records_.mark(n);
    if (index_ == nullptr) return;
    if (!stand_on(static_cast<std::int32_t>(n))) return;
    if (!is_key(idx::key_of(e)))
      fault(Fault::kKeyWrong, sector, key_place(i, e));
    else if (judge(dbf_, index_->forBlock) == Verdict::kNo)
      fault(Fault::kKeyUnwanted, sector, key_place(i, e));
  }

  // Brings the key of a record into key_. False when it can't be told, once for all.
  bool stand_on(std::int32_t n) {
    dbf_.recNo = n;
    dbf_.bofFlag = dbf_.eofFlag = 0;
    if (record_key(dbf_, *index_, key_)) return true;
    findings_.note("the key of record " + std::to_string(n) +
                   " can't be computed here, keys are not compared with records");
    index_ = nullptr;
    return false;
  }
  bool is_key(const std::uint8_t* stored) const {
    if (key_.type != 'C')
      return KeyComparer(key_, header_, TextRule::kWhole, NumberRule::kExact)(stored) == 0;
    const std::size_t n = std::min<std::size_t>(bytes_to_store(key_, header_), header_.size);
    return std::memcmp(key_.bytes, stored, n) == 0;
  }

  // --- The walk.

  // Goes down into a page, unless it can't be one of the tree.
  bool enter(std::uint32_t sector) {
    if (sector < idx::kFirstPage || sector >= header_.nextSector)
      return cut(Fault::kPageOutside, sector), false;
    // Others may have put a page that went free to another place; then its keys tell.
    if (pages_.mark(sector) && (quiet_ || !comparable_))
      return cut(Fault::kPageTwice, sector), false;
    if (++entered_ > 4 * std::uint64_t{header_.nextSector} + kMostAnew)
      return give_up("it changes faster than it can be followed"), false;
    auto level = std::make_unique<Level>();
    level->sector = sector;
    level->low = level->high = nullptr;
    if (!path_.empty()) set_bounds(*level, *path_.back());
    if (!read_page(sector, level->page)) return cut(Fault::kUnreadable, sector), false;
    const std::uint32_t count = idx::key_count(level->page);
    if (count > header_.maxKeys)
      return cut(Fault::kPageCrowded, sector, std::to_string(count)), false;
    if (count == 0 && !path_.empty()) fault(Fault::kPageEmpty, sector);
    if (!check_keys(*level)) return false;
    level->next = first_behind_done(*level);
    path_.push_back(std::move(level));
    return true;
  }

  // Those of the child of a page that was just gone down into.
  void set_bounds(Level& level, const Level& above) const {
    const std::uint32_t child = above.next - 1;
    level.low = child > 0 ? entry(above, child - 1) : above.low;
    level.high = child < idx::key_count(above.page) ? entry(above, child) : above.high;
  }

  // The first child that may have keys behind those that were done with: in a page that is new to the walk
  // the first of all.
  std::uint32_t first_behind_done(const Level& level) const {
    std::uint32_t i = 0;
    while (done_ && comparable_ && i < idx::key_count(level.page) &&
           !entries_ascend(done_->data(), entry(level, i), header_))
      ++i;
    return i;
  }

  // Somebody changed the tree above: from the root to where the walk was.
  void go_down_anew() {
    path_.clear();
    quiet_ = false;
    if (!comparable_) return give_up("its pages change while they are looked at");
    ended_ = header_.root == 0 || !enter(header_.root);
  }

  void give_up(std::string_view why) {
    findings_.note(std::string("not looked at any further: ").append(why));
    whole_ = false;
    path_.clear();
    ended_ = true;
  }

  // One step: down into the next child, or up.
  void step() {
    Level& at = *path_.back();
    const std::uint32_t count = idx::key_count(at.page);
    while (at.next <= count && idx::child(entry(at, at.next)) == 0) ++at.next;
    if (at.next <= count) {
      const std::uint32_t child = idx::child(entry(at, at.next++));
      if (enter(child) || ended_) return;
    } else {
      path_.pop_back();
      if (path_.empty()) {
        ended_ = true;
        return;
      }
    }
    note_done();
  }
  // All keys before the next child of the page are done with.
  void note_done() {
    const Level& at = *path_.back();
    if (at.next == 0 || at.next > idx::key_count(at.page)) return;
    const std::uint8_t* e = entry(at, at.next - 1);
    done_.emplace();
    std::memcpy(done_->data(), e, header_.stride());
  }

  void walk() {
    Progress progress("check", dbf_.lastRec);
    while (!ended_) {
      look_at_signals();
      progress.to(static_cast<std::int64_t>(keys_));
      const ShortLock lock(&dbf_);
      if (!lock.held() || !begin_piece()) return give_up("the table can't be read");
      if (!begun_) {
        begun_ = true;
        ended_ = header_.root == 0 || !enter(header_.root);
      } else if (!is_path_valid()) {
        go_down_anew();
      }
      const std::uint64_t last = entered_ + kPagesAtOnce;
      while (!ended_ && entered_ < last) step();
    }
  }

  // --- What needs all pages.

  void compare_counts() {
    const ShortLock lock(&dbf_);
    if (!lock.held() || !begin_piece()) return;
    if (plain_ && header_.keyCount != static_cast<std::uint32_t>(dbf_.lastRec))
      findings_.add(Fault::kKeyCount, "header",
                    std::to_string(header_.keyCount) + ", the table has " +
                        std::to_string(dbf_.lastRec) + " records");
    if (!quiet_) return;
    if (header_.keyCount != keys_)
      findings_.add(Fault::kKeyCount, "header",
                    std::to_string(header_.keyCount) + ", the pages have " + std::to_string(keys_));
    std::uint8_t page[idx::kSectorSize];
    for (std::uint32_t s = header_.freeList; s != 0; s = idx::next_free(page)) {
      if (s < idx::kFirstPage || s >= header_.nextSector || !read_page(s, page))
        return fault(Fault::kPageOutside, s, "free");
      if (pages_.mark(s)) return fault(Fault::kPageTwice, s, "free");
    }
    for (std::uint32_t s = idx::kFirstPage; s < header_.nextSector; ++s)
      if (!pages_.has(s)) fault(Fault::kPageLost, s);
  }

  void seek_lacking() {
    for (std::int32_t n = 1; n <= dbf_.lastRec && index_ != nullptr && whole_;) {
      if (records_.has(static_cast<std::uint64_t>(n))) {
        ++n;
        continue;
      }
      look_at_signals();
      const ShortLock lock(&dbf_);
      if (!lock.held() || !begin_piece()) return;
      begin_locked(dbf_, *index_);
      index_->tree.refresh();
      for (const std::int32_t end = n + kRecordsAtOnce; n < end && n <= dbf_.lastRec; ++n)
        if (!records_.has(static_cast<std::uint64_t>(n)) && !seek(n)) break;
    }
  }
  // False when no more can be sought.
  bool seek(std::int32_t n) {
    if (!stand_on(n)) return false;
    if (judge(dbf_, index_->forBlock) != Verdict::kHolds) return true;
    const KeyComparer compare(key_, header_, TextRule::kWhole, NumberRule::kExact);
    const bool found = index_->tree.seek_exact(compare, static_cast<std::uint32_t>(n));
    if (index_->tree.failed_sector() >= 0) return whole_ = false;
    if (!found) findings_.add(Fault::kKeyLacking, "record " + std::to_string(n));
    return true;
  }

  static constexpr std::uint64_t kMostAnew = 1'000'000;  // pages entered again in a busy order

  Findings& findings_;
  DbfIdx& dbf_;
  const int fd_;
  MappedFile mapped_;
  idx::Header header_;
  IndexControl* index_;    // null: keys can't be computed
  const bool comparable_;  // by the collation in force
  const bool plain_;       // every record has a key

  std::vector<std::unique_ptr<Level>> path_;
  std::optional<std::array<std::uint8_t, idx::kSectorSize>> done_;  // the last entry done with
  Marks records_, pages_;
  Key key_;
  std::optional<std::array<std::uint32_t, 5>> known_;
  bool quiet_ = true;  // nobody changed the order so far
  bool whole_ = true;  // every page was seen
  bool begun_ = false, ended_ = false;
  std::uint64_t entered_ = 0, keys_ = 0;
};

// Header and extension. False when there is nothing to go by.
bool check_beginning(CheckedTable& table, int fd, OrderFile& file) {
  Findings& findings = table.findings;
  struct stat status {};
  const ShortLock lock(table.dbf);
  if (!lock.held() || file_ops().fstat(fd, &status) != 0 || !idx::read_header(fd, file.header) ||
      !idx::read_extension(fd, file.extension)) {
    findings.add(Fault::kUnreadable, "header");
    return false;
  }
  if (file.header.version == idx::kOldVersion) {
    findings.note("of the former version, not looked at");
    return false;
  }
  const char* wrong =
      file.header.version != idx::kVersion ? "version" : idx::contradiction(file.header);
  if (wrong != nullptr) {
    findings.add(Fault::kOrderHeader, "header", wrong);
    return false;
  }
  const std::int64_t pages = status.st_size / static_cast<std::int64_t>(idx::kSectorSize);
  if (file.header.nextSector >= idx::kFirstPage && file.header.nextSector <= pages) return true;
  // An order without keys has no pages yet.
  if (file.header.nextSector == idx::kFirstPage) return true;
  findings.add(Fault::kOrderShort, "header",
               std::to_string(file.header.nextSector) + " and " + std::to_string(pages));
  return false;
}

// The counter of the order beside that of the table, once nobody has the order for himself.
void check_agreement(CheckedTable& table, int fd) {
  const ShortLock lock(table.dbf);
  std::uint8_t bytes[idx::kCounterSize];
  if (!lock.held() || !refresh_header(*table.dbf) ||
      !read_at(fd, bytes, sizeof bytes, idx::kExtensionAt))
    return;
  const int order = idx::get_counter(bytes), counter = table.dbf->header.counter();
  if (order == 0)
    table.findings.note("nobody knows whether it agrees with the table");
  else if (order != counter)
    table.findings.add(Fault::kOrderDiffers, "header",
                       "change " + std::to_string(order) + " of " + std::to_string(counter));
}

}  // namespace

bool check_order(CheckedTable& table, const std::string& path) {
  table.findings.begin_file(path);
  const File file(path.c_str(), O_RDONLY);
  if (!file.opened()) {
    table.findings.add(Fault::kUnreadable, "", std::strerror(errno));
    return false;
  }
  OrderFile beginning;
  if (!check_beginning(table, file.fd(), beginning)) return true;
  const OpenedOrder opened(*table.dbf, path);
  if (opened.get() == nullptr && claimShared(file.fd(), kIdxTop) != 0) {
    table.findings.note("somebody has it for himself, not looked at");
    return false;
  }
  if (opened.get() == nullptr)
    table.findings.note("its key can't be computed here, keys are not compared with records");
  if (!beginning.comparable())
    table.findings.note("made with another collation, the order of its keys is not looked at");
  check_agreement(table, file.fd());
  OrderCheck(table, file.fd(), beginning, opened.get()).run();
  return true;
}

}  // namespace tarnel
