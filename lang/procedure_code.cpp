#include "lang/procedure_code.h"

#include <string>

#include "core/text.h"
#include "lang/source_tokens.h"
#include "lang/statement_lexer.h"

namespace tarnel {
namespace {

// `made`: a rule made the token where the fault is, which its author then never wrote.
std::string fault_words(std::string_view text, const SyntaxFault& fault, bool made) {
  switch (fault.cause) {
    case Failure::kTooDeep:
      return "the expression is nested too deeply";
    case Failure::kReference:
      return "only a variable goes by reference";
    case Failure::kDate:
      return "this is no date";
    case Failure::kSyntax:
      break;
  }
  if (fault.at >= text.size()) return "the expression lacks its end";
  if (fault.unfinished) return "the text lacks its closing quote";
  Lexer lexer(text);
  lexer.seek(fault.at);
  const std::string_view token =
      text.substr(fault.at, std::max<std::size_t>(lexer.behind() - fault.at, 1));
  if (made && ends_argument(token)) return "the expression lacks its end";
  return quoted_token(token) + " isn't expected here";
}

bool belongs_to_procedure(StatementKind kind) {
  return kind == StatementKind::kLocal || kind == StatementKind::kStatic ||
         kind == StatementKind::kParameters || kind == StatementKind::kField ||
         kind == StatementKind::kMemvar;
}
}  // namespace

// --- Expressions.

void ProcedureCode::compile(Span span, void (Compiler::*piece)()) {
  Compiler compiler(tree_[span], scope_, steps());
  (compiler.*piece)();
  tell_fault(span);
}

std::int32_t ProcedureCode::values(Span span) {
  const std::int32_t count = Compiler(tree_[span], scope_, steps()).values();
  tell_fault(span);
  return count;
}

void ProcedureCode::tell_fault(Span span) {
  const auto fault = steps().fault();
  if (!fault) return;
  const std::size_t at = span.at + fault->at;
  diagnostics_.error(tree_.text.place_at(at),
                     fault_words(tree_[span], *fault, tree_.text.replaces(at)));
  steps().pass_over_fault();
}

// An empty one was told by the parser.
void ProcedureCode::value(Span span) {
  if (span.empty()) return;
  compile(span, &Compiler::value);
}

// --- Procedures.

void ProcedureCode::declare_self() {
  part_.name_slot('P', "self");
  static_cast<void>(scope_.declare("self", {NameKind::kSlot, 0}));
}

void ProcedureCode::procedure(const ProcedureTree& procedure) {
  scope_.begin_procedure();
  if (part_.is_method) declare_self();
  for (const Declared& parameter : procedure.parameters) {
    part_.add_parameter(parameter.type, tree_[parameter.name]);
    declare(parameter.name, {NameKind::kSlot, part_.slot_count() - 1});
    if (!parameter.value.empty() || !parameter.dimensions.empty())
      diagnostics_.error(tree_.text.place_at(parameter.name.at), "a parameter has no first value");
  }
  body(procedure.body);
  if (procedure.is_function && !part_.is_method && !returns_)
    scope_.note_no_result(procedure.place, part_.name);
  add_nothing();
}

void ProcedureCode::typed(const Body& statements) {
  scope_.begin_procedure();
  typed_ = true;
  body(statements);
  add_nothing();
}

void ProcedureCode::first_values(const std::vector<Declared>& instances) {
  scope_.begin_procedure();
  declare_self();
  for (const Declared& instance : instances) {
    if (instance.value.empty() && instance.dimensions.empty()) continue;
    line(tree_.text.place_at(instance.name.at).line);
    steps().add(StepKind::kSlot, 0);
    first_value(instance);
    steps().add_with_word(StepKind::kAssignInstance, lower_text(tree_[instance.name]));
    steps().add(StepKind::kDrop);
  }
  add_nothing();
}

// What a procedure gives without a RETURN: a method its object.
void ProcedureCode::add_nothing() {
  if (part_.is_method)
    steps().add(StepKind::kSlot, 0);
  else
    steps().add(StepKind::kShared, 0, static_cast<std::uint8_t>(SharedConstant::kNil));
}

void ProcedureCode::body(const Body& body) {
  for (const Statement& one : body) statement(one);
}

void ProcedureCode::statement(const Statement& statement) {
  const auto needs_line = [](StatementKind kind) {
    return kind != StatementKind::kStatic && kind != StatementKind::kField &&
           kind != StatementKind::kMemvar && kind != StatementKind::kIf &&
           kind != StatementKind::kCase && kind != StatementKind::kWhile;
  };
  if (typed_ && belongs_to_procedure(statement.kind)) {
    diagnostics_.error({0, statement.line, 1},
                       "this belongs into a procedure; use PRIVATE or PUBLIC here");
    return;
  }
  if (needs_line(statement.kind)) line(statement.line);
  switch (statement.kind) {
    case StatementKind::kExpression:
      return compile(statement.spans[0], &Compiler::statement);
    case StatementKind::kDo:
      compile(statement.spans[0], &Compiler::do_call);
      steps().add(StepKind::kDrop);
      return;
    case StatementKind::kIf:
    case StatementKind::kCase:
      return if_statement(statement);
    case StatementKind::kWhile:
      return while_statement(statement);
    case StatementKind::kFor:
      return for_statement(statement);
    case StatementKind::kForEach:
      return for_each(statement);
    case StatementKind::kSequence:
      return sequence(statement);
    case StatementKind::kLoop:
    case StatementKind::kExit:
      return leave_loop(statement);
    case StatementKind::kReturn:
      return return_statement(statement);
    case StatementKind::kBreak:
      if (statement.spans[0].empty())
        steps().add(StepKind::kShared, 0, static_cast<std::uint8_t>(SharedConstant::kNil));
      else
        value(statement.spans[0]);
      steps().add(StepKind::kBreak);
      return;
    case StatementKind::kParameters:
      return parameters(statement);
    case StatementKind::kLocal:
      return locals(statement);
    case StatementKind::kStatic:
      return statics(statement, false);
    case StatementKind::kPrivate:
    case StatementKind::kPublic:
      return memory_variables(statement);
    case StatementKind::kField:
    case StatementKind::kMemvar:
      return fields(statement, false);
    case StatementKind::kText:
      return text(statement);
    case StatementKind::kShow:
      return show(statement);
  }
}

void ProcedureCode::jump_back(std::size_t to) {
  steps().add(StepKind::kGo, static_cast<std::int32_t>(to));
}

void ProcedureCode::land(const std::vector<StepPosition>& jumps) {
  for (const StepPosition jump : jumps) steps().land(jump);
}

// --- Choices. A CASE is a condition like any other.

void ProcedureCode::if_statement(const Statement& statement) {
  std::vector<StepPosition> done;
  for (const Arm& arm : statement.arms) {
    const bool last = &arm == &statement.arms.back();
    line(arm.line);
    StepPosition otherwise = kNowhere;
    if (!arm.condition.empty()) {
      value(arm.condition);
      otherwise = steps().add_unless();
    }
    body(arm.body);
    if (!last) done.push_back(steps().add(StepKind::kGo));
    steps().land(otherwise);
  }
  land(done);
}

// --- Loops.

void ProcedureCode::while_statement(const Statement& statement) {
  const Arm& arm = statement.arms[0];
  const std::size_t head = steps().mark_landing();
  line(arm.line);
  value(arm.condition);
  loops_.push_back({{}, {steps().add_unless()}, sequences_});
  body(arm.body);
  land(loops_.back().loops);
  steps().add(StepKind::kEndTurn, arm.line);
  jump_back(head);
  land(loops_.back().exits);
  steps().add(StepKind::kEndTurn, arm.line);
  loops_.pop_back();
}

// counter := first; the limit is evaluated before each turn, the step once.
void ProcedureCode::for_statement(const Statement& statement) {
  const Span counter = statement.spans[0], step = statement.spans[3];
  const std::int32_t by = part_.add_local('U');
  const auto target = [&] { compile(counter, &Compiler::target); };
  target();
  steps().begin_keep();
  value(statement.spans[1]);
  steps().add(StepKind::kAssign, 0, kNoFunction);
  steps().add(StepKind::kDrop);
  if (step.empty())
    steps().add_number(1);
  else
    value(step);
  loops_.push_back({{}, {steps().add(StepKind::kForStep)}, sequences_});
  steps().add(StepKind::kStore, by);
  const StepPosition to_test = steps().add(StepKind::kGo);
  const std::size_t turn = steps().mark_landing();
  body(statement.arms[0].body);
  land(loops_.back().loops);
  const StepPosition end_turn = steps().add(StepKind::kEndTurn, statement.line);
  advance(counter, by);
  steps().land(to_test);
  target();
  steps().begin_keep();
  value(statement.spans[2]);
  steps().add(StepKind::kSlot, by);
  steps().add(StepKind::kForTest, static_cast<std::int32_t>(turn));
  steps().shorten_turn(end_turn);
  land(loops_.back().exits);
  steps().add(StepKind::kEndTurn, statement.line);
  loops_.pop_back();
}

// counter += by
void ProcedureCode::advance(Span counter, std::int32_t by) {
  const NameMeaning meaning = scope_.find(tree_[counter]);
  if (meaning.kind == NameKind::kSlot) {
    steps().add(StepKind::kSlot, by);
    steps().add(StepKind::kUpdateSlot, meaning.index, kAddFunction);
    return;
  }
  compile(counter, &Compiler::target);
  steps().add(StepKind::kSlot, by);
  steps().add(StepKind::kAssign, 0, kAddFunction);
  steps().add(StepKind::kDrop);
}

// The array is held in a slot nobody sees, the position in another.
void ProcedureCode::for_each(const Statement& statement) {
  const std::int32_t array = part_.add_local('U'), position = part_.add_local('U');
  value(statement.spans[1]);
  steps().add(StepKind::kEachOf);
  steps().add(StepKind::kStore, array);
  steps().add_number(0);
  steps().add(StepKind::kStore, position);
  const std::size_t head = steps().mark_landing();
  compile(statement.spans[0], &Compiler::target);
  steps().begin_keep();
  steps().add(StepKind::kSlot, array);
  steps().add(StepKind::kSlot, position);
  const StepPosition end = steps().add(StepKind::kEachNext);
  steps().add(StepKind::kAssign, 0, kNoFunction);
  steps().add(StepKind::kDrop);
  loops_.push_back({{}, {}, sequences_});
  body(statement.arms[0].body);
  land(loops_.back().loops);
  steps().add(StepKind::kEndTurn, statement.line);
  jump_back(head);
  steps().land(end);  // the variable lies on the stack here
  steps().take_arguments(-1);
  steps().add(StepKind::kDrop);
  land(loops_.back().exits);
  steps().add(StepKind::kEndTurn, statement.line);
  loops_.pop_back();
}

// LOOP and EXIT close the sequences in which they stand within the loop.
void ProcedureCode::leave_loop(const Statement& statement) {
  if (loops_.empty()) return;  // told by the parser
  Loop& loop = loops_.back();
  const int leaves = sequences_ - loop.sequences;
  const StepPosition jump =
      leaves == 0 ? steps().add(StepKind::kGo)
                  : steps().add(StepKind::kLeaveSequences, 0, static_cast<std::uint8_t>(leaves));
  (statement.kind == StatementKind::kLoop ? loop.loops : loop.exits).push_back(jump);
}

// --- Sequences.

void ProcedureCode::sequence(const Statement& statement) {
  const StepPosition begin = steps().add(StepKind::kSequence);
  ++sequences_;
  body(statement.arms[0].body);
  const StepPosition end = steps().add(StepKind::kLeaveSequences, 0, 1);
  --sequences_;
  steps().land(begin);
  steps().take_arguments(-1);  // the value of the break
  if (statement.spans[0].empty()) {
    steps().add(StepKind::kDrop);
  } else {
    const std::int32_t value = part_.add_local('U');
    steps().add(StepKind::kStore, value);
    compile(statement.spans[0], &Compiler::target);
    steps().add(StepKind::kSlot, value);
    steps().add(StepKind::kAssign, 0, kNoFunction);
    steps().add(StepKind::kDrop);
  }
  if (statement.arms.size() > 1) body(statement.arms[1].body);
  steps().land(end);
}

void ProcedureCode::return_statement(const Statement& statement) {
  returns_ |= !statement.spans[0].empty();
  if (statement.spans[0].empty())
    steps().add(StepKind::kShared, 0, static_cast<std::uint8_t>(SharedConstant::kNil));
  else
    value(statement.spans[0]);
  steps().add(StepKind::kReturn);
  steps().take_arguments(1);
}

void ProcedureCode::show(const Statement& statement) {
  const StepPosition mark = steps().add(StepKind::kMark);
  value(statement.spans[0]);
  write_by(mark, statement.literal);
}

void ProcedureCode::text(const Statement& statement) {
  const StepPosition mark = steps().add(StepKind::kMark);
  steps().add_text(statement.literal);
  write_by(mark, "qqout");
}

void ProcedureCode::write_by(StepPosition mark, std::string_view function) {
  steps().add(StepKind::kByValue, 0, 1);
  steps().add_call(mark, 1, function);
  steps().add(StepKind::kDrop);
}

}  // namespace tarnel
