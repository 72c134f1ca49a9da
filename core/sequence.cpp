#include "core/sequence.h"

#include <unistd.h>

#include "core/error_object.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/memvars.h"
#include "core/runtime.h"

namespace tarnel {
namespace {

// The innermost sequence; the value travels in it, not in the exception.
struct Sequence {
  Sequence* const outer;
  Frame* const frame;
  const std::int32_t temps, vars, area;
  Var* value;  // null until a break is on its way
};
Sequence* innermost = nullptr;

Sequence* program = nullptr;  // what leave_program() goes back to

struct BreakSignal {};
struct LeaveSignal {};

std::int32_t current_area_number() {
  return area_hooks().current_number != nullptr ? area_hooks().current_number() : 0;
}

// What was selected on the way goes with it: the statements behind RECOVER mean the table of those before.
void choose_area(std::int32_t number) {
  if (area_hooks().choose_number != nullptr) area_hooks().choose_number(number);
}

}  // namespace

// Back to where a sequence or program began.
static void go_back_to(const Sequence& began) {
  innermost = began.outer;
  POP_VARSTACK(began.vars);  // what ran while the procedures were left may have bound names
  POP_TEMPS(began.temps);
  choose_area(began.area);
}

bool run_program(void (*body)(void* context), void* context) {
  Sequence began{innermost,      current_frame(),       temp_top(),
                 varstack_top(), current_area_number(), nullptr};
  program = &began;
  try {
    body(context);
  } catch (const LeaveSignal&) {
    program = nullptr;
    go_back_to(began);
    return false;
  }
  program = nullptr;
  return true;
}

void leave_program() {
  if (program == nullptr) QUIT_RUN(0);
  leave_procedures(program->frame, program->vars);
  throw LeaveSignal{};
}

Var* run_sequence(void (*body)(void* context), void* context) {
  Sequence sequence{innermost,      current_frame(),       temp_top(),
                    varstack_top(), current_area_number(), nullptr};
  innermost = &sequence;
  try {
    body(context);
  } catch (const BreakSignal&) {
  }
  innermost = sequence.outer;
  if (sequence.value == nullptr) return nullptr;
  go_back_to(sequence);
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
    if (!tell_of_handled_error()) RT_ERROR(335, "Break without a BEGIN SEQUENCE");
    QUIT_RUN(1);
  }
  Var* kept = ARG_VAR(value);
  ++kept->refs;  // outlives the temporaries that RECOVER pops
  innermost->value = kept;
  leave_procedures(innermost->frame, innermost->vars);
  throw BreakSignal{};
}

}  // namespace tarnel
