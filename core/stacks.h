// The temporary stack, on which expression results live, and the variable stack, by which a name is
// bound to another cell for the time of a procedure.
#pragma once

#include <bit>
#include <cstdint>

#include "core/var.h"

namespace tarnel {

void init_stacks();

namespace detail {
struct TempStack {
  Var** slots;
  std::int32_t capacity, top;
};
extern TempStack temps;
extern std::int32_t varstack_top;
void more_temps();
Var* keep_one(std::int32_t mark, Var* result);  // the rare cases of keep_temp
}  // namespace detail

// --- Temporary stack. Marks are stack heights.
inline std::int32_t temp_top() {
  return detail::temps.top;
}
inline Var* temp_at(std::int32_t slot) {  // null for a slot that was dropped
  return detail::temps.slots[slot];
}
inline Var* PUSH_TEMP(Var* var) {  // the stack takes over one reference
  if (detail::temps.top == detail::temps.capacity) detail::more_temps();
  return detail::temps.slots[detail::temps.top++] = var;
}
namespace detail {
inline Var* push_cell() {
  if (temps.top == temps.capacity) [[unlikely]]
    more_temps();
  return temps.slots[temps.top++] = GET_CELL();
}
}  // namespace detail
inline Var* NEW_TEMP() {  // class T, type U
  return detail::init_cell(detail::push_cell(), 'T', 'U');
}
// Class T, type N; its display width, -1 for none, and decimals.
inline Var* NEW_NUMBER(double value, std::int32_t length, std::uint8_t decimals) {
  return detail::init_cell(detail::push_cell(), 'T', 'N', length, decimals,
                           std::bit_cast<std::uint64_t>(value));
}
// Releases one slot; the top does not move. It is emptied first: releasing an object runs its destructor, which uses
// the stack.
inline void DROP_TEMP(std::int32_t slot) {
  Var* const var = detail::temps.slots[slot];
  detail::temps.slots[slot] = nullptr;
  if (var != nullptr) DEL_VAR(var);
}
inline void POP_TEMPS(std::int32_t mark) {
  if (mark >= detail::temps.top) return;
  for (std::int32_t i = mark; i < detail::temps.top; ++i) DROP_TEMP(i);
  detail::temps.top = mark;
}

// Cuts the temporaries back to `mark` but keeps `result`, which ends on top. temps: mark + 1.
[[gnu::always_inline]] inline Var* keep_temp(std::int32_t mark, Var* result) {
  detail::TempStack& temps = detail::temps;
  if (temps.top != mark + 2 || temps.slots[mark + 1] != result) [[unlikely]]
    return detail::keep_one(mark, result);
  Var* const other = temps.slots[mark];  // in most cases there is one
  temps.slots[mark] = result;
  temps.top = mark + 1;
  DEL_VAR(other);
  return result;
}

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
inline std::int32_t varstack_top() {  // -1 when empty
  return detail::varstack_top;
}
VarStackEntry& varstack_entry(std::int32_t i);

// Binds `var` to the Symbol until POP_VARSTACK passes the entry. Returns sym.
std::int32_t PUSH_VARSTACK(std::int32_t sym, Var* var);
void POP_VARSTACK(std::int32_t mark);

}  // namespace tarnel
