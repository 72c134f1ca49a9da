// The tokens of program files, as directives and rules see them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/text.h"
#include "lang/place.h"

namespace tarnel {

enum class SourceKind : std::uint8_t {
  kName,
  kNumber,
  kText,  // with its quotes or brackets
  kWord,  // .t. .and.
  kSign,
};

enum class SourceGap : std::uint8_t {
  kNone,
  kBlanks,
  kBreak,  // a comment or the end of a line that goes on
};

struct SourceToken {
  std::string_view text;  // of a file, a rule, or what a rule made
  Place place;
  SourceKind kind = SourceKind::kSign;
  SourceGap gap = SourceGap::kNone;  // before it
  std::uint16_t depth = 0;           // of constants that became it
  bool made = false;                 // by a rule, so that each of its bytes stands at the place

  bool is(std::string_view sign) const { return text == sign; }
  bool is_name() const { return kind == SourceKind::kName; }
};
using SourceTokens = std::vector<SourceToken>;

constexpr std::size_t kShortestWord =
    4;  // letters to which words of statements and rules may be cut

// Is `written` the word, whole or cut to four letters and more, in any case?
constexpr bool is_cut_word(std::string_view written, std::string_view word) {
  return written.size() >= std::min(kShortestWord, word.size()) && written.size() <= word.size() &&
         same_letters(written, word.substr(0, written.size()));
}

// The first letters in one number: equal for a word and what it may be cut to.
constexpr std::uint32_t word_key(std::string_view word) {
  std::uint32_t key = 0;
  for (const char c : word.substr(0, kShortestWord))
    key = key << 8 | static_cast<unsigned char>(lower_letter(c));
  return key;
}

// The byte behind a token; of one that a rule made where it stands.
Place place_behind(const SourceToken& token);

// A sign that stands behind an argument.
constexpr bool ends_argument(std::string_view sign) {
  return sign == ")" || sign == "]" || sign == "}" || sign == ",";
}

// 1 for a bracket that opens, -1 for one that closes.
int nesting(const SourceToken& token);

// Where the bracket that opens at `at` is closed, one past the end of the tokens when it isn't.
std::size_t closing_bracket(std::span<const SourceToken> tokens, std::size_t at);

// What stands between commas that are in no brackets; one empty part when there are no tokens.
std::vector<std::span<const SourceToken>> comma_parts(std::span<const SourceToken> tokens);

// The tokens with one blank for each gap.
std::string tokens_text(std::span<const SourceToken> tokens);

// Appends tokens whatever pieces of source they come from.
void add_tokens(PlacedText& statement, std::span<const SourceToken> tokens);

}  // namespace tarnel
