#include "core/sequence.h"

#include <unistd.h>

#include "core/errors.h"
#include "core/frame.h"
#include "core/runtime.h"

namespace tarnel {
namespace {

// The innermost sequence; the value travels in it, not in the exception.
struct Sequence {
  Sequence* const outer;
  Frame* const frame;
  const std::int32_t temps, vars;
  Var* value;  // null until a break is on its way
};
Sequence* innermost = nullptr;

struct BreakSignal {};

}  // namespace

Var* run_sequence(void (*body)(void* context), void* context) {
  Sequence sequence{innermost, current_frame(), temp_top(), varstack_top(), nullptr};
  innermost = &sequence;
  try {
    body(context);
  } catch (const BreakSignal&) {
  }
  innermost = sequence.outer;
  if (sequence.value == nullptr) return nullptr;
  POP_VARSTACK(sequence.vars);  // what ran while the procedures were left may have bound names
  POP_TEMPS(sequence.temps);
  return PUSH_TEMP(sequence.value);
}

bool inside_sequence() {
  return innermost != nullptr;
}

bool break_on_its_way() {
  return innermost != nullptr && innermost->value != nullptr;
}

void break_sequence(Var* value) {
  if (innermost == nullptr) {
    RT_ERROR(335, "Break without a BEGIN SEQUENCE");
    QUIT_RUN(1);
  }
  Var* kept = ARG_VAR(value);
  ++kept->refs;  // outlives the temporaries that RECOVER pops
  innermost->value = kept;
  leave_procedures(innermost->frame, innermost->vars);
  throw BreakSignal{};
}

}  // namespace tarnel
