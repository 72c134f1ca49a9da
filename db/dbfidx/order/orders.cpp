// The keys of records as they come, change and go.
#include "db/dbfidx/order/orders.h"

#include <cassert>
#include <utility>

#include "core/stacks.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

// No order is used any more. Those that are whole will miss what changes from now on.
void stop_orders(DbfIdx& dbf) {
  dbf.orderCount = dbf.currentOrder = 0;
  for (IndexControl* index : dbf.orders)
    if (index != nullptr) set_different(*index);
}

std::string shown_key(const IndexControl& index, const Key& key) {
  const std::int32_t mark = temp_top();
  const Var* value = key_value(key.bytes, index.header());
  const std::string text =
      value->type == 'C'
          ? std::string(text_of(value))
          : std::to_string(value->type == 'D' || value->type == 'L' ? value->i : number_of(value));
  POP_TEMPS(mark);
  return text;
}

void add_to_unique(DbfIdx& dbf, IndexControl& index, const Key& key, std::uint32_t recno) {
  const KeyComparer compare(key, index.header(), TextRule::kWhole, NumberRule::kTolerant);
  KeyTree& tree = index.tree;
  if (!tree.seek(compare, Hit::kAny)) {
    if (sound(dbf, index)) tree.insert(key, recno);
  } else if (recno < tree.record()) {
    tree.set_record(recno);  // of equal keys the lowest record has its key in the order
  }
}

// Takes the key of a record out, if it is there. A plain order without it is damaged: error 331.
void remove_key(DbfIdx& dbf, IndexControl& index, const Key& key, std::int32_t recno) {
  if (!ready(dbf, index)) return;
  KeyTree& tree = index.tree;
  const bool unique = index.header().unique();
  const KeyComparer compare(key, index.header(), TextRule::kWhole,
                            unique ? NumberRule::kTolerant : NumberRule::kExact);
  const auto record = static_cast<std::uint32_t>(recno);
  const bool found = unique ? tree.seek(compare, Hit::kAny) && tree.record() == record
                            : tree.seek_exact(compare, record);
  if (found) tree.remove();
  if (!sound(dbf, index) || found || !index.plain()) return;
  set_different(index);
  if (dbf.orders.state != kChecksOff) dxerror(dbf, TableError::kIndexCorruptedPosition);
}

// Adds the keys of a new record that were held back.
void add_pending(DbfIdx& dbf) {
  const SameOrders same(dbf);
  for (std::int32_t n = 1; same.holds() && n <= dbf.orderCount; ++n) {
    IndexControl& index = *dbf.orders[n];
    const Key key = std::exchange(index.oldKey, Key());
    if (key.type != 'U' && index.oldFor && ready(dbf, index))
      add_key(dbf, index, key, dbf.orders.savedRecNo);
  }
}

// Notes key and condition of the record under the cursor.
void note_key(DbfIdx& dbf, IndexControl& index) {
  if (!record_key(dbf, index, index.oldKey)) index.oldKey.type = 'U';
  index.oldFor = condition_holds(dbf, index.forBlock);
}

void replace_key(DbfIdx& dbf, IndexControl& index, bool was_there) {
  Key key;
  const bool made = record_key(dbf, index, key);
  if (!made) set_different(index);
  const bool holds = made && condition_holds(dbf, index.forBlock);
  if (index.closed) return;
  if (was_there) {
    if (made && key.same(index.oldKey) && holds == index.oldFor) return;
    if (index.oldKey.type != 'U') remove_key(dbf, index, index.oldKey, dbf.orders.savedRecNo);
  }
  if (holds && ready(dbf, index)) add_key(dbf, index, key, dbf.recNo);
}

}  // namespace

// --- Work on one tree.

bool report_mismatch(DbfIdx& dbf) {
  const std::uint8_t state = dbf.orders.state;
  dbf.orders.state = kIndexGood;
  if (state == kKeyCountMismatch) stop_orders(dbf);
  dxerror(
      dbf,
      state == kKeyCountMismatch ? TableError::kIndexCorrupted : TableError::kIndexMayBeCorrupted,
      {dbf.aliasName});
  return state != kKeyCountMismatch;
}

void begin_locked(DbfIdx& dbf, IndexControl& index) {
  const bool locked = is_locked(dbf);
  const bool may_write = dbf.locks.writers > 0 && !index.readOnly;
  if (locked && index.lockStamp == dbf.locks.stamp) return index.tree.allow_writes(may_write);
  index.tree.begin(may_write);
  index.lockStamp = dbf.locks.stamp;
}

bool give_up(DbfIdx& dbf, IndexControl& index) {
  const std::int64_t sector = index.tree.failed_sector();
  set_unwritten(index);  // a key may be lost
  if (index.closed || dbf.orderCount == 0) return false;
  std::int32_t n = 1;
  while (n < kMaxOrders && dbf.orders[n] != &index) ++n;
  stop_orders(dbf);
  dxerror(dbf, TableError::kIndexSector, {dbf.aliasName, n, sector});
  return false;
}

void settle(DbfIdx& dbf, IndexControl& index) {
  if (index.exclusive() || index.readOnly || !index.tree.changed()) return;
  if (index.tree.failed_sector() >= 0) return;
  const bool written = index.tree.flush();
  // Other areas of this process on the same file may lie inside the same lock.
  for (DbfIdx* other = dbf.ring; other != &dbf; other = other->ring) ++other->locks.stamp;
  if (written) return;
  set_unwritten(index);
  dxerror(dbf, TableError::kIndexUnwritable, {index.fileName});
}

bool record_key(DbfIdx& dbf, IndexControl& index, Key& key) {
  if (index.closed) return false;
  const std::int32_t mark = temp_top();
  const Var* value = index.standIn != nullptr ? run_in_area(dbf, index.standIn)
                     : index.field >= 0       ? field_value(dbf, index.field)
                                              : run_in_area(dbf, index.keyBlock);
  if (index.closed || is_unreadable(dbf)) {
    POP_TEMPS(mark);
    return false;
  }
  const bool made = make_key(key, value, index.header().type);
  if (!made)
    dxerror(dbf, TableError::kKeyTypeMismatch, {value->type, index.fileName, index.header().type});
  POP_TEMPS(mark);
  return made;
}

void add_key(DbfIdx& dbf, IndexControl& index, const Key& key, std::int32_t n) {
  assert(is_ready(dbf, index));
  const auto recno = static_cast<std::uint32_t>(n);
  if (index.header().unique()) {
    add_to_unique(dbf, index, key, recno);
  } else {
    const KeyComparer compare(key, index.header(), TextRule::kWhole, NumberRule::kExact);
    if (index.tree.seek_exact(compare, recno)) {
      set_different(index);
      dxerror(dbf, TableError::kKeyExists,
              {dbf.aliasName, index.fileName, shown_key(index, key), n});
      return;
    }
    if (index.tree.failed_sector() < 0) index.tree.insert(key, recno);
  }
  sound(dbf, index);
}

// --- The calls of the driver.

bool index_synchronize(DbfIdx& dbf, SyncMode mode) {
  if (dbf.orderCount == 0) return false;
  if (keys_pending(dbf)) {
    // Another change of the same new record: its keys are still to come.
    if (mode == kSyncReplace && dbf.recNo == dbf.orders.savedRecNo) return true;
    add_pending(dbf);
  }
  dbf.orders.keysPending = mode == kSyncAppend;
  if (mode != kSyncReplace && mode != kSyncAppend) return dbf.orderCount > 0;
  dbf.orders.savedRecNo = dbf.recNo;
  // Nobody sees the keys of a table in exclusive use: those of a new record wait until it is left,
  // and filling its fields costs one insertion.
  const bool wait = mode == kSyncReplace || dbf.exclusive();
  const SameOrders same(dbf);
  for (std::int32_t n = 1; same.holds() && n <= dbf.orderCount; ++n) {
    IndexControl& index = *dbf.orders[n];
    note_key(dbf, index);
    if (index.oldKey.type == 'U') set_different(index);
    if (wait || index.oldKey.type == 'U' || !index.oldFor || !ready(dbf, index)) continue;
    add_key(dbf, index, index.oldKey, dbf.recNo);
    settle(dbf, index);
  }
  if (!same.holds()) return false;
  if (!wait) dbf.orders.keysPending = false;
  return dbf.orderCount > 0;
}

void index_replace(DbfIdx& dbf) {
  const bool was_there = !keys_pending(dbf);
  const SameOrders same(dbf);
  for (std::int32_t n = 1; same.holds() && n <= dbf.orderCount; ++n) {
    IndexControl& index = *dbf.orders[n];
    replace_key(dbf, index, was_there);
    settle(dbf, index);
  }
  if (same.holds()) dbf.orders.keysPending = false;
}

}  // namespace tarnel
