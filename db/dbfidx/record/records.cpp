#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>

#include "core/errors.h"
#include "core/frame.h"
#include "core/modules.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/file_ops.h"

namespace tarnel {
namespace {

constexpr std::int32_t kMaxRecords = std::numeric_limits<std::int32_t>::max() - 1;
// Growth between two looks at a header that is believed without a look at the file's size.
constexpr std::int32_t kPlausibleGrowth = 65536;
constexpr int kLowestAutoLock = -2;

std::int64_t place_of(const DbfIdx& dbf, std::int32_t n) {
  return dbf::record_offset(dbf.headerSize, dbf.recordSize, n);
}

void blank(DbfIdx& dbf) {
  if (dbf.recordSize > 0) std::memset(dbf.record.data(), ' ', dbf.recordSize);
}

// Today, worked out once a minute at most: the header is written at every shared append.
dbf::Date today() {
  static std::time_t minute = -1;
  static dbf::Date date{};
  const std::time_t now = std::time(nullptr);
  if (now / 60 != minute) {
    std::tm parts{};
    localtime_r(&now, &parts);
    date = {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
    minute = now / 60;
  }
  return date;
}

// A count that leaps may come from a damaged header; the file has what its size says.
std::int32_t plausible_count(const DbfIdx& dbf, std::uint32_t count) {
  const auto known = static_cast<std::int64_t>(dbf.lastRec);
  if (count <= known + kPlausibleGrowth) return static_cast<std::int32_t>(count);
  struct stat status {};
  if (file_ops().fstat(dbf.dbfFd, &status) != 0) return dbf.lastRec;
  const std::int64_t fits = (status.st_size - dbf.headerSize) / dbf.recordSize;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::min<std::int64_t>(count, fits), 0, kMaxRecords));
}

// Reads the header or a record of a table that others use too. A mapping shows zeros behind the end of
// a file that was cut short: a zero at the end is looked at again.
bool read_shared(DbfIdx& dbf, std::uint8_t* to, std::size_t n, std::int64_t at) {
  return (dbf.mapped.read(to, n, at) && to[n - 1] != 0) || read_at(dbf.dbfFd, to, n, at);
}

bool read_record(DbfIdx& dbf, std::int32_t n, std::uint8_t* to) {
  return dbf.exclusive() ? dbf.window.read(dbf, n, to)
                         : read_shared(dbf, to, dbf.recordSize, place_of(dbf, n));
}

// What other areas of this process know of the file is no longer so.
void others_look_again(DbfIdx& dbf) {
  for (DbfIdx* other = dbf.ring; other != &dbf; other = other->ring) {
    other->headerFresh = false;
    other->freshRec = 0;
  }
}

bool locked(const DbfIdx& dbf) {
  return dbf.readLocks > 0 || dbf.writeLocks > 0;
}

// Writes the buffer as record n, which may be one more than the file has.
bool store_record(DbfIdx& dbf, std::int32_t n, bool appended = false) {
  dbf.changed = true;
  const std::uint8_t* from = dbf.record.data();
  dbf.appended |= appended;
  if (dbf.exclusive())
    return appended ? dbf.window.append(dbf, n, from) : dbf.window.write(dbf, n, from);
  others_look_again(dbf);
  if (!write_at(dbf.dbfFd, from, dbf.recordSize, place_of(dbf, n))) return false;
  if (locked(dbf)) dbf.freshRec = n;
  return true;
}

// Adds the pending changes to the counter of the header in memory.
void count_pending(DbfIdx& dbf) {
  const std::uint8_t pending = std::exchange(dbf.pendingChanges, std::uint8_t{0});
  auto counter = static_cast<std::uint8_t>(dbf::change_counter(dbf.header.data()) + pending);
  // A counter that wrapped steps over the values that look unused.
  if (pending >= counter) counter = static_cast<std::uint8_t>(counter + 2);
  dbf::set_change_counter(dbf.header.data(), counter);
}

bool auto_lock_allowed(const DbfIdx& dbf) {
  return dbf.concurrency < 0 || (dbf.concurrency > 0 && settings().autolock >= kLowestAutoLock);
}

Var* call_auto(DbfIdx& dbf, const char* procedure) {
  const Callable function = lookup_function(procedure);
  if (function == nullptr) return false_value();
  const CallOut out;
  Var* argv[] = {dbf.object, dbf.concurrency < 0 ? TMP_INT(-dbf.concurrency) : nil_value()};
  return CALL_VECTOR(function, 2, argv);
}

bool call_auto_lock(DbfIdx& dbf, const char* procedure) {
  const std::int32_t mark = temp_top();
  const bool held = truth_of(call_auto(dbf, procedure));
  POP_TEMPS(mark);
  return held;
}

// The keys of the record: those of its former contents are noted, then replaced.
void replace_keys(DbfIdx& dbf) {
  if (dbf.orderCount == 0) return;
  std::swap(dbf.record, dbf.backup);
  stale_fields(dbf);
  index_synchronize(dbf, kSyncReplace);
  std::swap(dbf.record, dbf.backup);
  stale_fields(dbf);
  index_replace(dbf);
}

// Writes the record under the cursor and its keys. In shared use with orders the change is counted
// first: a process that dies on the way leaves orders that are seen not to agree.
bool write_with_keys(DbfIdx& dbf) {
  const bool count_first = dbf.orderCount > 0 && !dbf.exclusive();
  if (dbf.orderCount > 0) refresh_header(dbf);
  index_begin_change(dbf);
  change_counter(dbf, -2);
  if (count_first) change_counter(dbf, -4);
  const bool wrote = writeRecord(dbf, dbf.recNo);
  if (wrote) replace_keys(dbf);
  if (dbf.isOpen()) index_end_change(dbf);
  return wrote;
}

bool may_write(DbfIdx& dbf, std::int32_t n) {
  if (!dbf.isOpen()) {
    dxerror(dbf, TableError::kPutNotOpen, {dbf.aliasName});
  } else if (n <= 0 || n > dbf.lastRec) {
    dxerror(dbf, TableError::kWriteAtEof, {dbf.aliasName});
  } else if (!holds_record(dbf, n)) {
    if (dbf.lockList.count() == 0) dxerror(dbf, TableError::kWriteNotLocked, {n, dbf.aliasName});
  } else {
    return true;
  }
  return false;
}

bool append_failed(DbfIdx& dbf, std::int32_t n, TableError error) {
  // What part of the record reached the file goes again; nobody has counted it yet.
  if (!dbf.exclusive()) {
    file_ops().truncate(dbf.dbfFd, place_of(dbf, n));
    if (!dbf.is(kFileLocked)) unlockRecord(dbf, n);
    dbf.lastRec = n - 1;
  }
  dbf.bufferedRec = 0;
  const std::string& where = dbf.fileName;
  if (error == TableError::kHeaderUnwritable)
    dxerror(dbf, error, {where});
  else
    dxerror(dbf, error, {n, where});
  return false;
}

}  // namespace

// --- The header.

void refresh_header(DbfIdx& dbf) {
  if (!dbf.isOpen()) return dxerror(dbf, TableError::kHeaderNotOpen, {dbf.fileName});
  if (dbf.exclusive() || dbf.headerFresh) return;
  std::uint8_t prefix[dbf::kHeaderPrefix];
  if (!read_shared(dbf, prefix, sizeof prefix, 0))
    return dxerror(dbf, TableError::kHeaderUnreadable, {dbf.fileName});
  std::memcpy(dbf.header.data(), prefix, sizeof prefix);
  dbf.lastRec = plausible_count(dbf, dbf::record_count(prefix));
  dbf.headerFresh = locked(dbf);
}

bool write_header(DbfIdx& dbf) {
  if (!dbf.isOpen()) {
    dxerror(dbf, TableError::kHeaderWriteNotOpen, {dbf.fileName});
    return false;
  }
  if (dbf.exclusive() && !dbf.window.flush(dbf)) {
    dxerror(dbf, TableError::kRecordUnwritable, {dbf.lastRec + 1, dbf.fileName});
    dbf.bufferedRec = 0;
  }
  dbf.changed = true;
  dbf::set_record_count(dbf.header.data(), static_cast<std::uint32_t>(dbf.lastRec));
  dbf::set_last_update(dbf.header.data(), today());
  others_look_again(dbf);
  return write_at(dbf.dbfFd, dbf.header.data(), dbf::kHeaderPrefix, 0);
}

std::uint8_t change_counter(DbfIdx& dbf, int op) {
  std::uint8_t& pending = dbf.pendingChanges;
  switch (op) {
    case -1:
      return pending;
    case -2:
      if (++pending == 0) pending = 2;
      return pending;
    case -3:
      return pending = 1;
    case -4:
      break;
    case -5:
      if (pending == 0) return dbf::change_counter(dbf.header.data());
      break;
    default:
      return pending = static_cast<std::uint8_t>(op);
  }
  if (pending == 0) refresh_header(dbf);
  if (pending != 0) {
    count_pending(dbf);
    if (!write_header(dbf)) dxerror(dbf, TableError::kHeaderUnwritable, {dbf.fileName});
  }
  return dbf::change_counter(dbf.header.data());
}

void updateHeader(DbfIdx& dbf) {
  if (!dbf.isOpen() || dbf.readOnly()) return;
  const InternalLock lock(dbf, lock_mode(dbf));
  refresh_header(dbf);
  change_counter(dbf, -5);
}

// --- The record buffer.

// The failures of fetchRecord, kept out of it: it runs once for each record of a walk.
[[gnu::noinline]] static void no_record(DbfIdx& dbf, std::int32_t n) {
  dxerror(dbf, dbf.isOpen() ? TableError::kRecordOutOfRange : TableError::kGetNotOpen, {n});
}
[[gnu::noinline]] static void unreadable(DbfIdx& dbf, std::int32_t n) {
  dxerror(dbf, TableError::kRecordUnreadable, {n, dbf.fileName});
}

void fetchRecord(DbfIdx& dbf, std::int32_t n) {
  if (!dbf.isOpen() || n <= 0) return no_record(dbf, n);
  if (n > dbf.lastRec) return phantom(dbf);
  const bool fresh = dbf.freshRec == n && dbf.bufferedRec == n && !dbf.dirty;
  dbf.prefetchedRec = 0;
  dbf.dirty = false;
  stale_fields(dbf);
  dbf.bufferedRec = n;
  if (fresh) return;
  if (read_record(dbf, n, dbf.record.data())) {
    if (locked(dbf)) dbf.freshRec = n;
    return;
  }
  blank(dbf);
  unreadable(dbf, n);
}

void refreshRecord(DbfIdx& dbf, bool onlyIfMoved) {
  if (onlyIfMoved && dbf.recNo == dbf.bufferedRec) return;
  if (dbf.exclusive() && !dbf.dirty && has_record(dbf, dbf.recNo)) {
    // What every step of a walk does: the record is in memory.
    if (!dbf.window.copy(dbf.recNo, dbf.record.data(), dbf.recordSize))
      return fetchRecord(dbf, dbf.recNo);
    stale_fields(dbf);
    dbf.bufferedRec = dbf.recNo;
    return;
  }
  if (onlyIfMoved && dbf.recNo == dbf.prefetchedRec) {
    dbf.bufferedRec = dbf.prefetchedRec;
    dbf.prefetchedRec = 0;
    return;
  }
  if (dbf.lastRec == 0) {
    phantom(dbf);
    dbf.bofFlag = 1;
    return;
  }
  const InternalLock lock(dbf, lock_mode(dbf));
  if (dbf.dirty) commitRecord(dbf);
  fetchRecord(dbf, dbf.recNo);
}

void phantom(DbfIdx& dbf) {
  dbf.prefetchedRec = 0;
  dbf.dirty = false;
  blank(dbf);
  stale_fields(dbf);
  dbf.eofFlag = 1;
  dbf.recNo = dbf.bufferedRec = dbf.lastRec + 1;
}

bool record_deleted(DbfIdx& dbf) {
  refreshRecord(dbf, true);
  return marked_deleted(dbf);
}

// --- Writing.

int checkReplace(DbfIdx& dbf) {
  const auto refuse = [&](TableError error) {
    dxerror(dbf, error, {dbf.aliasName});
    return -1;
  };
  if (!dbf.isOpen()) return refuse(TableError::kPutClosed);
  if (dbf.readOnly()) return refuse(TableError::kPutReadOnly);
  if (dbf.eofFlag != 0) return refuse(TableError::kPutAtEof);
  if (dbf.lastRec == 0) return refuse(TableError::kPutEmpty);
  if (holds_record(dbf, dbf.recNo)) return 0;
  if (auto_lock_allowed(dbf)) return call_auto_lock(dbf, "autorlock") ? 1 : -1;
  dxerror(dbf, TableError::kPutNotLocked, {dbf.recNo, dbf.aliasName});
  return -1;
}

void release_auto_lock(DbfIdx& dbf) {
  call_auto_lock(dbf, "autounlock");
}

bool auto_file_lock(DbfIdx& dbf) {
  return auto_lock_allowed(dbf) && call_auto_lock(dbf, "autoflock");
}

bool writeRecord(DbfIdx& dbf, std::int32_t n) {
  if (!may_write(dbf, n)) return false;
  if (!store_record(dbf, n)) {
    // The change is lost: the buffer goes back to what the file has.
    dbf.dirty = false;
    dbf.bufferedRec = 0;
    dxerror(dbf, TableError::kRecordUnwritable, {n, dbf.fileName});
    return false;
  }
  dbf.dirty = false;
  dbf.recNo = n;
  return true;
}

bool commitRecord(DbfIdx& dbf) {
  if (!dbf.isOpen() || !dbf.dirty || dbf.lastRec == 0) return false;
  if (dbf.readOnly()) {
    dbf.dirty = false;
    dxerror(dbf, TableError::kCommitReadOnly, {dbf.aliasName});
    refreshRecord(dbf, false);
    return false;
  }
  if (dbf.recNo == 0 || dbf.recNo != dbf.bufferedRec) return false;
  if (const int may = checkReplace(dbf); may != 0) {
    if (may > 0) unlockRecord(dbf, dbf.recNo);
    return false;
  }
  const std::int32_t mark = temp_top();
  bool wrote = false;
  {
    const InternalLock lock(dbf, LockMode::kExclusive);
    if (lock.held()) wrote = write_with_keys(dbf);
    POP_TEMPS(mark);
  }
  return wrote;
}

void commit_table(DbfIdx& dbf) {
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!commitRecord(dbf)) refresh_header(dbf);
  if (dbf.recNo > dbf.lastRec)
    phantom(dbf);
  else if (dbf.recNo > 0)
    fetchRecord(dbf, dbf.recNo);
  runRelations(dbf);
  updateHeader(dbf);
  sync_now_and_then();
}

bool append_record(DbfIdx& dbf, bool release_locks) {
  if (dbf.readOnly()) {
    dxerror(dbf, TableError::kCommitReadOnly, {dbf.aliasName});
    return false;
  }
  refresh_header(dbf);
  if (dbf.lastRec >= kMaxRecords)
    return append_failed(dbf, dbf.lastRec, TableError::kRecordUnwritable);
  const bool alone = dbf.exclusive() || dbf.is(kFileLocked);
  if (release_locks && !alone) unlockAll(dbf);
  const std::int32_t n = dbf.lastRec + 1;
  if (!alone && lockRecord(dbf, n) != 0) return false;
  blank(dbf);
  stale_fields(dbf);
  dbf.prefetchedRec = 0;
  dbf.dirty = false;
  dbf.lastRec = n;
  index_begin_change(dbf);
  // The record first, then its count: what a crash leaves between the two counts for nobody.
  if (!store_record(dbf, n, true)) return append_failed(dbf, n, TableError::kRecordUnwritable);
  change_counter(dbf, -2);
  if (!dbf.exclusive()) count_pending(dbf);
  if (!dbf.exclusive() && !write_header(dbf))
    return append_failed(dbf, n, TableError::kHeaderUnwritable);
  dbf.recNo = dbf.bufferedRec = n;
  return true;
}

}  // namespace tarnel
