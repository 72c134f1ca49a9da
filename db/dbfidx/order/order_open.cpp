// Opening and closing of one order.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

constexpr std::size_t kTagSize = 15;
constexpr mode_t kMandatoryLock = S_ISGID;

// Areas of one process do not conflict by locks; an order of exclusive use must be alone all the
// same.
bool used_here(const struct stat& file, bool exclusive) {
  for (DbfIdx* dbf = open_tables(); dbf != nullptr; dbf = dbf->nextOpen)
    for (const IndexControl* other : dbf->orders) {
      struct stat status {};
      if (other == nullptr || (!exclusive && !other->exclusive())) continue;
      if (file_ops().fstat(other->fd, &status) == 0 && status.st_ino == file.st_ino &&
          status.st_dev == file.st_dev)
        return true;
    }
  return false;
}

// One order being opened; what it took goes back unless it is handed over.
class Opening {
 public:
  Opening(DbfIdx& dbf, const OrderRequest& request)
      : dbf_(dbf), same_(dbf), request_(request), index_(std::make_unique<IndexControl>()) {}
  ~Opening() {
    if (index_ == nullptr) return;
    UNHOLD_VAR(&index_->keyBlock);
    UNHOLD_VAR(&index_->forBlock);
    if (index_->fd >= 0) dxClose(index_->fd);
  }
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;

  IndexControl* run() {
    if (!open_file() || !claim() || !read()) return nullptr;
    if (!compile() || !evaluate() || !renew()) return nullptr;
    compare_origin();
    if (!same_.holds()) return nullptr;
    index_->generation = dbf_.generation;
    index_->lockStamp = dbf_.locks.stamp - 1;
    begin_agreement(dbf_, *index_, extension_.counter);
    return index_.release();
  }

 private:
  bool fail(TableError error, std::initializer_list<Fact> facts) {
    dxerror(dbf_, error, facts);
    return false;
  }

  bool open_file() {
    std::string name;
    index_->readOnly = dbf_.readOnly() && request_.key == nullptr;  // a new one is to be filled
    index_->fd = defaultExtension(name, request_.file, dbf_.idxExt, kPathLimit + 1)
                     ? dxOpen(name, &index_->fileName, index_->readOnly ? 0 : 2)
                     : -1;
    if (index_->fd < 0 || index_->fileName.size() > kPathLimit) {
      set_dos_error(errno);
      return fail(TableError::kIndexOpenFailed, {request_.file});
    }
    return true;
  }

  bool claim() {
    struct stat status {};
    const bool exclusive = dbf_.exclusive() || request_.exclusive;
    const int fd = index_->fd;
    if (file_ops().fstat(fd, &status) != 0 || used_here(status, exclusive)) return false;
    if ((status.st_mode & kMandatoryLock) != 0) dxerror(dbf_, TableError::kIndexMandatoryLock);
    exclusive_ = exclusive;
    return (exclusive ? claimExclusive(fd, kIdxTop) : claimShared(fd, kIdxTop)) == 0;
  }

  bool read() {
    const std::string& file = index_->fileName;
    idx::Header header;
    if (!idx::read_header(index_->fd, header))
      return fail(TableError::kIndexHeaderUnreadable, {file});
    if (header.version < idx::kOldVersion) return fail(TableError::kIndexTooOld, {file});
    if (header.version > idx::kVersion) return fail(TableError::kIndexTooNew, {file});
    old_version_ = header.version == idx::kOldVersion;
    if (old_version_ && dbf_.readOnly()) return fail(TableError::kIndexNoUpdate, {file});
    if (!old_version_ && !idx::read_extension(index_->fd, extension_))
      return fail(TableError::kIndexHeaderUnreadable, {file});
    if (old_version_) header.type = 'C';  // until the key's value tells
    index_->tree.attach(index_->fd, std::move(header), exclusive_);
    index_->tagName =
        std::string(request_.tag.empty() ? base_name(file) : request_.tag).substr(0, kTagSize);
    return true;
  }

  bool compile() {
    const auto make = [](Var** slot, std::string_view text) {
      const std::int32_t mark = temp_top();
      Var* block = ogmakecb(text);
      if (is_block(block)) HOLD_VAR(slot, block);
      POP_TEMPS(mark);
      return *slot != nullptr;
    };
    if (!extension_.condition.empty() && !make(&index_->forBlock, extension_.condition))
      return false;
    return make(&index_->keyBlock, index_->header().expression);
  }

  // A key that is a field and nothing else is taken from the field's cell.
  std::int32_t bare_field(const Var* value) const {
    const std::string& text = index_->header().expression;
    const bool name = text.find_first_not_of(
                          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                          "0123456789_-> ") == std::string::npos &&
                      std::isdigit(static_cast<unsigned char>(text.front())) == 0;
    if (!name || dbf_.area == nullptr || value->sclass != 'f') return -1;
    const bool ours = value->owner == &dbf_.area->owner && value->name >= 0 &&
                      static_cast<std::size_t>(value->name) < dbf_.fieldCells.size() &&
                      dbf_.fieldCells[static_cast<std::size_t>(value->name)] == value;
    return ours ? value->name : -1;
  }

  bool evaluate() {
    const std::int32_t mark = temp_top();
    const Var* value = run_in_area(dbf_, index_->keyBlock);
    if (!same_.holds()) return false;
    index_->field = bare_field(value);
    const char type = request_.key != nullptr ? request_.key->type : value->type;
    POP_TEMPS(mark);
    idx::Header& header = index_->tree.header();
    if (old_version_) header.type = type == 'M' ? 'C' : type;
    if (const char* wrong = idx::contradiction(header); wrong != nullptr)
      return fail(TableError::kIndexDamaged, {index_->fileName, wrong});
    // The layout may have changed with the type.
    index_->tree.attach(index_->fd, header, exclusive_);
    index_->tree.refresh();
    if (index_->tree.failed_sector() >= 0)
      return fail(TableError::kIndexDamaged, {index_->fileName, "more sectors than the file has"});
    return true;
  }

  // A file of the former version becomes one of this version.
  bool renew() {
    if (!old_version_) return true;
    idx::Header& header = index_->tree.header();
    header.version = idx::kVersion;
    extension_.table = base_name(dbf_.fileName);
    current_collation(extension_.collation);
    return (idx::write_header(index_->fd, header) &&
            idx::write_extension(index_->fd, extension_)) ||
           fail(TableError::kIndexUnwritable, {index_->fileName});
  }

  void compare_origin() {
    if (old_version_) return;
    std::uint8_t table[256];
    current_collation(table);
    if (index_->header().type == 'C' &&
        !std::equal(std::begin(table), std::end(table), std::begin(extension_.collation))) {
      index_->tree.keys_are_foreign();
      dxerror(dbf_, TableError::kSortTable);
    }
    if (!names_table(extension_.table, base_name(dbf_.fileName)))
      dxerror(dbf_, TableError::kIndexOfOtherTable, {extension_.table});
  }

  DbfIdx& dbf_;
  const SameTable same_;
  const OrderRequest& request_;
  std::unique_ptr<IndexControl> index_;
  idx::Extension extension_;
  bool exclusive_ = false, old_version_ = false;
};

// Frees what was closed, unless code of the language runs: what runs it may still look at that.
void bury(IndexControl* index) {
  static std::vector<std::unique_ptr<IndexControl>> graves;
  graves.emplace_back(index);
  if (!CallOut::under_way()) graves.clear();
}

// The end of an order that no list names any more, also where the handler of an error leaves by break.
class Closing {
 public:
  explicit Closing(IndexControl* index) : index_(index) {}
  ~Closing() {
    index_->closed = true;
    index_->tree.close();
    UNHOLD_VAR(&index_->keyBlock);
    UNHOLD_VAR(&index_->forBlock);
    dxClose(std::exchange(index_->fd, -1));
    bury(index_);
  }
  Closing(const Closing&) = delete;
  Closing& operator=(const Closing&) = delete;

 private:
  IndexControl* const index_;
};

}  // namespace

bool names_table(std::string_view stored, std::string_view table) {
  const auto cut = [](std::string_view name) { return name.substr(0, idx::kTableNameField); };
  return same_letters(stored, cut(table)) ||
         same_letters(stored, cut(table.substr(0, table.rfind('.'))));
}

void current_collation(std::uint8_t (&table)[256]) {
  if (const unsigned char* weights = collation(); weights != nullptr)
    std::copy(weights, weights + 256, table);
  else
    std::fill(std::begin(table), std::end(table), std::uint8_t{0});
}

IndexControl* open_index(DbfIdx& dbf, const OrderRequest& request) {
  return Opening(dbf, request).run();
}

void close_index(DbfIdx& dbf, IndexControl* index) {
  const Closing closing(index);
  leave_index(dbf, *index);
}

void close_orders(DbfIdx& dbf) {
  const SameTable same(dbf);
  index_synchronize(dbf, kSyncClose);
  if (!same.holds()) return;
  dbf.orderCount = dbf.currentOrder = 0;
  dbf.orders.keysPending = false;
  // A failure may have hidden some of them from the count.
  for (IndexControl*& index : dbf.orders)
    if (index != nullptr && same.holds()) close_index(dbf, std::exchange(index, nullptr));
}

bool zap_index(DbfIdx& dbf, IndexControl& index) {
  idx::Extension extension;
  const bool kept = idx::read_extension(index.fd, extension);
  extension.counter = difference_mark(dbf.header.counter());
  extension.table = base_name(dbf.fileName);
  current_collation(extension.collation);
  set_different(index);
  if (kept && index.exclusive() && !index.readOnly) {
    index.tree.clear();
    index.state.stored = -1;
    // The pages last: whoever dies on the way leaves an order that knows its key.
    if (idx::write_header(index.fd, index.header()) && idx::write_extension(index.fd, extension) &&
        set_size(index.fd, idx::kFirstPage * idx::kSectorSize))
      return true;
  }
  dxerror(dbf, TableError::kZapReopen, {dbf.aliasName, index.fileName});
  return false;
}

}  // namespace tarnel
