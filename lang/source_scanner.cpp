#include "lang/source_scanner.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace tarnel {
namespace {

enum Class : std::uint8_t { kOther, kBlank, kLetter, kDigit, kQuote, kSpecial };

constexpr auto kClasses = [] {
  std::array<Class, 256> classes{};
  const auto set = [&](std::string_view bytes, Class to) {
    for (const char c : bytes) classes[static_cast<unsigned char>(c)] = to;
  };
  set(" \t\r\f\v", kBlank);
  set("'\"`[", kQuote);
  set("/&;.", kSpecial);
  for (unsigned c = '0'; c <= '9'; ++c) classes[c] = kDigit;
  for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 'a' + 'A'] = kLetter;
  classes['_'] = kLetter;
  return classes;
}();

Class class_of(char c) {
  return kClasses[static_cast<unsigned char>(c)];
}
bool in_name(char c) {
  return class_of(c) == kLetter || class_of(c) == kDigit;
}

constexpr std::string_view kDotWords[] = {".t.", ".f.", ".y.", ".n.", ".and.", ".or.", ".not."};

constexpr bool holds(std::string_view bytes, char c) {
  return bytes.find(c) != std::string_view::npos;
}

constexpr std::string_view kBeforeEqual = ":=!<>+-*/%^";  // := == != ...
constexpr std::string_view kDoubled = "+-:*";             // ++ -- :: **

// The bytes of the sign that begins with these three. In a rule the brackets of markers stand alone, and => is
// one sign.
std::ptrdiff_t sign_length(char a, char b, char c, bool rule) {
  const bool marker = rule && (a == '<' || a == '>');
  if (b == '=' && !marker && holds(kBeforeEqual, a)) return 2;
  if (a == b && holds(kDoubled, a)) return a == '*' && c == '=' ? 3 : 2;
  if (a == '.' && b == '.' && c == '.') return 3;
  if (b == '>' && (a == '-' || a == (rule ? '=' : '<'))) return 2;
  return 1;
}

// Words of statements behind which a value begins, so that a bracket there opens a text.
constexpr std::string_view kValueWords[] = {"return", "if", "elseif", "case", "while", "break",
                                            "to",     "in", "step",   "with", "using"};
constexpr std::string_view kFirstValueWords[] = {"return", "if",    "elseif",
                                                 "case",   "while", "break"};

constexpr bool is_word_of(std::span<const std::string_view> words, std::string_view name) {
  return std::ranges::any_of(words, [&](auto word) { return is_cut_word(name, word); });
}

}  // namespace

SourceScanner::SourceScanner(const SourceFiles& files, std::int32_t file, Diagnostics& diagnostics)
    : diagnostics_(diagnostics), text_(files[file].text), file_(file) {
  at_ = line_begin_ = line_end_ = text_.data();
  end_ = text_.data() + text_.size();
  const bool first = next_line();
  if (first && text_.starts_with("#!")) at_ = line_end_;
}

void SourceScanner::begin_piece(const PagePiece& piece) {
  const std::string_view inner = text_.substr(piece.begin, piece.end - piece.begin);
  at_ = inner.data();
  end_ = at_ + inner.size();
  line_ = piece.place.line;
  line_begin_ = at_ - (piece.place.column - 1);
  line_end_ = at_ + std::min(inner.find('\n'), inner.size());
}

// Goes to the beginning of the next line; false at the end of the file.
bool SourceScanner::next_line() {
  if (line_ > 0 && line_end_ == end_) return false;
  at_ = line_begin_ = line_ == 0 ? line_end_ : line_end_ + 1;
  ++line_;
  const void* feed =
      at_ == end_ ? nullptr : std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_));
  line_end_ = feed == nullptr ? end_ : static_cast<const char*>(feed);
  return true;
}

bool SourceScanner::raw_line(std::string_view& line, Place& place) {
  if (!next_line() || at_ == end_) return false;
  line = {at_, static_cast<std::size_t>(line_end_ - at_)};
  if (line.ends_with('\r')) line.remove_suffix(1);
  place = place_of(at_);
  at_ = line_end_;
  return true;
}

SourceScanner::Found SourceScanner::next(SourceTokens& tokens) {
  for (;;) {
    while (at_ < line_end_ && class_of(*at_) == kBlank) ++at_;
    if (at_ == line_end_) {
      if (!next_line()) return Found::kEnd;
    } else if (*at_ == '*') {
      at_ = line_end_;
    } else if (class_of(*at_) != kSpecial || !skip_comment()) {
      mode_ = *at_ == '#' ? Mode::kDirective : Mode::kStatement;
      tokens.clear();
      if (scan(tokens) && !tokens.empty())
        return mode_ == Mode::kStatement ? Found::kStatement : Found::kDirective;
    }
  }
}

// The tokens up to the end of a statement; false when it was given up.
bool SourceScanner::scan(SourceTokens& tokens) {
  gap_ = SourceGap::kNone;
  bool wanted = false;  // behind a `;` that lets the statement go on
  for (;;) {
    if (at_ == line_end_) {
      if (!wanted || !next_line()) return true;
      continue;
    }
    const char c = *at_;
    if (class_of(c) == kBlank) {
      ++at_;
      gap_ = std::max(gap_, SourceGap::kBlanks);
    } else if (class_of(c) == kSpecial && skip_comment()) {
      gap_ = SourceGap::kBreak;
    } else if (c == ';' && goes_on()) {
      gap_ = SourceGap::kBreak;
      wanted = true;
    } else if (c == ';' && mode_ == Mode::kStatement) {
      ++at_;
      return true;
    } else {
      wanted = false;
      if (!token(tokens)) return false;
      gap_ = SourceGap::kNone;
    }
  }
}

// Goes behind a comment that stands here. `{//}` is the empty date.
bool SourceScanner::skip_comment() {
  const char c = *at_, next = ahead(1);
  if (c == '&' && next == '&') {
    at_ = line_end_;
    return true;
  }
  if (c != '/' || (next != '/' && next != '*')) return false;
  if (next == '/') {
    const auto blanks_to = [this](const char* p, char wanted, int step) {
      while (p >= line_begin_ && p < line_end_ && class_of(*p) == kBlank) p += step;
      return p >= line_begin_ && p < line_end_ && *p == wanted;
    };
    if (blanks_to(at_ - 1, '{', -1) && blanks_to(at_ + 2, '}', 1)) return false;
    at_ = line_end_;
    return true;
  }
  const std::string_view rest(at_ + 2, static_cast<std::size_t>(end_ - at_ - 2));
  const std::size_t close = rest.find("*/");
  if (close == std::string_view::npos) {
    if (!quiet_) diagnostics_.error(place_of(at_), "a comment without its */");
    at_ = line_end_ = end_;
    return true;
  }
  const char* behind = rest.data() + close + 2;
  while (line_end_ < behind) next_line();
  at_ = behind;
  return true;
}

// Does the `;` here end its line? If so, it and what stands behind it has been gone over.
bool SourceScanner::goes_on() {
  const char* const mark = at_;
  const std::int32_t line = line_;
  ++at_;
  while (at_ < line_end_ &&
         (class_of(*at_) == kBlank || (class_of(*at_) == kSpecial && skip_comment())))
    if (at_ < line_end_ && class_of(*at_) == kBlank) ++at_;
  if (at_ == line_end_ || line_ != line) return true;
  at_ = mark;
  return false;
}

// One token more, false for a text without end.
bool SourceScanner::token(SourceTokens& tokens) {
  const char* const begin = at_;
  SourceKind kind = SourceKind::kSign;
  switch (class_of(*begin)) {
    case kLetter:
      name();
      kind = SourceKind::kName;
      break;
    case kDigit:
      number();
      kind = SourceKind::kNumber;
      break;
    case kQuote:
      if (*begin == '[' && !opens_text(tokens)) {
        ++at_;
        break;
      }
      if (!quoted(*begin == '[' ? ']' : *begin == '`' ? '\'' : *begin)) return false;
      kind = SourceKind::kText;
      break;
    case kSpecial:
      if (*begin == '.' && dot_word()) {
        kind = SourceKind::kWord;
        break;
      }
      if (*begin == '.' && class_of(ahead(1)) == kDigit) {
        number();
        kind = SourceKind::kNumber;
        break;
      }
      [[fallthrough]];
    default:
      sign();
  }
  tokens.push_back({{begin, static_cast<std::size_t>(at_ - begin)}, place_of(begin), kind, gap_});
  if (mode_ == Mode::kDirective && tokens.size() == 2) look_at_directive(tokens);
  return true;
}

void SourceScanner::name() {
  while (at_ < line_end_ && in_name(*at_)) ++at_;
}

// A point before a letter begins a word such as .and.
void SourceScanner::number() {
  while (class_of(ahead(0)) == kDigit) ++at_;
  if (ahead(0) != '.' || class_of(ahead(1)) == kLetter) return;
  ++at_;
  while (class_of(ahead(0)) == kDigit) ++at_;
}

bool SourceScanner::dot_word() {
  const std::string_view rest(at_, static_cast<std::size_t>(line_end_ - at_));
  for (const std::string_view word : kDotWords) {
    if (!same_letters(rest.substr(0, word.size()), word)) continue;
    at_ += word.size();
    return true;
  }
  return false;
}

void SourceScanner::sign() {
  at_ += sign_length(*at_, ahead(1), ahead(2), mode_ == Mode::kRule);
}

bool SourceScanner::quoted(char close) {
  const void* found = std::memchr(at_ + 1, close, static_cast<std::size_t>(line_end_ - at_ - 1));
  if (found != nullptr) {
    at_ = static_cast<const char*>(found) + 1;
    return true;
  }
  give_up(at_, std::string("a text without its closing ") + close);
  return false;
}

// Does the bracket here open a text? Behind a value it is a subscript.
bool SourceScanner::opens_text(const SourceTokens& tokens) const {
  if (mode_ == Mode::kRule) return false;
  if (tokens.empty()) return true;
  const SourceToken& before = tokens.back();
  switch (before.kind) {
    case SourceKind::kSign:
      return !(before.is(")") || before.is("]") || before.is("}") || before.is(".") ||
               before.is("++") || before.is("--"));
    case SourceKind::kWord:
      return before.text.size() > 3;  // .and.
    case SourceKind::kName:
      if (gap_ == SourceGap::kNone) return false;
      if (tokens.size() == 1) return is_word_of(kFirstValueWords, before.text);
      return is_word_of(kValueWords, before.text) ||
             (value_words_ != nullptr && value_words_(context_, before.text));
    default:
      return false;
  }
}

// Behind the name of a directive: rules have their own signs, and the words of an error are no tokens.
void SourceScanner::look_at_directive(SourceTokens& tokens) {
  const std::string name = lower_text(tokens.back().text);
  if (name.ends_with("command") || name.ends_with("translate")) mode_ = Mode::kRule;
  if (name != "error") return;
  while (class_of(ahead(0)) == kBlank) ++at_;
  std::string_view words(at_, static_cast<std::size_t>(line_end_ - at_));
  if (words.ends_with('\r')) words.remove_suffix(1);
  tokens.push_back({words, place_of(at_), SourceKind::kText, SourceGap::kBlanks});
  at_ = line_end_;
}

// Leaves the statement, with all the lines in which it goes on.
void SourceScanner::give_up(const char* place, std::string_view words) {
  if (!quiet_) diagnostics_.error(place_of(place), words);
  for (;;) {
    const char* last = line_end_;
    while (last > at_ && class_of(last[-1]) == kBlank) --last;
    if (last == at_ || last[-1] != ';' || !next_line()) break;
  }
  at_ = line_end_;
}

}  // namespace tarnel
