#include "lib/patterns.h"

#include <re2/re2.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

constexpr std::int32_t kMostPieces = 65535;
constexpr int kMostGroups = 100;

re2::StringPiece piece_of(std::string_view text) {
  return {text.data(), text.size()};
}
std::string_view view_of(const re2::StringPiece& piece) {
  return {piece.data(), piece.size()};
}

// The pattern of argument 1 for the text of argument 0; null after an error. It is kept for the next call, since
// loops ask for the same one.
const RE2* pattern_of(std::int32_t argc, Var** argv, const char* function) {
  static std::unique_ptr<RE2> last;
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kText)) {
    RT_ERROR(312, std::string(function) + "(): takes a text and a pattern");
    return nullptr;
  }
  const std::string_view text = text_of(argv[0]), pattern = text_of(argv[1]);
  RE2::Options options(RE2::Quiet);
  if (!is_utf8(pattern) || !is_utf8(text)) options.set_encoding(RE2::Options::EncodingLatin1);
  if (last == nullptr || last->pattern() != pattern ||
      last->options().encoding() != options.encoding())
    last = std::make_unique<RE2>(piece_of(pattern), options);
  if (last->ok() && last->NumberOfCapturingGroups() < kMostGroups) return last.get();
  RT_ERROR(320, std::string(function) + "(): " + (last->ok() ? "too many groups" : last->error()));
  return nullptr;
}

// Appends elements up to the most that an array holds, past which is error 409.
class Pieces {
 public:
  Pieces() { cscreara(array_, 0, kAllNil); }
  bool add(Var* value) {
    if (count_ == kMostPieces) {
      RT_ERROR(409, "more pieces than an array has elements");
      return false;
    }
    cscrearr(array_, ++count_, kKeep, {value});
    return true;
  }
  bool add(std::string_view text) {
    const TempsMark mark;
    return add(TMP_TEXT(text));
  }
  Var* array() const { return array_; }

 private:
  Var* const array_ = NEW_TEMP();
  std::int32_t count_ = 0;
};

// Behind an empty match the next one begins a character further.
std::size_t next_start(std::string_view text, std::size_t end, bool was_empty) {
  if (!was_empty) return end;
  char32_t character = 0;
  const std::size_t length =
      end < text.size() ? utf8_length(text.substr(end), character) : std::size_t{1};
  return end + std::max<std::size_t>(length, 1);
}

}  // namespace

Var* rematch(std::int32_t argc, Var** argv) {
  const RE2* pattern = pattern_of(argc, argv, "REMATCH");
  if (pattern == nullptr) return false_value();
  return logical(RE2::FullMatch(piece_of(text_of(argv[0])), *pattern));
}

Var* refind(std::int32_t argc, Var** argv) {
  const RE2* pattern = pattern_of(argc, argv, "REFIND");
  if (pattern == nullptr) return error_value();
  const std::string_view text = text_of(argv[0]);
  const auto start = static_cast<std::size_t>(std::max(int_argument(argc, argv, 2, 1), 1)) - 1;
  std::vector<re2::StringPiece> groups(
      static_cast<std::size_t>(pattern->NumberOfCapturingGroups()) + 1);
  Pieces found;
  if (start > text.size() || !pattern->Match(piece_of(text), start, text.size(), RE2::UNANCHORED,
                                             groups.data(), static_cast<int>(groups.size())))
    return found.array();
  {
    const TempsMark mark;
    found.add(TMP_INT(static_cast<std::int32_t>(groups[0].data() - text.data()) + 1));
  }
  for (const re2::StringPiece& group : groups) found.add(view_of(group));
  return found.array();
}

Var* rereplace(std::int32_t argc, Var** argv) {
  const RE2* pattern = pattern_of(argc, argv, "REREPLACE");
  if (pattern == nullptr) return error_value();
  std::string text(text_of(argv[0])), reason;
  const std::string_view with = text_argument(argc, argv, 2);
  if (!pattern->CheckRewriteString(piece_of(with), &reason))
    return RT_ERROR(320, "REREPLACE(): " + reason);
  RE2::GlobalReplace(&text, *pattern, piece_of(with));
  return TMP_TEXT(text);
}

Var* resplit(std::int32_t argc, Var** argv) {
  const RE2* pattern = pattern_of(argc, argv, "RESPLIT");
  if (pattern == nullptr) return error_value();
  const std::string_view text = text_of(argv[0]);
  Pieces pieces;
  std::size_t piece = 0;
  re2::StringPiece match;
  for (std::size_t at = 0; at <= text.size() && pattern->Match(piece_of(text), at, text.size(),
                                                               RE2::UNANCHORED, &match, 1);) {
    const auto begin = static_cast<std::size_t>(match.data() - text.data());
    const std::size_t end = begin + match.size();
    at = next_start(text, end, match.empty());
    if (match.empty() && (begin == 0 || begin == text.size())) continue;
    if (!pieces.add(text.substr(piece, begin - piece))) return error_value();
    piece = end;
  }
  return pieces.add(text.substr(piece)) ? pieces.array() : error_value();
}

}  // namespace tarnel
