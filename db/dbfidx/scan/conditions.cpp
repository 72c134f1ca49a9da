#include "db/dbfidx/scan/conditions.h"

#include "core/blocks.h"
#include "core/stacks.h"
#include "lib/arguments.h"

namespace tarnel {
Var* run_in_area(DbfIdx& dbf, Var* block) {
  if (block == nullptr) return true_value();
  const CallOut out;
  const CellHold kept(block);  // it may close what holds it
  const AreaScope in(dbf.area);
  return run_block_with(block);
}

Var* value_of_record(DbfIdx& dbf, Var* block) {
  const KeepCursor keep(dbf);
  return run_in_area(dbf, block);
}

Verdict judge(DbfIdx& dbf, Var* block) {
  if (block == nullptr) return Verdict::kHolds;
  const std::int32_t mark = temp_top();
  const Var* result = value_of_record(dbf, block);
  Verdict verdict = Verdict::kNo;
  if (result->type == 'E' || is_unreadable(dbf))
    verdict = Verdict::kFailed;
  else if (is_number_or_logical(result) && truth_of(result))
    verdict = Verdict::kHolds;
  POP_TEMPS(mark);
  return verdict;
}

Var* block_of(Var* argument) {
  if (is_block(argument)) return ARG_VAR(argument);
  if (!is_text(argument)) return nullptr;
  Var* block = ogmakecb(text_of(argument));
  return is_block(block) ? block : nullptr;
}

void keep_value(Var** slot, Var* value) {
  Var* copy = ARG_VAR(value);
  UNHOLD_VAR(slot);
  HOLD_VAR(slot, copy);
}

void release_conditions(DbfIdx& dbf) {
  ScanCondition& scan = dbf.scan;
  OrderCondition& order = dbf.newOrder;
  for (Var** slot :
       {&scan.filterText, &scan.filterBlock, &scan.locateBlock, &scan.forBlock, &scan.whileBlock,
        &order.forText, &order.forBlock, &order.whileBlock, &order.evalBlock})
    UNHOLD_VAR(slot);
}

}  // namespace tarnel
