#include "macro/parser.h"

#include <string>

#include "core/classes.h"
#include "core/errors.h"
#include "core/operators.h"
#include "core/stacks.h"
#include "core/text.h"

namespace tarnel {
namespace {

using BinaryFunction = Var* (*)(Var* left, Var* right, bool in_place);

template <Var* (*compare)(Var*, Var*)>
Var* comparison(Var* left, Var* right, bool) {
  return compare(left, right);
}

// Precedence of the binary operators. .not. lies between kAndLevel and kComparisonLevel, the signs
// above kPowerLevel.
enum Precedence : int {
  kNoOperator = 0,
  kOrLevel,
  kAndLevel,
  kComparisonLevel,
  kAdditiveLevel,
  kMultiplicativeLevel,
  kPowerLevel
};

struct BinaryOperator {
  Token token;
  int level;
  BinaryFunction apply;  // null: evaluates its right side only if that is needed
};

constexpr BinaryOperator kBinaryOperators[] = {
    {Token::kOr, kOrLevel, nullptr},
    {Token::kAnd, kAndLevel, nullptr},
    {Token::kEqual, kComparisonLevel, comparison<csuequu>},
    {Token::kExactly, kComparisonLevel, comparison<csueequu>},
    {Token::kNotEqual, kComparisonLevel, comparison<csunequ>},
    {Token::kGreater, kComparisonLevel, comparison<csugtu>},
    {Token::kLess, kComparisonLevel, comparison<csultu>},
    {Token::kGreaterEqual, kComparisonLevel, comparison<csugequ>},
    {Token::kLessEqual, kComparisonLevel, comparison<csulequ>},
    {Token::kContained, kComparisonLevel, comparison<csuinu>},
    {Token::kPlus, kAdditiveLevel, csuaddu},
    {Token::kMinus, kAdditiveLevel, csusubu},
    {Token::kTimes, kMultiplicativeLevel, csumulu},
    {Token::kDivide, kMultiplicativeLevel, csudivu},
    {Token::kModulo, kMultiplicativeLevel, csumodu},
    {Token::kPower, kPowerLevel, csupowu},
};

constexpr int distance(Token from, Token to) {
  return static_cast<int>(to) - static_cast<int>(from);
}

constexpr bool in_token_order() {
  for (std::size_t i = 0; i < std::size(kBinaryOperators); ++i)
    if (distance(Token::kOr, kBinaryOperators[i].token) != static_cast<int>(i)) return false;
  return true;
}
static_assert(in_token_order(), "the table is indexed by the distance from kOr");
static_assert(distance(Token::kPlus, Token::kPower) ==
                  distance(Token::kPlusAssign, Token::kPowerAssign),
              "compound assignments follow the order of their operators");

// Null when the token is no binary operator.
const BinaryOperator* binary_operator(Token token) {
  const int i = distance(Token::kOr, token);
  return i >= 0 && i < static_cast<int>(std::size(kBinaryOperators)) ? &kBinaryOperators[i]
                                                                     : nullptr;
}

bool is_assignment(Token token) {
  return token >= Token::kAssign && token <= Token::kPowerAssign;
}

// The operator that a compound assignment applies, null for :=.
const BinaryOperator* assigned_operator(Token token) {
  if (token == Token::kAssign) return nullptr;
  return binary_operator(
      static_cast<Token>(static_cast<int>(Token::kPlus) + distance(Token::kPlusAssign, token)));
}

}  // namespace

Var* Parser::evaluate() {
  Var* value = expression();
  if (token() != Token::kEnd) syntax_error();
  return failed_ ? error_value() : value;
}

Var* Parser::evaluate_block(const BlockArguments& arguments) {
  block_arguments_ = arguments;
  if (expect(Token::kBar)) block_parameters(true);
  Var* value = body();
  if (token() != Token::kEnd) syntax_error();
  return failed_ ? error_value() : value;
}

// The value is that of the last expression; an empty body gives NIL.
Var* Parser::body() {
  if (token() == Token::kEnd || token() == Token::kRightBrace) return nil_value();
  Var* value = expression();
  while (take(Token::kComma)) value = expression();
  return value;
}

Var* Parser::expression() {
  const Level level(*this);
  const Operand left = binary(kOrLevel);
  return is_assignment(token()) ? assignment(left) : load(left);
}

Var* Parser::assignment(const Operand& target) {
  if (!target.assignable) return syntax_error();
  const BinaryOperator* op = assigned_operator(token());
  if (!idle()) keep_alive(target.cell);
  lexer_.next();
  Var* value = expression();
  if (idle()) return value;
  if (target.instance.empty())
    return checked(op != nullptr ? op->apply(target.cell, value, true)
                                 : CPY_VAR(target.cell, value));
  if (op != nullptr) value = checked(op->apply(load(target), value, false));
  return failed_ ? value : checked(put_ivar(target.cell, lower_text(target.instance), value));
}

Parser::Operand Parser::binary(int lowest) {
  Operand left = prefix();
  for (;;) {
    const BinaryOperator* op = binary_operator(token());
    if (op == nullptr || op->level < lowest) return left;
    Var* value = load(left);
    lexer_.next();
    left = {op->apply == nullptr ? logic(op->token, op->level, value)
                                 : apply(op->apply, op->level, value)};
  }
}

Var* Parser::apply(BinaryFunction function, int level, Var* left) {
  if (!idle()) keep_alive(left);
  Var* right = load(binary(level + 1));
  return idle() ? right : checked(function(left, right, false));
}

// The right side is evaluated only where it decides; its value is then the result as it is.
Var* Parser::logic(Token op, int level, Var* left) {
  const bool deciding = op == Token::kAnd;
  const bool needed = !idle() && csifu(left) == deciding;
  const Skipping skip(*this, !needed);
  Var* right = load(binary(level + 1));
  if (!needed) return failed_ ? right : logical(!deciding);
  return checked(right);
}

Parser::Operand Parser::prefix() {
  const Token sign = token();
  Var* (*function)(Var*) = nullptr;
  switch (sign) {
    case Token::kNot:
      function = csnotu;
      break;
    case Token::kMinus:
      function = csminusu;
      break;
    case Token::kIncrement:
      function = csincu;
      break;
    case Token::kDecrement:
      function = csdecu;
      break;
    case Token::kPlus:
      break;
    default:
      return postfix(primary());
  }
  const Level level(*this);
  lexer_.next();
  Var* value = load(sign == Token::kNot ? binary(kComparisonLevel) : prefix());
  if (idle()) return {value};
  if (function != nullptr) return {checked(function(value))};
  return {is_number_or_logical(value) ? value : report(202, "unary '+' only for numerics")};
}

Parser::Operand Parser::postfix(Operand operand) {
  for (;;) {
    switch (token()) {
      case Token::kLeftBracket:
        operand = subscript(operand);
        break;
      case Token::kColon:
        operand = member(operand);
        break;
      case Token::kIncrement:
      case Token::kDecrement: {
        Var* value = load(operand);
        const bool up = token() == Token::kIncrement;
        lexer_.next();
        operand = {idle() ? value : checked(up ? csuinc(value) : csudec(value))};
        break;
      }
      default:
        return operand;
    }
  }
}

Parser::Operand Parser::primary() {
  switch (token()) {
    case Token::kName:
      return name();
    case Token::kNumber:
      return number();
    case Token::kText:
      return text();
    case Token::kLeftBracket:
      lexer_.bracket_is_quote();
      return text();
    case Token::kLeftBrace:
      return brace();
    case Token::kLeftParen:
      return parenthesis();
    case Token::kTrue:
      lexer_.next();
      return {true_value()};
    case Token::kFalse:
      lexer_.next();
      return {false_value()};
    default:
      return {syntax_error()};
  }
}

Parser::Operand Parser::parenthesis() {
  lexer_.next();
  Var* value = expression();
  expect(Token::kRightParen);
  return token() == Token::kArrow ? in_selected_area(value) : Operand{value};
}

Var* Parser::load(const Operand& operand) {
  if (operand.instance.empty() || idle()) return operand.cell;
  return returned(get_ivar(operand.cell, lower_text(operand.instance)));
}

// Gives the temporary stack a reference to a variable or element, so that what is evaluated after
// it can't end it. Temporaries are there already.
Var* Parser::keep_alive(Var* cell) {
  if (letter_in(cell->sclass, "TtC")) return cell;
  ++cell->refs;
  return PUSH_TEMP(cell);
}

// A called procedure has come back. When it was called too deep, all evaluations around it end.
Var* Parser::returned(Var* result) {
  if (!leaving_deep_evaluation()) return result;
  broken_ = true;
  return stop();
}

bool Parser::take(Token wanted) {
  if (token() != wanted) return false;
  lexer_.next();
  return true;
}

Var* Parser::fail() {
  failed_ = true;
  lexer_.finish();
  return error_value();
}

Var* Parser::stop() {
  set_last_error(310);
  return fail();
}

Var* Parser::report(int code, std::string_view cause) {
  if (failed_) return error_value();
  fail();
  std::string text(cause);
  if (!text.empty()) text += '\n';
  text.append("evaluating expression:\n--> ").append(source_);
  text.append(" \nafter expanding it to:\n'").append(lexer_.text()).append("'");
  return RT_ERROR(code, text);
}

Var* Parser::syntax_error() {
  broken_ = true;
  return report(309, "");
}

void Parser::too_deep() {
  broken_ = true;
  report(309, "yacc stack overflow");
}

}  // namespace tarnel
