#include "macro/machine.h"

#include <sys/mman.h>

#include <bit>
#include <cassert>
#include <string>
#include <utility>

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
  return Machine::has_room(code.depth) ? Machine(code, source, arguments).run() : error_value();
}

constinit Var** Machine::stack_ = nullptr;
constinit Var** Machine::top_ = nullptr;
constinit Var** Machine::room_end_ = nullptr;

// The first time the stack is reserved: memory it takes as far as it is used, but it is smaller than the large pages that
// systems clear at once. Error handlers may use the last eighth.
bool Machine::find_room(std::size_t cells) {
  if (stack_ == nullptr) {
    void* const reserved = mmap(nullptr, kMostCells * sizeof(Var*), PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved != MAP_FAILED) {
      stack_ = top_ = static_cast<Var**>(reserved);
      room_end_ = stack_ + kMostCells - kMostCells / 8;
      return has_room(cells);
    }
  } else if (errors_in_progress() > 0 &&
             static_cast<std::ptrdiff_t>(cells) <= stack_ + kMostCells - top_) {
    return true;
  }
  tell_too_deep();
  return false;
}

Var* Machine::run() {
  run_steps(code_->steps);
  return result_;
}

// Behind each step stands a jump of its own to the next one, by which the processor foretells what follows which step;
// through one jump for all a loop takes twice the time.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
void Machine::run_steps(const Step* step) {
#define MACRO_STEP_LABEL(name, what) &&at_##name,
  static const void* const kActions[] = {MACRO_STEPS(MACRO_STEP_LABEL) && at_stop};
#undef MACRO_STEP_LABEL
  goto* kActions[static_cast<std::uint8_t>(step->kind)];
#define MACRO_STEP_RUN(name, what)      \
  at_##name : step = step##name(*step); \
  goto* kActions[static_cast<std::uint8_t>(step->kind)];
  MACRO_STEPS(MACRO_STEP_RUN)
#undef MACRO_STEP_RUN
at_stop:
  if (activation_ == floor_) return;
  step = end_procedure(std::exchange(result_, nullptr));
  goto* kActions[static_cast<std::uint8_t>(step->kind)];
}
#pragma GCC diagnostic pop

// --- Values.

const Step* Machine::stepConstant(const Step& step) {
  return give(step, &code_->cells[step.a]);
}

const Step* Machine::stepShared(const Step& step) {
  return give(step, shared_constant(static_cast<SharedConstant>(step.op)));
}

const Step* Machine::stepDrop(const Step& step) {
  pop();
  return next(step);
}

const Step* Machine::stepKeep(const Step& step) {
  keep_alive(top());
  return next(step);
}

// The code may go before its value does.
const Step* Machine::stepReturn(const Step&) {
  Var* const value = fresh(pop());
  return activation_ != floor_ ? end_procedure(value) : end_with(value);
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

const Step* Machine::stepFail(const Step& step) {
  broken_ = true;
  return report(step, 309, kFailures[step.op]);
}

// --- Operators.

// Sums and products of two plain numbers are made here.
[[gnu::always_inline]] inline Var* Machine::binary(std::uint8_t op, Var* left, Var* right) {
  switch (op) {
    case kAddFunction:
      return csuaddu(left, right, false);
    case kSubtractFunction:
      return csusubu(left, right, false);
    case kMultiplyFunction:
      return csumulu(left, right, false);
    default:
      return binary_function(op)(left, right, false);
  }
}

// Two plain numbers are compared here, and the jump of the kUnless that follows is taken or not.
[[gnu::always_inline]] inline const Step* Machine::unless(const Step& step, Var* left, Var* right) {
  if (left->type != 'N' || right->type != 'N')
    return give_checked(step, binary_function(step.op)(left, right, false));
  const auto relation = static_cast<detail::Relation>(step.op - kFirstRelation);
  const Step& jump = *next(step);
  return detail::holds(relation, left->num, right->num) ? next(jump) : at(jump.a);
}

const Step* Machine::stepBinary(const Step& step) {
  Var* right = pop();
  Var* left = pop();
  return give_checked(step, binary(step.op, left, right));
}

const Step* Machine::stepBinaryConstant(const Step& step) {
  return give_checked(step, binary(step.op, pop(), &code_->cells[step.a]));
}

const Step* Machine::stepBinarySlot(const Step& step) {
  return give_checked(step, binary(step.op, pop(), slots_[step.a]));
}

const Step* Machine::stepSlotConstant(const Step& step) {
  return give_checked(step, binary(step.op, slots_[step.b], &code_->cells[step.a]));
}

const Step* Machine::stepSlotSlot(const Step& step) {
  return give_checked(step, binary(step.op, slots_[step.b], slots_[step.a]));
}

const Step* Machine::stepUnlessConstant(const Step& step) {
  return unless(step, slots_[step.b], &code_->cells[step.a]);
}

const Step* Machine::stepUnlessSlot(const Step& step) {
  return unless(step, slots_[step.b], slots_[step.a]);
}

const Step* Machine::stepUnary(const Step& step) {
  Var* value = pop();
  if (step.op >= static_cast<std::uint8_t>(UnaryOperator::kPreIncrement)) value = fresh(value);
  Var* result = kUnaryOperators[step.op](value);
  if (result == nullptr) return report(step, 202, "unary '+' only for numerics");
  return give_checked(step, result);
}

const Step* Machine::stepAssign(const Step& step) {
  Var* value = pop();
  Var* target = pop();
  if (code_->goes_on()) return give(step, ASSIGN(target, value, binary_function(step.op)));
  // What is undefined is no value for a record.
  if (upper_class(target->sclass) == 'F') {
    if (is_undefined(value) && is_undefined(ARG_VAR(value))) value = error_value();
    if (is_error(value)) return give(step, value);
  }
  return give_checked(step, step.op == kNoFunction ? CPY_VAR(target, value)
                                                   : binary_function(step.op)(target, value, true));
}

const Step* Machine::stepAssignInstance(const Step& step) {
  Var* value = pop();
  Var* object = pop();
  const std::string_view name = code_->word(step.a);
  if (step.op != kNoFunction) {
    Var* const former = get_ivar(object, name);
    if (leaving_deep_evaluation()) return break_off();
    value = binary_function(step.op)(former, value, false);
    if (is_error(value)) return stop(step);
  }
  return give_checked(step, put_ivar(object, name, value));
}

const Step* Machine::stepInstance(const Step& step) {
  Var* object = pop();
  return give_returned(step, get_ivar(object, code_->word(step.a)));
}

const Step* Machine::stepSubscript(const Step& step) {
  Var* index = pop();
  Var* array = pop();
  return give_checked(step, csgetarv(array, index));
}

// --- Choices.

const Step* Machine::stepAnd(const Step& step) {
  if (csifu(pop())) return next(step);
  push(false_value());
  return at(step.a);
}

const Step* Machine::stepOr(const Step& step) {
  if (!csifu(pop())) return next(step);
  push(true_value());
  return at(step.a);
}

const Step* Machine::stepCheck(const Step& step) {
  return is_error(top()) ? stop(step) : next(step);
}

const Step* Machine::stepDecide(const Step& step) {
  if (is_number_or_logical(top())) return next(step);
  top() = false_value();
  return at(step.a);
}

const Step* Machine::stepChoose(const Step& step) {
  return truth_of(pop()) ? next(step) : at(step.a);
}

const Step* Machine::stepJump(const Step& step) {
  return at(step.a);
}

const Step* Machine::stepGuard(const Step& step) {
  Nested& in = nested();
  in.guards.add({step.a, cells(), list_, static_cast<std::uint32_t>(in.areas.size())});
  return next(step);
}

const Step* Machine::stepUnguard(const Step& step) {
  nested_->guards.take_last();
  return next(step);
}

// --- Ends.

const Step* Machine::fail() {
  if (broken_ || !nested_ || nested_->guards.size() == 0) return end_with(error_value());
  const Guarded back = nested_->guards.take_last();
  list_ = back.list;
  leave_areas(back.areas);
  top_ = stack_ + back.cells;
  push(error_value());
  return at(back.target);
}

const Step* Machine::stop(const Step& step) {
  return code_->goes_on() ? give(step, error_value()) : give_up();
}

const Step* Machine::give_up() {
  set_last_error(310);
  return fail();
}

const Step* Machine::break_off() {
  broken_ = true;
  return give_up();
}

const Step* Machine::report(const Step& step, int code, std::string_view cause) {
  if (code_->goes_on()) {
    RT_ERROR(code, cause);
    return give(step, error_value());
  }
  report_failure(code, cause, source_, code_->text());
  return fail();
}

// --- What steps share.

Var* Machine::keep_alive(Var* cell) {
  return KEEP(cell);
}

// A cell that may be written to and outlives the code: for a constant of the code a temporary like it.
Var* Machine::fresh(Var* cell) {
  const bool own = cell >= code_->cells && cell < code_->cells + code_->cell_count;
  return own ? CPY_VAR(NEW_TEMP(), cell) : cell;
}

}  // namespace tarnel
