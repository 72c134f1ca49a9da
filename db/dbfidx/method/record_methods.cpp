// Methods that read and change records and fields.
#include "core/arrays.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/info_codes.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// Field number minus 1 of an argument, a number or a name; -1 when there is no such field.
std::int32_t field_argument(const DbfIdx& dbf, std::int32_t argc, Var** argv, std::int32_t i) {
  std::int32_t n = 0;
  if (arg_is(argc, argv, i, "C"))
    n = field_position(dbf, text_of(argv[i]));
  else if (arg_is(argc, argv, i, kNumber))
    n = integer_of(argv[i]);
  return n >= 1 && n <= dbf.fieldCount ? n - 1 : -1;
}

// The value of a field as a result: a reference on the temporary stack keeps the cell alive for the
// rest of the expression, even if that closes the table.
Var* field_result(DbfIdx& dbf, std::int32_t i) {
  Var* cell = field_value(dbf, i);
  ++cell->refs;
  return PUSH_TEMP(cell);
}

Var* no_such_field(DbfIdx& dbf, std::int32_t argc, Var** argv, TableError error) {
  dxerror(dbf, error, {dbf.fileName, text_argument(argc, argv, 1)});
  return nil_value();
}

bool append_blank(DbfIdx& dbf, bool release_locks) {
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  const SameTable same(dbf);
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !leave_record(dbf)) return false;
  if (append_record(dbf, release_locks)) return true;
  if (same.holds() && dbf.recNo > dbf.lastRec) phantom(dbf);
  return false;
}

// The delete mark of any record, straight from the file.
bool is_deleted(DbfIdx& dbf, std::int32_t n) {
  if (n == dbf.recNo) return record_deleted(dbf);
  if (n < 1 || n > dbf.lastRec) return false;
  if (!flush_records(dbf)) return false;
  std::uint8_t mark = 0;
  return read_at(dbf.dbfFd, &mark, 1, record_place(dbf, n)) && mark == dbf::kDeletedMark;
}

Var* struct_row(const dbf::Field& field) {
  Var* row = NEW_TEMP();
  cscreara(row, 4, kAllNil);
  SET_STR(element(row, 1), field.name);
  SET_STR(element(row, 2), &field.type, 1);
  SET_INT(element(row, 3), field.length);
  SET_INT(element(row, 4), field.type == 'C' ? 0 : field.decimals);
  return row;
}

}  // namespace

Var* di_append(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  bbneterr(true);
  if (!dbf.isOpen()) return false_value();
  const bool release = !(arg_is(argc, argv, 1, "L") && !truth_of(argv[1]));
  if (!append_blank(dbf, release)) return false_value();
  bbneterr(false);
  runRelations(dbf);
  return true_value();
}

Var* di_deleted(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  return logical(dbf.isOpen() && record_deleted(dbf));
}

Var* di_commit(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  const SameTable same(dbf);
  const bool committed = commit_table(dbf);
  return logical(same.holds() && flush_orders(dbf) && committed);
}

Var* di_refresh(std::int32_t, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  dbf.buffer.forget();
  dbf.ahead.forget();
  return logical(refreshRecord(dbf, false));
}

Var* di_recordinfo(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen() || !arg_is(argc, argv, 1, kNumber)) return nil_value();
  const std::int32_t n = arg_is(argc, argv, 2, kNumber) ? integer_of(argv[2]) : dbf.recNo;
  switch (integer_of(argv[1])) {
    case record_info::kDeleted:
      return logical(is_deleted(dbf, n));
    case record_info::kLocked:
      return logical(dbf.locks.records.holds(n));
    case record_info::kSize:
      return TMP_INT(dbf.recordSize);
    case record_info::kNumber:
      return TMP_INT(dbf.recNo);
    default:
      return nil_value();
  }
}

// --- Fields.

Var* di_quickfieldget(std::int32_t, Var** argv) {
  return field_result(dbf_of(argv[0]), argv[1]->name);
}
Var* di_quickfieldput(std::int32_t, Var** argv) {
  return store_field(dbf_of(argv[0]), argv[1]->name, argv[2]);
}

Var* di_fieldget(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  const std::int32_t i = field_argument(dbf, argc, argv, 1);
  return i >= 0 ? field_result(dbf, i) : nil_value();
}

Var* di_fieldput(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  const std::int32_t i = field_argument(dbf, argc, argv, 1);
  return i >= 0 && arg_is(argc, argv, 2, "CINFDML") ? store_field(dbf, i, argv[2]) : nil_value();
}

// A member that the class does not have is a field: oServer:NAME.
Var* di_noivarget(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  const std::int32_t i = field_argument(dbf, argc, argv, 1);
  return i >= 0 ? field_result(dbf, i) : no_such_field(dbf, argc, argv, TableError::kGetNoField);
}

Var* di_noivarput(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  const std::int32_t i = field_argument(dbf, argc, argv, 1);
  if (i < 0 || argc < 3) return no_such_field(dbf, argc, argv, TableError::kPutNoField);
  return store_field(dbf, i, argv[2]);
}

Var* di_fieldname(std::int32_t argc, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  const std::int32_t i = arg_is(argc, argv, 1, kNumber) ? field_argument(dbf, argc, argv, 1) : -1;
  return i >= 0 ? TMP_TEXT(dbf.fields[static_cast<std::size_t>(i)].name) : empty_text();
}

Var* di_fieldpos(std::int32_t argc, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  return arg_is(argc, argv, 1, "C") ? TMP_INT(field_position(dbf, text_of(argv[1]))) : int_zero();
}

Var* di_fieldinfo(std::int32_t argc, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, kNumber)) return nil_value();
  const std::int32_t i = field_argument(dbf, argc, argv, 2);
  const dbf::Field none{};
  const dbf::Field& field = i >= 0 ? dbf.fields[static_cast<std::size_t>(i)] : none;
  switch (integer_of(argv[1])) {
    case field_info::kName:
      return TMP_TEXT(field.name);
    case field_info::kType:
      return TMP_TEXT({&field.type, i >= 0 ? std::size_t{1} : std::size_t{0}});
    case field_info::kLength:
      return TMP_INT(field.length_byte);
    case field_info::kDecimals:
      return TMP_INT(field.decimals);
    default:
      return nil_value();
  }
}

Var* di_fcount(std::int32_t, Var** argv) {
  return TMP_INT(dbf_of(argv[0]).fieldCount);
}

Var* di_dbstruct(std::int32_t, Var** argv) {
  const DbfIdx& dbf = dbf_of(argv[0]);
  Var* rows = NEW_TEMP();
  cscreara(rows, dbf.fieldCount, kAllNil);
  for (std::int32_t i = 0; i < dbf.fieldCount; ++i)
    CPY_VAR(element(rows, i + 1), struct_row(dbf.fields[static_cast<std::size_t>(i)]));
  return rows;
}

}  // namespace tarnel
