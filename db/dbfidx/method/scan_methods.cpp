// Methods that look at the records of a scope: eval, locate and continue, count, sum, average,
// getarrfields. A block that gives the error value ends a scan, and the result is then false; a block that
// closes the table ends it too.
#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/field_selector.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/walk.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// --- Search.

// The negation of the condition in its detached local.
Var* negation(std::int32_t, Var**, Var** locals) {
  Var* result = run_block_with(locals[0]);
  if (result->type == 'E') return result;
  return logical(!(is_number_or_logical(result) && truth_of(result)));
}

// Ends a search: the found flag, for the table that it began with.
Var* found_if(DbfIdx& dbf, const ScopeWalk& walk, bool found) {
  if (!walk.same()) return false_value();
  dbf.found = found && !walk.failed();
  return logical(dbf.found);
}

Var* not_found(DbfIdx& dbf) {
  dbf.found = false;
  return false_value();
}

// --- Totals.

// NEXT and REST may come as two arguments.
ScopeArguments counted_scope(std::int32_t argc, Var** argv, std::int32_t first) {
  ScopeArguments arguments(argc, argv, first);
  if (is_nil(arguments.extent) && arg_is(argc, argv, first + 3, "L"))
    arguments.extent = argv[first + 3];
  return arguments;
}

// The expressions to be summed; null for one that gives nothing. False after an error.
bool read_expressions(DbfIdx& dbf, Var* argument, TableError wrong, std::vector<Var*>& blocks) {
  if (argument->type != 'A') {
    blocks.push_back(block_of(argument));
    if (blocks.back() != nullptr) return true;
    if (!is_text(argument)) dxerror(dbf, wrong);
    return false;
  }
  for (std::int32_t i = 1; i <= element_count(argument); ++i) {
    blocks.push_back(block_of(element(argument, i)));
    if (blocks.back() == nullptr && is_text(element(argument, i))) return false;
  }
  return true;
}

Var* array_of(std::int32_t size, Var* value) {
  Var* values = NEW_TEMP();
  return cscrearr(values, size, kCloneOne, {value});
}

// Adds what the expressions give for a record. False when one failed.
bool add_record(DbfIdx& dbf, const std::vector<Var*>& blocks, Var* totals) {
  const SameTable same(dbf);
  for (std::size_t i = 0; i < blocks.size() && same.holds(); ++i) {
    if (blocks[i] == nullptr) continue;
    Var* value = value_of_record(dbf, blocks[i]);
    if (value->type == 'E') return false;
    Var* total = element(totals, static_cast<std::int32_t>(i) + 1);
    if (is_error(csuaddu(total, value, true))) return false;
  }
  return true;
}

bool divide_each(Var* totals, std::int32_t count) {
  for (std::int32_t i = 1; i <= element_count(totals); ++i)
    if (is_error(csudivu(element(totals, i), TMP_INT(count), true))) return false;
  return true;
}

Var* total(std::int32_t argc, Var** argv, bool average, TableError wrong) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return array_of(0, nil_value());
  std::vector<Var*> blocks;
  if (!read_expressions(dbf, argument_or_nil(argc, argv, 1), wrong, blocks)) return false_value();
  if (blocks.empty()) return array_of(1, int_zero());
  Scope scope;
  if (!read_scope(dbf, counted_scope(argc, argv, 2), scope)) return false_value();
  Var* totals = array_of(static_cast<std::int32_t>(blocks.size()), num_zero());
  std::int32_t count = 0;
  ScopeWalk walk(dbf, scope, average ? "average" : "sum");
  for (bool on = walk.begin(); on; on = walk.next()) {
    if (!add_record(dbf, blocks, totals)) walk.fail();
    ++count;
  }
  if (walk.failed() || (average && count > 0 && !divide_each(totals, count))) return false_value();
  return totals;
}

// --- Fields of many records.

// The values of the fields as one entry: an array where an array of fields was asked for.
Var* entry_of(DbfIdx& dbf, const FieldSelector& fields) {
  if (!fields.several) return field_value(dbf, fields.numbers.front());
  Var* entry = array_of(static_cast<std::int32_t>(fields.numbers.size()), nil_value());
  for (std::size_t i = 0; i < fields.numbers.size(); ++i)
    CPY_VAR(element(entry, static_cast<std::int32_t>(i) + 1), field_value(dbf, fields.numbers[i]));
  return entry;
}

// A number or logical directly behind the fields is the extent of the scope, else FOR, WHILE and extent
// follow.
ScopeArguments scope_behind(std::int32_t argc, Var** argv, std::int32_t first) {
  if (arg_is(argc, argv, first, kNumeric)) return {nil_value(), nil_value(), argv[first]};
  return {argc, argv, first};
}

}  // namespace

Var* di_eval(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  const bool given = arg_is(argc, argv, 1, "Bb");
  Scope scope;
  if (!read_scope(dbf, {argc, argv, 2}, scope, given ? "" : "1 ")) return false_value();
  Var* block = ARG_VAR(argv[1]);
  ScopeWalk walk(dbf, scope, "eval");
  for (bool on = walk.begin(); on; on = walk.next())
    if (run_in_area(dbf, block)->type == 'E') walk.fail();
  return logical(!walk.failed());
}

// FOR is what is looked for: the records are those of WHILE and extent, from the top without either.
Var* di_locate(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  Var* wanted = argument_or_nil(argc, argv, 1);
  if (dbf.isOpen()) wanted = block_of(wanted);
  if (!dbf.isOpen() || wanted == nullptr) return not_found(dbf);
  const ScopeArguments arguments(nil_value(), argument_or_nil(argc, argv, 2),
                                 argument_or_nil(argc, argv, 3));
  Scope scope;  // not the stored one
  if (!arguments.absent() && !read_scope(dbf, arguments, scope)) return not_found(dbf);
  keep_value(&dbf.scan.locateBlock, TMP_BLOCK(negation, &wanted, 1));
  scope.forBlock = wanted;
  ScopeWalk walk(dbf, scope, "locate");
  const bool found = walk.begin();
  return found_if(dbf, walk, found);
}

// On from the next record while the stored block holds.
Var* di_continue(std::int32_t, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen() || dbf.scan.locateBlock == nullptr) return not_found(dbf);
  Var* passes = ARG_VAR(dbf.scan.locateBlock);
  const Scope rest{nullptr, nullptr, kScopeRest};
  ScopeWalk walk(dbf, rest, "continue");
  skip_records(dbf, 1);
  bool found = false, goes_on = walk.same();
  for (bool on = goes_on && walk.begin(); on; on = goes_on && walk.next()) {
    const Var* result = value_of_record(dbf, passes);
    const bool failed = result->type == 'E' || is_unreadable(dbf);
    const bool says = is_number_or_logical(result) && !failed;
    if (failed) walk.fail();
    goes_on = says && truth_of(result);
    found = says && !goes_on;
  }
  return found_if(dbf, walk, found);
}

Var* di_count(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return int_zero();
  Scope scope;
  if (!read_scope(dbf, counted_scope(argc, argv, 1), scope)) return false_value();
  std::int32_t count = 0;
  ScopeWalk walk(dbf, scope, "count");
  for (bool on = walk.begin(); on; on = walk.next()) ++count;
  return walk.failed() ? false_value() : TMP_INT(count);
}

Var* di_sum(std::int32_t argc, Var** argv) {
  return total(argc, argv, false, TableError::kSumArguments);
}
Var* di_average(std::int32_t argc, Var** argv) {
  return total(argc, argv, true, TableError::kAverageArguments);
}

Var* di_getarrfields(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return array_of(0, nil_value());
  FieldSelector fields;
  if (!read_fields(dbf, argument_or_nil(argc, argv, 1), TableError::kGetNoField, fields))
    return false_value();
  Scope scope;
  if (!read_scope(dbf, scope_behind(argc, argv, 2), scope)) return false_value();
  Var* entries = array_of(0, nil_value());
  ScopeWalk walk(dbf, scope, "getarrfields");
  for (bool on = walk.begin(); on; on = walk.next())
    if (is_error(cscrearr(entries, element_count(entries) + 1, kKeep, {entry_of(dbf, fields)})))
      walk.fail();
  return walk.failed() ? false_value() : entries;
}

}  // namespace tarnel
