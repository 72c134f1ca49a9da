// Moves of the cursor along the controlling order.
#include <cassert>

#include "core/blocks.h"
#include "core/stacks.h"
#include "db/dbfidx/method/methods.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/table_errors.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

// The cursor goes past the last record, unless the table is no longer that of this generation.
void at_end(DbfIdx& dbf, std::uint32_t generation) {
  if (dbf.generation != generation) return;
  dbf.eofFlag = 1;
  dbf.recNo = dbf.lastRec + 1;
}

// To a record that the table was not yet seen to have.
void follow_unknown(DbfIdx& dbf, std::uint32_t recno) {
  const std::uint32_t generation = dbf.generation;
  if (!refresh_header(dbf)) return at_end(dbf, generation);
  if (!has_record(dbf, recno)) {
    dxerror(dbf, TableError::kIndexCorruptedPosition);
    return at_end(dbf, generation);
  }
  dbf.recNo = static_cast<std::int32_t>(recno);
}

// The table's cursor goes where the tree's is: on a key, or past the last one.
inline void follow(DbfIdx& dbf, IndexControl& index, bool on_key) {
  if (!sound(dbf, index) || !on_key) return at_end(dbf, index.generation);
  const std::uint32_t recno = index.tree.record();
  if (!has_record(dbf, recno)) return follow_unknown(dbf, recno);
  dbf.recNo = static_cast<std::int32_t>(recno);
}

// The order that controls, ready for work; null when there is none or it was given up.
IndexControl* ready_index(DbfIdx& dbf) {
  IndexControl* index = current_index(dbf);
  return index != nullptr && ready(dbf, *index) ? index : nullptr;
}

// Brings the tree's cursor to the key of the record under the cursor. REQUIRES: is_ready()
bool place_on_record(DbfIdx& dbf, IndexControl& index);

// The same at the start of a step: usually the tree's cursor is there already.
inline void start_on_record(DbfIdx& dbf, IndexControl& index) {
  if (dbf.eofFlag == 0 && dbf.recNo <= dbf.lastRec &&
      index.tree.on_record(static_cast<std::uint32_t>(dbf.recNo)))
    dbf.bofFlag = 0;
  else
    place_on_record(dbf, index);
}

bool find_record_key(DbfIdx& dbf, IndexControl& index) {
  Key key;
  if (!record_key(dbf, index, key)) return false;
  const bool unique = index.header().unique();
  const KeyComparer compare(key, index.header(), TextRule::kWhole,
                            unique ? NumberRule::kTolerant : NumberRule::kExact);
  return unique ? index.tree.seek(compare, Hit::kAny)
                : index.tree.seek_exact(compare, static_cast<std::uint32_t>(dbf.recNo));
}

void first_key(DbfIdx& dbf, IndexControl& index) {
  const bool found = index.tree.go_first();
  follow(dbf, index, found);
}

// Runs the block of seekeval on the key under the cursor. False when the order went away.
bool ask_block(DbfIdx& dbf, IndexControl& index, Var* block, bool& wanted) {
  const std::int32_t mark = temp_top();
  Var* key = dbf.eofFlag == 0 && index.tree.on_key() ? key_value(index.tree.key(), index.header())
                                                     : blank_key(index.header());
  const CallOut out;
  const Var* result = run_block_with(block, key, TMP_INT(dbf.recNo));
  wanted = is_number_or_logical(result) && truth_of(result);
  POP_TEMPS(mark);
  return !index.closed && current_index(dbf) == &index;
}

bool place_on_record(DbfIdx& dbf, IndexControl& index) {
  assert(is_ready(dbf, index));
  const bool somewhere = dbf.lastRec > 0 && dbf.recNo <= dbf.lastRec && dbf.eofFlag == 0;
  if (!somewhere || index.tree.keys() == 0) {
    index.tree.leave();
    if (somewhere) dbf.bofFlag = dbf.eofFlag = 1;
    return false;
  }
  dbf.bofFlag = dbf.eofFlag = 0;
  if (index.tree.on_record(static_cast<std::uint32_t>(dbf.recNo))) return true;
  index.tree.leave();
  if (find_record_key(dbf, index)) return true;
  if (!sound(dbf, index)) return false;
  if (!dbf.exclusive() && !dbf.buffer.changed()) {
    // Another process may have changed the record since it was read.
    if (!fetchRecord(dbf, dbf.recNo)) return false;
    if (find_record_key(dbf, index)) return true;
    if (!sound(dbf, index)) return false;
  }
  if (index.plain() && dbf.orders.state != kChecksOff && dbf.recNo <= dbf.lastRec)
    dxerror(dbf, TableError::kIndexCorruptedPosition);
  return false;
}

}  // namespace

bool update_position(DbfIdx& dbf, IndexControl& index) {
  return ready(dbf, index) && place_on_record(dbf, index);
}

void index_gotop(DbfIdx& dbf) {
  const std::uint32_t generation = dbf.generation;
  if (IndexControl* index = ready_index(dbf); index != nullptr)
    first_key(dbf, *index);
  else
    at_end(dbf, generation);
}

void index_gobottom(DbfIdx& dbf) {
  const std::uint32_t generation = dbf.generation;
  IndexControl* index = ready_index(dbf);
  if (index == nullptr) return at_end(dbf, generation);
  dbf.eofFlag = 0;
  const bool found = index->tree.go_last();
  follow(dbf, *index, found);
}

// Up to n keys back; the number of steps, that over the first key included.
std::int32_t index_back(DbfIdx& dbf, std::int32_t n) {
  dbf.bofFlag = 0;
  const std::uint32_t generation = dbf.generation;
  std::int32_t steps = 0;
  bool placed = false;
  for (; steps > n && dbf.bofFlag == 0; --steps) {
    IndexControl* index = ready_index(dbf);
    if (dbf.generation != generation) break;
    if (index == nullptr) {
      dbf.bofFlag = 1;
      break;
    }
    if (dbf.eofFlag != 0) {
      index_gobottom(dbf);
      if (dbf.eofFlag != 0) dbf.bofFlag = 1;
      placed = true;
      continue;
    }
    if (!placed) start_on_record(dbf, *index);
    placed = true;
    if (index->closed) break;
    if (dbf.currentOrder != 0 && index->tree.step_back()) {
      follow(dbf, *index, true);
      if (index->closed || dbf.eofFlag != 0) break;
    } else {
      dbf.bofFlag = 1;
      if (dbf.currentOrder != 0 && sound(dbf, *index)) first_key(dbf, *index);
    }
  }
  return steps;
}

bool index_step(DbfIdx& dbf) {
  IndexControl* index = current_index(dbf);
  if (index == nullptr || !index->exclusive() || !dbf.exclusive() || mismatch_to_report(dbf) ||
      keys_pending(dbf) || dbf.eofFlag != 0 ||
      !index->tree.on_record(static_cast<std::uint32_t>(dbf.recNo)) || !index->tree.step_in_leaf())
    return false;
  dbf.bofFlag = 0;
  follow(dbf, *index, true);
  return true;
}

std::int32_t index_forward(DbfIdx& dbf, std::int32_t n) {
  const std::uint32_t generation = dbf.generation;
  std::int32_t moved = 0;
  if (dbf.eofFlag != 0) {
    if (!refresh_header(dbf) || dbf.recNo > dbf.lastRec) return 0;
    moved = -1;  // a new record has come where the end was
  }
  dbf.eofFlag = 0;
  for (bool placed = false; moved < n && dbf.eofFlag == 0; ++moved) {
    IndexControl* index = ready_index(dbf);
    if (index != nullptr && !placed) start_on_record(dbf, *index);
    placed = true;
    if (index == nullptr || dbf.currentOrder == 0) {
      at_end(dbf, generation);
      break;
    }
    const bool stepped = index->tree.step_forward();
    follow(dbf, *index, stepped);
    if (index->closed) break;
  }
  return moved;
}

bool index_seek(DbfIdx& dbf, Var* value, bool soft) {
  IndexControl* index = current_index(dbf);
  const std::uint32_t generation = dbf.generation;
  if (index == nullptr) {
    at_end(dbf, generation);
    return false;
  }
  const char type = index->header().type;
  if (!types_agree(value->type, type)) {
    dbf.eofFlag = 1;
    dxerror(dbf, TableError::kSeekTypeMismatch, {value->type, type});
    return false;
  }
  Key key;
  make_key(key, value, type);
  if (!ready(dbf, *index)) {
    at_end(dbf, generation);
    return false;
  }
  const KeyComparer compare(key, index->header(), TextRule::kPrefix, NumberRule::kTolerant);
  const bool found = index->tree.seek(compare, Hit::kFirst);
  const bool placed = found || (soft && index->tree.step_forward());
  if (found) dbf.bofFlag = 0;
  follow(dbf, *index, placed);
  return found && dbf.eofFlag == 0;
}

bool index_seekeval(DbfIdx& dbf, Var* block) {
  IndexControl* index = current_index(dbf);
  const std::uint32_t generation = dbf.generation;
  if (index == nullptr || !update_position(dbf, *index)) {
    at_end(dbf, generation);
    return false;
  }
  for (bool wanted = false;;) {
    const std::int32_t recno = dbf.recNo;
    if (!ask_block(dbf, *index, block, wanted)) {
      at_end(dbf, generation);
      return false;
    }
    if (wanted || dbf.eofFlag != 0) break;
    dbf.recNo = recno;  // whatever the block did
    if (!update_position(dbf, *index)) {
      at_end(dbf, generation);
      return false;
    }
    const bool stepped = index->tree.step_forward();
    follow(dbf, *index, stepped);
  }
  return dbf.eofFlag == 0;
}

int index_keycompare(DbfIdx& dbf, Var* value) {
  IndexControl* index = current_index(dbf);
  Key key, current;
  if (index == nullptr || !ready(dbf, *index)) return 0;
  const char type = index->header().type;
  if (!make_key(key, value, type)) {
    dxerror(dbf, TableError::kKeyTypeMismatch, {value->type, index->fileName, type});
    return 0;
  }
  const KeyComparer compare(key, index->header(), TextRule::kPrefix, NumberRule::kTolerant);
  if (index->tree.on_record(static_cast<std::uint32_t>(dbf.recNo)))
    return compare(index->tree.key());
  return record_key(dbf, *index, current) ? compare(current.bytes) : 0;
}

// --- The hidden methods: each runs under the internal lock; on a closed table, or without the lock, or
// when its code of the language closed the table, the answer is what `none` gives.

namespace {

template <typename Work>
Var* locked(Var** argv, Work work, Var* (*none)() = false_value, bool writes = false) {
  DbfIdx& dbf = dbf_of(argv[0]);
  if (!dbf.isOpen()) return none();
  const SameTable same(dbf);
  const InternalLock lock(dbf, writes ? LockMode::kExclusive : lock_mode(dbf));
  if (!lock.held()) return none();
  Var* result = work(dbf);
  return same.holds() ? result : none();
}

}  // namespace

Var* di_indexgotop(std::int32_t, Var** argv) {
  return locked(argv, [](DbfIdx& dbf) { return index_gotop(dbf), true_value(); });
}

Var* di_indexgobottom(std::int32_t, Var** argv) {
  return locked(argv, [](DbfIdx& dbf) { return index_gobottom(dbf), true_value(); });
}

Var* di_indexskip(std::int32_t argc, Var** argv) {
  const std::int32_t n = int_argument(argc, argv, 1, 1);
  return locked(
      argv, [=](DbfIdx& dbf) { return TMP_INT(index_skip(dbf, n)); }, int_zero);
}

Var* di_indexseek(std::int32_t argc, Var** argv) {
  if (argc < 2) return false_value();
  const bool soft = arg_is(argc, argv, 2, "L") && truth_of(argv[2]);
  return locked(argv, [=](DbfIdx& dbf) { return logical(index_seek(dbf, argv[1], soft)); });
}

Var* di_indexseekeval(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 1, "Bb")) return false_value();
  return locked(argv, [=](DbfIdx& dbf) { return logical(index_seekeval(dbf, argv[1])); });
}

Var* di_indexkeycompare(std::int32_t argc, Var** argv) {
  if (argc < 2) return int_zero();
  return locked(
      argv, [=](DbfIdx& dbf) { return TMP_INT(index_keycompare(dbf, argv[1])); }, int_zero);
}

Var* di_indexsynchronize(std::int32_t argc, Var** argv) {
  const std::int32_t mode = int_argument(argc, argv, 1, kSyncMove);
  if (mode < kSyncClose || mode > kSyncAppend) return false_value();
  const auto work = [=](DbfIdx& dbf) {
    return logical(index_synchronize(dbf, static_cast<SyncMode>(mode)));
  };
  return locked(argv, work, false_value, true);
}

Var* di_indexappend(std::int32_t, Var** argv) {
  const auto work = [](DbfIdx& dbf) { return logical(index_synchronize(dbf, kSyncAppend)); };
  return locked(argv, work, false_value, true);
}

Var* di_indexreplace(std::int32_t, Var** argv) {
  const auto work = [](DbfIdx& dbf) { return index_replace(dbf), true_value(); };
  return locked(argv, work, false_value, true);
}

}  // namespace tarnel
