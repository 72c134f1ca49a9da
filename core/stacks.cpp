#include "core/stacks.h"

#include "core/checks.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/symbols.h"

namespace tarnel {

namespace detail {
TempStack temps{};
std::int32_t varstack_top = -1;

// The capacity last: without memory the exit road runs, which pushes too.
[[gnu::noinline]] void more_temps() {
  const std::int32_t capacity = temps.capacity + kTempStep;
  temps.slots = static_cast<Var**>(MEM_REALLOC(
      temps.slots, static_cast<std::size_t>(capacity) * sizeof(Var*), MemPurpose::kTemporaries));
  temps.capacity = capacity;
}

Var* keep_one(std::int32_t mark, Var* result) {
  if (temps.top == mark + 1 && temps.slots[mark] == result) return result;
  ++result->refs;
  POP_TEMPS(mark);
  return PUSH_TEMP(result);
}
}  // namespace detail

namespace {

using detail::temps;

struct VarStack {
  VarStackEntry* entries = nullptr;  // made at the first push
  std::int32_t capacity = 0;
  std::int32_t& top = detail::varstack_top;
} vars;

}  // namespace

void init_stacks() {
  if (temps.slots != nullptr) return;
  temps.capacity = kTempStep;
  temps.slots = static_cast<Var**>(MEM_ALLOC(kTempStep * sizeof(Var*), MemPurpose::kTemporaries));
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
