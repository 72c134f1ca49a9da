// The operands of the grammar: literals, names, subscripts, members, aliases and calls.
#include <algorithm>
#include <charconv>
#include <utility>

#include "core/switched.h"
#include "core/text.h"
#include "macro/compiler.h"
#include "macro/expand.h"

namespace tarnel {
namespace {

constexpr std::ptrdiff_t kMostDecimals = 255;

// Names are the same over their first ten characters, whatever their case.
bool same_name(std::string_view a, std::string_view b) {
  return same_letters(a.substr(0, kNameSize), b.substr(0, kNameSize));
}

// The words before -> that are no alias: a step for what stands behind, or the current area; `kind` is a
// letter of the frame's name tables.
struct AliasWord {
  std::string_view word;
  StepKind step;
  char kind;
};
constexpr AliasWord kAliasWords[] = {
    {"_p", StepKind::kLocal, 'P'},        {"_s", StepKind::kLocal, 'S'},
    {"_l", StepKind::kLocal, 'L'},        {"_m", StepKind::kMemvar, 0},
    {"m", StepKind::kMemvar, 0},          {"memvar", StepKind::kMemvar, 0},
    {"field", StepKind::kAreaCurrent, 0}, {"_field", StepKind::kAreaCurrent, 0},
};

// Without a point an integer, as far as it fits one.
Var number_constant(std::string_view digits) {
  const char* end = digits.data() + digits.size();
  const std::size_t point = digits.find('.');
  Var cell{};
  cell.length = -1;
  if (point == std::string_view::npos) {
    std::int32_t integer = 0;
    if (std::from_chars(digits.data(), end, integer).ec == std::errc{}) {
      cell.type = 'I';
      put_word(&cell, integer);
      return cell;
    }
  }
  cell.type = 'N';
  cell.num = 0;
  std::from_chars(digits.data(), end, cell.num);
  if (point != std::string_view::npos)
    cell.decimals = static_cast<std::uint8_t>(
        std::min(static_cast<std::ptrdiff_t>(digits.size() - point - 1), kMostDecimals));
  return cell;
}

}  // namespace

// --- Literals.

Compiler::Operand Compiler::number() {
  Var number = number_constant(lexer_.lexeme());
  if (scope_ != nullptr && number.type == 'I') {  // so that money doesn't wrap
    number.num = number.i;
    number.type = 'N';
  }
  code_->add_constant(number);
  lexer_.next();
  if (token() != Token::kArrow) return {};
  code_->add(StepKind::kAreaOf);
  return in_area();
}

// A quoted text is expanded on its own, when it runs; unknown names stay.
void Compiler::text() {
  if (token() != Token::kText) return fail(Failure::kSyntax);
  const std::string_view quoted = lexer_.lexeme();
  lexer_.next();
  if (quoted.find('&') == std::string_view::npos)
    code_->add_text(quoted);
  else
    code_->add_with_word(StepKind::kMacroText, quoted);
}

Compiler::Operand Compiler::brace() {
  if (scope_ != nullptr && fixed_date()) return {};
  if (lexer_.brace_is_date()) {
    code_->add_with_word(StepKind::kDate, lexer_.lexeme());
    lexer_.next();
    return {};
  }
  const std::size_t start = lexer_.position();
  lexer_.next();
  if (token() == Token::kBar && scope_ != nullptr)
    closure_literal(start);
  else if (token() == Token::kBar)
    block_literal();
  else
    array_literal();
  return {};
}

// The block has a code of its own, made of the same tokens; its text begins with the first bar. What is
// wrong in it is wrong in the text around it.
void Compiler::block_literal() {
  const std::size_t start = lexer_.position();
  CodeBuilder inner;
  Parameters names;
  std::size_t end;
  {
    const Switched code(code_, &inner);
    const Switched parameters(parameters_, &names);
    block();
    end = lexer_.position();
    expect(Token::kRightBrace);
  }
  if (inner.fault()) return code_->fail(*inner.fault());
  const std::string_view text = lexer_.text().substr(start, end - start);
  code_->add_block(has_macro(text) ? unexpanded_block(text) : inner.finish(text, true));
}

// Names between two bars, of which the first is taken.
void Compiler::parameters() {
  if (take(Token::kBar)) return;
  do {
    if (scope_ != nullptr)
      scope_->declare_parameter(lexer_.lexeme());
    else
      parameters_->add(lexer_.lexeme());
    if (!expect(Token::kName)) return;
  } while (take(Token::kComma));
  expect(Token::kBar);
}

void Compiler::array_literal() {
  code_->add(StepKind::kMark);
  code_->take_arguments(arguments(Token::kRightBrace));
  code_->add(StepKind::kArray);
}

// --- Names.

Compiler::Operand Compiler::name() {
  const std::string_view text = lexer_.lexeme();
  if (scope_ != nullptr && lexer_.next_is('&')) return macro_operand();
  lexer_.next();
  if (token() == Token::kArrow) return alias(text);
  if (token() == Token::kLeftParen) {
    if (same_name(text, "iif") || same_name(text, "if"))
      iif();
    else
      call(text);
    return {};
  }
  if (!same_name(text, "nil")) return scope_ != nullptr ? program_variable(text) : variable(text);
  shared(SharedConstant::kNil);
  return {true};
}

Compiler::Operand Compiler::variable(std::string_view name) {
  for (std::size_t i = 0; parameters_ != nullptr && i < parameters_->size(); ++i) {
    if (!same_name((*parameters_)[i], name)) continue;
    code_->add(StepKind::kParameter, static_cast<std::int32_t>(i));
    return {true};
  }
  code_->add_with_word(StepKind::kName, name);
  return {true};
}

Compiler::Operand Compiler::alias(std::string_view text) {
  const auto* known = std::find_if(std::begin(kAliasWords), std::end(kAliasWords),
                                   [&](const AliasWord& w) { return same_letters(w.word, text); });
  if (known == std::end(kAliasWords)) {
    code_->add_with_word(StepKind::kAreaNamed, lower_text(text));
    return in_area();
  }
  if (known->step == StepKind::kAreaCurrent) {
    code_->add(StepKind::kAreaCurrent);
    return in_area();
  }
  lexer_.next();
  const std::string_view name = lexer_.lexeme();
  if (scope_ != nullptr && (token() == Token::kAmpersand || lexer_.next_is('&'))) {
    macro_text();
    code_->add(StepKind::kMacroMemvar);
  } else if (expect(Token::kName)) {
    code_->add_with_word(known->step, name, static_cast<std::uint8_t>(known->kind));
  }
  return {true};
}

// What stands behind the arrow: a field, or an expression for which the area is the current one.
Compiler::Operand Compiler::in_area() {
  lexer_.next();
  if (token() != Token::kLeftParen) {
    const std::string_view name = lexer_.lexeme();
    if (scope_ != nullptr && (token() == Token::kAmpersand || lexer_.next_is('&'))) {
      macro_text();
      code_->add(StepKind::kMacroField);
    } else if (expect(Token::kName)) {
      code_->add_with_word(StepKind::kField, name);
    }
    return {true};
  }
  code_->add(StepKind::kEnterArea);
  const Operand inner = parenthesis();
  code_->add(StepKind::kLeaveArea);
  return inner;
}

// --- Subscripts and members.

Compiler::Operand Compiler::subscript(const Operand& operand) {
  load(operand);
  lexer_.next();
  do {
    code_->begin_keep();
    expression();
    code_->add(StepKind::kSubscript);
  } while (take(Token::kComma));
  expect(Token::kRightBracket);
  return {true};
}

// object:name is an instance, read or assigned to later; object:name(...) calls a method now.
Compiler::Operand Compiler::member(const Operand& operand) {
  load(operand);
  lexer_.next();
  if (scope_ != nullptr && token() == Token::kAmpersand) return macro_member();
  const std::string_view name = lexer_.lexeme();
  if (!expect(Token::kName)) return {};
  if (token() != Token::kLeftParen && classes_up_ != 0) {
    fail(Failure::kSyntax);
    return {};
  }
  if (token() != Token::kLeftParen) return {true, name};
  code_->add(StepKind::kKeep);
  code_->add(StepKind::kMark, 1);
  lexer_.next();
  const std::uint8_t up = std::exchange(classes_up_, std::uint8_t{0});
  code_->take_arguments(1 + arguments(Token::kRightParen));
  code_->add_with_word(StepKind::kMethod, lower_text(name), up);
  return {};
}

// --- Calls.

void Compiler::call(std::string_view name) {
  const StepPosition mark = code_->add(StepKind::kMark);
  lexer_.next();
  const std::int32_t count = arguments(Token::kRightParen);
  if (scope_ != nullptr) scope_->note_call(name);
  code_->add_call(mark, count, scope_ != nullptr ? lower_text(name) : FULL_NAME(name));
}

// Up to the closing token, which is taken; how many there are.
std::int32_t Compiler::arguments(Token close) {
  if (take(close)) return 0;
  std::int32_t count = 0;
  do {
    argument(close);
    ++count;
  } while (take(Token::kComma));
  expect(close);
  return count;
}

void Compiler::argument(Token close) {
  if (token() == Token::kComma || token() == close)
    shared(SharedConstant::kNil);
  else if (take(Token::kAt))
    return reference();
  else
    expression();
  code_->add(StepKind::kByValue, 0, scope_ != nullptr);
}

void Compiler::reference() {
  if (scope_ != nullptr) return program_reference();
  const std::string_view name = lexer_.lexeme();
  if (token() != Token::kName) return fail(Failure::kSyntax);
  load(postfix(primary()));
  code_->add_with_word(StepKind::kByReference, name);
}

// Only the chosen argument runs. Without a condition that is a number or logical the result is false.
void Compiler::iif() {
  lexer_.next();
  iif_argument();
  const StepPosition undecided = code_->add(StepKind::kDecide);
  const StepPosition choice = code_->add(StepKind::kChoose);
  iif_alternative();
  const StepPosition first = code_->add(StepKind::kJump);
  code_->land(choice);
  iif_alternative();
  const StepPosition second = code_->add(StepKind::kJump);
  while (take(Token::kComma)) {  // further arguments never run
    iif_argument();
    code_->add(StepKind::kDrop);
  }
  expect(Token::kRightParen);
  for (const StepPosition jump : {undecided, first, second}) code_->land(jump);
  code_->take_arguments(-1);
}

void Compiler::iif_alternative() {
  if (take(Token::kComma))
    iif_argument();
  else
    shared(SharedConstant::kFalse);
}

// An argument of iif stands for itself: when its run fails its value is the error value, and the run goes
// on behind it. An empty one gives the empty text.
void Compiler::iif_argument() {
  if (token() == Token::kComma || token() == Token::kRightParen)
    return shared(SharedConstant::kEmptyText);
  if (scope_ != nullptr) return expression();
  const StepPosition guard = code_->add(StepKind::kGuard);
  expression();
  code_->add(StepKind::kUnguard);
  code_->land(guard);
}

}  // namespace tarnel
