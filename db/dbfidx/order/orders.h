// The orders of a table, as the rest of the driver calls them. Each call is made inside the
// internal lock and with the cursor where its comment says; without open orders all of them do
// nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/runtime.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// Why the cursor's orders are brought up to date (indexsynchronize).
enum SyncMode : int {
  kSyncClose = 0,
  kSyncMove = 1,
  kSyncSeek = 2,
  kSyncSeekEval = 3,
  kSyncReplace = 4,
  kSyncAppend = 5
};

// Before a move, a seek, or, with the record as it was before its change in the buffer, a
// replacement of keys. False when no orders are open.
bool index_synchronize(DbfIdx& dbf, SyncMode mode);
// The changed record was written and is in the buffer; its old keys are those of the last
// index_synchronize(kSyncReplace). Keys that could not be put in place leave their order different.
void index_replace(DbfIdx& dbf);

// Moves of the controlling order. They set recNo, bofFlag, eofFlag; without an order, or when it was
// given up, the cursor goes past the last record (back: bofFlag alone is set).
void index_gotop(DbfIdx& dbf);
void index_gobottom(DbfIdx& dbf);
std::int32_t index_back(DbfIdx& dbf, std::int32_t n);     // n is negative
std::int32_t index_forward(DbfIdx& dbf, std::int32_t n);  // n is positive
inline std::int32_t index_skip(DbfIdx& dbf, std::int32_t n) {
  return n < 1 ? index_back(dbf, n) : index_forward(dbf, n);
}
// One key on, the quick way that most steps of a walk can go: along an order held alone, with nothing
// to write or to tell. False: nothing was done, and index_forward() is the way.
bool index_step(DbfIdx& dbf);
bool index_seek(DbfIdx& dbf, Var* value, bool soft);
bool index_seekeval(DbfIdx& dbf, Var* block);
// The value against the key under the cursor; 0 equal.
int index_keycompare(DbfIdx& dbf, Var* value);

// Around the change of a record and its keys:
//
//   KeyChange change(dbf);
//   if (!change.begun() || !count_change(dbf)) return false;
//   ... the record, its keys ...
//   return change.complete();
//
// Between the two the files of the orders say that they differ from the table, and without complete()
// they say it from then on, unless nothing was counted: a process that dies, an error handler that
// leaves by break. Signals wait for its end. REQUIRES: the internal exclusive lock is held, and the
// header was read under it.
class [[nodiscard]] KeyChange {
 public:
  explicit KeyChange(DbfIdx& dbf);
  ~KeyChange();
  KeyChange(const KeyChange&) = delete;
  KeyChange& operator=(const KeyChange&) = delete;

  // False after error 104: the change must not be made.
  bool begun() const { return begun_; }
  // False after error 104, when an order did not get its keys, or when one or the table was closed
  // meanwhile.
  [[nodiscard]] bool complete();

 private:
  IndexControl* end(bool whole);
  std::ptrdiff_t count_differing() const;

  const InterruptHold hold_;
  DbfIdx& dbf_;
  const SameTable same_;
  const std::uint8_t counter_, pending_;  // of the table, at the beginning
  IndexControl* taken_[kMaxOrders] = {};
  std::int32_t count_ = 0;
  std::ptrdiff_t differing_ = 0;  // of them, at the beginning
  bool begun_ = false;
};

// Writes what is held in memory in exclusive use. False after error 104.
[[nodiscard]] bool flush_orders(DbfIdx& dbf);
// Records that the orders have keys of are gone: they stay marked as different from the table.
void index_records_lost(DbfIdx& dbf);
// Closes all orders, completing what is pending; orderCount and currentOrder become 0.
void close_orders(DbfIdx& dbf);

}  // namespace tarnel
