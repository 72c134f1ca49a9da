// The keys of a new or emptied order, record by record. Nothing is sorted first: keys go into pages
// held in memory, which is quicker.
#include <algorithm>
#include <iterator>
#include <utility>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "db/dbfidx/order/index_control.h"
#include "db/dbfidx/relations.h"
#include "db/progress.h"

namespace tarnel {
namespace {

constexpr std::int32_t kReleaseEvery = 16;  // records between two releases of temporaries

// Is the order still one of the table's, whatever the blocks of the build did?
bool is_open(const DbfIdx& dbf, const IndexControl& index) {
  return dbf.isOpen() && dbf.orderCount > 0 &&
         std::find(std::begin(dbf.orders), std::end(dbf.orders), &index) != std::end(dbf.orders);
}

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
    if (!along_order_) dbf_.recNo = dbf_.orderStart;
    dbf_.bofFlag = dbf_.eofFlag = 0;
    if (dbf_.orderForBlock == nullptr && index_.forBlock != nullptr)
      HOLD_VAR(&dbf_.orderForBlock, index_.forBlock);
    const std::int32_t mark = temp_top();
    while (dbf_.recNo <= dbf_.lastRec && take_record()) {
      if ((++counter_ & (kReleaseEvery - 1)) == 0) POP_TEMPS(mark);
      progress_.at(counter_);
    }
    POP_TEMPS(mark);
    return !gone_ && still_there();
  }
  bool any() const { return any_; }

 private:
  bool still_there() const { return is_open(dbf_, index_); }

  // False at the end.
  bool take_record() {
    if (!condition_holds(dbf_, dbf_.orderWhileBlock)) return false;
    if (dbf_.orderLimit == 0) return false;
    --dbf_.orderLimit;
    if (dbf_.relationCount > 0) runRelations(dbf_);
    if (condition_holds(dbf_, dbf_.orderForBlock) && !insert()) return false;
    if (dbf_.recNo % dbf_.orderEvery == 0 && refuses(dbf_, dbf_.orderEvalBlock)) return false;
    return next();
  }

  bool insert() {
    gone_ = !dbf_.isOpen() || !insert_key() || dbf_.orderCount == 0;
    any_ = true;
    return !gone_;
  }

  bool insert_key() {
    Key key;
    // A record whose key has another type stays out, and the count of keys will tell.
    if (!record_key(dbf_, index_, key)) return dbf_.isOpen();
    add_key(dbf_, index_, key, dbf_.recNo);
    return true;
  }

  bool next() {
    if (!still_there()) {
      gone_ = true;
      return false;
    }
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
  bool any_ = false, gone_ = false;
};

}  // namespace

void clear_condition(DbfIdx& dbf) {
  for (Var** slot : {&dbf.orderForText, &dbf.orderForBlock, &dbf.orderWhileBlock}) UNHOLD_VAR(slot);
  dbf.orderFlags = 0;
  dbf.orderLimit = -1;
  dbf.orderStart = 1;
}

bool build_index(DbfIdx& dbf, IndexControl& index, Var* key_block, bool along_order) {
  const std::int32_t former = dbf.currentOrder;
  const std::int32_t field = index.field;
  Var* const own_block = index.keyBlock;
  if (key_block != nullptr) {
    index.keyBlock = key_block;
    index.field = -1;
  }
  const std::uint8_t state = std::exchange(dbf.indexState, std::uint8_t{kChecksOff});
  mark_changed(dbf, index);
  bool whole = false, any = false;
  {
    // Records are read under one lock; nobody else has the order.
    const InternalLock lock(dbf, LockMode::kShared);
    Build build(dbf, index, along_order);
    whole = build.run();
    any = build.any();
  }
  if (!is_open(dbf, index)) return false;
  index.keyBlock = own_block;
  index.field = field;
  dbf.indexState = state;
  clear_condition(dbf);
  dbf.currentOrder = former;
  if (!any) {
    phantom(dbf);
    dbf.bofFlag = 1;
  }
  updateHeader(dbf);
  // A build that was abandoned leaves the file saying so.
  return flush_index(dbf, index) && whole;
}

}  // namespace tarnel
