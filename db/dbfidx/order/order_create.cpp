// New order files, and the methods that make, rebuild and drop orders.
#include <sys/stat.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/order_notice.h"
#include "lib/arguments.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

constexpr int kDefaultWidth = 10;  // of a numeric key whose value has none

struct NewOrder {
  std::string_view name;
  Var* key = nullptr;    // expression
  Var* block = nullptr;  // computes the keys of the build, null: the expression does
  bool unique = false, descending = false;
};

bool fail(DbfIdx& dbf, TableError error, std::initializer_list<Fact> facts = {}) {
  dxerror(dbf, error, facts);
  return false;
}

bool fail_file(DbfIdx& dbf, TableError error, const std::string& path) {
  set_dos_error(errno);
  return fail(dbf, error, {path});
}

// The header of a new order for keys like `value`; false after errors 313, 317.
bool make_header(DbfIdx& dbf, const NewOrder& order, const Var* value, idx::Header& header) {
  header.type = value->type == 'M' ? 'C' : value->type;
  header.flags = static_cast<std::uint8_t>((order.unique ? idx::kUniqueBit : 0) |
                                           (order.descending ? idx::kDescendingBit : 0));
  header.expression = text_of(order.key);
  const std::size_t length = header.type == 'C' ? text_of(value).size() : 0;
  if (header.type != 'C' && idx::stored_size(header.type, 0) == 0)
    return fail(dbf, TableError::kIndexKeyType);
  if (header.type == 'C' && (length == 0 || length > idx::kMaxTextKey))
    return fail(dbf, TableError::kIndexKeyLength);
  if (header.expression.size() >= idx::kExpressionField)
    return fail(dbf, TableError::kIndexExpressionLength);
  const bool numeric = is_number(value);
  if (numeric)
    header.width = static_cast<std::uint8_t>(value->length < 0 ? kDefaultWidth : value->length);
  header.size = numeric              ? value->decimals
                : header.type == 'C' ? static_cast<std::uint8_t>(length)
                                     : static_cast<std::uint8_t>(idx::stored_size(header.type, 0));
  idx::lay_out(header);
  return true;
}

// The file of a new order, empty: one that is there already is emptied, if nobody else uses it.
class NewIndexFile {
 public:
  NewIndexFile(DbfIdx& dbf, const std::string& path) : path_(path) {
    struct stat status {};
    if (file_ops().stat(path.c_str(), &status) == 0)
      take_over();
    else
      create(dbf);
  }
  // Unless it is kept, the file goes again.
  ~NewIndexFile() {
    if (fd_ < 0) return;
    if (!kept_) file_ops().unlink(path_.c_str());
    close_file(fd_);
  }
  NewIndexFile(const NewIndexFile&) = delete;
  NewIndexFile& operator=(const NewIndexFile&) = delete;

  int fd() const { return fd_; }  // -1 with errno set
  void keep() { kept_ = true; }

 private:
  void create(const DbfIdx& dbf) {
    struct stat table {};
    const mode_t mode = file_ops().fstat(dbf.dbfFd, &table) == 0 ? table.st_mode & 0777 : 0600;
    fd_ = open_file(path_.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
    if (fd_ >= 0) static_cast<void>(file_ops().fchmod(fd_, mode));
  }

  void take_over() {
    const int fd = dxOpen(path_, nullptr, 2);
    if (fd < 0) return;
    if (claimExclusive(fd, kIdxTop) == 0 && set_size(fd, 0)) {
      fd_ = fd;
      return;
    }
    dxClose(fd);
    errno = EBUSY;
  }

  const std::string path_;
  int fd_ = -1;
  bool kept_ = false;
};

bool is_open_here(const std::string& path) {
  for (const DbfIdx* dbf = open_tables(); dbf != nullptr; dbf = dbf->nextOpen)
    for (const IndexControl* index : dbf->orders)
      if (index != nullptr && index->fileName == path) return true;
  return false;
}

// Writes the file of an order without keys. `path` receives its full name.
bool create_file(DbfIdx& dbf, const NewOrder& order, const Var* value, std::string& path) {
  idx::Header header;
  if (!make_header(dbf, order, value, header)) return false;
  idx::Extension extension;
  if (dbf.newOrder.forText != nullptr) extension.condition = text_of(dbf.newOrder.forText);
  if (extension.condition.size() > idx::kMaxFor) return fail(dbf, TableError::kIndexForLength);
  extension.counter = difference_mark(dbf.header.counter());  // until its keys are there
  extension.table = base_name(dbf.fileName);
  current_collation(extension.collation);
  path = full_table_path(order.name, dbf.idxExt);
  errno = path.empty() ? ENAMETOOLONG : EBUSY;
  if (path.empty() || is_open_here(path))
    return fail_file(dbf, TableError::kIndexCreateFailed, std::string(order.name));
  NewIndexFile file(dbf, path);
  if (file.fd() < 0) return fail_file(dbf, TableError::kIndexCreateFailed, path);
  if (!idx::write_header(file.fd(), header) || !idx::write_extension(file.fd(), extension))
    return fail_file(dbf, TableError::kIndexCreateUnwritable, path);
  file.keep();
  return true;
}

// Leaves the condition and the evaluation of a build behind it, whatever became of it.
class ConditionScope {
 public:
  explicit ConditionScope(DbfIdx& dbf) : dbf_(dbf) {}
  ~ConditionScope() {
    clear_condition(dbf_);
    UNHOLD_VAR(&dbf_.newOrder.evalBlock);
    dbf_.newOrder.every = 1;
  }
  ConditionScope(const ConditionScope&) = delete;
  ConditionScope& operator=(const ConditionScope&) = delete;

 private:
  DbfIdx& dbf_;
};

// The automatic lock of the file while an order is made.
class FileLockScope {
 public:
  FileLockScope(DbfIdx& dbf, bool wanted) : dbf_(dbf), same_(dbf) {
    held_ = !wanted || dbf.exclusive() || dbf.is(kFileLocked) || (taken_ = auto_file_lock(dbf));
  }
  ~FileLockScope() noexcept(false) {  // the lock's procedures are code of the language
    if (taken_ && same_.holds()) release_auto_lock(dbf_);
  }
  FileLockScope(const FileLockScope&) = delete;
  FileLockScope& operator=(const FileLockScope&) = delete;

  bool held() const { return held_; }

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  bool held_ = false, taken_ = false;
};

// The order that supplies the records of the new one: file and place, empty when none is to.
struct Source {
  std::string file;
  std::int32_t recno = 0;
};

Source source_order(DbfIdx& dbf, bool keep) {
  if (!keep) return {};
  const IndexControl* current = current_index(dbf);
  if (dbf.orderCount == 0)
    dxerror(dbf, TableError::kKeepNoIndex);
  else if (dbf.newOrder.forBlock == nullptr)
    dxerror(dbf, TableError::kKeepNoFor);
  else if (current != nullptr)
    return {current->fileName, dbf.recNo};
  return {};
}

// Closes the orders and stands on the blank record, whose key shows what keys are like.
bool stand_on_blank(DbfIdx& dbf) {
  const SameTable same(dbf);
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !leave_record(dbf) || !updateHeader(dbf)) return false;
  close_orders(dbf);
  if (!same.holds() || !refresh_header(dbf)) return false;
  dbf.orders.state = kIndexGood;
  phantom(dbf);
  dbf.bofFlag = 1;
  runRelations(dbf);
  return true;
}

Var* evaluate_key(DbfIdx& dbf, const NewOrder& order) {
  Var* block = order.block != nullptr ? order.block : ogmakecb(text_of(order.key));
  return is_block(block) ? run_in_area(dbf, block) : error_value();
}

// Opens the order that supplies the records. Its absence is told, and the natural order does it.
bool open_source(DbfIdx& dbf, const Source& source) {
  if (source.file.empty()) return false;
  const SameOrders same(dbf);
  IndexControl* index = open_index(dbf, {.file = source.file, .tag = {}});
  if (index == nullptr) return false;
  if (!same.holds()) {
    close_index(dbf, index);
    return false;
  }
  dbf.orders[2] = index;
  dbf.orderCount = 2;
  goRecord(dbf, source.recno);
  return same.holds();
}

// Makes the file, opens it as the only order and fills it.
bool make_order(DbfIdx& dbf, const NewOrder& order, const Source& source) {
  const SameTable same(dbf);
  const InternalLock lock(dbf, LockMode::kShared);
  if (!lock.held() || !refresh_header(dbf)) return false;
  const Var* value = evaluate_key(dbf, order);
  std::string path;
  if (!same.holds() || !create_file(dbf, order, value, path)) return false;
  IndexControl* index = open_index(dbf, {.file = path, .tag = {}, .exclusive = true, .key = value});
  if (index == nullptr) return false;
  close_orders(dbf);  // what the evaluation of the key may have opened
  if (!same.holds()) {
    close_index(dbf, index);
    return false;
  }
  dbf.orders[1] = index;
  dbf.orderCount = dbf.currentOrder = 1;
  const bool along = open_source(dbf, source);
  if (index->closed || !build_index(dbf, *index, order.block, along)) return false;
  if (along && dbf.orderCount == 2) {
    dbf.orderCount = 1;
    close_index(dbf, std::exchange(dbf.orders[2], nullptr));
  }
  return !index->closed;
}

bool create_order(DbfIdx& dbf, const NewOrder& order, bool keep) {
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  const SameTable same(dbf);
  if (!leave_record(dbf)) return false;
  const Source source = source_order(dbf, keep);
  if (!same.holds() || !stand_on_blank(dbf) || !make_order(dbf, order, source)) return false;
  go_top(dbf);
  return same.holds() && dbf.orderCount > 0;
}

// Argument i as a name of an order; the empty text when it is none.
std::string_view name_argument(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "C") ? text_of(argv[i]) : std::string_view();
}

bool truth_argument(std::int32_t argc, Var** argv, std::int32_t i) {
  return arg_is(argc, argv, i, "L") && truth_of(argv[i]);
}

}  // namespace

bool rebuild_orders(DbfIdx& dbf) {
  const ConditionScope condition(dbf);
  dbf.orders.keysPending = false;  // the keys that waited come with all others
  dbf.orders.state = kIndexGood;
  const InterruptHold hold;
  const SameOrders same(dbf);
  const std::int32_t count = dbf.orderCount;
  for (std::int32_t n = 1; n <= count; ++n)
    if (!zap_index(dbf, *dbf.orders[n]) || !same.holds()) return false;
  for (std::int32_t n = 1; n <= count; ++n)
    if (!build_index(dbf, *dbf.orders[n], nullptr, false) || !same.holds()) return false;
  for (std::int32_t n = 1; n <= count && interrupt_cancels() && order_notice() != nullptr; ++n)
    order_notice()(dbf.orders[n]->fileName, dbf.fileName);
  return true;
}

Var* di_createorder(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  const ConditionScope condition(dbf);
  NewOrder order;
  order.name = name_argument(argc, argv, arg_is(argc, argv, 1, "C") ? 1 : 2);
  const bool named = arg_is(argc, argv, 1, "C") || arg_is(argc, argv, 2, "C");
  if (!named || !arg_is(argc, argv, 3, "C")) {
    dxerror(dbf, TableError::kCreateOrderName);
    return false_value();
  }
  order.key = argv[3];
  if (text_of(order.key).empty()) {
    dxerror(dbf, TableError::kIndexArguments);
    return false_value();
  }
  if (arg_is(argc, argv, 4, "Bb")) order.block = argv[4];
  order.unique = arg_is(argc, argv, 5, kNumeric) ? truth_of(argv[5]) : settings().unique;
  order.descending = (dbf.newOrder.flags & 2) != 0;
  const InterruptHold hold;
  const FileLockScope lock(dbf, !truth_argument(argc, argv, 6));
  if (!lock.held()) {
    dxerror(dbf, TableError::kCreateOrderLock);
    return false_value();
  }
  const bool made = create_order(dbf, order, truth_argument(argc, argv, 7));
  return logical(made && !interrupt_cancels());
}

// The one name stands for the order and for its file.
Var* di_createindex(std::int32_t argc, Var** argv) {
  std::vector<Var*> passed(argv, argv + argc);
  if (argc > 1) passed.insert(passed.begin() + 1, argv[1]);
  return di_createorder(static_cast<std::int32_t>(passed.size()), passed.data());
}

Var* di_reindex(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  if (!dbf.exclusive()) {
    dxerror(dbf, TableError::kReindexNotExclusive);
    return false_value();
  }
  if (dbf.orderCount == 0) {
    dxerror(dbf, TableError::kReindexNoOrder, {dbf.aliasName});
    return false_value();
  }
  const ConditionScope condition(dbf);
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  if (!leave_record(dbf)) return false_value();
  const SameTable same(dbf);
  if (!rebuild_orders(dbf) || dbf.lastRec == 0)
    return false_value();  // an empty table has nothing to order
  dbf.currentOrder = 1;
  go_top(dbf);
  return logical(same.holds() && !interrupt_cancels());
}

Var* di_deleteorder(std::int32_t, Var** argv) {
  dxerror(dbf_of(argv[0]), TableError::kDeleteOrder);
  return false_value();
}

}  // namespace tarnel
