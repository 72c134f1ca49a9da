#include "lang/statement_lexer.h"

#include <algorithm>

#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kShortestWord = 4;

bool ends_value(Token token) {
  switch (token) {
    case Token::kName:
    case Token::kNumber:
    case Token::kText:
    case Token::kTrue:
    case Token::kFalse:
    case Token::kRightParen:
    case Token::kRightBracket:
    case Token::kRightBrace:
      return true;
    default:
      return false;
  }
}

bool opens(Token token) {
  return token == Token::kLeftParen || token == Token::kLeftBracket || token == Token::kLeftBrace;
}
bool closes(Token token) {
  return token == Token::kRightParen || token == Token::kRightBracket ||
         token == Token::kRightBrace;
}

}  // namespace

std::string quoted_token(std::string_view token) {
  std::string text = "\"";
  for (const char c : token) text += static_cast<unsigned char>(c) < ' ' || c == 127 ? '?' : c;
  return text += '"';
}

bool is_word(std::string_view name, std::string_view word) {
  if (name.size() > word.size() || name.size() < std::min(word.size(), kShortestWord)) return false;
  return same_letters(name, word.substr(0, name.size()));
}

bool StatementLexer::take_word(std::string_view word) {
  if (!at_word(word)) return false;
  next();
  return true;
}

bool StatementLexer::take(Token wanted) {
  if (token() != wanted) return false;
  next();
  return true;
}

Span StatementLexer::take_name() {
  if (token() != Token::kName) return {};
  const Span name{place(), lexeme().size()};
  next();
  return name;
}

Span StatementLexer::take_expression(std::initializer_list<std::string_view> words, bool to_comma) {
  const std::size_t start = place();
  std::size_t end = start;
  int depth = 0;
  Token before = Token::kComma;
  // What is no token at all stays where it is: the statement is wrong there.
  for (; !at_end() && token() != Token::kInvalid;
       before = token(), end = offset_ + lexer_.behind(), next()) {
    if (token() == Token::kLeftBracket && !ends_value(before)) lexer_.bracket_is_quote();
    if (opens(token())) ++depth;
    if (closes(token()) && --depth < 0) break;
    if (depth > 0) continue;
    if (to_comma && token() == Token::kComma) break;
    if (ends_value(before) && std::ranges::any_of(words, [&](auto w) { return at_word(w); })) break;
  }
  return {start, end - start};
}

}  // namespace tarnel
