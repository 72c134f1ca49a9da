#include "macro/machine.h"

#include <bit>
#include <cassert>
#include <string>

#include "core/classes.h"
#include "core/errors.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "macro/machine_state.h"

namespace tarnel {
namespace {

// +x: what is no number raises an error, of which the report tells the text.
Var* sign(Var* value) {
  return is_number_or_logical(value) ? value : nullptr;
}

// In the order of UnaryOperator. A null result: 202.
constexpr Var* (*kUnaryOperators[])(Var*) = {csnotu, csminusu, sign,  csincu,
                                             csdecu, csuinc,   csudec};

constexpr std::string_view kFailures[] = {"", "yacc stack overflow", "", ""};

Var* shared_constant(SharedConstant which) {
  switch (which) {
    case SharedConstant::kTrue:
      return true_value();
    case SharedConstant::kFalse:
      return false_value();
    case SharedConstant::kEmptyText:
      return empty_text();
    default:
      return nil_value();
  }
}

}  // namespace

UnaryFunction unary_function(std::uint8_t op) {
  return kUnaryOperators[op];
}

Var* run_code(Code& code, std::string_view source, const BlockArguments& arguments) {
  assert(code.refs > 0 && code.steps != nullptr);
  return Machine(code, source, arguments).run();
}

Var* Machine::run() {
  next_ = code_.steps;
  run_steps();
  return result_;
}

// Behind each step stands a jump of its own to the next one, by which the processor foretells what follows which step;
// through one jump for all a loop takes twice the time.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
void Machine::run_steps() {
#define MACRO_STEP_LABEL(name, what) &&at_##name,
  static const void* const kActions[] = {MACRO_STEPS(MACRO_STEP_LABEL) && at_stop};
#undef MACRO_STEP_LABEL
  const Step* step = next_++;
  goto* kActions[static_cast<std::uint8_t>(step->kind)];
#define MACRO_STEP_RUN(name, what) \
  at_##name : step##name(*step);   \
  step = next_++;                  \
  goto* kActions[static_cast<std::uint8_t>(step->kind)];
  MACRO_STEPS(MACRO_STEP_RUN)
#undef MACRO_STEP_RUN
at_stop:
  return;
}
#pragma GCC diagnostic pop

// --- Values.

void Machine::stepConstant(const Step& step) {
  push(&code_.cells[step.a]);
}

void Machine::stepShared(const Step& step) {
  push(shared_constant(static_cast<SharedConstant>(step.op)));
}

void Machine::stepDrop(const Step&) {
  pop();
}

void Machine::stepKeep(const Step&) {
  keep_alive(top());
}

// The code may go before its value does.
void Machine::stepReturn(const Step&) {
  set_result(fresh(pop()));
}

static void report_failure(int code, std::string_view cause, std::string_view source,
                           std::string_view expanded) {
  std::string text(cause);
  if (!text.empty()) text += '\n';
  text.append("evaluating expression:\n--> ").append(source);
  text.append(" \nafter expanding it to:\n'").append(expanded).append("'");
  RT_ERROR(code, text);
}

void report_syntax_fault(std::string_view text, const SyntaxFault& fault) {
  report_failure(309, kFailures[static_cast<std::uint8_t>(fault.cause)], text, text);
}

void Machine::stepFail(const Step& step) {
  broken_ = true;
  report(309, kFailures[step.op]);
}

// --- Operators.

void Machine::stepBinary(const Step& step) {
  Var* right = pop();
  Var* left = pop();
  push_checked(binary_function(step.op)(left, right, false));
}

void Machine::stepBinaryConstant(const Step& step) {
  push_checked(binary_function(step.op)(pop(), &code_.cells[step.a], false));
}

void Machine::stepBinarySlot(const Step& step) {
  push_checked(binary_function(step.op)(pop(), slots_[step.a], false));
}

void Machine::stepSlotConstant(const Step& step) {
  push_checked(binary_function(step.op)(slots_[step.b], &code_.cells[step.a], false));
}

void Machine::stepSlotSlot(const Step& step) {
  push_checked(binary_function(step.op)(slots_[step.b], slots_[step.a], false));
}

void Machine::stepUnary(const Step& step) {
  Var* value = pop();
  if (step.op >= static_cast<std::uint8_t>(UnaryOperator::kPreIncrement)) value = fresh(value);
  Var* result = kUnaryOperators[step.op](value);
  if (result == nullptr) return report(202, "unary '+' only for numerics");
  push_checked(result);
}

void Machine::stepAssign(const Step& step) {
  Var* value = pop();
  Var* target = pop();
  if (code_.goes_on()) return push(ASSIGN(target, value, binary_function(step.op)));
  // What is undefined is no value for a record.
  if (upper_class(target->sclass) == 'F') {
    if (is_undefined(value) && is_undefined(ARG_VAR(value))) value = error_value();
    if (is_error(value)) return push(value);
  }
  push_checked(step.op == kNoFunction ? CPY_VAR(target, value)
                                      : binary_function(step.op)(target, value, true));
}

void Machine::stepAssignInstance(const Step& step) {
  Var* value = pop();
  Var* object = pop();
  const std::string_view name = code_.word(step.a);
  if (step.op != kNoFunction) {
    push_returned(get_ivar(object, name));
    if (broken_) return;
    value = binary_function(step.op)(pop(), value, false);
    if (is_error(value)) return stop();
  }
  push_checked(put_ivar(object, name, value));
}

void Machine::stepInstance(const Step& step) {
  Var* object = pop();
  push_returned(get_ivar(object, code_.word(step.a)));
}

void Machine::stepSubscript(const Step&) {
  Var* index = pop();
  Var* array = pop();
  push_checked(csgetarv(array, index));
}

// --- Choices.

void Machine::stepAnd(const Step& step) {
  if (csifu(pop())) return;
  push(false_value());
  jump(step.a);
}

void Machine::stepOr(const Step& step) {
  if (!csifu(pop())) return;
  push(true_value());
  jump(step.a);
}

void Machine::stepCheck(const Step&) {
  if (is_error(top())) stop();
}

void Machine::stepDecide(const Step& step) {
  if (is_number_or_logical(top())) return;
  top() = false_value();
  jump(step.a);
}

void Machine::stepChoose(const Step& step) {
  if (!truth_of(pop())) jump(step.a);
}

void Machine::stepJump(const Step& step) {
  jump(step.a);
}

void Machine::stepGuard(const Step& step) {
  Nested& in = nested();
  in.guards.add({step.a, cells(), list_, static_cast<std::uint32_t>(in.areas.size())});
}

void Machine::stepUnguard(const Step&) {
  nested_->guards.take_last();
}

// --- Ends.

void Machine::fail() {
  if (broken_ || !nested_ || nested_->guards.size() == 0) {
    set_result(error_value());
    return;
  }
  const Guarded back = nested_->guards.take_last();
  list_ = back.list;
  leave_areas(back.areas);
  top_ = stack_.data() + back.cells;
  push(error_value());
  jump(back.target);
}

void Machine::stop() {
  if (code_.goes_on() && !broken_) return push(error_value());
  set_last_error(310);
  fail();
}

void Machine::report(int code, std::string_view cause) {
  if (code_.goes_on()) {
    RT_ERROR(code, cause);
    return push(error_value());
  }
  report_failure(code, cause, source_, code_.text());
  fail();
}

// --- What steps share.

Var* Machine::keep_alive(Var* cell) {
  return KEEP(cell);
}

// A cell that may be written to and outlives the code: for a constant of the code a temporary like it.
Var* Machine::fresh(Var* cell) {
  const bool own = cell >= code_.cells && cell < code_.cells + code_.cell_count;
  return own ? CPY_VAR(NEW_TEMP(), cell) : cell;
}

Machine::Arguments Machine::take_arguments() {
  Var** const place = stack_.data() + list_;
  const auto mark = std::bit_cast<ListMark>(*place);
  const auto count = static_cast<std::int32_t>(top_ - place) - 1;
  top_ = place;
  list_ = mark.outer;
  return {mark.temps, count, place + 1};
}

}  // namespace tarnel
