// Moves of the cursor, in natural order or along the controlling order, past records that are
// hidden. The cursor alone moves: a record is fetched when a field of it is asked for.
#include <algorithm>
#include <limits>

#include "core/settings.h"
#include "core/signals.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/progress.h"

namespace tarnel {
namespace {

bool ordered(const DbfIdx& dbf) {
  return dbf.currentOrder != 0;
}
bool hides(const DbfIdx& dbf) {
  return settings().deleted || dbf.scan.filterBlock != nullptr;
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
  if (++dbf.recNo > dbf.lastRec && (!refresh_header(dbf) || dbf.recNo > dbf.lastRec))
    dbf.eofFlag = 1;
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

// A filter may look at the tables that follow the cursor; nobody else sees them before the move ends.
void follow_for_filter(DbfIdx& dbf) {
  if (dbf.scan.filterBlock != nullptr) runRelations(dbf);
}

// Is the record under the cursor hidden, so that a search goes on?
bool passes_over(DbfIdx& dbf) {
  if (visible(dbf)) return false;
  look_at_signals();  // there may be many on the way to one that shows
  if (dbf.progress != nullptr) dbf.progress->step();
  return true;
}

// Steps until a record shows or a flag is set.
template <typename Step>
void step_to_visible(DbfIdx& dbf, const std::int32_t& stop, Step step) {
  do {
    step(dbf);
    if (stop == 0) follow_for_filter(dbf);
  } while (stop == 0 && passes_over(dbf));
}

// The orders get what waits before they are walked; header and record are looked at again.
bool bring_orders_up(DbfIdx& dbf) {
  const SameTable same(dbf);
  if (!refresh_header(dbf) || !refreshRecord(dbf, true)) return false;
  index_synchronize(dbf, kSyncMove);
  return same.holds();
}

// From the record under the cursor on to one that shows, for gotop and gobottom.
void settle_top(DbfIdx& dbf) {
  if (ordered(dbf) && !bring_orders_up(dbf)) return;
  follow_for_filter(dbf);
  while (dbf.eofFlag == 0 && passes_over(dbf)) {
    if (ordered(dbf))
      index_skip(dbf, 1);
    else
      step_forward(dbf);
    if (dbf.eofFlag != 0) phantom(dbf);
    follow_for_filter(dbf);
  }
}

void settle_bottom(DbfIdx& dbf) {
  if (ordered(dbf) && !bring_orders_up(dbf)) return;
  follow_for_filter(dbf);
  while (dbf.bofFlag == 0 && dbf.eofFlag == 0 && passes_over(dbf)) {
    if (ordered(dbf))
      index_skip(dbf, -1);
    else
      step_back(dbf);
    follow_for_filter(dbf);
  }
}

// --- The paths of skip; each gives the number of records moved.

std::int32_t forward(DbfIdx& dbf, std::int32_t n) {
  dbf.eofFlag = 0;
  std::int64_t target = std::int64_t{dbf.recNo} + n;
  const bool known = target <= dbf.lastRec || refresh_header(dbf);
  if (known && target <= dbf.lastRec) {
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

// Is a move one operation on the file? In natural order what it passes is looked at record by record, and a
// filter runs without a lock.
bool needs_lock(const DbfIdx& dbf) {
  return dbf.buffer.changed() || ordered(dbf);
}

// Before a skip: the changed record is written; a step along an order starts at the key of the record.
bool fetch_to_leave(DbfIdx& dbf) {
  const SameTable same(dbf);
  const bool written = commitRecord(dbf) == Commit::kWritten;
  if (!same.holds()) return false;
  if (written || !ordered(dbf)) return true;
  return refreshRecord(dbf, true) || same.holds();
}

// A step to the next record of those that are known, in natural order, which nothing else comes of.
bool natural_step(DbfIdx& dbf) {
  if (ordered(dbf) || dbf.eofFlag != 0 || dbf.recNo >= dbf.lastRec) return false;
  ++dbf.recNo;
  dbf.bofFlag = 0;
  return true;
}

// Moves the cursor alone; 0 after an error too.
std::int32_t skip_locked(DbfIdx& dbf, std::int32_t n) {
  const SameTable same(dbf);
  const bool locks = needs_lock(dbf);
  const InternalLock lock(dbf, lock_mode(dbf), locks);
  if (!lock.held() || (locks && !fetch_to_leave(dbf))) return 0;
  if (dbf.eofFlag != 0 && !refresh_header(dbf)) return 0;
  if (ordered(dbf)) index_synchronize(dbf, kSyncMove);
  if (!same.holds()) return 0;
  dbf.bofFlag = 0;
  const std::int32_t moved = move(dbf, n);
  if (!same.holds()) return 0;
  if (dbf.eofFlag != 0)
    phantom(dbf);
  else if (ordered(dbf) && is_locked(dbf))
    dbf.ahead.note(dbf, dbf.recNo);
  return moved;
}

// The ends of a seek, still under its lock: what was read under it is not read again.
bool seek_failed(DbfIdx& dbf) {
  phantom(dbf);
  commit_alone(dbf);
  return dbf.found = false;
}

bool seek_settled(DbfIdx& dbf) {
  const bool found = dbf.found;
  if (!commit_alone(dbf) && !dbf.isOpen()) return false;
  return dbf.found = found;
}

// False when the header can't be read, or the table is gone. That the record left behind can't be read
// is told, and does not matter for what is sought.
bool fetch_for_seek(DbfIdx& dbf) {
  const SameTable same(dbf);
  if (commitRecord(dbf) == Commit::kWritten || !same.holds()) return same.holds();
  return refresh_header(dbf) && (refreshRecord(dbf, true) || same.holds());
}

// From the record found on to one that shows. False when there is none.
bool settle_seek(DbfIdx& dbf, Var* value, bool soft) {
  const SameTable same(dbf);
  while (!visible(dbf)) {
    index_skip(dbf, 1);
    if (!same.holds()) return false;
    follow_for_filter(dbf);
    if (!same.holds() || dbf.eofFlag != 0) return false;
    if (!dbf.found || index_keycompare(dbf, value) == 0) continue;
    if (!same.holds()) return false;
    dbf.found = false;
    if (!soft) return false;
  }
  return same.holds();
}

// Moves the cursor alone. The found flag.
bool seek_locked(DbfIdx& dbf, Var* value, bool soft) {
  const SameTable same(dbf);
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !fetch_for_seek(dbf)) return dbf.found = false;
  index_synchronize(dbf, kSyncSeek);
  if (!same.holds()) return false;
  const bool found = index_seek(dbf, value, soft);
  if (!same.holds()) return false;
  dbf.found = found;
  follow_for_filter(dbf);
  if (!same.holds()) return false;
  if (dbf.eofFlag == 0 && settle_seek(dbf, value, soft)) return seek_settled(dbf);
  return same.holds() && seek_failed(dbf);
}

// The first or the last record, hidden or not, under one internal lock. False when there is nothing
// more to do: the table is empty, or gone, or can't be read.
enum class End : bool { kTop, kBottom };
bool go_to_end(DbfIdx& dbf, End end) {
  const SameTable same(dbf);
  const bool top = end == End::kTop;
  const InternalLock lock(dbf, lock_mode(dbf), !top || needs_lock(dbf) || dbf.lastRec == 0);
  if (!lock.held()) return false;
  if (seems_empty(dbf)) {
    if (same.holds()) stand_nowhere(dbf);
    runRelations(dbf);
    return false;
  }
  clear_flags(dbf);
  if (!leave_record(dbf)) return false;
  if (ordered(dbf)) {
    top ? index_gotop(dbf) : index_gobottom(dbf);
    if (!same.holds()) return false;
    if (dbf.eofFlag != 0) phantom(dbf);
  } else if (top) {
    dbf.recNo = 1;
  } else {
    if (!refresh_header(dbf)) return false;
    dbf.recNo = dbf.lastRec;
  }
  return true;
}

}  // namespace

bool visible(DbfIdx& dbf) {
  if (settings().deleted) {
    if (!refreshRecord(dbf, true)) return true;
    if (dbf.buffer.marked_deleted()) return false;
  }
  if (dbf.scan.filterBlock == nullptr) return true;
  const SameTable same(dbf);
  return condition_holds(dbf, dbf.scan.filterBlock) || !same.holds();
}

void goRecord(DbfIdx& dbf, std::int32_t n) {
  if (dbf.lastRec == 0 && (n <= 0 || seems_empty(dbf))) {
    stand_nowhere(dbf);
    return runRelations(dbf);
  }
  clear_flags(dbf);
  if (!leave_record(dbf)) return;
  const bool known = n <= dbf.lastRec || refresh_header(dbf);
  if (!dbf.isOpen()) return;
  if (n <= 0)
    stand_nowhere(dbf);
  else if (!known || n > dbf.lastRec)
    phantom(dbf);
  else
    dbf.recNo = n;
  runRelations(dbf);
}

bool go_to_number(DbfIdx& dbf, std::int32_t n) {
  if (n > dbf.lastRec && (!leave_record(dbf) || !refresh_header(dbf))) return false;
  goRecord(dbf, n > 0 && n <= dbf.lastRec ? n : 0);
  return true;
}

void go_behind_end(DbfIdx& dbf) {
  goRecord(dbf, std::numeric_limits<std::int32_t>::max());
}

void go_top(DbfIdx& dbf) {
  const SameTable same(dbf);
  if (!go_to_end(dbf, End::kTop)) return;
  if (hides(dbf)) {  // others got their turn between the move and the search
    const InternalLock lock(dbf, LockMode::kShared);
    if (lock.held()) settle_top(dbf);
  }
  if (!same.holds()) return;
  if (dbf.eofFlag != 0) dbf.bofFlag = 1;
  runRelations(dbf);
}

void go_bottom(DbfIdx& dbf) {
  const SameTable same(dbf);
  if (!go_to_end(dbf, End::kBottom)) return;
  if (hides(dbf)) {
    const InternalLock lock(dbf, LockMode::kShared);
    if (lock.held()) settle_bottom(dbf);
  }
  if (!same.holds()) return;
  if (dbf.bofFlag != 0) phantom(dbf);
  runRelations(dbf);
}

std::int32_t skip_records(DbfIdx& dbf, std::int32_t n) {
  if (n == 1 && !dbf.buffer.changed() && !hides(dbf) && (natural_step(dbf) || index_step(dbf))) {
    dbf.found = false;
    if (dbf.eofFlag != 0) phantom(dbf);
    runRelations(dbf);
    return 1;
  }
  if (n == 0) {
    commit_table(dbf);
    return 0;
  }
  const SameTable same(dbf);
  if (seems_empty(dbf)) {
    if (!same.holds()) return 0;
    stand_nowhere(dbf);
    runRelations(dbf);
    return 0;
  }
  dbf.found = false;
  const std::int32_t moved = skip_locked(dbf, n);
  if (!same.holds()) return 0;
  runRelations(dbf);
  return moved;
}

bool seek_record(DbfIdx& dbf, Var* value, bool soft) {
  if (seems_empty(dbf)) {
    stand_nowhere(dbf);
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
  const bool found = seek_locked(dbf, value, soft);
  const SameTable same(dbf);
  runRelations(dbf);
  return found && same.holds();
}

bool seek_by_block(DbfIdx& dbf, Var* block) {
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
  const SameTable same(dbf);
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !fetch_for_seek(dbf)) return dbf.found = false;
  index_synchronize(dbf, kSyncSeekEval);
  bool found = same.holds() && index_seekeval(dbf, block);
  follow_for_filter(dbf);
  while (same.holds() && dbf.eofFlag == 0 && !visible(dbf)) {
    index_skip(dbf, 1);
    if (same.holds()) follow_for_filter(dbf);
    found = same.holds() && index_seekeval(dbf, block);
  }
  if (!same.holds()) return false;
  if (dbf.eofFlag != 0) return failed();
  dbf.found = found;
  runRelations(dbf);
  return true;
}

}  // namespace tarnel
