#include "db/dbfidx/scan/walk.h"

#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

// Records that a scan looks at, as far as it is known.
std::int64_t expected_records(const DbfIdx& dbf, const Scope& scope) {
  if (scope.count == kScopeAll) return dbf.lastRec;
  return scope.count >= 0 || dbf.currentOrder != 0 ? 0 : std::int64_t{dbf.lastRec} - dbf.recNo + 1;
}

Var* copy_of(Var* stored) {
  return stored != nullptr ? ARG_VAR(stored) : nullptr;
}

// A condition given as argument; a wrong one adds its number to the list.
Var* condition(Var* argument, const char* number, std::string& wrong) {
  Var* block = is_nil(argument) ? nullptr : block_of(argument);
  if (block == nullptr && !is_nil(argument)) wrong += number;
  return block;
}

}  // namespace

ScopeArguments::ScopeArguments(std::int32_t argc, Var** argv, std::int32_t first)
    : ScopeArguments(argument_or_nil(argc, argv, first), argument_or_nil(argc, argv, first + 1),
                     argument_or_nil(argc, argv, first + 2)) {}

bool ScopeArguments::absent() const {
  return is_nil(forCondition) && is_nil(whileCondition) && is_nil(extent);
}

bool read_scope(DbfIdx& dbf, const ScopeArguments& arguments, Scope& scope, std::string wrong) {
  if (arguments.absent()) {
    const ScanCondition& stored = dbf.scan;
    scope = {copy_of(stored.forBlock), copy_of(stored.whileBlock), stored.scopeCount};
  } else {
    scope.forBlock = condition(arguments.forCondition, "2 ", wrong);
    scope.whileBlock = condition(arguments.whileCondition, "3 ", wrong);
    scope.count = scope.whileBlock != nullptr ? kScopeRest : kScopeAll;
    const Var* extent = arguments.extent;
    if (is_number(extent))
      scope.count = integer_of(extent);
    else if (extent->type == 'L')
      scope.count = truth_of(extent) ? kScopeRest : scope.count;
    else if (!is_nil(extent))
      wrong += "4 ";
  }
  if (wrong.empty()) return true;
  dxerror(dbf, TableError::kEvalArguments, {wrong});
  return false;
}

ScopeWalk::ScopeWalk(DbfIdx& dbf, const Scope& scope, const char* work, Path path)
    : dbf_(dbf),
      same_(dbf),
      scope_(scope),
      left_(scope.count),
      mark_(temp_top()),
      fixed_(path == Path::kFixed && dbf.currentOrder != 0),
      progress_(work, expected_records(dbf, scope)),
      shown_(dbf.progress, &progress_) {}

bool ScopeWalk::begin() {
  const bool from_top = scope_.count == kScopeAll;
  if (from_top && !fixed_)
    go_top(dbf_);
  else if (!from_top)
    commit_table(dbf_);
  if (same() && fixed_) failed_ = !take_path(from_top) || (from_top && !move_along_path());
  return same() && !failed_ && find();
}

// The records from the top, or behind the one under the cursor, as the order has them under one internal
// lock. False after an error.
bool ScopeWalk::take_path(bool from_top) {
  const InternalLock lock(dbf_, lock_mode(dbf_));
  if (!lock.held() || !leave_record(dbf_) || !refresh_header(dbf_)) return false;
  index_synchronize(dbf_, kSyncMove);
  if (!same() || dbf_.currentOrder == 0) return false;
  const KeepCursor keep(dbf_);
  if (from_top) {
    dbf_.bofFlag = dbf_.eofFlag = 0;
    index_gotop(dbf_);
  } else {
    index_forward(dbf_, 1);
  }
  for (; same() && dbf_.eofFlag == 0; index_forward(dbf_, 1)) path_.push_back(dbf_.recNo);
  return !same() || dbf_.currentOrder != 0;
}

bool ScopeWalk::next() {
  return !failed_ && same() && step() && find();
}

// Does a condition hold, in the same table?
bool ScopeWalk::holds(Var* condition) {
  const Verdict verdict = judge(dbf_, condition);
  failed_ = failed_ || verdict == Verdict::kFailed;
  return verdict == Verdict::kHolds && same();
}

// From the record under the cursor on to one that is selected.
bool ScopeWalk::find() {
  do {
    if (dbf_.eofFlag != 0 || !holds(scope_.whileBlock) || left_ == 0) return false;
    if (holds(scope_.forBlock)) return true;
  } while (!failed_ && same() && step());
  return false;
}

// One record on. The last one of a number of records is not left.
bool ScopeWalk::step() {
  POP_TEMPS(mark_);
  failed_ = is_unreadable(dbf_);
  if (failed_) return false;
  if (left_ > 0 && --left_ == 0) return false;
  look_at_signals();
  progress_.step();
  failed_ = !(fixed_ ? move_along_path() : move_on()) && same();
  return !failed_ && same();
}

// False when the move failed, which it has told: it would not get any further.
bool ScopeWalk::move_on() {
  return skip_records(dbf_, 1) != 0 || dbf_.eofFlag != 0;
}

bool ScopeWalk::move_along_path() {
  while (passed_ < path_.size() && same()) {
    goRecord(dbf_, path_[passed_++]);
    if (!same() || dbf_.eofFlag != 0) continue;
    if (!refreshRecord(dbf_, true) && !is_unreadable(dbf_)) return false;
    if (visible(dbf_)) return true;
    look_at_signals();
    progress_.step();
  }
  if (same()) go_behind_end(dbf_);
  return true;
}

}  // namespace tarnel
