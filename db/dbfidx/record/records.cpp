#include "db/dbfidx/record/records.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "core/file_ops.h"
#include "core/frame.h"
#include "core/modules.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/order/orders.h"
#include "db/dbfidx/scan/relations.h"
#include "db/dbfidx/table_errors.h"
#include "db/written_records.h"

namespace tarnel {
namespace {

constexpr int kLowestAutoLock = -2;

bool read_record(DbfIdx& dbf, std::int32_t n, std::uint8_t* to) {
  return dbf.exclusive() ? dbf.window.read(dbf, n, to)
                         : read_shared(dbf, to, dbf.recordSize, record_place(dbf, n));
}

// Writes record n, one that the file has, and tells nothing.
bool store_record(DbfIdx& dbf, std::int32_t n) {
  const std::uint8_t* from = dbf.buffer.data();
  dbf.changed = true;
  if (dbf.exclusive()) return dbf.window.write(dbf, n, from);
  file_changes(dbf);
  return write_at(dbf.dbfFd, from, dbf.recordSize, record_place(dbf, n));
}

bool auto_lock_allowed(const DbfIdx& dbf) {
  return dbf.concurrency < 0 || (dbf.concurrency > 0 && settings().autolock >= kLowestAutoLock);
}

Var* call_auto(DbfIdx& dbf, const char* procedure) {
  const Function function = lookup_function(procedure);
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

void stand_on(DbfIdx& dbf, std::int32_t n) {
  if (n == dbf.recNo) return;
  dbf.recNo = n;
  dbf.bofFlag = dbf.eofFlag = 0;
}

// The keys of the record: those of its former contents are noted, then replaced.
void replace_keys(DbfIdx& dbf) {
  if (dbf.orderCount == 0) return;
  bool noted = false;
  {
    const FormerRecord former(dbf.buffer);
    noted = index_synchronize(dbf, kSyncReplace);
  }
  if (noted) index_replace(dbf);
}

bool may_write(DbfIdx& dbf, std::int32_t n) {
  if (!has_record(dbf, n)) {
    dxerror(dbf, TableError::kWriteAtEof, {dbf.aliasName});
  } else if (!holds_record(dbf, n)) {
    if (dbf.locks.records.count() == 0)
      dxerror(dbf, TableError::kWriteNotLocked, {n, dbf.aliasName});
  } else {
    return true;
  }
  return false;
}

// Writes the buffer to its record. On a failure the change is lost: the buffer holds nothing.
bool write_buffer(DbfIdx& dbf) {
  const std::int32_t n = dbf.buffer.number();
  if (!may_write(dbf, n)) return false;
  if (store_record(dbf, n)) {
    dbf.buffer.written(is_locked(dbf));
    return true;
  }
  dbf.buffer.forget();
  dxerror(dbf, TableError::kRecordUnwritable, {n, dbf.fileName});
  return false;
}

// Writes the record under the cursor and its keys. The change is counted first: a process that dies
// on the way leaves orders that are seen not to agree.
bool write_with_keys(DbfIdx& dbf) {
  if (!refresh_header(dbf)) return false;
  KeyChange change(dbf);
  if (!change.begun() || !count_change(dbf) || !write_buffer(dbf)) return false;
  replace_keys(dbf);
  return change.complete();
}

// --- Appending.

// What part of the record reached the file goes again; nobody has counted it yet.
void cut_off(DbfIdx& dbf, std::int32_t n) {
  struct stat status {};
  const std::int64_t start = record_place(dbf, n), end = start + dbf.recordSize;
  if (file_ops().fstat(dbf.dbfFd, &status) == 0 && status.st_size > start && status.st_size < end)
      [[maybe_unused]]
    const bool cut = set_size(dbf.dbfFd, start);
}

bool append_failed(DbfIdx& dbf, std::int32_t n, TableError error) {
  dbf.buffer.forget();
  dbf.window.refused();
  if (!dbf.exclusive()) {
    dbf.lastRec = n - 1;
    dbf.header.look_again();
    cut_off(dbf, n);
    if (!dbf.is(kFileLocked)) unlockRecord(dbf, n);
  }
  if (error == TableError::kHeaderUnwritable)
    dxerror(dbf, error, {dbf.fileName});
  else
    dxerror(dbf, error, {n, dbf.fileName});
  return false;
}

// The buffer with a new record.
const std::uint8_t* new_record(DbfIdx& dbf, const std::uint8_t* contents) {
  std::uint8_t* bytes = dbf.buffer.begin_append();
  if (contents != nullptr) std::copy_n(contents, dbf.recordSize, bytes);
  return bytes;
}

bool append_exclusive(DbfIdx& dbf, std::int32_t n, const std::uint8_t* contents) {
  if (!count_change(dbf)) return false;
  dbf.changed = dbf.appended = true;
  const std::uint8_t* record = new_record(dbf, contents);
  dbf.lastRec = n;
  return dbf.window.append(dbf, n, record) || append_failed(dbf, n, TableError::kRecordUnwritable);
}

// The record first, then its count: what a crash leaves between the two counts for nobody.
bool append_shared(DbfIdx& dbf, std::int32_t n, const std::uint8_t* contents) {
  file_changes(dbf);
  const std::uint8_t* record = new_record(dbf, contents);
  if (!write_at(dbf.dbfFd, record, dbf.recordSize, record_place(dbf, n)))
    return append_failed(dbf, n, TableError::kRecordUnwritable);
  dbf.lastRec = n;
  return count_record(dbf) || append_failed(dbf, n, TableError::kHeaderUnwritable);
}

}  // namespace

// --- The file.

// A mapping shows zeros behind the end of a file that was cut short: a zero at the end is looked at
// again.
bool read_shared(DbfIdx& dbf, std::uint8_t* to, std::size_t n, std::int64_t at) {
  return (dbf.mapped.read(to, n, at) && to[n - 1] != 0) || read_at(dbf.dbfFd, to, n, at);
}

void file_changes(DbfIdx& dbf) {
  dbf.ahead.forget();
  for (DbfIdx* other = dbf.ring; other != &dbf; other = other->ring) {
    other->header.look_again();
    other->buffer.look_again();
    other->ahead.forget();
  }
}

bool is_locked(const DbfIdx& dbf) {
  return dbf.locks.readers > 0 || dbf.locks.writers > 0;
}

bool flush_records(DbfIdx& dbf) {
  if (!dbf.exclusive() || dbf.window.flush(dbf)) return true;
  dxerror(dbf, TableError::kRecordUnwritable, {dbf.window.refused(), dbf.fileName});
  return false;
}

void changes_lost(DbfIdx& dbf) {
  if (!dbf.buffer.changed()) dbf.buffer.forget();
  index_records_lost(dbf);
}

void records_lost(DbfIdx& dbf, std::int32_t n) {
  dbf.lastRec = n - 1;
  dbf.buffer.forget();
  if (dbf.recNo >= n) phantom(dbf);
  index_records_lost(dbf);
}

GatheredChanges::GatheredChanges(DbfIdx& dbf)
    : dbf_(dbf), generation_(dbf.generation), former_(dbf.window.gather(dbf.exclusive())) {}

GatheredChanges::~GatheredChanges() {
  if (finished_ || dbf_.generation != generation_) return;
  dbf_.window.gather(former_);
  if (dbf_.exclusive()) [[maybe_unused]]
    const bool told_later = dbf_.window.flush(dbf_);
}

bool GatheredChanges::finish() {
  finished_ = true;
  if (dbf_.generation != generation_) return true;
  dbf_.window.gather(former_);
  return flush_records(dbf_);
}

// --- The record buffer.

// The failures of fetchRecord, kept out of it: it runs once for each record of a walk.
[[gnu::noinline]] static bool no_record(DbfIdx& dbf, std::int32_t n) {
  dxerror(dbf, dbf.isOpen() ? TableError::kRecordOutOfRange : TableError::kGetNotOpen, {n});
  return false;
}
[[gnu::noinline]] static bool unreadable(DbfIdx& dbf, std::int32_t n) {
  dbf.buffer.read_failed(n);
  dxerror(dbf, TableError::kRecordUnreadable, {n, dbf.fileName});
  return false;
}

bool fetchRecord(DbfIdx& dbf, std::int32_t n) {
  if (!dbf.isOpen() || n <= 0) return no_record(dbf, n);
  if (n > dbf.lastRec) {
    phantom(dbf);
    return true;
  }
  if (dbf.buffer.is_current(n)) return true;
  if (!read_record(dbf, n, dbf.buffer.begin_read())) return unreadable(dbf, n);
  dbf.buffer.read_done(n, is_locked(dbf));
  return true;
}

// Is this a read that needs nothing but the record, outside of any operation that holds the lock?
static bool reads_alone(const DbfIdx& dbf) {
  return !dbf.exclusive() && !is_locked(dbf) && !dbf.buffer.changed() && has_record(dbf, dbf.recNo);
}

bool bringRecord(DbfIdx& dbf, bool onlyIfMoved) {
  if (dbf.exclusive() && !dbf.buffer.changed() && has_record(dbf, dbf.recNo))
    return fetchRecord(dbf, dbf.recNo);
  if (!dbf.isOpen()) return no_record(dbf, dbf.recNo);
  if (dbf.lastRec == 0) {
    phantom(dbf);
    dbf.bofFlag = 1;
    return true;
  }
  const bool alone = onlyIfMoved && reads_alone(dbf);
  if (alone && dbf.ahead.take(dbf.recNo, dbf.buffer.begin_read(), dbf.recordSize)) {
    dbf.buffer.read_done(dbf.recNo, false);
    return true;
  }
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !leave_record(dbf)) return false;
  if (alone && dbf.ahead.load(dbf, dbf.recNo, dbf.buffer.begin_read())) {
    dbf.buffer.read_done(dbf.recNo, true);
    return true;
  }
  return fetchRecord(dbf, dbf.recNo);
}

void phantom(DbfIdx& dbf) {
  dbf.eofFlag = 1;
  dbf.recNo = dbf.lastRec + 1;
  dbf.buffer.be_phantom(dbf.recNo);
}

bool record_deleted(DbfIdx& dbf) {
  return refreshRecord(dbf, true) && dbf.buffer.marked_deleted();
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

Commit commitRecord(DbfIdx& dbf) {
  if (!dbf.isOpen() || !dbf.buffer.changed() || dbf.lastRec == 0) return Commit::kNothing;
  const std::int32_t mark = temp_top();
  const KeepCursor keep(dbf);
  stand_on(dbf, dbf.buffer.number());
  if (const int may = checkReplace(dbf); may != 0) {
    if (may > 0) unlockRecord(dbf, dbf.recNo);
    return Commit::kFailed;
  }
  const InternalLock lock(dbf, LockMode::kExclusive);
  const bool wrote = lock.held() && write_with_keys(dbf);
  written_records() += wrote ? 1 : 0;
  POP_TEMPS(mark);
  return wrote ? Commit::kWritten : Commit::kFailed;
}

bool leave_record(DbfIdx& dbf) {
  if (!dbf.buffer.changed()) return dbf.isOpen();
  const SameTable same(dbf);
  [[maybe_unused]] const Commit told = commitRecord(dbf);
  return same.holds();
}

bool commit_alone(DbfIdx& dbf) {
  const SameTable same(dbf);
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held()) return false;
  dbf.ahead.forget();
  const Commit done = commitRecord(dbf);
  bool good = done != Commit::kFailed && same.holds();
  if (good && done == Commit::kNothing) good = refresh_header(dbf);
  if (!same.holds()) return false;
  if (dbf.recNo > dbf.lastRec)
    phantom(dbf);
  else if (dbf.recNo > 0)
    good = fetchRecord(dbf, dbf.recNo) && good;
  if (!same.holds()) return false;
  good = updateHeader(dbf) && good;
  sync_now_and_then();
  return good && same.holds();
}

bool commit_table(DbfIdx& dbf) {
  const SameTable same(dbf);
  const bool good = commit_alone(dbf);
  runRelations(dbf);
  return good && same.holds();
}

bool append_record(DbfIdx& dbf, bool release_locks, const std::uint8_t* contents) {
  if (dbf.readOnly()) {
    dxerror(dbf, TableError::kCommitReadOnly, {dbf.aliasName});
    return false;
  }
  if (!refresh_header(dbf)) return false;
  if (!can_lock_record(dbf, std::int64_t{dbf.lastRec} + 1)) {
    dxerror(dbf, TableError::kAppendTooLarge, {std::int64_t{dbf.lastRec} + 1, dbf.fileName});
    return false;
  }
  const std::int32_t n = dbf.lastRec + 1;
  const bool alone = dbf.exclusive() || dbf.is(kFileLocked);
  if (release_locks && !alone) unlockAll(dbf);
  if (!alone && lockRecord(dbf, n) != 0) return false;
  const SameTable same(dbf);
  KeyChange change(dbf);
  if (!change.begun()) {
    if (!alone && same.holds()) unlockRecord(dbf, n);
    return false;
  }
  if (!(dbf.exclusive() ? append_exclusive(dbf, n, contents) : append_shared(dbf, n, contents)))
    return false;
  dbf.recNo = n;
  dbf.buffer.read_done(n, is_locked(dbf));
  ++written_records();
  index_synchronize(dbf, kSyncAppend);
  return change.complete();
}

bool append_run(DbfIdx& dbf, const std::uint8_t* records, std::int32_t count) {
  assert(dbf.exclusive() && dbf.orderCount == 0);
  const std::int32_t n = dbf.lastRec + 1;
  if (!can_lock_record(dbf, std::int64_t{n} + count - 1)) {
    dxerror(dbf, TableError::kAppendTooLarge, {std::int64_t{n} + count - 1, dbf.fileName});
    return false;
  }
  if (!flush_records(dbf) || !count_change(dbf)) return false;
  dbf.changed = dbf.appended = true;
  const std::size_t size = static_cast<std::size_t>(count) * dbf.recordSize;
  if (!write_at(dbf.dbfFd, records, size, record_place(dbf, n))) {
    [[maybe_unused]] const bool cut = set_size(dbf.dbfFd, record_place(dbf, n));
    dxerror(dbf, TableError::kRecordUnwritable, {n, dbf.fileName});
    return false;
  }
  dbf.lastRec += count;
  written_records() += count;
  return true;
}

}  // namespace tarnel
