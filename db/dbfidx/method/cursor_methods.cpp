// Methods that move the cursor or tell where it is.
#include "core/errors.h"
#include "core/settings.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr std::int32_t kRecnoWidth = 7;

Var* wide_number(double value) {
  Var* number = TMP_NUM(value, 0);
  number->length = kRecnoWidth;
  return number;
}

Var* refuse(DbfIdx& dbf, TableError error) {
  dxerror(dbf, error);
  return false_value();
}

Var* go_to(std::int32_t argc, Var** argv, TableError error) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, "NFI")) return refuse(dbf, error);
  if (!dbf.isOpen()) return false_value();
  return logical(go_to_number(dbf, integer_of(argv[1])));
}

}  // namespace

Var* di_goto(std::int32_t argc, Var** argv) {
  return go_to(argc, argv, TableError::kGotoArgument);
}
Var* di_set_recno(std::int32_t argc, Var** argv) {
  return go_to(argc, argv, TableError::kRecnoAssign);
}

Var* di_gotop(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  go_top(dbf);
  return true_value();
}

Var* di_gobottom(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  go_bottom(dbf);
  return true_value();
}

Var* di_skip(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (argc > 1 && !arg_is(argc, argv, 1, "NFIU")) return refuse(dbf, TableError::kSkipArgument);
  if (!dbf.isOpen()) return false_value();
  const std::int32_t wanted = arg_is(argc, argv, 1, "NFI") ? integer_of(argv[1]) : 1;
  const std::int32_t moved = skip_records(dbf, wanted);
  return moved == 1 ? int_one() : TMP_INT(moved);
}

Var* di_seek(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  const bool soft = arg_is(argc, argv, 2, "L") ? truth_of(argv[2]) : settings().softseek;
  return logical(seek_record(dbf, argc > 1 && !is_nil(argv[1]) ? argv[1] : nullptr, soft));
}

Var* di_seekeval(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  return logical(seek_by_block(dbf, arg_is(argc, argv, 1, "Bb") ? argv[1] : nullptr));
}

Var* di_clearindex(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !leave_record(dbf)) return false_value();
  dbf.orders.state = kIndexGood;
  updateHeader(dbf);
  close_orders(dbf);
  return true_value();
}

Var* di_bof(std::int32_t, Var** argv) {
  return logical(dbf_of(argv[0]).bofFlag != 0);
}
Var* di_eof(std::int32_t, Var** argv) {
  return logical(dbf_of(argv[0]).eofFlag != 0);
}
Var* di_found(std::int32_t, Var** argv) {
  return logical(dbf_of(argv[0]).found);
}
Var* di_indexcount(std::int32_t, Var** argv) {
  return TMP_INT(dbf_of(argv[0]).orderCount);
}

Var* di_set_found(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, "L")) return refuse(dbf, TableError::kSetFoundAssign);
  dbf.found = truth_of(argv[1]);
  return argv[1];
}

Var* di_recno(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  return wide_number(dbf.lastRec == 0 ? 1 : dbf.recNo);
}

Var* di_lastrec(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  const bool known = !dbf.isOpen() || refresh_header(dbf);
  return wide_number(known ? dbf.lastRec : 0);
}

}  // namespace tarnel
