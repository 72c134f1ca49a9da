#include "translator/expression_text.h"

#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <sstream>
#include <utility>

#include "core/operators.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

// By Step::op.
struct OperatorName {
  const char* function;
  bool compares;
};
constexpr OperatorName kOperators[] = {
    {"", false},        {"", false},        {"csuequu", true},  {"csueequu", true},
    {"csunequ", true},  {"csugtu", true},   {"csultu", true},   {"csugequ", true},
    {"csulequ", true},  {"csuinu", true},   {"csuaddu", false}, {"csusubu", false},
    {"csumulu", false}, {"csudivu", false}, {"csumodu", false}, {"csupowu", false}};

constexpr const char* kUnaryNames[] = {"csnotu", "csminusu", "SIGN",  "csincu",
                                       "csdecu", "csuinc",   "csudec"};

constexpr const char* kSharedNames[] = {"nil_value()", "true_value()", "false_value()",
                                        "empty_text()"};

std::string number_text(double number) {
  std::array<char, 40> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  std::string text(digits.data(), end);
  // Many digits alone would be an integer, which ends long before.
  if (text.find_first_of(".e") == std::string::npos && text.size() > 9) text += ".0";
  return text;
}

// What is called for what it does needs no word that its value isn't wanted.
std::string statement_of(const std::string& text) {
  for (const char* known : {"CALL(", "CALL_MACRO(", "METHOD(", "SUPER_METHOD(", "CPY_VAR(",
                            "ASSIGN(", "csincu(", "csdecu(", "csuinc(", "csudec("})
    if (text.starts_with(known)) return text + ";";
  return "static_cast<void>(" + text + ");";
}

}  // namespace

std::string assignment_text(const ExpressionValue& target, const ExpressionValue& value,
                            std::string_view by) {
  if (target.simple)
    return by.empty() ? "CPY_VAR(" + target.text + ", " + value.text + ")"
                      : std::string(by) + "(" + target.text + ", " + value.text + ", true)";
  if (value.simple)
    return "ASSIGN(" + target.text + ", " + value.text +
           (by.empty() ? ")" : ", " + std::string(by) + ")");
  return (by.empty() ? "ASSIGN_IN_ORDER(" : "UPDATE_IN_ORDER(" + std::string(by) + ", ") +
         target.text + ", " + value.text + ")";
}

void ExpressionText::translate(const Code& code) {
  code_ = &code;
  std::size_t end = 0;
  while (code.steps[end].kind != StepKind::kReturn) ++end;
  run(0, end);
}

// Up to `end`, or to a jump of this level; where it stopped.
std::size_t ExpressionText::run(std::size_t at, std::size_t end) {
  while (at < end) {
    const Step& one = code_->steps[at];
    switch (one.kind) {
      case StepKind::kAnd:
      case StepKind::kOr: {
        const std::string left = pop().text;
        run(at + 1, static_cast<std::size_t>(one.a));
        const std::string right = pop().text;
        push((one.kind == StepKind::kAnd ? "AND(" : "OR(") + left + ", " + right + ")");
        at = static_cast<std::size_t>(one.a);
        break;
      }
      case StepKind::kDecide:
        at = iif(at);
        break;
      case StepKind::kEnterArea:
        at = in_area(at);
        break;
      case StepKind::kJump:
      case StepKind::kLeaveArea:
        return at;
      default:
        step(one);
        ++at;
    }
  }
  return at;
}

// Decide, Choose, the first alternative, Jump, the second one, Jump, and what never runs.
std::size_t ExpressionText::iif(std::size_t at) {
  const auto end = static_cast<std::size_t>(code_->steps[at].a);
  const auto second = static_cast<std::size_t>(code_->steps[at + 1].a);
  const std::string condition = pop().text;
  run(at + 2, second - 1);
  const std::string first_text = pop().text;
  run(second, end);
  const std::string second_text = pop().text;
  push("IIF(" + condition + ", " + first_text + ", " + second_text + ")");
  return end;
}

std::size_t ExpressionText::in_area(std::size_t at) {
  const std::string area = std::exchange(area_, {});
  const std::size_t before = statements_.size();
  const std::size_t leave = run(at + 1, ~std::size_t{0});
  assert(statements_.size() == before);
  static_cast<void>(before);
  push("IN_AREA(" + area + ", " + pop().text + ")");
  return leave + 1;
}

void ExpressionText::step(const Step& one) {
  if (step_value(one) || step_operator(one) || step_name(one) || step_call(one)) return;
  assert(false);  // what only texts or whole statements have
}

bool ExpressionText::step_value(const Step& one) {
  switch (one.kind) {
    case StepKind::kConstant:
      stack_.push_back(constant(one.a));
      return true;
    case StepKind::kShared:
      push(kSharedNames[one.op], true);
      return true;
    case StepKind::kSlot:
      push_slot(one.a);
      return true;
    case StepKind::kStatic:
      push(statics_[static_cast<std::size_t>(one.a)], true);
      return true;
    case StepKind::kMacroText:
      push("MACRO_TEXT(" + literal(word(one)) + ")");
      return true;
    case StepKind::kClosure:
      push(block(*code_->blocks[one.a]));
      return true;
    case StepKind::kMark:
    case StepKind::kCountedMark:
      lists_.push_back(stack_.size() - static_cast<std::size_t>(one.a));
      return true;
    case StepKind::kArray:
      push("ARRAY(" + list(begin_of_list()) + ")");
      return true;
    case StepKind::kJoinTexts: {
      const std::size_t first = stack_.size() - static_cast<std::size_t>(one.a);
      if (one.a > 1 || !stack_.back().text.starts_with("TEXT("))
        push("TEXT_OF(" + list(first) + ")");
      return true;
    }
    default:
      return false;
  }
}

bool ExpressionText::step_operator(const Step& one) {
  switch (one.kind) {
    case StepKind::kBinary: {
      const ExpressionValue right = pop(), left = pop();
      binary(one.op, left, right);
      return true;
    }
    case StepKind::kBinaryConstant:
      binary(one.op, pop(), constant(one.a));
      return true;
    case StepKind::kBinarySlot:
      binary(one.op, pop(), {slots_.of(one.a), true});
      return true;
    case StepKind::kSlotConstant:
      binary(one.op, {slots_.of(one.b), true}, constant(one.a));
      return true;
    case StepKind::kSlotSlot:
      binary(one.op, {slots_.of(one.b), true}, {slots_.of(one.a), true});
      return true;
    case StepKind::kUnary:
      unary(static_cast<UnaryOperator>(one.op));
      return true;
    case StepKind::kAssign:
      assign(one.op);
      return true;
    case StepKind::kStore:
      statements_.push_back(assignment_text({slots_.of(one.a), true}, pop()) + ";");
      return true;
    case StepKind::kUpdateSlot:
      statements_.push_back(
          assignment_text({slots_.of(one.a), true}, pop(), kOperators[one.op].function) + ";");
      return true;
    case StepKind::kStepSlot:
      statements_.push_back(std::string(kUnaryNames[one.op]) + "(" + slots_.of(one.a) + ");");
      return true;
    case StepKind::kDrop:
      statements_.push_back(statement_of(pop().text));
      return true;
    case StepKind::kKeep:
      stack_.back() = {"KEEP(" + stack_.back().text + ")", false};
      return true;
    default:
      return false;
  }
}

bool ExpressionText::step_name(const Step& one) {
  switch (one.kind) {
    case StepKind::kName:
      push("NAMED(" + file_.field_or_variable(word(one)) + ")");
      return true;
    case StepKind::kMemvar:
      push("MEMVAR(" + file_.field_or_variable(word(one)) + ")");
      return true;
    case StepKind::kLocal:
      push("FIND_LOCAL(" + literal(word(one)) + ", " +
           (one.op == 0 ? "0" : std::string("'") + static_cast<char>(one.op) + "'") + ")");
      return true;
    case StepKind::kAreaNamed:
      area_ = "AREA_NAMED(" + file_.alias(word(one)) + ")";
      return true;
    case StepKind::kAreaCurrent:
      area_ = "AREA_CURRENT()";
      return true;
    case StepKind::kAreaOf:
      area_ = "AREA_OF(" + pop().text + ")";
      return true;
    case StepKind::kField:
      push("FIELD(" + area_ + ", " + file_.field_or_variable(word(one)) + ")");
      return true;
    case StepKind::kMacroField: {
      const std::string text = pop().text;
      push("MACRO_FIELD_IN_ORDER(" + area_ + ", " + text + ")");
      return true;
    }
    case StepKind::kMacroValue:
    case StepKind::kMacroMemvar: {
      const std::string text = pop().text;
      push((one.kind == StepKind::kMacroValue ? "MACRO_VALUE(" : "MACRO_MEMVAR(") + text + ")");
      return true;
    }
    case StepKind::kInstance: {
      const std::string object = pop().text;
      push("INSTANCE(" + object + ", " + literal(word(one)) + ")");
      return true;
    }
    case StepKind::kAssignInstance: {
      const std::string value = pop().text, object = pop().text;
      const std::string by =
          one.op == kNoFunction ? "" : std::string(", ") + kOperators[one.op].function;
      push("SET_INSTANCE(" + object + ", " + value + ", " + literal(word(one)) + by + ")");
      return true;
    }
    case StepKind::kSubscript: {
      const ExpressionValue index = pop(), array = pop();
      if (index.simple || array.simple)
        push("csgetarv(" + array.text + ", " + index.text + ")");
      else
        push("IN_ORDER(csgetarv, " + array.text + ", " + index.text + ")");
      return true;
    }
    default:
      return false;
  }
}

bool ExpressionText::step_call(const Step& one) {
  switch (one.kind) {
    case StepKind::kByValue: {
      const std::string value = pop().text;
      push("ARG_VAR(" + value + ")");
      return true;
    }
    case StepKind::kByReference: {
      const std::string variable = pop().text;
      push("REFERENCE(" + variable + ", " + literal(word(one)) + ")");
      return true;
    }
    case StepKind::kVariableArgument: {
      const std::string variable = pop().text;
      push("VARIABLE_ARGUMENT(" + variable + ")");
      return true;
    }
    case StepKind::kCall: {
      const std::string arguments = list(begin_of_list());
      push("CALL(" + file_.function(word(one), number_) + (arguments.empty() ? "" : ", ") +
           arguments + ")");
      return true;
    }
    case StepKind::kCallNamed:
      push("CALL_MACRO(" + list(begin_of_list()) + ")");
      return true;
    case StepKind::kMethod: {
      const std::size_t first = begin_of_list();
      const std::string arguments = list(first + 1);
      const std::string object = pop().text;
      push((one.op == 0 ? "METHOD(" : "SUPER_METHOD(") + object + ", " + literal(word(one)) +
           (arguments.empty() ? "" : ", ") + arguments + ")");
      return true;
    }
    case StepKind::kMethodNamed:
      push("METHOD(" + list(begin_of_list()) + ")");
      return true;
    default:
      return false;
  }
}

void ExpressionText::binary(std::uint8_t op, const ExpressionValue& left,
                            const ExpressionValue& right) {
  if (fold(op, left, right)) return;
  const OperatorName& known = kOperators[op];
  if (left.simple || right.simple)
    push(std::string(known.function) + "(" + left.text + ", " + right.text +
         (known.compares ? ")" : ", false)"));
  else
    push("IN_ORDER(" + std::string(known.function) + ", " + left.text + ", " + right.text + ")");
}

// Those that change their operand need a cell that may be written to.
void ExpressionText::unary(UnaryOperator op) {
  const ExpressionValue value = pop();
  const bool copied = value.constant != nullptr && op >= UnaryOperator::kPreIncrement;
  push(std::string(kUnaryNames[static_cast<std::size_t>(op)]) + "(" +
       (copied ? "CPY_VAR(NEW_TEMP(), " + value.text + ")" : value.text) + ")");
}

void ExpressionText::assign(std::uint8_t op) {
  const ExpressionValue value = pop(), target = pop();
  push(assignment_text(target, value, kOperators[op].function));
}

ExpressionValue ExpressionText::pop() {
  ExpressionValue value = std::move(stack_.back());
  stack_.pop_back();
  return value;
}

std::size_t ExpressionText::begin_of_list() {
  const std::size_t from = lists_.back();
  lists_.pop_back();
  return from;
}

// The cells from there on, which go from the stack.
std::string ExpressionText::list(std::size_t from) {
  std::string text;
  for (std::size_t i = from; i < stack_.size(); ++i)
    text.append(text.empty() ? "" : ", ").append(stack_[i].text);
  stack_.resize(from);
  return text;
}

ExpressionValue ExpressionText::constant_of(const Var& cell) {
  if (cell.type == 'C') return {"TEXT(" + literal(text_of(&cell)) + ")", true, &cell};
  if (cell.type == 'D') return {"DATE(" + std::to_string(cell.i) + ")", true, &cell};
  const std::string decimals = cell.decimals > 0 ? ", " + std::to_string(cell.decimals) : "";
  return {"NUM(" + number_text(number_of(&cell)) + decimals + ")", true, &cell};
}

// Two numbers become one, by the operator itself.
bool ExpressionText::fold(std::uint8_t op, const ExpressionValue& left,
                          const ExpressionValue& right) {
  const auto is_double = [](const Var* cell) { return cell != nullptr && cell->type == 'N'; };
  const BinaryFunction apply = binary_function(op);
  if (!is_double(left.constant) || !is_double(right.constant) ||
      (apply != csuaddu && apply != csusubu && apply != csumulu))
    return false;
  const TempsMark mark;
  Var first = *left.constant, second = *right.constant;
  const Var* const result = apply(&first, &second, false);
  if (!std::isfinite(result->num)) return false;
  folded_.push_back(*result);
  folded_.back().sclass = 'C';
  stack_.push_back(constant_of(folded_.back()));
  return true;
}

std::string SlotNames::bound() const {
  if (names.empty()) return {};
  std::string own;
  for (const std::string& name : names) own.append(own.empty() ? "" : ", ").append(name);
  return code_line("Var* const Own[] = {" + own + "};", 1) + code_line("p.bound(Own);", 1);
}

// Writes the function of a block. Its detached locals are slots of the code around it.
std::string ExpressionText::block(const Code& code) {
  const ProgramPart& part = *code.part;
  const std::string function = file_.identifier(part.name);
  Identifiers identifiers = file_.local_identifiers();
  SlotNames slots;
  std::istringstream names(part.slot_names);
  for (std::string name; names >> name;) slots.add(identifiers.add(name.substr(1)));
  std::string cells;
  for (const std::int32_t captured : part.captures) cells.append(", ").append(slots_.of(captured));
  ExpressionText inner(file_, number_, slots, statics_, level_);
  inner.translate(code);
  const std::size_t parameters = part.parameters.size();
  std::string text = line_directive(part.line, part.file->path);
  text += "Var* " + function + "(std::int32_t argc, Var**" + (parameters > 0 ? " argv" : "") +
          ", Var**" + (cells.empty() ? "" : " locals") + ") {\n";
  text += file_.activation(part, number_);
  if (!level_.empty())
    text += code_line("p.frame().method_scope = " + std::string(level_) + ";", 1);
  for (std::size_t i = 0; i < slots.names.size(); ++i) {
    const std::string from = i < parameters ? "p.param(argv, " + std::to_string(i) + ")"
                                            : "locals[" + std::to_string(i - parameters) + "]";
    text += code_line("Var* " + slots.names[i] + " = " + from + ";", 1);
  }
  text += slots.bound();
  for (const std::string& statement : inner.statements()) text += code_line(statement, 1);
  text += code_line("return p.result(" + inner.values().back().text + ");", 1) + "}\n\n";
  file_.blocks += text;
  return "BLOCK(" + function + cells + ")";
}

}  // namespace tarnel
