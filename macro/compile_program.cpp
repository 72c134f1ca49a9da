// What only programs have: statements, declared names, macros as operands, and blocks with detached locals.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <optional>

#include "core/switched.h"
#include "core/text.h"
#include "macro/compiler.h"

namespace tarnel {
namespace {

bool is_name_character(char c) {
  return c == '_' || (c >= '0' && c <= '9') || (upper_letter(c) >= 'A' && upper_letter(c) <= 'Z');
}

constexpr std::int32_t kDayOf1970 = 719163;

Var date_constant(std::int32_t day) {
  Var cell{};
  cell.type = 'D';
  cell.length = 8;
  put_word(&cell, day);
  return cell;
}

// Three numbers of digits with one sign between them; blanks count only where there are no digits.
struct DateParts {
  int numbers[3] = {};
  std::size_t digits[3] = {};
};
std::optional<DateParts> date_parts(std::string_view date, std::string_view separators) {
  DateParts parts;
  std::size_t at = 0;
  const auto pass_blanks = [&] { at = std::min(date.find_first_not_of(' ', at), date.size()); };
  for (int i = 0; i < 3; ++i) {
    pass_blanks();
    const char* const end = date.data() + date.size();
    const auto [behind, fault] = std::from_chars(date.data() + at, end, parts.numbers[i]);
    if (fault == std::errc::result_out_of_range || parts.numbers[i] < 0) return std::nullopt;
    parts.digits[i] = static_cast<std::size_t>(behind - date.data()) - at;
    at += parts.digits[i];
    pass_blanks();
    if (i == 2) break;
    if (at == date.size() || separators.find(date[at]) == std::string_view::npos)
      return std::nullopt;
    ++at;
  }
  return at == date.size() ? std::optional(parts) : std::nullopt;
}

std::optional<std::int32_t> day_of(int year, int month, int day) {
  if (year < 1 || year > 9999 || month > 12 || day > 31) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  const auto since_1970 = std::chrono::sys_days(date).time_since_epoch().count();
  return static_cast<std::int32_t>(since_1970) + kDayOf1970;
}

// yyyy-mm-dd
std::optional<std::int32_t> day_of_marked(std::string_view date) {
  const auto parts = date_parts(date, "-");
  if (!parts) return std::nullopt;
  return day_of(parts->numbers[0], parts->numbers[1], parts->numbers[2]);
}

// mm/dd/yy or mm/dd/yyyy; without digits the empty date.
std::optional<std::int32_t> day_of_digits(std::string_view date) {
  const auto parts = date_parts(date, "/.");
  if (!parts) return std::nullopt;
  if (parts->digits[0] + parts->digits[1] + parts->digits[2] == 0) return 0;
  const int year = parts->numbers[2];
  return day_of(parts->digits[2] <= 2 ? 1900 + year : year, parts->numbers[0], parts->numbers[1]);
}

std::size_t name_end(std::string_view text, std::size_t at) {
  while (at < text.size() && is_name_character(text[at])) ++at;
  return at;
}

}  // namespace

// --- Pieces of statements.

void Compiler::statement() {
  at_statement_ = true;
  expression();
  expect(Token::kEnd);
  if (!left_no_value_) code_->drop();
}

void Compiler::value() {
  expression();
  expect(Token::kEnd);
}

std::int32_t Compiler::values() {
  std::int32_t count = 0;
  do {
    expression();
    ++count;
  } while (take(Token::kComma));
  expect(Token::kEnd);
  return count;
}

void Compiler::target() {
  const Operand operand = postfix(primary());
  if (!operand.assignable || !operand.instance.empty()) fail(Failure::kSyntax);
  expect(Token::kEnd);
}

void Compiler::name_text() {
  macro_text();
  expect(Token::kEnd);
}

void Compiler::do_call() {
  const bool by_macro = token() == Token::kAmpersand || lexer_.next_is('&');
  const std::string_view name = lexer_.lexeme();
  if (by_macro)
    macro_text();
  else if (!expect(Token::kName))
    return;
  const StepPosition mark = code_->add(StepKind::kMark, by_macro ? 1 : 0);
  std::int32_t count = by_macro ? 1 : 0;
  if (token() == Token::kName && same_letters(lexer_.lexeme(), "with")) {
    lexer_.next();
    do {
      do_argument();
      ++count;
    } while (take(Token::kComma));
  }
  expect(Token::kEnd);
  if (by_macro) {
    code_->take_arguments(count);
    code_->add(StepKind::kCallNamed);
  } else {
    scope_->note_call(name);
    code_->add_call(mark, count, lower_text(name));
  }
}

// A variable that stands for itself goes by reference.
void Compiler::do_argument() {
  if (token() == Token::kComma || token() == Token::kEnd) {
    shared(SharedConstant::kNil);
  } else if (token() == Token::kName) {
    const std::size_t start = lexer_.position();
    const std::string_view name = lexer_.lexeme();
    lexer_.next();
    if ((token() == Token::kComma || token() == Token::kEnd) && !same_letters(name, "nil")) {
      load(program_variable(name));
      code_->add(StepKind::kVariableArgument);
      return;
    }
    lexer_.seek(start);
    expression();
  } else if (take(Token::kAt)) {
    return program_reference();
  } else {
    expression();
  }
  code_->add(StepKind::kByValue, 0, 1);
}

// --- Names.

// The object whose method is read; anywhere else the name is a variable like others.
Compiler::Operand Compiler::self_member() {
  load(program_variable("self"));
  return member({});
}

Compiler::Operand Compiler::program_variable(std::string_view name) {
  if (token() == Token::kColon && same_letters(name, "super") &&
      scope_->find(name).kind == NameKind::kUndeclared &&
      scope_->find("self").kind == NameKind::kSlot) {
    classes_up_ = 1;
    name = "self";
  }
  scope_->note_name(name);
  const NameMeaning meaning = scope_->find(name);
  switch (meaning.kind) {
    case NameKind::kSlot:
      code_->add(StepKind::kSlot, meaning.index);
      break;
    case NameKind::kStatic:
      code_->add(StepKind::kStatic, meaning.index);
      break;
    case NameKind::kField:
      field_of(meaning, name);
      break;
    case NameKind::kMemvar:
      code_->add_with_word(StepKind::kMemvar, name);
      break;
    case NameKind::kUndeclared:
      scope_->note_undeclared(name);
      code_->add_with_word(StepKind::kName, name);
      break;
  }
  return {true};
}

void Compiler::field_of(const NameMeaning& meaning, std::string_view name) {
  if (meaning.alias.empty())
    code_->add(StepKind::kAreaCurrent);
  else
    code_->add_with_word(StepKind::kAreaNamed, lower_text(meaning.alias));
  code_->add_with_word(StepKind::kField, name);
}

// Only a variable goes by reference.
void Compiler::program_reference() {
  const std::string_view name = lexer_.lexeme();
  const std::size_t start = lexer_.position();
  if (token() != Token::kName || scope_->find(name).kind == NameKind::kField)
    return fail(Failure::kReference);
  const bool of_memory = same_letters(name, "m") || same_letters(name, "memvar");
  load(postfix(primary()));
  const bool plain = lexer_.text().substr(start, lexer_.position() - start).find_first_of("[:(") ==
                     std::string_view::npos;
  const bool arrow =
      lexer_.text().substr(start, lexer_.position() - start).find("->") != std::string_view::npos;
  if (!plain || (arrow && !of_memory)) return fail(Failure::kReference);
  code_->add_with_word(StepKind::kByReference, name);
}

// --- Macros.

// &name, &(text), t&name, &name.rest: a text is put together, and what it says is the value, or the function,
// area or variable of that name.
Compiler::Operand Compiler::macro_operand() {
  macro_text();
  if (token() == Token::kArrow) {
    code_->add(StepKind::kAreaOf);
    return in_area();
  }
  if (token() == Token::kLeftParen) {
    code_->add(StepKind::kMark, 1);
    lexer_.next();
    code_->take_arguments(1 + arguments(Token::kRightParen));
    code_->add(StepKind::kCallNamed);
    return {};
  }
  code_->add(StepKind::kMacroValue);
  return {true};
}

// object:&name
Compiler::Operand Compiler::macro_member() {
  code_->add(StepKind::kKeep);
  macro_text();
  if (token() != Token::kLeftParen) {
    fail(Failure::kSyntax);
    return {};
  }
  code_->add(StepKind::kMark, 2);
  lexer_.next();
  code_->take_arguments(2 + arguments(Token::kRightParen));
  code_->add(StepKind::kMethodNamed);
  return {};
}

// [-> text] A name of which parts, or all, come from variables. What stands right behind belongs to it.
void Compiler::macro_text() {
  const std::string_view text = lexer_.text();
  std::size_t at = lexer_.position();
  std::int32_t pieces = 0;
  if (token() != Token::kName && token() != Token::kAmpersand) return fail(Failure::kSyntax);
  while (at < text.size() && (text[at] == '&' || is_name_character(text[at]))) {
    if (text[at] == '&') {
      at = macro_piece(at);
    } else {
      const std::size_t end = name_end(text, at);
      code_->add_text(text.substr(at, end - at));
      at = end;
    }
    if (code_->fault()) return;
    ++pieces;
  }
  code_->take_arguments(pieces);
  code_->add(StepKind::kJoinTexts, pieces);
  lexer_.seek(at);
}

// [-> text] The piece that begins with the & at a place; the place behind it.
std::size_t Compiler::macro_piece(std::size_t at) {
  lexer_.seek(at);
  lexer_.next();
  if (token() == Token::kLeftParen) {
    lexer_.next();
    expression();
    if (token() != Token::kRightParen) {
      fail(Failure::kSyntax);
      return at;
    }
    return lexer_.behind();
  }
  if (token() != Token::kName || lexer_.position() != at + 1) {
    fail(Failure::kSyntax);
    return at;
  }
  macro_variable(lexer_.lexeme());
  const std::size_t end = lexer_.behind();
  return lexer_.next_is('.') ? end + 1 : end;
}

void Compiler::macro_variable(std::string_view name) {
  load(program_variable(name));
}

// --- Literals.

// The block's code is one of its own, which finds the variables of the procedure among its detached locals.
void Compiler::closure_literal(std::size_t start) {
  CodeBuilder inner;
  ProgramPart* const part = scope_->begin_block(lexer_.text().data() + start);
  {
    const Switched code(code_, &inner);
    block();
    expect(Token::kRightBrace);
  }
  scope_->end_block();
  if (inner.fault()) return code_->fail(*inner.fault());
  code_->add_block(inner.finish({}, true, part), StepKind::kClosure);
}

// {^1999-02-01}, or {02/01/99}, which programs read once, as month, day and year with 19 before two digits.
bool Compiler::fixed_date() {
  const std::string_view text = lexer_.text();
  const bool marked = text.substr(lexer_.position() + 1).starts_with('^');
  Lexer ahead = lexer_;
  if (!marked && !ahead.brace_is_date()) return false;
  const std::size_t close = text.find('}', lexer_.position());
  const std::size_t start = lexer_.position() + (marked ? 2 : 1);
  const std::string_view date = text.substr(start, std::min(close, text.size()) - start);
  const std::optional<std::int32_t> day = marked ? day_of_marked(date) : day_of_digits(date);
  if (!day || close == std::string_view::npos) {
    fail(Failure::kDate);
    return true;
  }
  code_->add_constant(date_constant(*day));
  lexer_.seek(close + 1);
  return true;
}

}  // namespace tarnel
