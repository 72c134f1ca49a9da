#include "core/stacks.h"

#include "core/checks.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/symbols.h"

namespace tarnel {
namespace {

struct TempStack {
  Var** slots = nullptr;
  std::int32_t capacity = 0;
  std::int32_t top = 0;
} temps;

struct VarStack {
  VarStackEntry* entries = nullptr;  // made at the first push
  std::int32_t capacity = 0;
  std::int32_t top = -1;
} vars;

// The capacity last: without memory the exit road runs, which pushes too.
[[gnu::noinline]] void more_temps() {
  const std::int32_t capacity = temps.capacity + kTempStep;
  temps.slots = static_cast<Var**>(MEM_REALLOC(
      temps.slots, static_cast<std::size_t>(capacity) * sizeof(Var*), MemPurpose::kTemporaries));
  temps.capacity = capacity;
}

// The rare parts are kept out of what runs at each step of an expression.
[[gnu::noinline]] void pop_down_to(std::int32_t mark) {
  for (std::int32_t i = mark; i < temps.top; ++i) DROP_TEMP(i);
  temps.top = mark;
}

}  // namespace

void init_stacks() {
  if (temps.slots != nullptr) return;
  temps.capacity = kTempStep;
  temps.slots = static_cast<Var**>(MEM_ALLOC(kTempStep * sizeof(Var*), MemPurpose::kTemporaries));
}

std::int32_t temp_top() {
  return temps.top;
}

Var* temp_at(std::int32_t slot) {
  return temps.slots[slot];
}

Var* NEW_TEMP() {
  return PUSH_TEMP(NEW_VAR('T', 'U'));
}

Var* PUSH_TEMP(Var* var) {
  if (temps.top + 1 == temps.capacity) more_temps();
  return temps.slots[temps.top++] = var;
}

void POP_TEMPS(std::int32_t mark) {
  if (mark < temps.top) pop_down_to(mark);
}

// The slot is emptied first: releasing an object runs its destructor, which uses the stack.
void DROP_TEMP(std::int32_t slot) {
  Var* var = temps.slots[slot];
  temps.slots[slot] = nullptr;
  if (var != nullptr) DEL_VAR(var);
}

Var* keep_temp(std::int32_t mark, Var* result) {
  if (mark + 1 == temps.top && temps.slots[mark] == result) return result;
  ++result->refs;
  POP_TEMPS(mark);
  return PUSH_TEMP(result);
}

std::int32_t varstack_top() {
  return vars.top;
}
VarStackEntry& varstack_entry(std::int32_t i) {
  return vars.entries[i];
}

std::int32_t PUSH_VARSTACK(std::int32_t sym, Var* var) {
  if (vars.top == vars.capacity - 1) {
    const std::int32_t capacity = vars.capacity + kVarStep;
    vars.entries = static_cast<VarStackEntry*>(
        MEM_REALLOC(vars.entries, static_cast<std::size_t>(capacity) * sizeof(VarStackEntry),
                    MemPurpose::kVarStack));
    vars.capacity = capacity;
  }
  Var* old = symbol_var(sym);
  ++old->refs;
  vars.entries[++vars.top] = {sym, old->level, var->name, var->level, old};
  var->name = sym;
  if (letter_in(var->sclass, "TUt")) {
    var->sclass = var->sclass == 't' ? 'v' : 'V';
    var->level = activation_level();
  }
  symbol_at(sym).var = var;
  current_frame()->var_top = vars.top;
  return sym;
}

void POP_VARSTACK(std::int32_t mark) {
  while (vars.top > mark) {
    const VarStackEntry entry = vars.entries[vars.top--];
    Var* bound = symbol_var(entry.sym);
    bound->name = entry.new_name;
    // A cell that was made public in the meantime stays bound and keeps its name. The shadowed one
    // loses this entry's reference and the one that its own binding held.
    if (bound->level < activation_level() && bound->level != entry.new_level) {
      bound->name = entry.sym;
      DEL_VAR(entry.shadowed);
      DEL_VAR(entry.shadowed);
      continue;
    }
    symbol_at(entry.sym).var = entry.shadowed;
    entry.shadowed->level = entry.old_level;
    DEL_VAR(bound);
    DEL_VAR(entry.shadowed);
  }
}

}  // namespace tarnel
