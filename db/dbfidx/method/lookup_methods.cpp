// Methods that give values of many records as arrays: getarray and getlookuptable.
#include "core/arrays.h"
#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/field_selector.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// The records to be looked at: from the top, or those whose key in the controlling order is a value.
class Matches {
 public:
  Matches(DbfIdx& dbf, Var* key) : dbf_(dbf), same_(dbf), key_(is_nil(key) ? nullptr : key) {}

  bool begin() {
    if (key_ != nullptr) return seek_record(dbf_, key_, false) && same_.holds();
    go_top(dbf_);
    return at_match();
  }
  bool next() {
    if (!same_.holds()) return false;
    look_at_signals();
    return skip_records(dbf_, 1) == 1 && at_match();
  }

 private:
  bool at_match() {
    if (!same_.holds() || dbf_.eofFlag != 0) return false;
    if (key_ == nullptr) return true;
    const InternalLock lock(dbf_, lock_mode(dbf_));
    return lock.held() && index_keycompare(dbf_, key_) == 0 && same_.holds();
  }

  DbfIdx& dbf_;
  const SameTable same_;
  Var* const key_;
};

// One field given by number or name, `standard` (from 0) when it isn't given. False after errors 306, 312.
bool read_field(DbfIdx& dbf, Var* argument, std::int32_t standard, FieldSelector& fields) {
  if (!is_nil(argument)) return read_fields(dbf, argument, TableError::kGetNoField, fields);
  if (standard < dbf.fieldCount) fields.numbers.push_back(standard);
  return true;
}

Var* empty_array() {
  Var* values = NEW_TEMP();
  return cscreara(values, 0, kAllNil);
}

// The fields of a record: the value of one, an array of several.
Var* entry_of(DbfIdx& dbf, const FieldSelector& fields, bool several) {
  if (!several) return field_value(dbf, fields.numbers.front());
  Var* entry = NEW_TEMP();
  cscreara(entry, static_cast<std::int32_t>(fields.numbers.size()), kAllNil);
  for (std::size_t i = 0; i < fields.numbers.size(); ++i)
    CPY_VAR(element(entry, static_cast<std::int32_t>(i) + 1), field_value(dbf, fields.numbers[i]));
  return entry;
}

// The cursor comes back afterwards.
Var* gather(DbfIdx& dbf, std::int32_t most, const FieldSelector& fields, bool several, Var* key) {
  Var* entries = empty_array();
  const SameTable same(dbf);
  {
    const KeepCursor cursor(dbf);
    Matches matches(dbf, key);
    std::int32_t count = 0;
    const std::int32_t mark = temp_top();
    for (bool on = most > 0 && matches.begin(); on; on = count < most && matches.next()) {
      if (is_error(cscrearr(entries, ++count, kKeep, {entry_of(dbf, fields, several)}))) break;
      POP_TEMPS(mark);
    }
  }
  if (same.holds()) runRelations(dbf);
  return entries;
}

Var* look_up(std::int32_t argc, Var** argv, std::int32_t field_count) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return empty_array();
  FieldSelector fields;
  for (std::int32_t i = 0; i < field_count; ++i)
    if (!read_field(dbf, argument_or_nil(argc, argv, 2 + i), i, fields)) return empty_array();
  const std::int32_t most = arg_is(argc, argv, 1, kNumber) ? integer_of(argv[1]) : INT32_MAX;
  const SameTable same(dbf);
  if (fields.numbers.empty() || !leave_record(dbf) || !same.holds()) return empty_array();
  return gather(dbf, most, fields, field_count > 1 || fields.several,
                argument_or_nil(argc, argv, 2 + field_count));
}

}  // namespace

Var* di_getarray(std::int32_t argc, Var** argv) {
  return look_up(argc, argv, 1);
}
Var* di_getlookuptable(std::int32_t argc, Var** argv) {
  return look_up(argc, argv, 2);
}

}  // namespace tarnel
