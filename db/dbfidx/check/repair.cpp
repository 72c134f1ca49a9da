#include "db/dbfidx/check/repair.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/switched.h"
#include "core/text.h"
#include "db/dbfidx/bulk/leftovers.h"
#include "db/dbfidx/bulk/pair_recovery.h"
#include "db/dbfidx/bulk/table_writer.h"
#include "db/dbfidx/check/opened_table.h"
#include "db/dbfidx/check/order_plan.h"
#include "db/dbfidx/check/parts.h"
#include "db/dbfidx/order/index_control.h"
#include "db/progress.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr std::size_t kPiece = 256 * 1024;

// Header and fields as they are to be; empty when the fields can't be told.
struct Layout {
  std::vector<std::uint8_t> header;
  std::vector<dbf::Field> fields;
  std::int64_t first = 0;  // the place of record 1 in the damaged file
  std::uint16_t record_size() const { return dbf::record_size(header.data()); }
};

// The fields up to the end mark, when header or record size are not to be believed.
std::optional<Layout> layout_by_mark(const std::vector<std::uint8_t>& start) {
  for (std::size_t at = dbf::kHeaderPrefix; at < start.size(); at += dbf::kDescriptorSize) {
    if (start[at] != dbf::kEndMark) continue;
    Layout layout;
    layout.header.assign(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(at) + 1);
    layout.first = static_cast<std::int64_t>(at) + 1;
    dbf::set_sizes(layout.header.data(), static_cast<std::uint16_t>(at + 1), dbf::kMaxRecordSize);
    static_cast<void>(dbf::read_fields(layout.header, layout.fields));  // they need not fill it
    if (layout.fields.size() * dbf::kDescriptorSize + dbf::kHeaderPrefix != at) return {};
    return layout;
  }
  return {};
}

std::optional<Layout> layout_by_sizes(const std::vector<std::uint8_t>& start) {
  const std::size_t size = dbf::header_size(start.data());
  if (size <= dbf::kHeaderPrefix || size > start.size()) return {};
  Layout layout;
  layout.header.assign(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(size));
  layout.first = static_cast<std::int64_t>(size);
  if (!dbf::read_fields(layout.header, layout.fields)) return {};
  return layout;
}

// A header as the engine writes it, with what the damaged one reserves for others.
std::optional<Layout> find_layout(const std::vector<std::uint8_t>& start) {
  std::optional<Layout> found = layout_by_sizes(start);
  if (!found) found = layout_by_mark(start);
  if (!found || found->fields.empty() ||
      !std::all_of(found->fields.begin(), found->fields.end(), is_good_field))
    return {};
  found->header = dbf::new_header(found->fields, today());
  dbf::keep_reserved(found->header.data(), start.data());
  dbf::set_change_counter(found->header.data(), dbf::change_counter(start.data()));
  return found;
}

}  // namespace

class TableRepair::Work {
 public:
  Work(std::string_view file, TellLine tell) : findings_(tell), tell_(std::move(tell)) {
    std::string sought;
    const std::string path = find_table(file, sought);
    if (path.empty()) system_error = errno;
    name = base_name(path.empty() ? sought : path);
    if (!path.empty()) path_ = behind_links(path);
    HOLD_VAR(&object_, dbfidx_class().make());
  }
  ~Work() { UNHOLD_VAR(&object_); }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;

  bool plan() {
    if (path_.empty()) return false;
    if (!take() || !read_layout()) return false;
    if (wants_memos() && !memo_file_->opened())
      say(std::string(base_name(memo_beside(path_))) + ": a new file, every memo becomes empty");
    findings_.begin_file(path_);
    std::vector<std::string> unread;
    for (const std::string& order : orders_beside(path_, &unread)) plan_order(order);
    for (const std::string& file : unread)
      findings_.note(file + " can't be read, it may be an order of it");
    for (Leftover& left : leftovers_in(path_.substr(0, path_.rfind('/') + 1))) {
      if (!left.removable) continue;
      say(left.words + ": goes");
      leftovers_.push_back(std::move(left));
    }
    return pass(nullptr) || refuse_errno();
  }

  bool run() {
    TableWriter writer(path_, wants_memos() ? memo_beside(path_) : std::string());
    TableHeader next;
    next.adopt(layout_.header);
    next.add_change();  // an order that isn't beside it sees that it differs
    next.apply_changes();
    quiet_ = true;
    if (!writer.create(layout_.header, 0600) || !pass(&writer)) return refuse_errno();
    next.stamp(writer.count(), today());
    if (!writer.complete(next.data(), true) || !claim(writer.records().fd()) ||
        !writer.take_place())
      return refuse_errno();
    file_.reset();
    memo_file_.reset();
    build_orders(path_, orders_, tell_);
    for (const Leftover& left : leftovers_) file_ops().unlink(left.path.c_str());
    return true;
  }

  std::string name, fault;
  int system_error = 0;

 private:
  bool refuse(std::string_view why) {
    fault = why;
    return false;
  }
  bool refuse_errno() {
    system_error = errno != 0 ? errno : EIO;
    return false;
  }
  void say(const std::string& line) {
    if (!quiet_) tell_(line);
  }

  // The exclusive claim of the scheme in force, as an open takes it.
  bool claim(int fd) {
    DbfIdx& dbf = dbf_of(object_);
    const Switched<int> file(dbf.dbfFd, fd);
    const Switched<bool> scheme(dbf.lock40, settings().lock40comp);
    return claim_table(dbf, true);
  }

  // Opens the files, for nobody else. What was broken off between two renames is finished first.
  bool take() {
    memo_file_.reset();
    file_.emplace(path_.c_str(), O_RDWR);
    if (!file_->opened() || file_ops().fstat(file_->fd(), &status_) != 0) return refuse_errno();
    if (is_open_table(status_)) return refuse("open here, close it first");
    if (!claim(file_->fd())) return refuse("others have it open");
    std::uint8_t prefix[dbf::kHeaderPrefix];
    memo_file_.emplace(memo_beside(path_).c_str(), O_RDWR);
    if (!memo_file_->opened() && errno != ENOENT) return refuse_errno();
    if (!memo_file_->opened() || !read_at(file_->fd(), prefix, sizeof prefix, 0)) return true;
    const PairFiles pair{path_, prefix, status_.st_ino, memo_file_->fd()};
    bool marked = false;
    switch (look_at_pair(pair, marked)) {
      case Pair::kWhole:
        return true;
      case Pair::kUnfinished:
        if (!finish_pair(pair)) return refuse_errno();
        say(name + ": what was broken off between two renames is finished");
        return take();
      case Pair::kForeign:
        return refuse("its memo file belongs to another record file");
      case Pair::kUnreadable:
        break;
    }
    return refuse_errno();
  }

  bool read_layout() {
    std::vector<std::uint8_t> start(UINT16_MAX);
    const std::int64_t got = read_some_at(file_->fd(), start.data(), start.size(), 0);
    start.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    if (start.size() <= dbf::kHeaderPrefix || !dbf::is_table(dbf::version(start.data())))
      return refuse("it is no table of this kind");
    std::optional<Layout> layout = find_layout(start);
    if (!layout) return refuse("nobody can tell its fields any more");
    layout_ = std::move(*layout);
    const std::int64_t there = (status_.st_size - layout_.first) / layout_.record_size();
    records_ = static_cast<std::int32_t>(std::clamp<std::int64_t>(there, 0, kMaxRecords));
    const std::int64_t rest = status_.st_size - layout_.first - there * layout_.record_size();
    const std::uint32_t counted = dbf::record_count(start.data());
    if (counted != static_cast<std::uint32_t>(records_))
      say(name + ": " + std::to_string(records_) + " records, the header counts " +
          std::to_string(counted));
    if (rest > 1) say(name + ": " + std::to_string(rest) + " bytes behind the last record go");
    return true;
  }

  bool wants_memos() const { return dbf::has_memo(dbf::version(layout_.header.data())); }

  void plan_order(const std::string& path) {
    std::optional<OrderPlan> order = read_order_plan(path);
    if (!order)
      return say(std::string(base_name(path)) + ": its key can't be read, it stays as it is");
    say(std::string(base_name(path)) + ": built anew by " + order->header.expression +
        (order->condition.empty() ? "" : " for " + order->condition));
    orders_.push_back(std::move(*order));
  }

  // Goes through the records, to tell what becomes of them or to write them. False with errno set.
  bool pass(TableWriter* writer) {
    const std::size_t size = layout_.record_size();
    const auto most = static_cast<std::int32_t>(std::max<std::size_t>(kPiece / size, 1));
    std::vector<std::uint8_t> piece(static_cast<std::size_t>(most) * size);
    Progress progress("repair", records_);
    for (std::int32_t first = 1; first <= records_; first += most) {
      const std::int32_t n = std::min(most, records_ - first + 1);
      look_at_signals();
      progress.to(first);
      errno = EIO;
      if (!read_at(file_->fd(), piece.data(), static_cast<std::size_t>(n) * size,
                   layout_.first + std::int64_t{first - 1} * static_cast<std::int64_t>(size)))
        return false;
      for (std::int32_t i = 0; i < n; ++i)
        if (!mend(first + i, piece.data() + static_cast<std::size_t>(i) * size, writer))
          return false;
      if (writer != nullptr && !writer->add(piece.data(), n)) return false;
    }
    return true;
  }

  bool mend(std::int32_t n, std::uint8_t* record, TableWriter* writer) {
    if (*record != dbf::kLiveMark && *record != dbf::kDeletedMark) {
      say(name + ": record " + std::to_string(n) + ": its delete mark is cleared");
      *record = dbf::kLiveMark;
    }
    for (const dbf::Field& field : layout_.fields)
      if (field.type == 'M' && !move_memo(n, field, record + field.offset, writer)) return false;
    return true;
  }

  bool move_memo(std::int32_t n, const dbf::Field& field, std::uint8_t* at, TableWriter* writer) {
    const std::string_view text(reinterpret_cast<const char*>(at), field.length);
    if (trim_blanks(text).empty()) return true;
    const std::uint32_t block = dbf::memo_block(at, field.length);
    std::size_t length = 0, blocks = 0;
    int found = 0;
    if (block != 0 && is_memo_number(text) && memo_file_->opened())
      found = dbt::find_end(memo_file_->fd(), block, text_, length, blocks);
    if (found < 0) return false;  // it may be there all the same
    if (found == 0) {
      if (block != 0 || !is_memo_number(text))
        say(name + ": record " + std::to_string(n) + ", field " + field.name + ": memo lost");
      dbf::put_text(at, field.length, {});
      return true;
    }
    if (writer == nullptr) return true;
    const std::int64_t moved =
        writer->add_memo({reinterpret_cast<const char*>(text_.data()), length});
    if (moved >= 0) dbf::put_block(at, field.length, static_cast<std::uint32_t>(moved));
    return moved >= 0;
  }

  Findings findings_;
  TellLine tell_;
  std::string path_;
  Var* object_ = nullptr;  // held; never open
  std::optional<File> file_, memo_file_;
  struct stat status_ {};
  Layout layout_;
  std::int32_t records_ = 0;
  std::vector<OrderPlan> orders_;
  std::vector<Leftover> leftovers_;
  std::vector<std::uint8_t> text_;  // of a memo
  bool quiet_ = false;
};

TableRepair::TableRepair(std::string_view file, TellLine tell)
    : work_(std::make_unique<Work>(file, std::move(tell))) {}
TableRepair::~TableRepair() noexcept(false) = default;

bool TableRepair::plan() {
  const ErrorHold told_here;
  return work_->plan();
}
bool TableRepair::run() {
  const ErrorHold told_here;
  return work_->run();
}
const std::string& TableRepair::name() const {
  return work_->name;
}
const std::string& TableRepair::fault() const {
  return work_->fault;
}
int TableRepair::system_error() const {
  return work_->system_error;
}

}  // namespace tarnel
