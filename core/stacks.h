// The temporary stack, on which expression results live, and the variable stack, by which a name is
// bound to another cell for the time of a procedure.
#pragma once

#include <cstdint>

#include "core/var.h"

namespace tarnel {

void init_stacks();

// --- Temporary stack. Marks are stack heights.
std::int32_t temp_top();
Var* temp_at(std::int32_t slot);  // null for a slot that was dropped
Var* NEW_TEMP();                  // class T, type U
Var* PUSH_TEMP(Var* var);         // the stack takes over one reference
void POP_TEMPS(std::int32_t mark);
void DROP_TEMP(std::int32_t slot);  // releases one slot; the top does not move

// Cuts the temporaries back to `mark` but keeps `result`, which ends on top. temps: mark + 1.
Var* keep_temp(std::int32_t mark, Var* result);

// Drops the temporaries made while it lives.
class TempsMark {
 public:
  TempsMark() : mark_(temp_top()) {}
  ~TempsMark() { POP_TEMPS(mark_); }
  TempsMark(const TempsMark&) = delete;
  TempsMark& operator=(const TempsMark&) = delete;

 private:
  const std::int32_t mark_;
};

// --- Variable stack.
struct VarStackEntry {
  std::int32_t sym;
  std::int32_t old_level;  // level of the shadowed cell
  std::int32_t new_name;   // name and level that the incoming cell had
  std::int32_t new_level;
  Var* shadowed;
};
std::int32_t varstack_top();  // -1 when empty
VarStackEntry& varstack_entry(std::int32_t i);

// Binds `var` to the Symbol until POP_VARSTACK passes the entry. Returns sym.
std::int32_t PUSH_VARSTACK(std::int32_t sym, Var* var);
void POP_VARSTACK(std::int32_t mark);

}  // namespace tarnel
