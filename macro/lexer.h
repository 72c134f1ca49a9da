// The tokens of an expression held as text. They are views into the text: nothing is copied.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnel {

enum class Token : std::uint8_t {
  kEnd,
  kInvalid,
  kName,
  kNumber,
  kText,  // quoted; the lexeme is what stands between the quotes
  kTrue,
  kFalse,
  kNot,
  // Binary operators.
  kOr,
  kAnd,
  kEqual,
  kExactly,
  kNotEqual,
  kGreater,
  kLess,
  kGreaterEqual,
  kLessEqual,
  kContained,
  kPlus,
  kMinus,
  kTimes,
  kDivide,
  kModulo,
  kPower,
  // Assignments; the compound ones in the order of the operators they apply.
  kAssign,
  kPlusAssign,
  kMinusAssign,
  kTimesAssign,
  kDivideAssign,
  kModuloAssign,
  kPowerAssign,
  kIncrement,
  kDecrement,
  kArrow,
  kColon,
  kComma,
  kBar,
  kAt,
  kLeftParen,
  kRightParen,
  kLeftBracket,
  kRightBracket,
  kLeftBrace,
  kRightBrace,
  // In programs only.
  kAmpersand,
  kSelf,
  kCount,
};

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) { next(); }

  Token token() const { return token_; }
  std::string_view lexeme() const { return text_.substr(start_, end_ - start_); }
  std::size_t position() const { return begin_; }  // where the token begins, its quote included
  std::size_t behind() const { return at_; }       // the token
  std::string_view text() const { return text_; }
  // Is the byte right behind the token that one?
  bool next_is(char c) const { return at_ < text_.size() && text_[at_] == c; }

  void next();
  // Reads again from a position that position() gave.
  void seek(std::size_t position) {
    at_ = position;
    next();
  }
  // No more tokens, as at the end of the text.
  void finish() {
    at_ = text_.size();
    next();
  }

  // REQUIRES: the token is a left bracket, where a value is expected. It becomes the quoted text up
  // to the right bracket, or invalid without one.
  void bracket_is_quote();
  // REQUIRES: the token is a left brace, where a value is expected. If a date literal stands there,
  // it becomes a kText of what lies between the braces; else the answer is false.
  bool brace_is_date();

 private:
  void quoted(char close);
  void number();
  void name();
  bool dot_word();
  void sign();
  char at(std::size_t i) const { return i < text_.size() ? text_[i] : '\0'; }

  std::string_view text_;
  std::size_t at_ = 0;     // behind the token, its quote included
  std::size_t begin_ = 0;  // of the token
  std::size_t start_ = 0;  // of the lexeme
  std::size_t end_ = 0;
  Token token_ = Token::kEnd;
};

}  // namespace tarnel
