#include "lib/word_functions.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/national.h"
#include "lib/strings_search.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

// A set of bytes.
class Bytes {
 public:
  explicit Bytes(std::string_view characters) {
    for (const char c : characters) in_[static_cast<unsigned char>(c)] = true;
  }
  bool has(char c) const { return in_[static_cast<unsigned char>(c)]; }

 private:
  bool in_[256] = {};
};

// The text without the bytes of a set, or with them alone.
Var* filtered(std::int32_t argc, Var** argv, bool keep) {
  const Bytes set(text_argument(argc, argv, 0));
  const auto text = text_argument(argc, argv, 1);
  std::string result;
  result.reserve(text.size());
  for (const char c : text)
    if (set.has(c) == keep) result += c;
  return TMP_TEXT(result);
}

// What parts words unless the call says so. No bytes above 127: they may belong to letters.
Bytes delimiters(std::int32_t argc, Var** argv) {
  static constexpr char kUsual[] = "\0\t\n\r\x1a ,.;:!?/\\<>()^#&%+-*";
  const auto given = text_argument(argc, argv, 1);
  return Bytes(given.empty() ? std::string_view(kUsual, sizeof kUsual - 1) : given);
}

// Takes the next word off the front of a text; empty when there is none.
std::string_view next_word(std::string_view& text, const Bytes& delimiters) {
  const auto parts = [&](char c) { return delimiters.has(c); };
  const auto begin = std::find_if_not(text.begin(), text.end(), parts);
  const auto end = std::find_if(begin, text.end(), parts);
  const std::string_view word(begin, end);
  text = {end, text.end()};
  return word;
}

// The digit of a letter in a sound code; '0' for vowels, which part equal digits, and '-' for H and W, which don't.
char sound_of(char letter) {
  constexpr std::string_view kSounds = "0123012-02245501262301-202";
  static_assert(kSounds.size() == 26);
  const char capital = upper_letter(letter);
  return capital >= 'A' && capital <= 'Z' ? kSounds[static_cast<std::size_t>(capital - 'A')] : '0';
}

bool is_ascii_letter(char c) {
  return upper_letter(c) >= 'A' && upper_letter(c) <= 'Z';
}

}  // namespace

Var* charonly(std::int32_t argc, Var** argv) {
  return filtered(argc, argv, true);
}
Var* charrem(std::int32_t argc, Var** argv) {
  return filtered(argc, argv, false);
}

Var* split(std::int32_t argc, Var** argv) {
  const auto text = text_argument(argc, argv, 0), separator = text_argument(argc, argv, 1, " ");
  std::vector<std::string_view> parts;
  std::size_t begin = 0;
  for (std::size_t at; (at = find_text(text, separator, begin)) != text.npos;
       begin = at + separator.size())
    parts.push_back(text.substr(begin, at - begin));
  parts.push_back(text.substr(begin));
  Var* result = NEW_TEMP();
  if (parts.size() > static_cast<std::size_t>(kMaxElements)) {
    RT_ERROR(409, "SPLIT: too many parts");
    return nil_value();
  }
  cscreara(result, static_cast<std::int32_t>(parts.size()), kAllNil);
  for (std::size_t i = 0; i < parts.size(); ++i)
    SET_STR(element(result, static_cast<std::int32_t>(i) + 1), parts[i]);
  return result;
}

Var* join(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A")) return empty_text();
  const auto separator = text_argument(argc, argv, 1, " ");
  std::string text;
  NumberBuffer buffer;
  for (std::int32_t i = 1; i <= element_count(argv[0]); ++i) {
    const Var* value = element(argv[0], i);
    if (i > 1) text += separator;
    text += is_text(value) ? text_of(value) : trim_blanks(varToText(value, buffer));
    if (text.size() > static_cast<std::size_t>(kMaxTextLength)) break;  // TMP_TEXT complains
  }
  Var* result = TMP_TEXT(text);
  return is_error(result) ? empty_text() : result;
}

Var* proper(std::int32_t argc, Var** argv) {
  Var* result = TMP_TEXT(text_argument(argc, argv, 0));
  if (is_error(result)) return empty_text();
  char* const text = result->text;
  const std::size_t size = text_of(result).size();
  lower_bytes(text, size);
  bool inside = false;
  for (std::size_t i = 0; i < size; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const bool letter = has_class(c, kLetter);
    if (letter && !inside) text[i] = to_upper(text[i]);
    inside = letter || has_class(c, kDigit);
  }
  return result;
}

Var* token(std::int32_t argc, Var** argv) {
  const Bytes parting = delimiters(argc, argv);
  const std::int32_t which = int_argument(argc, argv, 2, 0);
  std::string_view rest = text_argument(argc, argv, 0), last;
  std::int32_t n = 0;
  if (which < 0) return empty_text();
  for (;;) {
    const std::string_view word = next_word(rest, parting);
    if (word.empty()) return which == 0 ? TMP_TEXT(last) : empty_text();
    if (++n == which) return TMP_TEXT(word);
    last = word;
  }
}

Var* numtoken(std::int32_t argc, Var** argv) {
  const Bytes parting = delimiters(argc, argv);
  std::string_view rest = text_argument(argc, argv, 0);
  std::int32_t n = 0;
  while (!next_word(rest, parting).empty()) ++n;
  return TMP_INT(n);
}

Var* soundex(std::int32_t argc, Var** argv) {
  constexpr std::size_t kLength = 4;
  std::string code;
  char former = '0';
  for (const char c : text_argument(argc, argv, 0)) {
    if (!is_ascii_letter(c)) continue;
    const char sound = sound_of(c);
    if (code.empty())
      code += upper_letter(c);
    else if (sound > '0' && sound != former)
      code += sound;
    if (sound != '-') former = sound;
    if (code.size() == kLength) break;
  }
  code.resize(kLength, '0');
  return TMP_TEXT(code);
}

}  // namespace tarnel
