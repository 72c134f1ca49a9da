// The tokens of program files, as directives and rules see them.
#pragma once

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

}  // namespace tarnel
