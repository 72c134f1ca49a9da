// Methods of the conditions that a table keeps: filter, stored scope, locate.
#include "core/errors.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

Var* refuse(DbfIdx& dbf, TableError error) {
  dxerror(dbf, error);
  return false_value();
}

bool is_empty(const Var* v) {
  return is_nil(v) || (is_text(v) && text_of(v).empty());
}

void clear_filter(DbfIdx& dbf) {
  UNHOLD_VAR(&dbf.scan.filterBlock);
  UNHOLD_VAR(&dbf.scan.filterText);
}

// A block that gives no condition for the record under the cursor would hide all records. False for such
// a one, and when it closed the table.
bool gives_condition(DbfIdx& dbf, Var* block) {
  const SameTable same(dbf);
  return is_number_or_logical(run_in_area(dbf, block)) && same.holds();
}

// The condition and the text to show for it; a condition given as text is shown as it is.
Var* set_filter(DbfIdx& dbf, Var* condition, Var* shown) {
  clear_filter(dbf);
  if (is_block(condition)) {
    const SameTable same(dbf);
    Var* block = ARG_VAR(condition);
    const bool logical_result = gives_condition(dbf, block);
    if (!same.holds()) return false_value();
    if (!logical_result) return refuse(dbf, TableError::kFilterNotLogical);
    keep_value(&dbf.scan.filterBlock, block);
  } else if (!is_empty(condition) || !is_empty(shown)) {
    Var* text = is_text(condition) && !is_empty(condition) ? condition : shown;
    Var* block = is_text(text) ? block_of(text) : nullptr;
    if (block == nullptr || !dbf.isOpen()) return refuse(dbf, TableError::kSetFilter);
    keep_value(&dbf.scan.filterBlock, block);
    if (is_nil(shown)) keep_value(&dbf.scan.filterText, text);
  }
  if (is_nil(shown)) return true_value();
  if (!is_text(shown)) return refuse(dbf, TableError::kSetFilter);
  if (!is_empty(shown)) keep_value(&dbf.scan.filterText, shown);
  return true_value();
}

// Stores a condition of the scope, a block that was seen to give one, or none for NIL.
Var* assign_condition(Var* object, Var* value, Var** slot, bool may_be_text, TableError error) {
  DbfIdx& dbf = dbf_of(object);
  if (!dbf.isOpen()) return false_value();
  UNHOLD_VAR(slot);
  if (is_nil(value)) return value;
  const SameTable same(dbf);
  Var* block = is_block(value) || may_be_text ? block_of(value) : nullptr;
  const bool good = block != nullptr && gives_condition(dbf, block);
  if (!same.holds()) return false_value();
  if (!good) return refuse(dbf, error);
  keep_value(slot, block);
  return value;
}

Var* kept_or_nil(Var* kept) {
  return kept != nullptr ? ARG_VAR(kept) : nil_value();
}

}  // namespace

// --- Filter.

Var* di_setfilter(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  return set_filter(dbf, argument_or_nil(argc, argv, 1), argument_or_nil(argc, argv, 2));
}

Var* di_clearfilter(std::int32_t, Var** argv) {
  clear_filter(dbf_of(argv[0]));
  return true_value();
}

Var* di_filter(std::int32_t, Var** argv) {
  Var* text = dbf_of(argv[0]).scan.filterText;
  return text != nullptr ? ARG_VAR(text) : empty_text();
}

Var* di_set_filter(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  Var* value = argument_or_nil(argc, argv, 1);
  Var* set = false_value();
  if (is_block(value)) {
    set = set_filter(dbf, value, nil_value());
  } else if (is_text(value) || is_nil(value)) {
    set = set_filter(dbf, nil_value(), value);
  } else {
    clear_filter(dbf);
    dxerror(dbf, TableError::kFilterAssign);
  }
  return truth_of(set) ? value : set;
}

// --- The stored scope.

Var* di_forblock(std::int32_t, Var** argv) {
  return kept_or_nil(dbf_of(argv[0]).scan.forBlock);
}
Var* di_set_forblock(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  return assign_condition(argv[0], argument_or_nil(argc, argv, 1), &dbf_of(argv[0]).scan.forBlock,
                          true, TableError::kForBlockAssign);
}

Var* di_whileblock(std::int32_t, Var** argv) {
  return kept_or_nil(dbf_of(argv[0]).scan.whileBlock);
}
Var* di_set_whileblock(std::int32_t argc, Var** argv) {
  const KeepObject keep(argv[0]);
  return assign_condition(argv[0], argument_or_nil(argc, argv, 1), &dbf_of(argv[0]).scan.whileBlock,
                          false, TableError::kWhileBlockAssign);
}

Var* di_scope(std::int32_t, Var** argv) {
  return TMP_INT(dbf_of(argv[0]).scan.scopeCount);
}
Var* di_set_scope(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return false_value();
  if (!arg_is(argc, argv, 1, "NFILU")) return refuse(dbf, TableError::kScopeAssign);
  std::int32_t& count = dbf.scan.scopeCount;
  if (is_number(argv[1]))
    count = integer_of(argv[1]);
  else
    count = argv[1]->type == 'L' && truth_of(argv[1]) ? kScopeRest : kScopeAll;
  return argv[1];
}

Var* di_clearscope(std::int32_t, Var** argv) {
  ScanCondition& scan = dbf_of(argv[0]).scan;
  UNHOLD_VAR(&scan.forBlock);
  UNHOLD_VAR(&scan.whileBlock);
  scan.scopeCount = kScopeAll;
  return true_value();
}

// --- The condition that continue searches on with: the negation of what is looked for.

Var* di_getlocate(std::int32_t, Var** argv) {
  return kept_or_nil(dbf_of(argv[0]).scan.locateBlock);
}

Var* di_set_locate(std::int32_t argc, Var** argv) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!arg_is(argc, argv, 1, "BbU")) return refuse(dbf, TableError::kSetLocateAssign);
  if (!dbf.isOpen()) return false_value();
  if (is_nil(argv[1]))
    UNHOLD_VAR(&dbf.scan.locateBlock);
  else
    keep_value(&dbf.scan.locateBlock, argv[1]);
  return argv[1];
}

Var* di_clearlocate(std::int32_t, Var** argv) {
  UNHOLD_VAR(&dbf_of(argv[0]).scan.locateBlock);
  return true_value();
}

}  // namespace tarnel
