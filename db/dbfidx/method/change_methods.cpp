// Methods that change the records of a scope: replace, delete and recall.
#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/field_selector.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/record/change_lock.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/walk.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

// Runs change(dbf) for each record of the scope, once; false when one failed, which ends the run. In
// exclusive use the changes reach the file in runs.
template <typename Change>
bool change_each(DbfIdx& dbf, const Scope& scope, const char* work, Change change) {
  GatheredChanges gathered(dbf);
  bool changed;
  {
    ScopeWalk walk(dbf, scope, work, ScopeWalk::Path::kFixed);
    for (bool on = walk.begin(); on; on = walk.next())
      if (!change(dbf)) walk.fail();
    changed = !walk.failed();
  }
  return gathered.finish() && changed;
}

// --- Replace.

// New values for fields, in order: blocks are run for each record, NIL leaves a field as it is.
struct Replacement {
  FieldSelector fields;
  std::vector<Var*> values;
};

void read_values(Var* argument, Replacement& replacement) {
  const bool several = argument->type == 'A';
  const std::int32_t count = several ? element_count(argument) : 1;
  for (std::size_t i = 0; i < replacement.fields.numbers.size(); ++i) {
    const auto n = static_cast<std::int32_t>(i) + 1;
    Var* value = n > count ? nil_value() : several ? element(argument, n) : argument;
    replacement.values.push_back(ARG_VAR(value));
  }
}

// False when a value is the error value, or a field refused it.
bool replace_record(DbfIdx& dbf, const Replacement& replacement) {
  ChangeLock lock(dbf);
  if (!lock.granted()) return false;
  const SameTable same(dbf);
  // A record that can't be read reads as blank: no value may be made of that.
  bool good = refreshRecord(dbf, true) && same.holds() && dbf.buffer.writable();
  for (std::size_t i = 0; good && same.holds() && i < replacement.values.size(); ++i) {
    if (is_nil(replacement.values[i])) continue;
    Var* value = replacement.values[i];
    if (is_block(value)) value = value_of_record(dbf, value);
    if (!same.holds()) return true;  // the table was closed: so ends the run
    good =
        value->type != 'E' && store_field(dbf, replacement.fields.numbers[i], value) != nil_value();
  }
  // Written here and not by the move that follows, which goes on whether it could be written or not.
  if (same.holds()) good = commitRecord(dbf) != Commit::kFailed && good;
  lock.release();
  return good;
}

// --- Delete marks.

// Gives the record under the cursor a delete mark and writes it at once.
bool mark_record(DbfIdx& dbf, std::uint8_t mark, TableError not_locked) {
  const bool locks = dbf.eofFlag == 0 && !dbf.readOnly() && !holds_record(dbf, dbf.recNo);
  ChangeLock lock(dbf);
  if (!lock.granted()) {
    if (locks) dxerror(dbf, not_locked, {dbf.recNo});
    return false;
  }
  bool marked = refreshRecord(dbf, true) && dbf.buffer.writable();
  if (marked) {
    *dbf.buffer.begin_change() = mark;
    marked = commitRecord(dbf) == Commit::kWritten;
  }
  lock.release();
  return marked;
}

bool delete_record(DbfIdx& dbf) {
  return mark_record(dbf, dbf::kDeletedMark, TableError::kDeleteNotLocked);
}
bool recall_record(DbfIdx& dbf) {
  return mark_record(dbf, dbf::kLiveMark, TableError::kRecallNotLocked);
}

struct Marking {
  bool (*record)(DbfIdx& dbf);
  const char* work;
  TableError arguments;
};
constexpr Marking kDelete = {delete_record, "delete", TableError::kDeleteArguments};
constexpr Marking kRecall = {recall_record, "recall", TableError::kRecallArguments};

// The current record, or those of FOR, WHILE and extent.
Var* mark_scope(std::int32_t argc, Var** argv, const Marking& marking) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (argc > 4) {
    dxerror(dbf, marking.arguments);
    return false_value();
  }
  if (!dbf.isOpen()) return false_value();
  if (argc == 1) return logical(marking.record(dbf));
  Scope scope;
  return logical(read_scope(dbf, {argc, argv, 1}, scope) &&
                 change_each(dbf, scope, marking.work, marking.record));
}

Var* mark_all(Var** argv, const Marking& marking) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  return logical(dbf.isOpen() && change_each(dbf, Scope(), marking.work, marking.record));
}

}  // namespace

Var* di_replace(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  Replacement replacement;
  if (!read_fields(dbf, argument_or_nil(argc, argv, 1), TableError::kPutNoField,
                   replacement.fields))
    return false_value();
  read_values(argument_or_nil(argc, argv, 2), replacement);
  Scope scope;
  return logical(read_scope(dbf, {argc, argv, 3}, scope) &&
                 change_each(dbf, scope, "replace",
                             [&](DbfIdx& d) { return replace_record(d, replacement); }));
}

Var* di_delete(std::int32_t argc, Var** argv) {
  return mark_scope(argc, argv, kDelete);
}
Var* di_recall(std::int32_t argc, Var** argv) {
  return mark_scope(argc, argv, kRecall);
}
Var* di_deleteall(std::int32_t, Var** argv) {
  return mark_all(argv, kDelete);
}
Var* di_recallall(std::int32_t, Var** argv) {
  return mark_all(argv, kRecall);
}

}  // namespace tarnel
