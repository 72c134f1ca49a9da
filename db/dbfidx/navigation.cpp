// Moves of the cursor, in natural order or along the controlling order, past records that are
// hidden. The cursor alone moves: a record is fetched when a field of it is asked for.
#include <algorithm>
#include <optional>

#include "core/settings.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/relations.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

bool ordered(const DbfIdx& dbf) {
  return dbf.currentOrder != 0;
}
bool hides(const DbfIdx& dbf) {
  return settings().deleted || dbf.filterBlock != nullptr;
}

void clear_flags(DbfIdx& dbf) {
  dbf.bofFlag = dbf.eofFlag = 0;
  dbf.found = false;
}

// An empty table stands before its beginning and behind its end.
void stand_nowhere(DbfIdx& dbf) {
  phantom(dbf);
  dbf.bofFlag = 1;
}

// recNo moves on by one; past the last record the header is asked again, and then the end is set.
void step_forward(DbfIdx& dbf) {
  if (++dbf.recNo > dbf.lastRec) refresh_header(dbf);
  if (dbf.recNo > dbf.lastRec) dbf.eofFlag = 1;
}

void step_back(DbfIdx& dbf) {
  if (--dbf.recNo >= 1) return;
  dbf.recNo = 1;
  dbf.bofFlag = 1;
}

void step_order_back(DbfIdx& dbf) {
  if (dbf.eofFlag != 0)
    index_gobottom(dbf);
  else
    index_skip(dbf, -1);
}

// Steps until a record shows or a flag is set, with relations in step.
template <typename Step>
void step_to_visible(DbfIdx& dbf, const std::int32_t& stop, Step step) {
  do {
    step(dbf);
    if (stop == 0) runRelations(dbf);
  } while (stop == 0 && !visible(dbf));
}

// From the record under the cursor on to one that shows, for gotop and gobottom.
void settle_top(DbfIdx& dbf) {
  if (ordered(dbf)) {
    refresh_header(dbf);
    refreshRecord(dbf, true);
    index_synchronize(dbf, kSyncMove);
  }
  while (dbf.eofFlag == 0 && !visible(dbf)) {
    if (ordered(dbf))
      index_skip(dbf, 1);
    else
      step_forward(dbf);
    if (dbf.eofFlag != 0) phantom(dbf);
    runRelations(dbf);
  }
}

void settle_bottom(DbfIdx& dbf) {
  if (ordered(dbf)) {
    refresh_header(dbf);
    refreshRecord(dbf, true);
    index_synchronize(dbf, kSyncMove);
  }
  while (dbf.bofFlag == 0 && dbf.eofFlag == 0 && !visible(dbf)) {
    if (ordered(dbf))
      index_skip(dbf, -1);
    else
      step_back(dbf);
    runRelations(dbf);
  }
}

// --- The paths of skip; each gives the number of records moved.

std::int32_t forward(DbfIdx& dbf, std::int32_t n) {
  dbf.eofFlag = 0;
  std::int64_t target = std::int64_t{dbf.recNo} + n;
  if (target > dbf.lastRec) refresh_header(dbf);
  if (target <= dbf.lastRec) {
    dbf.recNo = static_cast<std::int32_t>(target);
    return n;
  }
  dbf.eofFlag = 1;
  return static_cast<std::int32_t>(std::int64_t{n} + dbf.lastRec - target + 1);
}

std::int32_t back(DbfIdx& dbf, std::int32_t n) {
  dbf.eofFlag = 0;
  if (dbf.recNo > -std::int64_t{n}) {
    dbf.recNo += n;
    return n;
  }
  const std::int32_t moved = -dbf.recNo;
  dbf.recNo = 1;
  dbf.bofFlag = 1;
  return moved;
}

std::int32_t order_forward(DbfIdx& dbf, std::int32_t n) {
  const bool at_end = dbf.eofFlag != 0;
  const std::int32_t moved = index_skip(dbf, n);
  return at_end && dbf.eofFlag != 0 ? 0 : moved;
}

std::int32_t forward_visible(DbfIdx& dbf, std::int32_t n) {
  const bool at_end = dbf.eofFlag != 0;
  std::int32_t moved = at_end ? -1 : 0;
  if (ordered(dbf)) {
    while (moved < n && (dbf.eofFlag == 0 || moved < 0)) {
      step_to_visible(dbf, dbf.eofFlag, [](DbfIdx& d) { index_skip(d, 1); });
      ++moved;
    }
    return at_end && dbf.eofFlag != 0 ? 0 : moved;
  }
  dbf.eofFlag = 0;
  while (moved < n && dbf.eofFlag == 0) {
    step_to_visible(dbf, dbf.eofFlag, step_forward);
    ++moved;
  }
  return moved;
}

std::int32_t back_visible(DbfIdx& dbf, std::int32_t n) {
  std::int32_t count = 0;
  if (!ordered(dbf)) dbf.eofFlag = 0;
  while (count < -std::int64_t{n} && dbf.bofFlag == 0) {
    if (ordered(dbf))
      step_to_visible(dbf, dbf.bofFlag, step_order_back);
    else
      step_to_visible(dbf, dbf.bofFlag, step_back);
    ++count;
  }
  if (dbf.bofFlag != 0) {
    go_top(dbf);
    dbf.bofFlag = 1;
  }
  return -count;
}

std::int32_t move(DbfIdx& dbf, std::int32_t n) {
  if (n > 0) {
    if (hides(dbf)) return forward_visible(dbf, n);
    return ordered(dbf) ? order_forward(dbf, n) : forward(dbf, n);
  }
  const std::int32_t start = dbf.recNo;
  const std::int32_t moved = hides(dbf)     ? back_visible(dbf, n)
                             : ordered(dbf) ? index_skip(dbf, n)
                                            : back(dbf, n);
  return dbf.recNo == start ? 0 : moved;
}

// Does a move touch the file at all?
bool needs_lock(const DbfIdx& dbf) {
  return dbf.dirty || ordered(dbf) || hides(dbf) || dbf.relationCount > 0;
}

// One record on in natural order. False: nothing was done, forward() is the way.
bool natural_step(DbfIdx& dbf) {
  if (needs_lock(dbf) || dbf.eofFlag != 0 || dbf.recNo >= dbf.lastRec) return false;
  dbf.bofFlag = 0;
  ++dbf.recNo;
  return true;
}

// The end of every skip.
std::int32_t moved_on(DbfIdx& dbf, std::int32_t moved) {
  if (dbf.eofFlag != 0) phantom(dbf);
  runRelations(dbf);
  return moved;
}

// Under a lock that is held anyway: a walk along an order asks for a field of each record, and that
// would cost another lock.
void prefetch(DbfIdx& dbf) {
  if (!ordered(dbf) || dbf.eofFlag != 0 || dbf.bufferedRec == dbf.recNo || dbf.dirty) return;
  fetchRecord(dbf, dbf.recNo);
  dbf.prefetchedRec = dbf.bufferedRec;
  dbf.bufferedRec = 0;
}

bool seek_failed(DbfIdx& dbf, std::optional<InternalLock>& lock) {
  phantom(dbf);
  runRelations(dbf);
  commit_table(dbf);
  lock.reset();
  return dbf.found = false;
}

bool seek_settled(DbfIdx& dbf, std::optional<InternalLock>& lock) {
  runRelations(dbf);
  const bool found = dbf.found;
  commit_table(dbf);  // what was read under this lock is not read again
  lock.reset();
  return dbf.found = found;
}

void fetch_for_seek(DbfIdx& dbf) {
  if (commitRecord(dbf)) return;
  refresh_header(dbf);
  refreshRecord(dbf, true);
}

}  // namespace

bool visible(DbfIdx& dbf) {
  if (settings().deleted) {
    if (dbf.recNo != dbf.bufferedRec) fetchRecord(dbf, dbf.recNo);
    if (marked_deleted(dbf)) return false;
  }
  return dbf.filterBlock == nullptr || (condition_holds(dbf, dbf.filterBlock) && dbf.isOpen());
}

void goRecord(DbfIdx& dbf, std::int32_t n) {
  if (dbf.lastRec == 0 && n > 0) refresh_header(dbf);
  if (dbf.lastRec == 0) {
    stand_nowhere(dbf);
    return runRelations(dbf);
  }
  clear_flags(dbf);
  if (dbf.dirty) commitRecord(dbf);
  if (n > dbf.lastRec) refresh_header(dbf);
  if (n <= 0)
    stand_nowhere(dbf);
  else if (n > dbf.lastRec)
    phantom(dbf);
  else
    dbf.recNo = n;
  runRelations(dbf);
}

void go_top(DbfIdx& dbf) {
  std::optional<InternalLock> lock;
  if (needs_lock(dbf) || dbf.lastRec == 0) lock.emplace(dbf, lock_mode(dbf));
  if (seems_empty(dbf)) {
    stand_nowhere(dbf);
    return runRelations(dbf);
  }
  clear_flags(dbf);
  commitRecord(dbf);
  if (ordered(dbf)) {
    index_gotop(dbf);
    if (dbf.eofFlag != 0) phantom(dbf);
  } else {
    dbf.recNo = 1;
  }
  runRelations(dbf);
  if (hides(dbf)) {
    lock.reset();  // others get their turn between the move and the search
    lock.emplace(dbf, LockMode::kShared);
    settle_top(dbf);
  }
  if (dbf.eofFlag != 0) dbf.bofFlag = 1;
  runRelations(dbf);
}

void go_bottom(DbfIdx& dbf) {
  std::optional<InternalLock> lock;
  lock.emplace(dbf, lock_mode(dbf));
  if (seems_empty(dbf)) {
    stand_nowhere(dbf);
    return runRelations(dbf);
  }
  clear_flags(dbf);
  commitRecord(dbf);
  if (ordered(dbf)) {
    index_gobottom(dbf);
    if (dbf.eofFlag != 0) phantom(dbf);
  } else {
    refresh_header(dbf);
    dbf.recNo = dbf.lastRec;
  }
  runRelations(dbf);
  if (hides(dbf)) {
    lock.reset();
    lock.emplace(dbf, LockMode::kShared);
    settle_bottom(dbf);
  }
  if (dbf.bofFlag != 0) phantom(dbf);
  runRelations(dbf);
}

std::int32_t skip_records(DbfIdx& dbf, std::int32_t n) {
  if (n == 1 && !dbf.dirty && !hides(dbf) && (index_step(dbf) || natural_step(dbf))) {
    dbf.found = false;
    return moved_on(dbf, 1);
  }
  if (n == 0) {
    commit_table(dbf);
    return 0;
  }
  if (seems_empty(dbf)) {
    stand_nowhere(dbf);
    runRelations(dbf);
    return 0;
  }
  dbf.found = false;
  std::optional<InternalLock> lock;
  if (needs_lock(dbf)) {
    lock.emplace(dbf, lock_mode(dbf));
    if (!commitRecord(dbf) && (ordered(dbf) || hides(dbf))) refreshRecord(dbf, true);
  }
  if (dbf.eofFlag != 0) refresh_header(dbf);
  if (ordered(dbf)) index_synchronize(dbf, kSyncMove);
  dbf.bofFlag = 0;
  const std::int32_t moved = moved_on(dbf, move(dbf, n));
  if (lock && !dbf.exclusive()) prefetch(dbf);
  return moved;
}

bool seek_record(DbfIdx& dbf, Var* value, bool soft) {
  if (seems_empty(dbf)) {
    stand_nowhere(dbf);
    runRelations(dbf);
    commit_table(dbf);
    return dbf.found = false;
  }
  if (!ordered(dbf)) {
    dxerror(dbf, TableError::kSeekNoOrder, {dbf.aliasName});
    commit_table(dbf);
    return dbf.found = false;
  }
  clear_flags(dbf);
  if (value == nullptr) {
    go_top(dbf);
    dxerror(dbf, TableError::kSeekNoArgument);
    commit_table(dbf);
    return dbf.found;
  }
  std::optional<InternalLock> lock;
  lock.emplace(dbf, lock_mode(dbf));
  fetch_for_seek(dbf);
  index_synchronize(dbf, kSyncSeek);
  dbf.found = index_seek(dbf, value, soft);
  runRelations(dbf);
  if (dbf.eofFlag != 0) return seek_failed(dbf, lock);
  while (!visible(dbf)) {
    index_skip(dbf, 1);
    runRelations(dbf);
    if (dbf.eofFlag != 0) return seek_failed(dbf, lock);
    if (!dbf.found || index_keycompare(dbf, value) == 0) continue;
    dbf.found = false;
    if (!soft) return seek_failed(dbf, lock);
  }
  return seek_settled(dbf, lock);
}

bool seek_by_block(DbfIdx& dbf, Var* block) {
  std::optional<InternalLock> lock;
  const auto failed = [&] {
    phantom(dbf);
    runRelations(dbf);
    return dbf.found = false;
  };
  if (seems_empty(dbf)) {
    failed();
    dbf.bofFlag = 1;
    return false;
  }
  if (!ordered(dbf)) {
    dxerror(dbf, TableError::kSeekEvalNoOrder, {dbf.aliasName});
    return dbf.found = false;
  }
  clear_flags(dbf);
  if (block == nullptr) {
    go_top(dbf);
    dxerror(dbf, TableError::kSeekEvalNoArgument);
    return true;
  }
  lock.emplace(dbf, lock_mode(dbf));
  fetch_for_seek(dbf);
  index_synchronize(dbf, kSyncSeekEval);
  dbf.found = index_seekeval(dbf, block);
  while (dbf.eofFlag == 0 && !visible(dbf)) {
    index_skip(dbf, 1);
    dbf.found = index_seekeval(dbf, block);
  }
  if (dbf.eofFlag != 0) return failed();
  runRelations(dbf);
  return true;
}

}  // namespace tarnel
