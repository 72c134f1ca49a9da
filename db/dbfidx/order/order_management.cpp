// The list of open orders: opening into it, the choice of the controlling one, the condition for
// the next one to be made, and the questions about an order.
#include <algorithm>
#include <utility>

#include "core/errors.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/table_errors.h"
#include "db/info_codes.h"
#include "db/order_notice.h"
#include "lib/arguments.h"
#include "lib/file_names.h"

namespace tarnel {

using namespace order_info;

namespace {

bool fail_open() {
  bbneterr(true);
  return false;
}

bool given(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr && !is_nil(argv[i]);
}

std::string order_path(const DbfIdx& dbf, std::string_view name) {
  std::string path;
  if (!defaultExtension(path, name, dbf.idxExt, kPathLimit + 1)) return {};
  return fullPath(pathJoin("", path));
}

// Opens an order as the last of the list. What is found wrong with it is kept, to be told at its use.
bool add_index(DbfIdx& dbf, const OrderRequest& request, std::uint8_t& state) {
  const ChecksOff unchecked(dbf);
  const SameOrders same(dbf);
  IndexControl* index = open_index(dbf, request);
  if (index == nullptr) return false;
  if (!same.holds() || dbf.orderCount >= kMaxOrders) {
    close_index(dbf, index);
    return false;
  }
  dbf.orders[++dbf.orderCount] = index;
  if (dbf.currentOrder == 0) dbf.currentOrder = 1;
  if (ready(dbf, *index)) state = std::max<std::uint8_t>(state, check_index(dbf, *index));
  go_top(dbf);
  return !index->closed && dbf.orderCount > 0;
}

bool set_index(DbfIdx& dbf, const OrderRequest& request) {
  const SameTable same(dbf);
  // Controls that a failure took out of the count make room.
  if (dbf.orderCount == 0) close_orders(dbf);
  if (!same.holds()) return fail_open();
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  if (!leave_record(dbf)) return fail_open();
  const InternalLock lock(dbf, dbf.readOnly() ? LockMode::kShared : LockMode::kExclusive);
  if (!lock.held() || !refresh_header(dbf)) return fail_open();
  index_synchronize(dbf, kSyncMove);
  if (!same.holds()) return fail_open();
  std::uint8_t state = dbf.orders.state;
  if (!add_index(dbf, request, state) || !same.holds()) return fail_open();
  dbf.orders.state = state;
  bbneterr(false);
  return true;
}

// Tells of an order that lacks changes of its table. Code of the language may run.
void tell_difference(const DbfIdx& dbf, IndexControl& index) {
  const bool differs = index.state.agreement == Agreement::kDiffers;
  if (std::exchange(index.told, differs) || !differs || order_notice() == nullptr) return;
  const std::string order = index.fileName, table = dbf.fileName;
  order_notice()(order, table);
}

// The same for one that has just been chosen: others may have changed the table since it was opened.
void tell_chosen(DbfIdx& dbf) {
  IndexControl* index = current_index(dbf);
  if (index == nullptr) return;
  {
    const InternalLock lock(dbf, lock_mode(dbf));
    if (!lock.held() || !refresh_header(dbf) || index->closed) return;
    look_at_agreement(dbf, *index);
  }
  tell_difference(dbf, *index);
}

// Keeps a block or a text of the condition.
void keep(std::int32_t argc, Var** argv, std::int32_t i, const char* types, Var** slot) {
  if (!arg_is(argc, argv, i, types)) return;
  UNHOLD_VAR(slot);
  HOLD_VAR(slot, argv[i]);
}

// --- Questions.

std::string_view base_without_extension(std::string_view path) {
  path = base_name(path);
  return path.substr(0, path.rfind('.'));
}

// The key under the cursor, as a record number or as a value.
Var* current_key(DbfIdx& dbf, IndexControl& index, bool value) {
  const auto none = [&] { return value ? blank_key(index.header()) : int_minus_one(); };
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held()) return none();
  const KeepCursor keep(dbf);
  const bool found = index_synchronize(dbf, kSyncMove) && update_position(dbf, index);
  if (index.closed || !found || !index.tree.on_key()) return none();
  return value ? key_value(index.tree.key(), index.header())
               : TMP_INT(static_cast<std::int32_t>(index.tree.record()));
}

Var* key_count(DbfIdx& dbf, IndexControl& index) {
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !index_synchronize(dbf, kSyncMove) || !ready(dbf, index))
    return int_minus_one();
  return TMP_INT(static_cast<std::int32_t>(std::min<std::uint32_t>(index.tree.keys(), INT32_MAX)));
}

std::int32_t check_order(DbfIdx& dbf, std::int32_t n) {
  IndexControl* index = order_at(dbf, n);
  if (index == nullptr) return -1;
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !leave_record(dbf) || !refresh_header(dbf) || index->closed) return -1;
  const ChecksOff unchecked(dbf);
  index_synchronize(dbf, kSyncMove);
  const bool usable = dbf.orderCount > 0 && ready(dbf, *index);
  return usable ? check_index(dbf, *index) : kKeyCountMismatch;
}

Var* file_text(const IndexControl& index, std::string idx::Extension::*text) {
  idx::Extension extension;
  return idx::read_extension(index.fd, extension) ? TMP_TEXT(extension.*text) : empty_text();
}

// What an order is asked, the answer without one, and that of an order; null: an option that is not supported.
struct Question {
  DbfIdx& dbf;
  std::int32_t n;
  IndexControl& index() const { return *dbf.orders[n]; }
  const idx::Header& header() const { return index().header(); }
};
struct InfoRow {
  order_info::Code code;
  Var* (*without)();
  Var* (*answer)(const Question& q);
};
constexpr auto order_name = [](const Question& q) {
  return TMP_TEXT(base_without_extension(q.index().fileName));
};
constexpr auto key_record = [](const Question& q) { return current_key(q.dbf, q.index(), false); };
constexpr auto keys = [](const Question& q) { return key_count(q.dbf, q.index()); };

constexpr InfoRow kInfoRows[] = {
    {kCondition, empty_text,
     [](const Question& q) { return file_text(q.index(), &idx::Extension::condition); }},
    {kExpression, empty_text, [](const Question& q) { return TMP_TEXT(q.header().expression); }},
    {kPosition, int_minus_one, key_record},
    {kKeyNumber, int_minus_one, key_record},
    {kName, empty_text, order_name},
    {kOrderNumber, int_minus_one, [](const Question& q) { return TMP_INT(q.n); }},
    {kBagName, empty_text, order_name},
    {kFullPath, empty_text, [](const Question& q) { return TMP_TEXT(q.index().fileName); }},
    {kFileHandle, int_minus_one, [](const Question& q) { return TMP_INT(q.index().fd); }},
    {kDescending, false_value, [](const Question& q) { return logical(q.header().descending()); }},
    {kConditional, false_value,
     [](const Question& q) { return logical(q.index().forBlock != nullptr); }},
    {kKeyType, empty_text,
     [](const Question& q) {
       return TMP_TEXT({&q.header().type, 1});
     }},
    {kKeySize, int_minus_one,
     [](const Question& q) { return TMP_INT(static_cast<std::int32_t>(q.header().keySize)); }},
    {kKeyCount, int_minus_one, keys},
    {kKeyBlock, nil_value, [](const Question& q) { return ARG_VAR(q.index().keyBlock); }},
    {kKeyLength, int_minus_one, [](const Question& q) { return TMP_INT(q.header().size); }},
    {kOwnLocking, false_value, nullptr},
    {kLockOffset, int_minus_one, nullptr},
    {kKeyValue, nil_value, [](const Question& q) { return current_key(q.dbf, q.index(), true); }},
    {kTopScope, nil_value, nullptr},
    {kBottomScope, nil_value, nullptr},
    {kUnique, false_value, [](const Question& q) { return logical(q.header().unique()); }},
    {kSharedState, int_minus_one, [](const Question&) { return int_one(); }},
    {kKeysByHand, false_value, nullptr},
    {kKeyCountRaw, int_minus_one, keys},
    {kTableName, empty_text,
     [](const Question& q) { return file_text(q.index(), &idx::Extension::table); }},
    {kCheck, int_minus_one, [](const Question& q) { return TMP_INT(check_order(q.dbf, q.n)); }},
};

// `argv` has the object, then the two arguments that may name the order.
Var* answer_info(std::int32_t code, std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (code == kBagExtension) {
    Var* former = TMP_TEXT(dbf.idxExt);
    if (arg_is(argc, argv, 1, "C")) dbf.idxExt = text_of(argv[1]);
    return former;
  }
  const auto* row = std::find_if(std::begin(kInfoRows), std::end(kInfoRows),
                                 [=](const InfoRow& known) { return known.code == code; });
  if (row == std::end(kInfoRows)) return nil_value();
  if (row->answer == nullptr) {
    dxerror(dbf, TableError::kOptionNotSupported);
    return row->without();
  }
  std::int32_t n = order_number(dbf, argc, argv, given(argc, argv, 1) ? 1 : 2);
  if (n == 0) n = dbf.currentOrder;
  return dbf.isOpen() && order_at(dbf, n) != nullptr ? row->answer({dbf, n}) : row->without();
}

}  // namespace

std::int32_t order_number(const DbfIdx& dbf, std::int32_t argc, Var** argv, std::int32_t i) {
  if (arg_is(argc, argv, i, kNumber)) {
    const std::int32_t n = integer_of(argv[i]);
    return n >= 1 && n <= dbf.orderCount ? n : 0;
  }
  if (!arg_is(argc, argv, i, "C") || text_of(argv[i]).empty()) return 0;
  const std::string path = order_path(dbf, text_of(argv[i]));
  for (std::int32_t n = 1; n <= dbf.orderCount; ++n)
    if (dbf.orders[n]->fileName == path) return n;
  return 0;
}

Var* di_setindex(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return logical(fail_open());
  if (!given(argc, argv, 1)) return di_clearindex(1, argv);
  if (argv[1]->type != 'C') {
    dxerror(dbf, TableError::kSetIndexName);
    return logical(fail_open());
  }
  OrderRequest request;
  request.file = trim_blanks(text_of(argv[1]));
  if (request.file.empty() || dbf.orderCount >= kMaxOrders) return logical(fail_open());
  if (arg_is(argc, argv, 2, "C")) request.tag = text_of(argv[2]);
  request.exclusive = arg_is(argc, argv, 3, "L") && truth_of(argv[3]);
  if (!set_index(dbf, request)) return false_value();
  tell_difference(dbf, *dbf.orders[dbf.orderCount]);
  return true_value();
}

Var* di_setorder(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen() || dbf.orderCount == 0) return empty_text();
  const SameTable same(dbf);
  if (!leave_record(dbf)) return empty_text();
  const std::int32_t n = int_argument(argc, argv, 1, dbf.currentOrder);
  if (n < 0 || n > dbf.orderCount) {
    dxerror(dbf, TableError::kIllegalOrder, {n, dbf.aliasName, dbf.orderCount});
    return empty_text();
  }
  const IndexControl* former = current_index(dbf);
  Var* name = former != nullptr ? TMP_TEXT(former->fileName) : empty_text();
  const std::int32_t recno = dbf.recNo;
  // What waits for the record goes into the orders that were there.
  index_synchronize(dbf, kSyncMove);
  if (!same.holds()) return name;
  dbf.currentOrder = n <= dbf.orderCount ? n : 0;
  if (former != nullptr) goRecord(dbf, recno);
  if (same.holds() && current_index(dbf) != former) tell_chosen(dbf);
  return name;
}

Var* di_setordercondition(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  const auto truth = [&](std::int32_t i) {
    return arg_is(argc, argv, i, "L") && truth_of(argv[i]);
  };
  clear_condition(dbf);
  keep(argc, argv, 1, "C", &dbf.newOrder.forText);
  keep(argc, argv, 2, "Bb", &dbf.newOrder.forBlock);
  keep(argc, argv, 4, "Bb", &dbf.newOrder.whileBlock);
  if (dbf.newOrder.whileBlock != nullptr) dbf.newOrder.limit = -2;
  keep(argc, argv, 5, "Bb", &dbf.newOrder.evalBlock);
  if (arg_is(argc, argv, 6, kNumber)) dbf.newOrder.every = std::max(1, integer_of(argv[6]));
  if (truth(10)) dbf.newOrder.start = std::max(1, int_argument(argc, argv, 7, 1));
  if (arg_is(argc, argv, 8, kNumber)) dbf.newOrder.limit = integer_of(argv[8]);
  if (arg_is(argc, argv, 9, kNumber)) {
    dbf.newOrder.limit = 1;
    dbf.newOrder.start = std::max(1, integer_of(argv[9]));
  }
  dbf.newOrder.flags = static_cast<std::uint8_t>((truth(3) ? 1 : 0) | (truth(11) ? 2 : 0));
  return true_value();
}

Var* di_indexord(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  return TMP_INT(dbf.isOpen() ? dbf.currentOrder : 0);
}

Var* di_indexkey(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (given(argc, argv, 1) && !arg_is(argc, argv, 1, kNumber)) {
    dxerror(dbf, TableError::kIndexKeyArgument);
    return empty_text();
  }
  const std::int32_t n = int_argument(argc, argv, 1, 0);
  const IndexControl* index = order_at(dbf, n != 0 ? n : dbf.currentOrder);
  return index != nullptr ? TMP_TEXT(index->header().expression) : empty_text();
}

Var* di_indexcheck(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return int_minus_one();
  return TMP_INT(check_order(dbf, int_argument(argc, argv, 1, dbf.currentOrder)));
}

Var* di_orderinfo(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 1, kNumber)) return nil_value();
  const std::int32_t code = integer_of(argv[1]);
  std::vector<Var*> passed(argv, argv + argc);
  passed.erase(passed.begin() + 1);
  return answer_info(code, argc - 1, passed.data());
}

Var* di_orderisunique(std::int32_t argc, Var** argv) {
  return answer_info(kUnique, argc, argv);
}
Var* di_orderkeycount(std::int32_t argc, Var** argv) {
  return answer_info(kKeyCount, argc, argv);
}
Var* di_orderkeyno(std::int32_t argc, Var** argv) {
  return answer_info(kPosition, argc, argv);
}
Var* di_orderkeyvalue(std::int32_t argc, Var** argv) {
  return answer_info(kKeyValue, argc, argv);
}

}  // namespace tarnel
