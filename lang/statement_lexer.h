// One statement as its tokens: words of statements among names, and pieces between them.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "lang/tree.h"
#include "macro/lexer.h"

namespace tarnel {

// A piece of a program for the words of an error.
std::string quoted_token(std::string_view token);

// Is a name that word, or its first letters, four at least?
bool is_word(std::string_view name, std::string_view word);

class StatementLexer {
 public:
  // `offset` is where the statement begins in the tree's text.
  StatementLexer(std::string_view statement, std::size_t offset)
      : lexer_(statement), offset_(offset) {}

  Token token() const { return lexer_.token(); }
  std::string_view lexeme() const { return lexer_.lexeme(); }
  bool at_end() const { return token() == Token::kEnd; }
  std::size_t place() const { return offset_ + lexer_.position(); }
  std::string_view rest() const { return lexer_.text().substr(lexer_.position()); }
  Span rest_span() const { return {place(), lexer_.text().size() - lexer_.position()}; }

  void next() { lexer_.next(); }
  bool at_word(std::string_view word) const {
    return token() == Token::kName && is_word(lexeme(), word);
  }
  bool take_word(std::string_view word);
  bool take(Token wanted);
  // The name that stands here, which is taken; empty without one.
  Span take_name();
  // Up to one of the words, a comma or a closing bracket that belongs to nothing before it, or the end. A word
  // counts where no value can begin.
  Span take_expression(std::initializer_list<std::string_view> words = {}, bool to_comma = true);
  bool before_paren() const { return lexer_.next_is('('); }
  // The same statement from the next token on.
  StatementLexer following() const {
    StatementLexer behind = *this;
    behind.next();
    return behind;
  }

 private:
  Lexer lexer_;
  std::size_t offset_;
};

}  // namespace tarnel
