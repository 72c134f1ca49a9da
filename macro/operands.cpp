// The operands of the grammar: literals, names, subscripts, members, aliases and calls.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/memory.h"
#include "core/memvars.h"
#include "core/modules.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "core/text.h"
#include "macro/expand.h"
#include "macro/parser.h"

namespace tarnel {
namespace {

constexpr std::ptrdiff_t kMostDecimals = 255;

// Names are the same over their first ten characters, whatever their case.
bool same_name(std::string_view a, std::string_view b) {
  return same_letters(a.substr(0, kNameSize), b.substr(0, kNameSize));
}

// The words before -> that name no area; kind is a letter of the frame's name tables.
struct AliasWord {
  std::string_view word;
  char kind;
};
constexpr char kMemoryVariable = 'M', kCurrentArea = 'F';
constexpr AliasWord kAliasWords[] = {
    {"_p", 'P'},
    {"_s", 'S'},
    {"_l", 'L'},
    {"_m", kMemoryVariable},
    {"m", kMemoryVariable},
    {"memvar", kMemoryVariable},
    {"field", kCurrentArea},
    {"_field", kCurrentArea},
};

// A work area selected for the time of an expression.
class AreaScope {
 public:
  explicit AreaScope(void* area) : on_(area != nullptr && area_hooks().push != nullptr) {
    if (on_) saved_ = area_hooks().push(area);
  }
  ~AreaScope() {
    if (on_) area_hooks().pop(saved_);
  }
  AreaScope(const AreaScope&) = delete;
  AreaScope& operator=(const AreaScope&) = delete;

 private:
  const bool on_;
  void* saved_ = nullptr;
};

// Without a point an integer, as far as it fits one.
Var* number_cell(std::string_view digits) {
  const char* end = digits.data() + digits.size();
  const std::size_t point = digits.find('.');
  if (point == std::string_view::npos) {
    std::int32_t integer = 0;
    if (std::from_chars(digits.data(), end, integer).ec == std::errc{}) return TMP_INT(integer);
  }
  double value = 0;
  std::from_chars(digits.data(), end, value);
  const auto decimals =
      point == std::string_view::npos ? 0 : static_cast<std::ptrdiff_t>(digits.size() - point - 1);
  return TMP_NUM(value, static_cast<int>(std::min(decimals, kMostDecimals)));
}

Var* block_cell(std::string_view text) {
  auto* kept = static_cast<char*>(MEM_ALLOC(text.size(), MemPurpose::kMacro));
  std::memcpy(kept, text.data(), text.size());
  Var* block = cscreara(NEW_TEMP(), 0, kAllNil);
  block->type = 'b';
  block->block_text = kept;
  return block;
}

}  // namespace

// --- Literals.

Parser::Operand Parser::number() {
  Var* value = idle() ? nil_value() : number_cell(lexer_.lexeme());
  lexer_.next();
  return token() == Token::kArrow ? in_selected_area(value) : Operand{value};
}

// A quoted text is expanded on its own; unknown names stay.
Parser::Operand Parser::text() {
  if (token() != Token::kText) return {syntax_error()};
  const std::string_view quoted = lexer_.lexeme();
  lexer_.next();
  if (idle()) return {nil_value()};
  if (quoted.find('&') == std::string_view::npos) return {checked(TMP_TEXT(quoted))};
  std::string expanded;
  if (!EXPAND_MACRO(quoted, expanded, kExpandLimit, kLeaveUnknown)) return {stop()};
  return {checked(TMP_TEXT(expanded))};
}

Parser::Operand Parser::brace() {
  if (lexer_.brace_is_date()) return date();
  lexer_.next();
  return token() == Token::kBar ? block_literal() : Operand{array_literal()};
}

Parser::Operand Parser::date() {
  const std::string_view digits = lexer_.lexeme();
  lexer_.next();
  if (idle()) return {nil_value()};
  const Callable convert = lookup_function("ctod");
  if (convert == nullptr) return {report(308, "access of undefined function ctod")};
  Var* argument[] = {TMP_TEXT(digits)};
  return {checked(convert(1, argument))};
}

// The block keeps its text from the first bar on; nothing of it is evaluated here.
Parser::Operand Parser::block_literal() {
  const std::size_t start = lexer_.position();
  lexer_.next();
  std::size_t end;
  {
    const Skipping skip(*this);
    block_parameters(false);
    body();
    end = lexer_.position();
    expect(Token::kRightBrace);
  }
  return {idle() ? nil_value() : block_cell(lexer_.text().substr(start, end - start))};
}

// Names between two bars, of which the first is taken.
void Parser::block_parameters(bool named) {
  if (take(Token::kBar)) return;
  do {
    if (named) parameters_.add(lexer_.lexeme());
    if (!expect(Token::kName)) return;
  } while (take(Token::kComma));
  expect(Token::kBar);
}

Var* Parser::array_literal() {
  const std::int32_t mark = temp_top();
  Arguments elements;
  arguments(elements, Token::kRightBrace);
  if (idle()) return nil_value();
  const auto size = static_cast<std::int32_t>(elements.size());
  elements.add(nullptr);
  return keep_temp(mark, checked(cscreara(NEW_TEMP(), size, kCopyValues, elements.data())));
}

// --- Names.

Parser::Operand Parser::name() {
  const std::string_view text = lexer_.lexeme();
  lexer_.next();
  if (token() == Token::kLeftParen)
    return same_name(text, "iif") || same_name(text, "if") ? Operand{iif()} : call(text);
  if (token() == Token::kArrow) return alias(text);
  if (same_name(text, "nil")) return {nil_value(), {}, true};
  return variable(text);
}

// A parameter that got no argument is an empty cell of its own at each mention.
bool Parser::find_parameter(std::string_view name, Var*& cell) {
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    if (!same_name(parameters_[i], name)) continue;
    const auto position = static_cast<std::int32_t>(i);
    cell = position < block_arguments_.count ? block_arguments_.cells[i] : nullptr;
    if (cell != nullptr) return true;
    cell = NEW_TEMP();
    cell->sclass = 'N';
    return true;
  }
  return false;
}

Parser::Operand Parser::variable(std::string_view name) {
  if (idle()) return {nil_value(), {}, true};
  if (Var * cell; find_parameter(name, cell)) return {cell, {}, true};
  const std::int32_t sym = FIND_SYMBOL(name);
  if (sym < 0) return {report(307, "access of undefined variable " + std::string(name))};
  return {checked(RESOLVE_NAME(sym)), {}, true};
}

Parser::Operand Parser::memory_variable(std::string_view name) {
  if (idle()) return {nil_value(), {}, true};
  const std::int32_t sym = FIND_SYMBOL(name);
  if (sym < 0) return {report(307, "access of undefined variable " + std::string(name))};
  return {symbol_var(sym), {}, true};
}

Parser::Operand Parser::alias(std::string_view text) {
  const std::string word = lower_text(text);
  const auto* known = std::find_if(std::begin(kAliasWords), std::end(kAliasWords),
                                   [&](const AliasWord& w) { return w.word == word; });
  if (known == std::end(kAliasWords)) {
    void* area = idle() ? nullptr : AREA_BY_NAME(word);
    if (area == nullptr && !idle()) return {report(337, "unknown alias")};
    return in_area(area);
  }
  if (known->kind == kCurrentArea)
    return in_area(idle() || area_hooks().current == nullptr ? nullptr : area_hooks().current());
  lexer_.next();
  const std::string_view name = lexer_.lexeme();
  if (!expect(Token::kName)) return {error_value()};
  if (known->kind == kMemoryVariable) return memory_variable(name);
  return {idle() ? nil_value() : FIND_LOCAL(name, known->kind), {}, true};
}

// (expression)-> and number->: an area by its alias or its number.
Parser::Operand Parser::in_selected_area(Var* which) {
  if (idle()) return in_area(nullptr);
  if (is_text(which)) {
    void* area = AREA_BY_NAME(text_of(which));
    return area != nullptr ? in_area(area) : Operand{report(337, "unknown alias")};
  }
  if (!is_number(which)) return {report(342, "variable has wrong type")};
  const auto by_number = area_hooks().by_number;
  return in_area(by_number != nullptr ? by_number(integer_of(which)) : nullptr);
}

// What stands behind the arrow: a field, or an expression for which the area is the current one.
Parser::Operand Parser::in_area(void* area) {
  lexer_.next();
  if (token() != Token::kLeftParen) {
    const std::string_view name = lexer_.lexeme();
    return expect(Token::kName) ? field(area, name) : Operand{error_value()};
  }
  if (area == nullptr && !idle()) return {report(342, "during evaluation")};
  const AreaScope in(area);
  return parenthesis();
}

Parser::Operand Parser::field(void* area, std::string_view name) {
  if (idle()) return {nil_value(), {}, true};
  const std::int32_t sym = FIND_SYMBOL(name);
  Var* cell = sym > 0 ? GET_FIELD_IN(area, sym) : nil_value();
  if (cell == nil_value()) return {report(307, "access of undefined field " + std::string(name))};
  return {checked(cell), {}, true};
}

// --- Subscripts and members.

Parser::Operand Parser::subscript(Operand operand) {
  Var* cell = load(operand);
  lexer_.next();
  do {
    if (!idle()) keep_alive(cell);
    Var* index = expression();
    if (!idle()) cell = checked(csgetarv(cell, index));
  } while (take(Token::kComma));
  expect(Token::kRightBracket);
  return {cell, {}, true};
}

// object:name is an instance, read or assigned to later; object:name(...) calls a method now.
Parser::Operand Parser::member(Operand operand) {
  Var* object = load(operand);
  lexer_.next();
  const std::string_view name = lexer_.lexeme();
  if (!expect(Token::kName)) return {error_value()};
  if (token() != Token::kLeftParen) return {object, name, true};
  if (!idle()) keep_alive(object);
  const std::int32_t mark = temp_top();
  lexer_.next();
  Arguments list;
  list.add(object);
  arguments(list, Token::kRightParen);
  if (idle()) return {nil_value()};
  const auto count = static_cast<std::int32_t>(list.size());
  return {keep_temp(mark, returned(csnodome(lower_text(name), 0, count, list.data())))};
}

// --- Calls.

Parser::Operand Parser::call(std::string_view name) {
  const std::int32_t mark = temp_top();
  lexer_.next();
  Arguments list;
  arguments(list, Token::kRightParen);
  if (idle()) return {nil_value()};
  const std::string full = FULL_NAME(name);
  const std::int32_t position = FIND_FUNC(full);
  if (position < 1) return {report(308, "access of undefined function " + full)};
  Var* result = function_table().entries[position].function(static_cast<std::int32_t>(list.size()),
                                                            list.data());
  if (result == nullptr) return {report(320, "function returned zero pointer " + full)};
  return {keep_temp(mark, returned(result))};
}

// Up to the closing token, which is taken.
void Parser::arguments(Arguments& list, Token close) {
  if (take(close)) return;
  do {
    Var* value = argument(close);
    if (value != nullptr) list.add(value);
  } while (take(Token::kComma));
  expect(close);
}

// By value a copy, but an array as it is. Null for a reference to nothing.
Var* Parser::argument(Token close) {
  if (token() == Token::kComma || token() == close)
    return idle() ? nil_value() : ARG_VAR(nil_value());
  if (take(Token::kAt)) return reference();
  Var* value = expression();
  if (idle()) return value;
  return value->type == 'A' ? keep_alive(value) : ARG_VAR(value);
}

Var* Parser::reference() {
  const std::string_view name = lexer_.lexeme();
  if (token() != Token::kName) return syntax_error();
  Var* cell = load(postfix(primary()));
  if (idle()) return cell;
  if (upper_class(cell->sclass) == 'F')
    return report(320, "cannot pass field by reference " + std::string(name));
  return cell->type == 'E' ? nullptr : keep_alive(cell);
}

// Only the chosen argument is evaluated. Without a condition that is a number or logical the result
// is false.
Var* Parser::iif() {
  lexer_.next();
  Var* condition = iif_argument(true);
  const bool decided = !idle() && is_number_or_logical(condition);
  const int chosen = decided && truth_of(condition) ? 2 : 3;
  Var* result = false_value();
  for (int i = 2; take(Token::kComma); ++i) {
    const bool wanted = decided && i == chosen;
    Var* value = iif_argument(wanted);
    if (wanted) result = value;
  }
  expect(Token::kRightParen);
  return result;
}

// An argument of iif stands for itself: when its evaluation fails its value is the error value, and
// the text goes on behind it. An empty one gives the empty text.
Var* Parser::iif_argument(bool wanted) {
  if (token() == Token::kComma || token() == Token::kRightParen) return empty_text();
  const Skipping skip(*this, !wanted);
  const std::size_t start = lexer_.position();
  Var* value = expression();
  if (!failed_ || broken_) return value;
  failed_ = false;
  lexer_.seek(start);
  const Skipping again(*this);
  expression();
  return error_value();
}

}  // namespace tarnel
