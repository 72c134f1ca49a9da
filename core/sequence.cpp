#include "core/sequence.h"

#include <unistd.h>

#include "core/errors.h"
#include "core/frame.h"
#include "core/runtime.h"

namespace tarnel {
namespace {

// The innermost sequence; the value travels in it, not in the exception.
struct Sequence {
  Sequence* outer;
  Var* value;
};
Sequence* innermost = nullptr;

struct BreakSignal {
  Sequence* target;
};

}  // namespace

Var* run_sequence(void (*body)(void* context), void* context) {
  Sequence sequence{innermost, nullptr};
  Frame* frame = current_frame();
  const std::int32_t temps = temp_top(), vars = varstack_top();
  const int errors = errors_in_progress();
  innermost = &sequence;
  try {
    body(context);
    innermost = sequence.outer;
    return nullptr;
  } catch (const BreakSignal& signal) {
    if (signal.target != &sequence) throw;
  }
  innermost = sequence.outer;
  unwind_to(frame, temps, vars);
  errors_in_progress() = errors;
  return PUSH_TEMP(sequence.value);
}

bool inside_sequence() {
  return innermost != nullptr;
}

void break_sequence(Var* value) {
  if (innermost == nullptr) {
    RT_ERROR(335, "Break without a BEGIN SEQUENCE");
    QUIT_RUN(1);
  }
  Var* kept = ARG_VAR(value);
  ++kept->refs;  // outlives the temporaries that the unwinding pops
  innermost->value = kept;
  throw BreakSignal{innermost};
}

}  // namespace tarnel
