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
#include "macro/evaluator.h"
#include "macro/machine_state.h"

namespace tarnel {

// --- Names.

void Machine::stepSlot(const Step& step) {
  push(slots_[step.a]);
}

void Machine::stepStatic(const Step& step) {
  push(code_.part->unit->statics[static_cast<std::size_t>(step.a)]);
}

void Machine::stepClosure(const Step& step) {
  push(make_closure(*code_.blocks[step.a], slots_));
}

void Machine::stepStore(const Step& step) {
  CPY_VAR(slots_[step.a], pop());
}

void Machine::stepUpdateSlot(const Step& step) {
  binary_function(step.op)(slots_[step.a], pop(), true);
}

void Machine::stepStepSlot(const Step& step) {
  unary_function(step.op)(slots_[step.a]);
}

void Machine::stepStoreStatic(const Step& step) {
  CPY_VAR(code_.part->unit->statics[static_cast<std::size_t>(step.a)], pop());
}

// --- Macros.

void Machine::stepJoinTexts(const Step& step) {
  top_ -= step.a;
  push_checked(JOIN_TEXTS(step.a, top_));
}

void Machine::stepMacroValue(const Step&) {
  push_returned(MACRO_VALUE(pop()));
}

void Machine::stepMacroMemvar(const Step&) {
  push(MACRO_MEMVAR(pop()));
}

void Machine::stepMacroField(const Step&) {
  push(MACRO_FIELD(area_, pop()));
}

void Machine::stepCallNamed(const Step&) {
  const Arguments list = take_arguments();
  Var* const name = list.cells[0];
  const Function function = GET_FUNC(is_text(name) ? text_of(name) : std::string_view());
  push_returned(CALL_VECTOR(function, list.count - 1, list.cells + 1));
  if (result_ == nullptr) top() = keep_temp(list.mark, top());
}

// [object name arguments]: the name goes, the object stays first.
void Machine::stepMethodNamed(const Step&) {
  const Arguments list = take_arguments();
  const std::string name(is_text(list.cells[1]) ? text_of(list.cells[1]) : std::string_view());
  list.cells[1] = list.cells[0];
  push_returned(csnomcme(name, 0, list.count - 1, list.cells + 1));
  if (result_ == nullptr) top() = keep_temp(list.mark, top());
}

void Machine::stepVariableArgument(const Step&) {
  top() = VARIABLE_ARGUMENT(top());
}

// --- Statements.

void Machine::stepLine(const Step& step) {
  LINE_HOOK(step.a);
}

void Machine::stepEndTurn(const Step& step) {
  look_at_signals();
  Frame* const frame = current_frame();
  frame->line = step.a;
  POP_TEMPS(frame->temp_mark);
}

void Machine::stepUnless(const Step& step) {
  Var* const condition = pop();
  if (condition == true_value()) return;
  if (condition == false_value() || !csifu(condition)) jump(step.a);
}

void Machine::stepGo(const Step& step) {
  jump(step.a);
}

void Machine::stepForStep(const Step& step) {
  if (IS_STEP(top())) return;
  pop();
  jump(step.a);
}

void Machine::stepForTest(const Step& step) {
  Var* const by = pop();
  Var* const limit = pop();
  if (!IS_BEYOND(pop(), limit, by)) jump(step.a);
}

// Behind it stand, for a counter and a limit that are simple: the step, its addition to the counter, the counter, the
// limit, the step, the test. Plain numbers are moved and compared here; what else there may be is left to those.
void Machine::stepForTurn(const Step& step) {
  stepEndTurn(step);
  const Step* const rest = next_;
  Var* const counter = slots_[rest[1].a];
  Var* const by = slots_[rest[0].a];
  const Var* const limit =
      rest[3].kind == StepKind::kSlot ? slots_[rest[3].a] : &code_.cells[rest[3].a];
  if (counter->type != 'N' || !letter_in(counter->sclass, "NS") || by->type != 'N' ||
      limit->type != 'N')
    return;
  csuaddu(counter, by, true);
  const bool beyond = by->num > 0 ? !(counter->num <= limit->num) : !(counter->num >= limit->num);
  next_ = beyond ? rest + 6 : code_.steps + rest[5].a;
}

void Machine::stepEachOf(const Step&) {
  top() = EACH_OF(top());
}

void Machine::stepEachNext(const Step& step) {
  Var* const position = pop();
  Var* const next = EACH_NEXT(pop(), position);
  if (next == nullptr) return jump(step.a);
  push(next);
}

// The steps of the sequence run within, so that a break finds its way back here.
void Machine::stepSequence(const Step& step) {
  const std::int32_t base = cells(), list = list_;
  const std::size_t guards = nested().guards.size(), areas = nested().areas.size();
  Var* const broken = in_sequence([this] { run_steps(); });
  if (broken != nullptr) {
    list_ = list;
    nested().guards.cut(guards);
    leave_areas(areas);
    top_ = stack_.data() + base;
    push(broken);
    jump(step.a);
  } else if (result_ != nullptr || --to_leave_ > 0) {
    stop_steps();
  } else {
    jump(behind_);
  }
}

void Machine::stepLeaveSequences(const Step& step) {
  to_leave_ = step.op;
  behind_ = step.a;
  stop_steps();
}

void Machine::stepBreak(const Step&) {
  break_sequence(pop());
}

void Machine::stepPrivate(const Step&) {
  PRIVATE_NAMED(pop());
}

void Machine::stepPublic(const Step&) {
  PUBLIC_NAMED(pop());
}

void Machine::stepBindName(const Step& step) {
  Var* const name = pop();
  BIND_MACRO_PARAM(name, arguments_.count, step.a, arguments_.cells);
}

}  // namespace tarnel
