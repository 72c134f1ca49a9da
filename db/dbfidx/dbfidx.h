// The driver of .dbf tables: its class, the private record of one open table, and the routines that
// its methods share. The parts lie in
//
//   format_dbf     the record file: header, descriptors, text of fields
//   format_dbt     the memo file
//   open_close     init, createdb, close
//   descriptors    sharing of file descriptors
//   records        buffer, commit, append
//   fields         cells of fields, conversion both ways
//   navigation     goto, gotop, skip, seek
//   locks          claims, internal, record and file locks
//   memo           memo texts
//   table_errors   every message, and the road to the handler
//   orders         the key trees, as the rest of the driver calls them
//   conditions     filter, scope, and how blocks are run
//   relations      the tables that follow the cursor
#pragma once

#include <cassert>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "core/classes.h"
#include "core/modules.h"
#include "db/area.h"
#include "db/dataserver.h"
#include "db/dbfidx/format/format_dbf.h"
#include "db/dbfidx/record/read_ahead.h"
#include "db/dbfidx/record/record_buffer.h"
#include "db/dbfidx/record/record_window.h"
#include "db/dbfidx/record/records.h"
#include "db/dbfidx/record/table_header.h"
#include "db/mapped_file.h"

namespace tarnel {

struct IndexControl;  // one open order, see orders.h
class Progress;

constexpr int kMaxOrders = 16;
constexpr std::size_t kPathLimit = 250;  // longest path of a table, an order or a memo file

enum TableFlag : std::uint8_t {
  kOpen = 1,
  kClosed = 2,
  kInternalOpen = 8,  // registers no alias and no field cells
  kReadOnly = 16,
  kExclusive = 32,
  kFileLocked = 64,
};

enum IndexState : std::uint8_t { kIndexGood, kCounterMismatch, kKeyCountMismatch, kChecksOff };

// The cells of an object that hold the state of its cursor, behind the instances of dataserver.
enum CursorCell : std::int32_t {
  kBofFlag,
  kEofFlag,
  kOrderCount,
  kLastRec,
  kCurrentOrder,
  kRecNo,
  kPrivateArea,
  kCursorCells
};

// Record numbers held locked, ascending. Capacity moves in steps of 16.
class LockList {
 public:
  // Index of n, or the complement of the place where it belongs.
  std::int32_t lookup(std::int32_t n) const;
  bool holds(std::int32_t n) const { return count_ != 0 && lookup(n) >= 0; }
  void insert(std::int32_t n);  // REQUIRES: not held
  void remove(std::int32_t n);  // ignored when not held
  void clear();
  std::int32_t count() const { return count_; }
  std::int32_t capacity() const { return static_cast<std::int32_t>(entries_.size()); }
  std::int32_t at(std::int32_t i) const { return entries_[static_cast<std::size_t>(i)]; }

 private:
  std::vector<std::int32_t> entries_;  // its size is the capacity
  std::int32_t count_ = 0;
};

// The locks that an area holds; changed only in locks.cpp.
struct TableLocks {
  LockList records;
  int readers = 0, writers = 0;  // how deep the internal lock is nested; one of them is 0
  std::uint32_t stamp = 0;       // another one after each internal lock that was given back
};

// The open orders, 1 to orderCount; changed only in the files of the orders.
struct OrderList {
  IndexControl* entries[kMaxOrders + 1] = {};
  std::uint8_t state = kIndexGood;  // IndexState: what is still to be told, or checks off
  bool keysPending = false;         // keys of record savedRecNo are still to be added
  std::int32_t savedRecNo = 0;

  IndexControl*& operator[](std::int32_t n) { return entries[n]; }
  IndexControl* operator[](std::int32_t n) const { return entries[n]; }
  auto begin() { return std::begin(entries); }
  auto end() { return std::end(entries); }
  auto begin() const { return std::begin(entries); }
  auto end() const { return std::end(entries); }
};

// The condition of the next order. Held cells: HOLD_VAR and UNHOLD_VAR.
struct OrderCondition {
  Var *forText = nullptr, *forBlock = nullptr, *whileBlock = nullptr, *evalBlock = nullptr;
  std::int32_t every = 1, start = 1, limit = -1;
  std::uint8_t flags = 0;  // bit 0 all, bit 1 descending
};

// Filter, locate and the stored scope. Held cells, as above.
constexpr std::int32_t kScopeAll = -1, kScopeRest = -2;  // else so many records, or REST below 0
struct ScanCondition {
  Var *filterText = nullptr, *filterBlock = nullptr, *locateBlock = nullptr;
  Var *forBlock = nullptr, *whileBlock = nullptr;
  std::int32_t scopeCount = kScopeAll;
};

// A table that follows the cursor of another one. Held cells, as above.
struct Relation {
  Var* child = nullptr;  // its driver object; passed over while no table is open in it
  Var* keyBlock = nullptr;
  Var* text = nullptr;  // the key as text, null without one
};

struct Relations {
  std::vector<Relation> list;  // in order of creation
  bool on = false;
  bool running = false;  // the children are being moved: what their keys move starts no second run
};

// What the driver knows of an open table; close puts back these defaults.
struct OpenTable {
  // Set by init, constant until close.
  std::string fileName, memoName;         // full paths; memoName of a table with memos
  std::uint8_t flags = kClosed;           // TableFlag; kFileLocked is changed by locks.cpp
  bool opening = false, closing = false;  // under way: a handler's call finds nothing to do
  bool lock40 = false;  // the lock scheme: the one in force when the table was opened
  std::uint16_t recordSize = 0;
  std::int32_t fieldCount = 0;
  int dbfFd = -1;
  int dbtFd = 0;  // 0: no memo file
  std::uint64_t device = 0, inode = 0;
  std::vector<dbf::Field> fields;
  std::vector<Var*> fieldCells;            // empty for an internal open
  std::vector<std::int32_t> fieldSymbols;  // the Symbol under which each cell is listed, -1 none
  WorkArea* area = nullptr;
  std::string aliasName;

  TableHeader header;
  RecordBuffer buffer;
  std::vector<std::uint64_t> fieldStamps;  // a cell has the buffer's value when its stamp is equal
  bool found = false;
  bool appended = false;  // in exclusive use, since it was opened
  bool changed = false;   // a record or the header was written since it was opened
  MappedFile mapped;      // shared use: reads without a system call
  ReadAhead ahead;        // shared use: the next records of a walk
  RecordWindow window;    // exclusive use: records read ahead or not yet written

  TableLocks locks;
  std::int32_t concurrency = 1;
  DbfIdx* ring = nullptr;  // next area with the same file, itself when alone
  DbfIdx* nextOpen = nullptr;

  OrderList orders;
  OrderCondition newOrder;
  ScanCondition scan;
  Relations relations;
  char delimiter[2] = {'"', '\0'};

  bool is(TableFlag flag) const { return (flags & flag) != 0; }
  bool isOpen() const { return is(kOpen); }
  bool exclusive() const { return is(kExclusive); }
  bool readOnly() const { return is(kReadOnly); }
  bool hasMemo() const { return dbtFd > 0; }
};

// The driver's private record. It belongs to a driver object and lives as long as that.
struct DbfIdx : OpenTable {
  explicit DbfIdx(Var* server);
  ~DbfIdx();
  DbfIdx(const DbfIdx&) = delete;
  DbfIdx& operator=(const DbfIdx&) = delete;
  // Puts back the state of a closed table.
  void reset();

 private:
  Var* cells_[kCursorCells - 1];  // a reference to each cell of the cursor

 public:
  // A cell for the driver object. It does not count: the object owns this record.
  Var* const object;
  // Another one whenever the table was opened or closed: what ran code of the language, or reported
  // an error, looks whether its table is still the one it began with.
  std::uint32_t generation = 1;

  // The cursor. These words are the contents of the object's cells.
  std::int32_t& bofFlag;
  std::int32_t& eofFlag;
  std::int32_t& orderCount;
  std::int32_t& lastRec;  // records, as last read from the header
  std::int32_t& currentOrder;
  std::int32_t& recNo;

  Progress* progress = nullptr;  // of the scan under way: what a move passes over counts too

  std::string dbfExt = ".dbf", dbtExt = ".dbt", idxExt = ".idx";
  Var* errorTemplate = nullptr;
};

inline Var* cursor_cell(const Var* object, CursorCell cell) {
  return object->shared->elements[2 + kServerInstanceCount + static_cast<std::size_t>(cell)];
}
const ClassDescriptor& dbfidx_class();
DbfIdx& make_private_area(Var* object);
// The private record of a driver object, made at the first call. REQUIRES: object is of class
// dbfidx.
inline DbfIdx& dbf_of(Var* object) {
  assert(class_of(object) == &dbfidx_class());
  const Var* cell = cursor_cell(object, kPrivateArea);
  return cell->type == '?' && cell->raw != nullptr ? *static_cast<DbfIdx*>(cell->raw)
                                                   : make_private_area(object);
}

// Keeps a driver object, and with it the private record, for the life of the guard.
class KeepObject {
 public:
  explicit KeepObject(Var* object);
  ~KeepObject();
  KeepObject(const KeepObject&) = delete;
  KeepObject& operator=(const KeepObject&) = delete;

  Var* object() const { return cell_; }

 private:
  Var* const cell_;
};

// Around code of the language that an operation of the driver runs: a block, a handler of errors.
// It may close the table or drop its object; what the operation still looks at when the code has
// come back (or has left by break) is freed only when no operation waits for such code any more.
class CallOut {
 public:
  CallOut() { ++depth_; }
  ~CallOut() { --depth_; }
  CallOut(const CallOut&) = delete;
  CallOut& operator=(const CallOut&) = delete;

  static bool under_way() { return depth_ > 0; }

 private:
  inline static int depth_ = 0;
};
// Head of the chain of open tables, linked by nextOpen.
DbfIdx*& open_tables();

// Is n the number of a record that the table was last seen to have?
inline bool has_record(const DbfIdx& dbf, std::int64_t n) {
  return n >= 1 && n <= dbf.lastRec;
}
// Could the record under the cursor not be read? The buffer then shows blanks, which are nobody's.
inline bool is_unreadable(const DbfIdx& dbf) {
  return dbf.recNo == dbf.buffer.number() && dbf.buffer.state() == RecordBuffer::State::kUnreadable;
}
// Is the record under the cursor in the buffer? A phantom is no longer what stands there once the table
// has grown and the cursor was placed on the new record.
inline bool is_buffered(const DbfIdx& dbf) {
  using State = RecordBuffer::State;
  const State state = dbf.buffer.state();
  return dbf.recNo == dbf.buffer.number() && state != State::kUnreadable &&
         (state != State::kPhantom || dbf.eofFlag != 0 || dbf.recNo > dbf.lastRec);
}
// See record/records.h.
[[nodiscard]] inline bool refreshRecord(DbfIdx& dbf, bool onlyIfMoved) {
  return (onlyIfMoved && is_buffered(dbf)) || bringRecord(dbf, onlyIfMoved);
}

// --- Fields (fields.cpp)
// The value of field i (from 0) of the record under the cursor, in its cell. Errors 204, 301.
Var* field_value(DbfIdx& dbf, std::int32_t i);
// Stores a value into field i. The cell, or NIL when it was refused.
Var* store_field(DbfIdx& dbf, std::int32_t i, Var* value);
// Puts a value that the field's type takes, other than a memo, into the field's bytes. False when it does not
// fit.
[[nodiscard]] bool put_value(const dbf::Field& field, std::uint8_t* at, const Var* value);
// Field number (from 1) of a name in any case, cut at 11 characters; 0 when there is none.
std::int32_t field_position(const DbfIdx& dbf, std::string_view name);
void attach_field_cells(DbfIdx& dbf);
void detach_field_cells(DbfIdx& dbf);

// --- Navigation (navigation.cpp)
void goRecord(DbfIdx& dbf, std::int32_t n);
// The method goto: a number that is none of a record leads before the beginning and behind the end. False
// when the table is gone or its header can't be read.
bool go_to_number(DbfIdx& dbf, std::int32_t n);
void go_behind_end(DbfIdx& dbf);
void go_top(DbfIdx& dbf);
void go_bottom(DbfIdx& dbf);
// Moves n records past those that are hidden; the number moved. n = 0 commits and re-reads.
std::int32_t skip_records(DbfIdx& dbf, std::int32_t n);
// Does the record under the cursor pass SET DELETED and the filter? One that can't be read does, and
// so does whatever is there when the filter closed the table: no search goes on behind it.
bool visible(DbfIdx& dbf);
// The method seek: the first visible record whose key equals the value in the controlling order. A
// null value is error 902. The found flag.
bool seek_record(DbfIdx& dbf, Var* value, bool soft);
bool seek_by_block(DbfIdx& dbf, Var* block);

// --- Locks (locks.cpp)
// The internal lock, shared and exclusive, nesting; off for an exclusive table. Error 327.
// False when it could not be placed.
bool readLock(DbfIdx& dbf);
bool writeLock(DbfIdx& dbf);
void unlockInternal(DbfIdx& dbf);
// Gives the internal lock back however deep it is nested.
void drop_internal(DbfIdx& dbf);
// Where the records of a table must end: behind it lie the ranges of other locks, which a record lock
// must not cover.
std::int64_t lockable_end(bool lock40);
bool can_lock_record(const DbfIdx& dbf, std::int64_t n);
// Takes the lock of a record, and forgets what is buffered of it unless that is changed.
int lockRecord(DbfIdx& dbf, std::int32_t n);    // 0 held, -1 refused; does not wait
int unlockRecord(DbfIdx& dbf, std::int32_t n);  // 0 released or not held, -1 failed
int lockFile(DbfIdx& dbf);
int unlockAll(DbfIdx& dbf);
// Against the other areas of this process on the same file. A shared open beside others is warning
// 902.
enum class RingUse : std::uint8_t { kRecordLock, kFileLock, kSharedOpen, kExclusiveOpen };
enum class Ring : std::uint8_t { kConflict, kAlone, kCompatible };
Ring ringCheck(DbfIdx& dbf, RingUse use, std::int32_t n = 0);
void join_ring(DbfIdx& dbf);
void leave_ring(DbfIdx& dbf);
// May record n be written: exclusive, file lock, or record lock held.
bool holds_record(const DbfIdx& dbf, std::int32_t n);
// The automatic lock of the whole file that createorder takes. True when held.
bool auto_file_lock(DbfIdx& dbf);
// The claim on a file for the time it is open; `top` is kDbfTop or kIdxTop. 0 held, -1 refused.
constexpr std::int64_t kDbfTop = 0x7FFFFFFF, kIdxTop = 1033;
int claimShared(int fd, std::int64_t top);
int claimExclusive(int fd, std::int64_t top);
int holders(int fd, std::int64_t top);
// The claim on a table in the scheme it uses.
bool claim_table(DbfIdx& dbf, bool exclusive);
int other_holders(const DbfIdx& dbf);

// Does another area or process hold the file lock? Asks only, and takes no lock.
bool file_locked_elsewhere(DbfIdx& dbf);

// The internal lock as a guard; there is nothing to guard on a table in exclusive use.
enum class LockMode : bool { kShared, kExclusive };
class [[nodiscard]] InternalLock {
 public:
  // Not in a std::optional, whose destructor lets no break pass: `wanted` false takes none.
  InternalLock(DbfIdx& dbf, LockMode mode, bool wanted = true)
      : dbf_(dbf.exclusive() || !wanted ? nullptr : &dbf),
        generation_(dbf.generation),
        held_(dbf_ == nullptr || (mode == LockMode::kExclusive ? writeLock(dbf) : readLock(dbf))) {}
  // A table that was closed under it has given the lock back; what was opened since is another one.
  // A lock that can't be given back is an error, whose handler may leave by break.
  ~InternalLock() noexcept(false) {
    if (dbf_ != nullptr && held_ && dbf_->generation == generation_) unlockInternal(*dbf_);
  }
  InternalLock(const InternalLock&) = delete;
  InternalLock& operator=(const InternalLock&) = delete;

  bool held() const { return held_; }

 private:
  DbfIdx* const dbf_;  // null: nothing to give back
  const std::uint32_t generation_;
  const bool held_;
};

// Tells whether a table that code of the language may have closed, and opened again, is still the
// one that an operation began with.
class SameTable {
 public:
  explicit SameTable(const DbfIdx& dbf) : dbf_(dbf), generation_(dbf.generation) {}
  bool holds() const { return dbf_.generation == generation_ && dbf_.isOpen(); }

 private:
  const DbfIdx& dbf_;
  const std::uint32_t generation_;
};

// Puts the cursor back at the end of its life, unless the table is another one by then.
class KeepCursor {
 public:
  explicit KeepCursor(DbfIdx& dbf)
      : dbf_(dbf), same_(dbf), recno_(dbf.recNo), bof_(dbf.bofFlag), eof_(dbf.eofFlag) {}
  ~KeepCursor() {
    if (!same_.holds()) return;
    dbf_.recNo = recno_;
    dbf_.bofFlag = bof_;
    dbf_.eofFlag = eof_;
  }
  KeepCursor(const KeepCursor&) = delete;
  KeepCursor& operator=(const KeepCursor&) = delete;

 private:
  DbfIdx& dbf_;
  const SameTable same_;
  const std::int32_t recno_, bof_, eof_;
};

// The lock of an operation that writes only what is pending. A shared lock is never made exclusive
// on the way: two processes that try it at once would wait for each other.
inline LockMode lock_mode(const DbfIdx& dbf) {
  return dbf.buffer.changed() || dbf.header.pending() != 0 ? LockMode::kExclusive
                                                           : LockMode::kShared;
}

// --- Opening and closing (open_close.cpp)
struct OpenRequest {
  std::string_view file;
  bool exclusive = true;
  bool read_only = false;
  bool internal = false;  // registers no alias and no field cells
};
// Opens a table; false, with neterr set and the record closed, after errors 101, 103, 326, 327.
bool open_table(DbfIdx& dbf, const OpenRequest& request);
// Does nothing on a closed table.
void close_table(DbfIdx& dbf);
// Creates a table over a file of that name or anew; the record must be closed. `rows` is an array
// of {name, type, length, decimals}, `mode` a number whose decimal digits are octal ones, or null.
// False after errors 104, 105, 312, 313, 317, 320, 322; a file made on the way is removed again.
bool create_table(DbfIdx& dbf, std::string_view file, const Var* rows, const Var* mode);
// The fields that such rows make. False after errors 312, 313, 317, 320.
[[nodiscard]] bool read_structure(DbfIdx& dbf, const Var* rows, std::vector<dbf::Field>& fields);
// `name` with the extension when it has none, as an absolute path; empty when over 250 characters.
std::string full_table_path(std::string_view name, std::string_view extension);
// The memo file of a table by the path of that.
std::string memo_path(const std::string& table);

// --- Descriptors (descriptors.cpp): a file is opened once for each open mode and stays open while
// any user is left, because closing any descriptor of a file drops all locks of the process on it.
// Searches `path` in the current directory and SET PATH; mode 0 reads, 2 reads and writes. The
// descriptor or -1 with errno set; `found` receives the path. Warning 902.
int dxOpen(std::string_view path, std::string* found, int mode);
void dxClose(int fd);

}  // namespace tarnel
