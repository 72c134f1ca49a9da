#include "macro/lexer.h"

#include <array>
#include <cassert>

#include "core/text.h"

namespace tarnel {
namespace {

struct Spelling {
  std::string_view text;
  Token token;
};

// Signs of one first character stand together, the longer before the shorter.
constexpr Spelling kSigns[] = {
    {"!=", Token::kNotEqual},     {"!", Token::kNot},
    {"#", Token::kNotEqual},      {"$", Token::kContained},
    {"%=", Token::kModuloAssign}, {"%", Token::kModulo},
    {"&", Token::kAmpersand},     {"(", Token::kLeftParen},
    {")", Token::kRightParen},    {"**=", Token::kPowerAssign},
    {"**", Token::kPower},        {"*=", Token::kTimesAssign},
    {"*", Token::kTimes},         {"++", Token::kIncrement},
    {"+=", Token::kPlusAssign},   {"+", Token::kPlus},
    {",", Token::kComma},         {"--", Token::kDecrement},
    {"-=", Token::kMinusAssign},  {"->", Token::kArrow},
    {"-", Token::kMinus},         {"/=", Token::kDivideAssign},
    {"/", Token::kDivide},        {":=", Token::kAssign},
    {"::", Token::kSelf},         {":", Token::kColon},
    {"<=", Token::kLessEqual},    {"<>", Token::kNotEqual},
    {"<", Token::kLess},          {"==", Token::kExactly},
    {"=", Token::kEqual},         {">=", Token::kGreaterEqual},
    {">", Token::kGreater},       {"@", Token::kAt},
    {"[", Token::kLeftBracket},   {"]", Token::kRightBracket},
    {"^=", Token::kPowerAssign},  {"^", Token::kPower},
    {"{", Token::kLeftBrace},     {"|", Token::kBar},
    {"}", Token::kRightBrace},
};

// For each character the first of its signs, or one past the table.
constexpr auto kFirstSign = [] {
  std::array<std::uint8_t, 256> first{};
  first.fill(std::size(kSigns));
  for (std::size_t i = std::size(kSigns); i-- > 0;)
    first[static_cast<unsigned char>(kSigns[i].text[0])] = static_cast<std::uint8_t>(i);
  return first;
}();

constexpr Spelling kDotWords[] = {
    {"t", Token::kTrue},  {"y", Token::kTrue}, {"f", Token::kFalse}, {"n", Token::kFalse},
    {"and", Token::kAnd}, {"or", Token::kOr},  {"not", Token::kNot},
};

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
bool is_letter(char c) {
  const char lower = static_cast<char>(c | 0x20);
  return (lower >= 'a' && lower <= 'z') || c == '_';
}

}  // namespace

void Lexer::next() {
  while (at_ < text_.size() && is_blank(text_[at_])) ++at_;
  begin_ = start_ = end_ = at_;
  if (at_ == text_.size()) {
    token_ = Token::kEnd;
    return;
  }
  const char c = text_[at_];
  if (is_letter(c)) return name();
  if (is_digit(c) || (c == '.' && is_digit(at(at_ + 1)))) return number();
  if (c == '"' || c == '\'') return quoted(c);
  if (c == '`') return quoted('\'');
  if (c == '.' && dot_word()) return;
  sign();
}

void Lexer::name() {
  while (at_ < text_.size() && (is_letter(text_[at_]) || is_digit(text_[at_]))) ++at_;
  end_ = at_;
  token_ = Token::kName;
}

// A point before a letter begins a word such as .and., so that 5.and.n is three tokens.
void Lexer::number() {
  while (is_digit(at(at_))) ++at_;
  if (at(at_) == '.' && !is_letter(at(at_ + 1))) {
    ++at_;
    while (is_digit(at(at_))) ++at_;
  }
  end_ = at_;
  token_ = Token::kNumber;
}

void Lexer::quoted(char close) {
  const std::size_t found = text_.find(close, at_ + 1);
  if (found == std::string_view::npos) {
    token_ = Token::kInvalid;
    return;
  }
  start_ = at_ + 1;
  end_ = found;
  at_ = found + 1;
  token_ = Token::kText;
}

bool Lexer::dot_word() {
  std::size_t close = at_ + 1;
  while (is_letter(at(close)) && close - at_ <= 3) ++close;
  if (at(close) != '.') return false;
  const std::string_view word = text_.substr(at_ + 1, close - at_ - 1);
  for (const Spelling& spelling : kDotWords) {
    if (!same_letters(word, spelling.text)) continue;
    end_ = at_ = close + 1;
    token_ = spelling.token;
    return true;
  }
  return false;
}

void Lexer::sign() {
  const char c = text_[at_];
  token_ = Token::kInvalid;
  for (std::size_t i = kFirstSign[static_cast<unsigned char>(c)];
       i < std::size(kSigns) && kSigns[i].text[0] == c; ++i) {
    const std::string_view text = kSigns[i].text;
    if (text.size() > 1 && !text_.substr(at_).starts_with(text)) continue;
    at_ += text.size();
    end_ = at_;
    token_ = kSigns[i].token;
    return;
  }
}

void Lexer::bracket_is_quote() {
  assert(token_ == Token::kLeftBracket);
  at_ = begin_;
  quoted(']');
}

// {12/31/99}, in the order of SET DATE; {//} and { / / } are the empty date. Digits, blanks and two
// slashes or two points: no array of numbers has that form by intention.
bool Lexer::brace_is_date() {
  assert(token_ == Token::kLeftBrace);
  std::size_t i = begin_ + 1;
  char separator = 0;
  int separators = 0;
  for (; i < text_.size() && text_[i] != '}'; ++i) {
    const char c = text_[i];
    if (is_digit(c) || c == ' ') continue;
    if ((c != '/' && c != '.') || (separator != 0 && c != separator)) return false;
    separator = c;
    ++separators;
  }
  if (separators != 2 || i == text_.size()) return false;
  start_ = begin_ + 1;
  end_ = i;
  at_ = i + 1;
  token_ = Token::kText;
  return true;
}

}  // namespace tarnel
