// Four kinds of lock on a table: the claim for the time it is open, the internal lock that brackets
// one operation, record locks, and the file lock. All are POSIX range locks that other processes
// see; among the areas of this process, which the system lets pass, the ring of same-file areas
// decides. Where they lie stands in lock_ranges.h.
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>

#include "core/checks.h"
#include "core/file_ops.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/lock/lock_ranges.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr std::int32_t kListStep = 16;

// Holds the range with a shared lock if nobody else has a lock in it.
bool hold_probe(int fd, std::int64_t start, std::int64_t length) {
  if (!lock_range(fd, F_RDLCK, start, length)) return false;
  if (range_is_free(fd, start, length)) return true;
  lock_range(fd, F_UNLCK, start, length);
  return false;
}

// True unless the file is held exclusively. The guard byte is only looked at: of two processes that held
// it to look, each would take the other for an exclusive user. An exclusive claim that is on its way to
// fail is worth a little patience.
bool pass_guard(int fd, std::int64_t base) {
  constexpr int kTries = 10;
  constexpr timespec kPause = {0, 1'000'000};
  for (int i = 0; i < kTries; ++i) {
    if (i > 0) nanosleep(&kPause, nullptr);
    if (range_is_free(fd, base, 1)) return true;
  }
  return false;
}

// Two processes that took the same slot both give it up and go on to the next. The system lets them take
// turns so evenly that they would meet at every slot.
void fall_out_of_step() {
  const timespec pause = {0, (getpid() % 97) * 1000L};
  nanosleep(&pause, nullptr);
}

short lock_type(const DbfIdx& dbf) {
  return dbf.readOnly() ? F_RDLCK : F_WRLCK;
}

bool wait_for(int fd, short type, std::int64_t start, std::int64_t length) {
  return lock_range(fd, type, start, length, LockWait::kYes);
}

// Both bytes at once: one call, and nothing to give back when it fails.
bool place_default(DbfIdx& dbf, short type) {
  return wait_for(dbf.dbfFd, type, kInternalAt, kInternalLength);
}

bool place_read_40(DbfIdx& dbf) {
  const short type = lock_type(dbf);
  if (!wait_for(dbf.dbfFd, type, kGate40, 1)) return false;
  // The slots turn round as often as it takes: readers leave theirs without passing the gate.
  Wait wait;
  bool placed = false;
  for (std::int64_t slot = kReader40; !placed && wait.goes_on(); ++slot) {
    if (slot == kReader40End) slot = kReader40;
    placed = lock_range(dbf.dbfFd, type, slot, 1);
  }
  return lock_range(dbf.dbfFd, F_UNLCK, kGate40, 1) && placed;
}

// The internal locks of this process on one file are one lock to the system, whichever area placed
// them: what another area of the ring holds need not be placed and must not be given back.
enum class Held : std::uint8_t { kNothing, kRead, kWrite };
Held held_by_ring(const DbfIdx& dbf) {
  Held held = Held::kNothing;
  for (const DbfIdx* other = dbf.ring; other != &dbf; other = other->ring) {
    if (other->locks.writers > 0) return Held::kWrite;
    if (other->locks.readers > 0) held = Held::kRead;
  }
  return held;
}

bool place_internal(DbfIdx& dbf, bool write) {
  const Held held = held_by_ring(dbf);
  if (held == Held::kWrite || (held == Held::kRead && !write)) return true;
  if (dbf.lock40 && write) return wait_for(dbf.dbfFd, lock_type(dbf), kGate40, 0);
  if (dbf.lock40) return place_read_40(dbf);
  return place_default(dbf, write ? lock_type(dbf) : F_RDLCK);
}

bool release_internal(const DbfIdx& dbf) {
  return dbf.lock40 ? lock_range(dbf.dbfFd, F_UNLCK, kGate40, 0)
                    : lock_range(dbf.dbfFd, F_UNLCK, kInternalAt, kInternalLength);
}

bool give_back_internal(DbfIdx& dbf, bool write) {
  const Held held = held_by_ring(dbf);
  if (held == Held::kNothing) return release_internal(dbf);
  if (held == Held::kWrite || !write) return true;
  if (!dbf.lock40) return place_default(dbf, F_RDLCK);
  return release_internal(dbf) && place_read_40(dbf);
}

bool set_record_lock(DbfIdx& dbf, std::int32_t n, short type) {
  return lock_range(dbf.dbfFd, type, record_place(dbf, n), dbf.recordSize);
}

bool conflicts(const DbfIdx& other, RingUse use, std::int32_t n) {
  switch (use) {
    case RingUse::kRecordLock:
      return other.is(kFileLocked) || other.exclusive() || other.locks.records.holds(n);
    case RingUse::kFileLock:
      return other.is(kFileLocked) || other.exclusive() || other.locks.records.count() > 0;
    case RingUse::kSharedOpen:
      return other.exclusive();
    case RingUse::kExclusiveOpen:
      return true;
  }
  return true;
}

}  // namespace

// --- The claim.

int claimShared(int fd, std::int64_t top) {
  const std::int64_t base = top - kClaimSpan;
  if (!pass_guard(fd, base)) return -1;
  for (std::int64_t slot = base + kFirstSlot; slot < base + kSlotsEnd; ++slot) {
    if (!range_is_free(fd, slot, 1)) continue;
    if (hold_probe(fd, slot, 1)) return 0;
    fall_out_of_step();
  }
  return -1;
}

int claimExclusive(int fd, std::int64_t top) {
  return hold_probe(fd, top - kClaimSpan, kClaimLength) ? 0 : -1;
}

int holders(int fd, std::int64_t top) {
  const std::int64_t base = top - kClaimSpan;
  if (!range_is_free(fd, base, 1)) return 1;
  int count = 0;
  for (std::int64_t at = base; at <= top - 3; ++at) count += range_is_free(fd, at, 1) ? 0 : 1;
  return count;
}

bool claim_table(DbfIdx& dbf, bool exclusive) {
  if (!dbf.lock40)
    return (exclusive ? claimExclusive(dbf.dbfFd, kDbfTop) : claimShared(dbf.dbfFd, kDbfTop)) == 0;
  const short type = lock_type(dbf);
  if (exclusive) return lock_range(dbf.dbfFd, type, kClaim40At, kClaim40Length);
  for (std::int64_t slot = kClaim40At; slot < kClaim40At + kClaim40Length; ++slot)
    if (lock_range(dbf.dbfFd, type, slot, 1)) return true;
  return false;
}

int other_holders(const DbfIdx& dbf) {
  if (!dbf.isOpen()) return -1;
  if (!dbf.lock40) return holders(dbf.dbfFd, kDbfTop);
  int count = 0;
  for (std::int64_t slot = kClaim40At; slot < kClaim40At + kClaim40Length; ++slot)
    count += range_is_free(dbf.dbfFd, slot, 1) ? 0 : 1;
  return count;
}

// What holds of a table in shared use between two operations.
void check_table(const DbfIdx& dbf) {
  using State = RecordBuffer::State;
  check(dbf.locks.readers >= 0 && dbf.locks.writers >= 0 &&
            (dbf.locks.readers == 0 || dbf.locks.writers == 0),
        "table: locks that contradict each other");
  check(dbf.header.pending() == 0, "table: a change that others can't see");
  check(!dbf.header.fresh() && dbf.buffer.state() != State::kCurrent,
        "table: believed without a lock");
  for (std::int32_t i = 1; i < dbf.locks.records.count(); ++i)
    check(dbf.locks.records.at(i - 1) < dbf.locks.records.at(i),
          "table: record locks out of order");
}

// --- The internal lock.

bool readLock(DbfIdx& dbf) {
  if (dbf.exclusive()) return true;
  if (dbf.locks.writers > 0) {
    ++dbf.locks.writers;
  } else if (dbf.locks.readers > 0 || place_internal(dbf, false)) {
    ++dbf.locks.readers;
  } else {
    dxerror(dbf, TableError::kInternalReadLock);
    return false;
  }
  return true;
}

bool writeLock(DbfIdx& dbf) {
  if (dbf.exclusive()) return true;
  if (dbf.locks.writers > 0) {
    ++dbf.locks.writers;
    return true;
  }
  if (!place_internal(dbf, true)) {
    dxerror(dbf, dbf.lock40 ? TableError::kInternalWriteLock40 : TableError::kInternalWriteLock);
    return false;
  }
  HOLD_INTERRUPT();
  dbf.locks.writers = dbf.locks.readers + 1;
  dbf.locks.readers = 0;
  return true;
}

void unlockInternal(DbfIdx& dbf) {
  if (dbf.exclusive() || (dbf.locks.readers == 0 && dbf.locks.writers == 0)) return;
  int& count = dbf.locks.readers > 0 ? dbf.locks.readers : dbf.locks.writers;
  const bool write = dbf.locks.writers > 0;
  if (--count > 0) return;
  ++dbf.locks.stamp;
  dbf.header.look_again();
  dbf.buffer.look_again();
  if constexpr (kChecked) check_table(dbf);
  const bool released = give_back_internal(dbf, write);
  if (write) RELEASE_INTERRUPT();
  if (!released) dxerror(dbf, TableError::kInternalUnlock);
}

void drop_internal(DbfIdx& dbf) {
  if (dbf.locks.readers == 0 && dbf.locks.writers == 0) return;
  (dbf.locks.readers > 0 ? dbf.locks.readers : dbf.locks.writers) = 1;
  unlockInternal(dbf);
}

// --- Record and file locks.

std::int64_t lockable_end(bool lock40) {
  return lock40 ? kClaim40At : kFileLockAt + kFileLockLength;
}

bool can_lock_record(const DbfIdx& dbf, std::int64_t n) {
  const std::int64_t end =
      dbf::record_offset(dbf.header.size(), dbf.recordSize, 1) + n * dbf.recordSize;
  return end <= lockable_end(dbf.lock40);
}

bool holds_record(const DbfIdx& dbf, std::int32_t n) {
  return dbf.exclusive() || dbf.is(kFileLocked) || dbf.locks.records.holds(n);
}

int lockRecord(DbfIdx& dbf, std::int32_t n) {
  if (!dbf.isOpen() || n < 1 || ringCheck(dbf, RingUse::kRecordLock, n) == Ring::kConflict ||
      dbf.is(kFileLocked))
    return -1;
  if (dbf.locks.records.holds(n)) return 0;
  if (!set_record_lock(dbf, n, lock_type(dbf))) return -1;
  dbf.locks.records.insert(n);
  // Others may have changed it until now.
  dbf.ahead.forget();
  if (dbf.buffer.number() == n && !dbf.buffer.changed()) dbf.buffer.forget();
  return 0;
}

int unlockRecord(DbfIdx& dbf, std::int32_t n) {
  if (!dbf.isOpen() || dbf.is(kFileLocked)) return -1;
  if (!dbf.locks.records.holds(n)) return 0;
  dbf.locks.records.remove(n);
  return set_record_lock(dbf, n, F_UNLCK) ? 0 : -1;
}

int lockFile(DbfIdx& dbf) {
  if (!dbf.isOpen() || dbf.is(kFileLocked) || ringCheck(dbf, RingUse::kFileLock) == Ring::kConflict)
    return -1;
  if (!lock_range(dbf.dbfFd, lock_type(dbf), kFileLockAt, kFileLockLength)) return -1;
  dbf.flags |= kFileLocked;
  dbf.ahead.forget();
  return 0;
}

// The file lock reaches further than any record that may be locked, so its last byte tells.
bool file_locked_elsewhere(DbfIdx& dbf) {
  for (const DbfIdx* other = dbf.ring; other != &dbf; other = other->ring)
    if (other->is(kFileLocked)) return true;
  return !range_is_free(dbf.dbfFd, kFileLockAt + kFileLockLength - 1, 1);
}

int unlockAll(DbfIdx& dbf) {
  if (dbf.is(kFileLocked)) {
    dbf.flags &= static_cast<std::uint8_t>(~kFileLocked);
    if (dbf.exclusive()) return 0;
    return lock_range(dbf.dbfFd, F_UNLCK, kFileLockAt, kFileLockLength) ? 0 : -1;
  }
  int result = 0;
  for (std::int32_t i = dbf.locks.records.count(); i > 0; --i)
    if (unlockRecord(dbf, dbf.locks.records.at(i - 1)) != 0) result = -1;
  return result;
}

// --- Areas of this process on the same file.

Ring ringCheck(DbfIdx& dbf, RingUse use, std::int32_t n) {
  if (dbf.ring == &dbf) return Ring::kAlone;
  for (const DbfIdx* other = dbf.ring; other != &dbf; other = other->ring)
    if (conflicts(*other, use, n)) return Ring::kConflict;
  if (use == RingUse::kSharedOpen) dxerror(dbf, TableError::kMultiplyOpened, {dbf.fileName});
  return Ring::kCompatible;
}

void join_ring(DbfIdx& dbf) {
  for (DbfIdx* other = open_tables(); other != nullptr; other = other->nextOpen) {
    if (other->device != dbf.device || other->inode != dbf.inode) continue;
    dbf.ring = other->ring;
    other->ring = &dbf;
    break;
  }
  dbf.nextOpen = open_tables();
  open_tables() = &dbf;
}

void leave_ring(DbfIdx& dbf) {
  DbfIdx* before = &dbf;
  while (before->ring != &dbf) before = before->ring;
  before->ring = dbf.ring;
  dbf.ring = &dbf;
  for (DbfIdx** link = &open_tables(); *link != nullptr; link = &(*link)->nextOpen)
    if (*link == &dbf) {
      *link = dbf.nextOpen;
      break;
    }
  dbf.nextOpen = nullptr;
}

// --- The list of records held locked.

std::int32_t LockList::lookup(std::int32_t n) const {
  const auto end = entries_.begin() + count_;
  const auto at = std::lower_bound(entries_.begin(), end, n);
  const auto index = static_cast<std::int32_t>(at - entries_.begin());
  return at != end && *at == n ? index : ~index;
}

void LockList::insert(std::int32_t n) {
  if (count_ == capacity()) entries_.resize(entries_.size() + kListStep);
  const std::int32_t at = ~lookup(n);
  assert(at >= 0);
  std::copy_backward(entries_.begin() + at, entries_.begin() + count_,
                     entries_.begin() + count_ + 1);
  entries_[static_cast<std::size_t>(at)] = n;
  ++count_;
}

void LockList::remove(std::int32_t n) {
  const std::int32_t at = lookup(n);
  if (at < 0) return;
  std::copy(entries_.begin() + at + 1, entries_.begin() + count_, entries_.begin() + at);
  --count_;
  if (capacity() > count_ + kListStep) {
    entries_.resize(entries_.size() - kListStep);
    entries_.shrink_to_fit();
  }
}

void LockList::clear() {
  *this = LockList();
}

}  // namespace tarnel
