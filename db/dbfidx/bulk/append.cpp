// Records of another table behind those of this one.
#include "db/dbfidx/bulk/bulk.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/bulk/source_table.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "APPEND FROM";

// The lock of the whole table for the time of the operation, where nobody is in the way; without it each record
// is locked for itself.
class TargetLock {
 public:
  explicit TargetLock(DbfIdx& dbf) : dbf_(dbf), same_(dbf) {
    if (dbf.exclusive() || dbf.is(kFileLocked) || dbf.locks.records.count() > 0) return;
    taken_ = lockFile(dbf) == 0;
  }
  ~TargetLock() {
    if (taken_ && same_.holds()) unlockAll(dbf_);
  }
  TargetLock(const TargetLock&) = delete;
  TargetLock& operator=(const TargetLock&) = delete;

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  bool taken_ = false;
};

bool target_locked(DbfIdx& dbf) {
  dxerror(dbf, TableError::kBulkTargetLocked, {kOperation, kOperation});
  return false;
}

bool may_append(DbfIdx& dbf) {
  if (dbf.readOnly()) {
    dxerror(dbf, TableError::kBulkReadOnly, {kOperation, dbf.aliasName});
    return false;
  }
  const bool alone = dbf.exclusive() || dbf.is(kFileLocked);
  return alone || !file_locked_elsewhere(dbf) || target_locked(dbf);
}

// Fields of the target that the source has too, and that the list names.
bool make_plan(DbfIdx& target, DbfIdx& source, const BulkRequest& request, FieldPlan& plan) {
  std::vector<std::int32_t> numbers;
  if (!read_field_list(target, request.fields, kOperation, numbers)) return false;
  const bool all = static_cast<std::int32_t>(numbers.size()) == target.fieldCount;
  for (const std::int32_t n : numbers) {
    const dbf::Field& to = target.fields[static_cast<std::size_t>(n)];
    const std::int32_t from = field_position(source, to.name) - 1;
    if (from >= 0 && plan.add(source, from, to)) continue;
    if (from >= 0)
      dxerror(target, TableError::kBulkTypeMismatch,
              {kOperation, to.name, to.type, source.fields[static_cast<std::size_t>(from)].type});
    else if (!all)
      dxerror(target, TableError::kBulkNoField, {kOperation, request.file, to.name});
    if (from >= 0 || !all) return false;
  }
  return true;
}

bool add_record(DbfIdx& dbf, const std::uint8_t* record) {
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !refresh_header(dbf)) return false;
  const bool alone = dbf.exclusive() || dbf.is(kFileLocked);
  const std::int32_t n = dbf.lastRec + 1;
  const bool held = alone || dbf.locks.records.holds(n);
  if (!alone && lockRecord(dbf, n) != 0) return target_locked(dbf);
  const SameTable same(dbf);
  const bool added = append_record(dbf, false, record);
  if (!held && same.holds()) unlockRecord(dbf, n);
  return added && same.holds();
}

std::int64_t put_memo(void* target, std::string_view text) {
  return add_memo_text(*static_cast<DbfIdx*>(target), text);
}

bool append_records(DbfIdx& target, DbfIdx& source, const FieldPlan& plan, const Scope& scope) {
  const SameTable same(target);
  const MemoSink memos = {&target, put_memo};
  std::vector<std::uint8_t> record(target.recordSize);
  ScopeWalk walk(source, scope, "append");
  for (bool on = walk.begin(); on; on = walk.next()) {
    std::fill(record.begin(), record.end(), std::uint8_t{' '});
    if (!same.holds() || !fetch_current(source) ||
        !plan.fill(source, record.data(), memos, kOperation) || !same.holds() ||
        !add_record(target, record.data()))
      walk.fail();
  }
  return !walk.failed() && walk.same();
}

}  // namespace

bool append_from(DbfIdx& dbf, const BulkRequest& request) {
  const SameTable same(dbf);
  if (!may_append(dbf)) return false;
  SourceTable source;
  if (!source.open(dbf, request.file)) {
    dxerror(dbf, TableError::kBulkNoSource, {kOperation, kOperation, request.file});
    return false;
  }
  FieldPlan plan;
  Scope scope;
  if (!make_plan(dbf, source.dbf(), request, plan) ||
      !read_scope(source.dbf(), request.scope, scope))
    return false;
  if (plan.empty()) return true;
  if (commitRecord(dbf) == Commit::kFailed || !same.holds()) return false;
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
  bool done;
  {
    const TargetLock lock(dbf);
    done = append_records(dbf, source.dbf(), plan, scope);
  }
  return same.holds() && commit_table(dbf) && done;
}

}  // namespace tarnel
