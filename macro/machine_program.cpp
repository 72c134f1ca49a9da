// The steps that only programs have: slots, blocks with detached locals, macros as operands, statements.
#include <string>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/sequence.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/switched.h"
#include "macro/evaluator.h"
#include "macro/machine_state.h"

namespace tarnel {

// --- Names.

const Step* Machine::stepSlot(const Step& step) {
  return give(step, slots_[step.a]);
}

const Step* Machine::stepStatic(const Step& step) {
  return give(step, code_->part->unit->statics[static_cast<std::size_t>(step.a)]);
}

const Step* Machine::stepClosure(const Step& step) {
  return give(step, make_closure(*code_->blocks[step.a], slots_));
}

const Step* Machine::stepStore(const Step& step) {
  CPY_VAR(slots_[step.a], pop());
  return next(step);
}

const Step* Machine::stepUpdateSlot(const Step& step) {
  binary_function(step.op)(slots_[step.a], pop(), true);
  return next(step);
}

const Step* Machine::stepStepSlot(const Step& step) {
  unary_function(step.op)(slots_[step.a]);
  return next(step);
}

const Step* Machine::stepStoreStatic(const Step& step) {
  CPY_VAR(code_->part->unit->statics[static_cast<std::size_t>(step.a)], pop());
  return next(step);
}

// --- Macros.

const Step* Machine::stepJoinTexts(const Step& step) {
  Var* const joined = JOIN_TEXTS(step.a, top_ - step.a);
  top_ -= step.a;
  return give_checked(step, joined);
}

const Step* Machine::stepMacroValue(const Step& step) {
  return give_returned(step, MACRO_VALUE(pop()));
}

const Step* Machine::stepMacroMemvar(const Step& step) {
  return give(step, MACRO_MEMVAR(pop()));
}

const Step* Machine::stepMacroField(const Step& step) {
  return give(step, MACRO_FIELD(area_, pop()));
}

const Step* Machine::stepCallNamed(const Step& step) {
  const Arguments list = end_list();
  Var* const name = list.cells[0];
  const Function function = GET_FUNC(is_text(name) ? text_of(name) : std::string_view());
  return give_result(step, list, CALL_VECTOR(function, list.count - 1, list.cells + 1));
}

// [object name arguments]: the name goes, the object stays first.
const Step* Machine::stepMethodNamed(const Step& step) {
  const Arguments list = end_list();
  const std::string name(is_text(list.cells[1]) ? text_of(list.cells[1]) : std::string_view());
  list.cells[1] = list.cells[0];
  return give_result(step, list, csnomcme(name, 0, list.count - 1, list.cells + 1));
}

const Step* Machine::stepVariableArgument(const Step& step) {
  top() = VARIABLE_ARGUMENT(top());
  return next(step);
}

// --- Procedures.

// A cell of its own: the caller's variable may get another object meanwhile.
static Var* bind_self(std::int32_t argc, Var** argv) {
  Var* const given = argc > 0 ? argv[0] : nullptr;
  Var* object[] = {given != nullptr ? ARG_VAR(given) : nullptr};
  return BIND_PARAM(argc, 0, object, static_cast<char>('O' | kQuiet));
}

void Machine::bind_from(std::int32_t slot, Activation& begun) {
  const ProgramPart& part = *begun.code->part;
  const std::int32_t argc = begun.frame.argc, self = part.is_method ? 1 : 0;
  Var** const slots = begun.slots();
  if (part.is_method) slots[slot++] = bind_self(argc, begun.arguments);
  for (; slot < self + static_cast<std::int32_t>(part.parameters.size()); ++slot)
    slots[slot] = BIND_PARAM(argc, slot, begun.arguments,
                             part.parameters[static_cast<std::size_t>(slot - self)]);
  for (const char letter : part.locals) slots[slot++] = BIND_PARAM(0, 0, nullptr, letter);
}

const Step* Machine::end_procedure(Var* value) {
  Activation& ended = *activation_;
  if (nested_ && nested_->areas.size() > ended.areas) [[unlikely]]
    leave_areas(ended.areas);
  Var* const result = END_PROC(
      &ended.frame, value->sclass == 'C' ? value : detail::own_result(value), code_->part->result);
  if (ended.outer == nullptr) {
    activation_ = nullptr;
    return end_with(result);
  }
  resume_caller();
  if (leaving_deep_evaluation()) return break_off();
  push(keep_temp(ended.temps, result));
  return ended.next;
}

// --- Statements.

const Step* Machine::stepLine(const Step& step) {
  LINE_HOOK(step.a);
  return next(step);
}

const Step* Machine::stepEndTurn(const Step& step) {
  look_at_signals();
  Frame* const frame = current_frame();
  frame->line = step.a;
  POP_TEMPS(frame->temp_mark);
  return next(step);
}

const Step* Machine::stepUnless(const Step& step) {
  Var* const condition = pop();
  if (condition == true_value()) return next(step);
  return condition == false_value() || !csifu(condition) ? at(step.a) : next(step);
}

const Step* Machine::stepGo(const Step& step) {
  return at(step.a);
}

const Step* Machine::stepForStep(const Step& step) {
  if (IS_STEP(top())) return next(step);
  pop();
  return at(step.a);
}

const Step* Machine::stepForTest(const Step& step) {
  Var* const by = pop();
  Var* const limit = pop();
  return IS_BEYOND(pop(), limit, by) ? next(step) : at(step.a);
}

// Behind it stand, for a counter and a limit that are simple: the step, its addition to the counter, the counter, the
// limit, the step, the test. Plain numbers are moved and compared here; what else there may be is left to those.
const Step* Machine::stepForTurn(const Step& step) {
  const Step* const rest = stepEndTurn(step);
  Var* const counter = slots_[rest[1].a];
  Var* const by = slots_[rest[0].a];
  const Var* const limit =
      rest[3].kind == StepKind::kSlot ? slots_[rest[3].a] : &code_->cells[rest[3].a];
  if (counter->type != 'N' || !letter_in(counter->sclass, "NS") || by->type != 'N' ||
      limit->type != 'N')
    return rest;
  csuaddu(counter, by, true);
  const bool beyond = by->num > 0 ? !(counter->num <= limit->num) : !(counter->num >= limit->num);
  return beyond ? rest + 6 : at(rest[5].a);
}

const Step* Machine::stepEachOf(const Step& step) {
  top() = EACH_OF(top());
  return next(step);
}

const Step* Machine::stepEachNext(const Step& step) {
  Var* const position = pop();
  Var* const element = EACH_NEXT(pop(), position);
  return element != nullptr ? give(step, element) : at(step.a);
}

// The steps of the sequence run within, so that a break finds its way back here.
const Step* Machine::stepSequence(const Step& step) {
  Activation* const here = activation_;
  const std::int32_t base = cells(), list = list_;
  const std::size_t guards = nested().guards.size(), areas = nested().areas.size();
  Var* broken;
  {
    const Switched floor(floor_, here);
    broken = in_sequence([&] { run_steps(next(step)); });
  }
  if (broken != nullptr) {
    while (activation_ != here) resume_caller();  // the break has closed their frames
    list_ = list;
    nested().guards.cut(guards);
    leave_areas(areas);
    top_ = stack_ + base;
    push(broken);
    return at(step.a);
  }
  return result_ != nullptr || --to_leave_ > 0 ? end() : at(behind_);
}

const Step* Machine::stepLeaveSequences(const Step& step) {
  to_leave_ = step.op;
  behind_ = step.a;
  return end();
}

const Step* Machine::stepBreak(const Step&) {
  break_sequence(pop());
}

const Step* Machine::stepPrivate(const Step& step) {
  PRIVATE_NAMED(pop());
  return next(step);
}

const Step* Machine::stepPublic(const Step& step) {
  PUBLIC_NAMED(pop());
  return next(step);
}

const Step* Machine::stepBindName(const Step& step) {
  Var* const name = pop();
  BIND_MACRO_PARAM(name, activation_->frame.argc, step.a, activation_->arguments);
  return next(step);
}

}  // namespace tarnel
