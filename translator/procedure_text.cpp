#include "translator/procedure_text.h"

#include <cassert>

#include "core/text.h"

namespace tarnel {
// --- Pieces.

std::vector<ExpressionValue> ProcedureText::piece(Span span, void (Compiler::*part)()) {
  CodeBuilder builder;
  Compiler compiler(unit_.tree[span], unit_.scope, builder);
  (compiler.*part)();
  return translated(builder);
}

std::vector<ExpressionValue> ProcedureText::translated(CodeBuilder& builder) {
  assert(!builder.fault());
  const CodeHold code(builder.finish({}, false, &part_));
  ExpressionText expression(unit_.file, unit_.number, slots_, unit_.statics, level_);
  expression.translate(*code);
  for (const std::string& statement : expression.statements()) write(statement);
  return expression.values();
}

std::vector<ExpressionValue> ProcedureText::values(Span span) {
  CodeBuilder builder;
  Compiler(unit_.tree[span], unit_.scope, builder).values();
  return translated(builder);
}

// A variable that something is assigned to behind other things.
ExpressionValue ProcedureText::target(Span span) {
  ExpressionValue variable = piece(span, &Compiler::target).at(0);
  if (!variable.simple) variable.text = "KEEP(" + variable.text + ")";
  return variable;
}

std::int32_t ProcedureText::new_slot(std::string identifier, char type, std::string_view name) {
  slots_.add(std::move(identifier));
  return part_.add_local(type, name);
}

// A name that no variable of the program has, since those have no capitals.
std::string ProcedureText::own_name(const char* what, std::int32_t line) {
  return identifiers_.add_exactly(what + std::to_string(line));
}

std::string ProcedureText::line_mark(std::int32_t line) const {
  return line_directive(line, part_.file->path);
}

void ProcedureText::begin_line(std::int32_t line) {
  text_ += line_mark(line);
  write(line_text(line) + ";");
}

// --- Procedures.

void ProcedureText::declare_self() {
  slots_.add("self");
  part_.name_slot('P', "self");
  static_cast<void>(unit_.scope.declare("self", {NameKind::kSlot, 0}));
}

std::string ProcedureText::procedure(const ProcedureTree& procedure, const std::string& function) {
  unit_.scope.begin_procedure();
  if (part_.is_method) declare_self();
  for (const Declared& parameter : procedure.parameters) {
    part_.add_parameter(parameter.type, unit_.tree[parameter.name]);
    slots_.add(identifiers_.add(unit_.tree[parameter.name]));
    declare(parameter.name, {NameKind::kSlot, part_.slot_count() - 1});
  }
  body(procedure.body);
  return function_text(function);
}

std::string ProcedureText::first_values(const std::vector<Declared>& instances,
                                        const std::string& function) {
  unit_.scope.begin_procedure();
  declare_self();
  for (const Declared& instance : instances) {
    const std::string first = first_value(instance);
    if (first.empty()) continue;
    begin_line(unit_.tree.text.place_at(instance.name.at).line);
    write("SET_INSTANCE(" + slot(0) + ", " + first + ", " +
          literal(lower_text(unit_.tree[instance.name])) + ");");
  }
  return function_text(function);
}

std::string ProcedureText::function_text(const std::string& function) {
  const bool takes = part_.is_method || !part_.parameters.empty() || parameters_used_;
  std::string head = line_mark(part_.line);
  head += "Var* " + function + "(std::int32_t argc, Var**" + (takes ? " argv" : "") + ") {\n";
  head += unit_.file.activation(part_, unit_.number);
  const auto letter = [](char type) {
    return type == 'U' ? std::string() : std::string("'") + type + "'";
  };
  std::size_t slot = 0;
  const auto bind = [&](const std::string& from) {
    head += code_line("Var* " + slots_.names[slot++] + " = " + from + ";", 1);
  };
  if (part_.is_method) bind("p.own_self(argv, " + std::string(level_) + ")");
  for (const char type : part_.parameters)
    bind("p.param(argv, " + std::to_string(slot) + (type == 'U' ? "" : ", " + letter(type)) + ")");
  for (const char type : part_.locals) bind("p.local(" + letter(type) + ")");
  head += slots_.bound();
  if (returned_) head += code_line("Var* Result = nil_value();", 1);
  std::string end;
  if (!ends_)
    end = code_line(part_.is_method
                        ? "return p.result(" + slots_.names[0] +
                              (part_.result == 'U' ? "" : ", " + letter(part_.result)) + ");"
                        : "return p.end(" + letter(part_.result) + ");",
                    1);
  return head + text_ + end + "}\n\n";
}

void ProcedureText::body(const Body& body) {
  for (const Statement& one : body) statement(one);
}

void ProcedureText::statement(const Statement& one) {
  const bool has_line = one.kind != StatementKind::kStatic && one.kind != StatementKind::kField &&
                        one.kind != StatementKind::kMemvar && one.kind != StatementKind::kIf &&
                        one.kind != StatementKind::kCase && one.kind != StatementKind::kWhile;
  if (has_line) begin_line(one.line);
  ends_ = false;
  switch (one.kind) {
    case StatementKind::kExpression:
      piece(one.spans[0], &Compiler::statement);
      return;
    case StatementKind::kDo:
      write(piece(one.spans[0], &Compiler::do_call).at(0).text + ";");
      return;
    case StatementKind::kIf:
    case StatementKind::kCase:
      return if_statement(one);
    case StatementKind::kWhile:
      return while_statement(one);
    case StatementKind::kFor:
      return for_statement(one);
    case StatementKind::kForEach:
      return for_each(one);
    case StatementKind::kSequence:
      return sequence(one);
    case StatementKind::kLoop:
    case StatementKind::kExit:
      return leave_loop(one);
    case StatementKind::kReturn:
      return return_statement(one);
    case StatementKind::kBreak:
      return write("tarnel::break_sequence(" +
                   (one.spans[0].empty() ? "nil_value()" : value(one.spans[0])) + ");");
    case StatementKind::kParameters:
      return parameters(one);
    case StatementKind::kLocal:
      return locals(one);
    case StatementKind::kStatic:
      return statics(one, false);
    case StatementKind::kPrivate:
    case StatementKind::kPublic:
      return memory_variables(one);
    case StatementKind::kField:
    case StatementKind::kMemvar:
      return fields(one, false);
    case StatementKind::kText:
      return write("CALL(" + unit_.file.function("qqout", unit_.number) + ", ARG_VAR(TEXT(" +
                   literal(one.literal) + ")));");
    case StatementKind::kShow:
      return write("CALL(" + unit_.file.function(one.literal, unit_.number) + ", ARG_VAR(" +
                   value(one.spans[0]) + "));");
  }
}

// --- Choices.

void ProcedureText::if_statement(const Statement& statement) {
  for (const Arm& arm : statement.arms) {
    const bool first = &arm == &statement.arms.front();
    if (first) text_ += line_mark(arm.line);
    if (arm.condition.empty()) {  // of a DO CASE it may be the only one
      write(first ? "{" : "} else {");
      ++depth_;
      begin_line(arm.line);
      --depth_;
    } else {
      write((first ? "if (" : "} else if (") + line_text(arm.line) + ", csifu(" +
            value(arm.condition) + ")) {");
    }
    ++depth_;
    body(arm.body);
    --depth_;
  }
  if (!statement.arms.empty()) write("}");
  ends_ = false;
}

// --- Loops.

void ProcedureText::while_statement(const Statement& statement) {
  const Arm& arm = statement.arms[0];
  const std::string end_turn = "p.end_turn(" + std::to_string(arm.line) + ")";
  text_ += line_mark(arm.line);
  write("for (; " + line_text(arm.line) + ", csifu(" + value(arm.condition) + "); " + end_turn +
        ") {");
  loop_body(arm.body);
  write(end_turn + ";");
}

void ProcedureText::loop_body(const Body& statements) {
  if (!open_.empty()) ++open_.back().loops;
  ++loops_;
  ++depth_;
  body(statements);
  --depth_;
  --loops_;
  if (!open_.empty()) --open_.back().loops;
  write("}");
  ends_ = false;
}

// counter := first; the limit is evaluated before each turn, the step once.
void ProcedureText::for_statement(const Statement& statement) {
  const Span step = statement.spans[3];
  const ExpressionValue counter = target(statement.spans[0]);
  const std::string first = value(statement.spans[1]);
  write(assignment_text(counter, {first, false}) + ";");
  const std::string by = own_name("By", statement.line);
  const ExpressionValue limit = piece(statement.spans[2], &Compiler::value).at(0);
  const std::string operands = by + ", " + counter.text + ", " + limit.text;
  const std::string reached = counter.simple || limit.simple
                                  ? by + ".reach(" + counter.text + ", " + limit.text + ")"
                                  : "REACH_IN_ORDER(" + operands + ")";
  const std::string end_turn = "p.end_turn(" + std::to_string(statement.line) + ")";
  write("for (Steps " + by + "(" + (step.empty() ? "NUM(1)" : value(step)) + "); " + by +
        ".valid() && " + reached + "; " + end_turn + ", " + by +
        (counter.simple ? ".advance(" : ".advance_variable(") + counter.text + ")) {");
  loop_body(statement.arms[0].body);
  write(end_turn + ";");
}

void ProcedureText::for_each(const Statement& statement) {
  const std::int32_t array = new_slot(own_name("Array", statement.line), 'U');
  const std::int32_t position = new_slot(own_name("Position", statement.line), 'U');
  write("CPY_VAR(" + slot(array) + ", EACH_OF(" + value(statement.spans[1]) + "));");
  write("CPY_VAR(" + slot(position) + ", NUM(0));");
  const std::string end_turn = "p.end_turn(" + std::to_string(statement.line) + ")";
  write("for (; ASSIGN_NEXT(" + target(statement.spans[0]).text + ", " + slot(array) + ", " +
        slot(position) + "); " + end_turn + ") {");
  loop_body(statement.arms[0].body);
  write(end_turn + ";");
}

// Out of a sequence by the function that it is written as; what is behind it looks at how it was left.
void ProcedureText::leave_loop(const Statement& statement) {
  if (loops_ == 0) return;
  const bool loop = statement.kind == StatementKind::kLoop;
  if (open_.empty() || open_.back().loops > 0) return write(loop ? "continue;" : "break;");
  open_.back().loop_leaves = true;
  leave(loop ? "Left::kLoop" : "Left::kExit");
}

void ProcedureText::leave(const std::string& how) {
  write(open_.back().left + " = " + how + ";");
  write("return;");
}

void ProcedureText::return_statement(const Statement& statement) {
  const std::string result = statement.spans[0].empty() ? "nil_value()" : value(statement.spans[0]);
  if (!open_.empty()) {
    returned_ = open_.back().returns = true;
    write("Result = " + result + ";");
    return leave("Left::kReturn");
  }
  const std::string type =
      part_.result == 'U' ? std::string() : std::string(", '") + part_.result + "'";
  write("return p.result(" + result + type + ");");
  ends_ = depth_ == 1;
}

// --- Sequences.

void ProcedureText::sequence(const Statement& statement) {
  const std::string broken = own_name("Broken", statement.line);
  const std::string left = own_name("Left", statement.line);
  const std::string before = std::exchange(text_, {});
  open_.push_back({left});
  ++depth_;
  body(statement.arms[0].body);
  --depth_;
  const Open sequence = open_.back();
  open_.pop_back();
  const std::string inside = std::exchange(text_, before);
  const bool asks = sequence.returns || sequence.loop_leaves;
  if (asks) write("Left " + left + " = Left::kEnd;");
  write("Var* const " + broken + " = tarnel::in_sequence([&] {");
  text_ += inside;
  write("});");
  write("if (" + broken + " != nullptr) {");
  ++depth_;
  if (!statement.spans[0].empty()) {
    const ExpressionValue variable = target(statement.spans[0]);
    write(assignment_text(variable, {broken, true}) + ";");
  }
  if (statement.arms.size() > 1) body(statement.arms[1].body);
  --depth_;
  write("}");
  if (sequence.returns) {
    if (open_.empty()) {
      const std::string type =
          part_.result == 'U' ? std::string() : std::string(", '") + part_.result + "'";
      write("if (" + left + " == Left::kReturn) return p.result(Result" + type + ");");
    } else {
      open_.back().returns = true;
      pass_on(left, "Left::kReturn");
    }
  }
  if (sequence.loop_leaves) {
    for (const char* how : {"Left::kLoop", "Left::kExit"}) {
      const bool loop = std::string_view(how) == "Left::kLoop";
      if (open_.empty() || open_.back().loops > 0) {
        write("if (" + left + " == " + how + ") " + (loop ? "continue;" : "break;"));
      } else {
        open_.back().loop_leaves = true;
        pass_on(left, how);
      }
    }
  }
  ends_ = false;
}

void ProcedureText::pass_on(const std::string& left, const std::string& how) {
  write("if (" + left + " == " + how + ") {");
  ++depth_;
  leave(how);
  --depth_;
  write("}");
}

}  // namespace tarnel
