// The keys of a new or emptied order, record by record. Nothing is sorted first: keys go into pages
// held in memory, which is quicker.
#include "core/blocks.h"
#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/dbfidx/scan/relations.h"
#include "db/progress.h"

namespace tarnel {
namespace {

constexpr std::int32_t kReleaseEvery = 16;  // records between two releases of temporaries

// Only a logical false ends a build; a block that shows how far it has come may give anything.
bool refuses(DbfIdx& dbf, Var* block) {
  if (block == nullptr) return false;
  const std::int32_t mark = temp_top();
  const Var* result = run_in_area(dbf, block);
  const bool no = is_number_or_logical(result) && !truth_of(result);
  POP_TEMPS(mark);
  return no;
}

class Build {
 public:
  Build(DbfIdx& dbf, IndexControl& index, bool along_order)
      : dbf_(dbf), index_(index), progress_("index", dbf.lastRec), along_order_(along_order) {}

  // False when the table or the order went away.
  bool run() {
    dbf_.currentOrder = along_order_ ? 2 : 0;
    if (!along_order_) dbf_.recNo = dbf_.newOrder.start;
    dbf_.bofFlag = dbf_.eofFlag = 0;
    if (dbf_.newOrder.forBlock == nullptr && index_.forBlock != nullptr)
      HOLD_VAR(&dbf_.newOrder.forBlock, index_.forBlock);
    const std::int32_t mark = temp_top();
    while (dbf_.recNo <= dbf_.lastRec && !broken_off() && take_record()) {
      if ((++counter_ & (kReleaseEvery - 1)) == 0) POP_TEMPS(mark);
      progress_.at(counter_);
    }
    POP_TEMPS(mark);
    return still_there();
  }
  bool any() const { return any_; }
  // A record that should have a key has none, or nobody looked at it.
  bool lacking() const { return lacking_; }

 private:
  bool still_there() const { return !index_.closed && dbf_.orderCount > 0; }

  // An order of some of the records says that it differs, and dbreindex() builds it.
  bool broken_off() {
    if (!interrupt_cancels()) return false;
    return lacking_ = true;
  }

  // False at the end, or when the order went away.
  bool take_record() {
    if (!condition_holds(dbf_, dbf_.newOrder.whileBlock) || !still_there()) return false;
    if (dbf_.newOrder.limit == 0) return false;
    --dbf_.newOrder.limit;
    runRelations(dbf_);
    if (!still_there()) return false;
    const bool wanted = condition_holds(dbf_, dbf_.newOrder.forBlock);
    if (!still_there()) return false;
    if (wanted)
      insert();
    else if (is_unreadable(dbf_))
      lacking_ = true;  // nobody knows what its condition is
    return still_there() && !asks_to_end() && next();
  }

  void insert() {
    Key key;
    any_ = true;
    // A record that can't be read, or whose key has another type, stays out, and the order stays
    // different.
    if (record_key(dbf_, index_, key))
      add_key(dbf_, index_, key, dbf_.recNo);
    else
      lacking_ = true;
  }

  bool asks_to_end() {
    return dbf_.recNo % dbf_.newOrder.every == 0 && refuses(dbf_, dbf_.newOrder.evalBlock);
  }

  bool next() {
    if (!still_there()) return false;
    if (!along_order_) {
      ++dbf_.recNo;
      return true;
    }
    index_synchronize(dbf_, kSyncMove);
    index_skip(dbf_, 1);
    return dbf_.eofFlag == 0;
  }

  DbfIdx& dbf_;
  IndexControl& index_;
  Progress progress_;
  std::int32_t counter_ = 0;
  const bool along_order_;
  bool any_ = false, lacking_ = false;
};

// What a build switches in the order and its table, which are looked at again at its end.
class BuildSwitches {
 public:
  BuildSwitches(DbfIdx& dbf, IndexControl& index, Var* key_block)
      : dbf_(dbf), index_(index), unchecked_(dbf), order_(dbf.currentOrder) {
    index.standIn = key_block;
  }
  ~BuildSwitches() {
    index_.standIn = nullptr;
    if (!index_.closed && dbf_.orderCount > 0) dbf_.currentOrder = order_;
  }
  BuildSwitches(const BuildSwitches&) = delete;
  BuildSwitches& operator=(const BuildSwitches&) = delete;

 private:
  DbfIdx& dbf_;
  IndexControl& index_;
  const ChecksOff unchecked_;
  const std::int32_t order_;
};

}  // namespace

void clear_condition(DbfIdx& dbf) {
  for (Var** slot : {&dbf.newOrder.forText, &dbf.newOrder.forBlock, &dbf.newOrder.whileBlock})
    UNHOLD_VAR(slot);
  dbf.newOrder.flags = 0;
  dbf.newOrder.limit = -1;
  dbf.newOrder.start = 1;
}

bool build_index(DbfIdx& dbf, IndexControl& index, Var* key_block, bool along_order) {
  // Records are read under one lock; nobody else has the order.
  const InternalLock lock(dbf, LockMode::kShared);
  if (!lock.held() || !refresh_header(dbf) || !begin_build(dbf, index)) return false;
  Build build(dbf, index, along_order);
  {
    const BuildSwitches switches(dbf, index, key_block);
    if (!build.run()) return false;
  }
  clear_condition(dbf);
  if (!build.any()) {
    phantom(dbf);
    dbf.bofFlag = 1;
  }
  // A build that was abandoned leaves the file saying so.
  return build.lacking() ? flush_index(dbf, index) : end_build(dbf, index);
}

}  // namespace tarnel
