#include "macro/compiler.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/operators.h"
#include "core/text.h"

namespace tarnel {
namespace {

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

struct Prefix {
  Token token;
  UnaryOperator op;
};
constexpr Prefix kPrefixes[] = {{Token::kNot, UnaryOperator::kNot},
                                {Token::kMinus, UnaryOperator::kMinus},
                                {Token::kPlus, UnaryOperator::kSign},
                                {Token::kIncrement, UnaryOperator::kPreIncrement},
                                {Token::kDecrement, UnaryOperator::kPreDecrement}};

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

static_assert(kBinaryOperators[kNoFunction].apply == nullptr);
static_assert(kFirstRelation == distance(Token::kOr, Token::kEqual) &&
              kLastRelation - kFirstRelation == detail::kLessEqual &&
              kAddFunction == distance(Token::kOr, Token::kPlus) &&
              kSubtractFunction == distance(Token::kOr, Token::kMinus) &&
              kMultiplyFunction == distance(Token::kOr, Token::kTimes));

std::uint8_t index_of(const BinaryOperator& op) {
  return static_cast<std::uint8_t>(&op - kBinaryOperators);
}

bool is_assignment(Token token) {
  return token >= Token::kAssign && token <= Token::kPowerAssign;
}

// What a step of an assignment applies, kNoFunction for :=.
std::uint8_t assigned_function(Token token) {
  if (token == Token::kAssign) return kNoFunction;
  return static_cast<std::uint8_t>(distance(Token::kOr, Token::kPlus) +
                                   distance(Token::kPlusAssign, token));
}

}  // namespace

BinaryFunction binary_function(std::uint8_t op) {
  return kBinaryOperators[op].apply;
}

Code* compile(std::string_view text) {
  return Compiler(text).expression_code();
}
Code* compile_block(std::string_view text) {
  return Compiler(text).block_code();
}

Code* Compiler::expression_code() {
  expression();
  expect(Token::kEnd);
  return own_.finish(lexer_.text(), false);
}

Code* Compiler::block_code() {
  Parameters names;
  parameters_ = &names;
  block();
  expect(Token::kEnd);
  return own_.finish(lexer_.text(), true);
}

void Compiler::block() {
  if (expect(Token::kBar)) parameters();
  body();
}

// The value is that of the last expression; an empty body gives NIL.
void Compiler::body() {
  if (token() == Token::kEnd || token() == Token::kRightBrace) return shared(SharedConstant::kNil);
  expression();
  while (take(Token::kComma)) {
    code_->add(StepKind::kDrop);
    expression();
  }
}

void Compiler::expression() {
  const Level level(*this);
  const bool at_statement = at_statement_;
  const Operand left = binary(kOrLevel);
  if (is_assignment(token()) || (at_statement && token() == Token::kEqual))
    assignment(left, at_statement);
  else
    load(left);
}

// As a statement to a local it leaves no value.
void Compiler::assignment(const Operand& target, bool as_statement) {
  if (!target.assignable) return fail(Failure::kSyntax);
  const std::uint8_t op = token() == Token::kEqual ? kNoFunction : assigned_function(token());
  const std::int32_t slot = as_statement && target.instance.empty() ? code_->take_slot() : -1;
  if (slot < 0) code_->begin_keep();
  lexer_.next();
  expression();
  left_no_value_ = slot >= 0;
  if (slot >= 0)
    code_->add(op == kNoFunction ? StepKind::kStore : StepKind::kUpdateSlot, slot, op);
  else if (target.instance.empty())
    code_->add(StepKind::kAssign, 0, op);
  else
    code_->add_with_word(StepKind::kAssignInstance, lower_text(target.instance), op);
}

Compiler::Operand Compiler::binary(int lowest) {
  const bool at_statement = std::exchange(at_statement_, false);
  Operand left = prefix();
  if (at_statement && left.assignable && token() == Token::kEqual) return left;
  for (;;) {
    const BinaryOperator* op = binary_operator(token());
    if (op == nullptr || op->level < lowest) return left;
    load(left);
    left = {};
    lexer_.next();
    if (op->apply == nullptr) {
      logic(op->token, op->level);
      continue;
    }
    const StepPosition keep = code_->begin_keep();
    load(binary(op->level + 1));
    code_->end_keep(keep);
    code_->add_binary(index_of(*op));
  }
}

// The right side runs only where it decides; its value is then the result as it is.
void Compiler::logic(Token op, int level) {
  const StepPosition decision = code_->add(op == Token::kAnd ? StepKind::kAnd : StepKind::kOr);
  load(binary(level + 1));
  if (scope_ == nullptr) code_->add(StepKind::kCheck);
  code_->land(decision);
}

Compiler::Operand Compiler::prefix() {
  const auto* const sign = std::ranges::find(kPrefixes, token(), &Prefix::token);
  if (sign == std::end(kPrefixes)) return postfix(primary());
  const Level level(*this);
  lexer_.next();
  load(sign->op == UnaryOperator::kNot ? binary(kComparisonLevel) : prefix());
  code_->add(StepKind::kUnary, 0, static_cast<std::uint8_t>(sign->op));
  return {};
}

Compiler::Operand Compiler::postfix(Operand operand) {
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
        load(operand);
        const auto op =
            token() == Token::kIncrement ? UnaryOperator::kIncrement : UnaryOperator::kDecrement;
        lexer_.next();
        code_->add(StepKind::kUnary, 0, static_cast<std::uint8_t>(op));
        operand = {};
        break;
      }
      default:
        return operand;
    }
  }
}

Compiler::Operand Compiler::primary() {
  switch (token()) {
    case Token::kName:
      return name();
    case Token::kNumber:
      return number();
    case Token::kText:
      text();
      return {};
    case Token::kLeftBracket:
      lexer_.bracket_is_quote();
      text();
      return {};
    case Token::kLeftBrace:
      return brace();
    case Token::kLeftParen:
      return parenthesis();
    case Token::kSelf:  // ::name is self:name
      if (scope_ != nullptr) return self_member();
      fail(Failure::kSyntax);
      return {};
    case Token::kAmpersand:
      if (scope_ != nullptr) return macro_operand();
      fail(Failure::kSyntax);
      return {};
    case Token::kTrue:
    case Token::kFalse:
      shared(token() == Token::kTrue ? SharedConstant::kTrue : SharedConstant::kFalse);
      lexer_.next();
      return {};
    default:
      fail(Failure::kSyntax);
      return {};
  }
}

Compiler::Operand Compiler::parenthesis() {
  lexer_.next();
  expression();
  expect(Token::kRightParen);
  if (token() != Token::kArrow) return {};
  code_->add(StepKind::kAreaOf);
  return in_area();
}

void Compiler::load(const Operand& operand) {
  if (!operand.instance.empty())
    code_->add_with_word(StepKind::kInstance, lower_text(operand.instance));
}

bool Compiler::take(Token wanted) {
  if (token() != wanted) return false;
  lexer_.next();
  return true;
}

// A quote without its end is an invalid token that begins with the quote.
void Compiler::fail(Failure cause) {
  const std::size_t at = lexer_.position();
  const bool open_quote =
      token() == Token::kInvalid &&
      std::string_view("\"'`[").find(lexer_.text()[at]) != std::string_view::npos;
  code_->fail({static_cast<std::uint32_t>(at), open_quote || token() == Token::kEnd, cause});
  lexer_.finish();
}

}  // namespace tarnel
