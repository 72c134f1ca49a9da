#include "lib/utf8_functions.h"

#include <utf8proc.h>

#include <algorithm>
#include <string>

#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/code_pages.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

constexpr std::int64_t kMostColumns = 65535;

// The bytes of the first character, or the one that belongs to none. REQUIRES: a text that isn't empty.
std::size_t first_length(std::string_view text, char32_t& character) {
  const std::size_t length = utf8_length(text, character);
  if (length == 0) character = U'\uFFFD';
  return std::max<std::size_t>(length, 1);
}

// The bytes of so many characters from the beginning, or of all.
std::size_t bytes_of(std::string_view text, std::int64_t count) {
  std::size_t at = 0;
  char32_t character = 0;
  for (; count > 0 && at < text.size(); --count) at += first_length(text.substr(at), character);
  return at;
}

std::int64_t characters_of(std::string_view text) {
  std::int64_t count = 0;
  char32_t character = 0;
  for (std::size_t at = 0; at < text.size(); ++count)
    at += first_length(text.substr(at), character);
  return count;
}

Var* mapped(std::int32_t argc, Var** argv, utf8proc_int32_t (*map)(utf8proc_int32_t)) {
  std::string_view text = text_argument(argc, argv, 0);
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    char32_t character = 0;
    const std::size_t length = utf8_length(text, character);
    if (length == 0)
      result += text[0];
    else
      append_utf8(result, static_cast<char32_t>(map(static_cast<utf8proc_int32_t>(character))));
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return TMP_TEXT(result);
}

// A text through a conversion with the set of argument 1; error 320 for one that isn't known.
Var* converted(std::int32_t argc, Var** argv, const char* function,
               Unconverted (*convert)(std::string& out, std::string_view text, CodePage page)) {
  const auto page = code_page_named(text_argument(argc, argv, 1));
  if (!page)
    return RT_ERROR(320, std::string(function) + "(): the character sets are " + code_page_names());
  std::string result;
  static_cast<void>(
      convert(result, text_argument(argc, argv, 0), *page));  // marks stand for the rest
  return TMP_TEXT(result);
}

}  // namespace

Var* toutf8(std::int32_t argc, Var** argv) {
  return converted(argc, argv, "TOUTF8", to_utf8);
}
Var* fromutf8(std::int32_t argc, Var** argv) {
  return converted(argc, argv, "FROMUTF8", from_utf8);
}

Var* utf8len(std::int32_t argc, Var** argv) {
  return TMP_INT(static_cast<std::int32_t>(characters_of(text_argument(argc, argv, 0))));
}

Var* utf8left(std::int32_t argc, Var** argv) {
  const std::string_view text = text_argument(argc, argv, 0);
  return TMP_TEXT(text.substr(0, bytes_of(text, int_argument(argc, argv, 1, 0))));
}

Var* utf8substr(std::int32_t argc, Var** argv) {
  std::string_view text = text_argument(argc, argv, 0);
  std::int64_t start = int_argument(argc, argv, 1, 1);
  if (start < 0) start = std::max<std::int64_t>(characters_of(text) + start, 0) + 1;
  text.remove_prefix(bytes_of(text, start - 1));
  return TMP_TEXT(
      arg_is(argc, argv, 2, kNumeric) ? text.substr(0, bytes_of(text, integer_of(argv[2]))) : text);
}

// Columns are those of a terminal: wide characters take two, marks on another one none.
Var* utf8pad(std::int32_t argc, Var** argv) {
  const std::string_view text = text_argument(argc, argv, 0);
  const std::int64_t wanted = int_argument(argc, argv, 1, 0), columns = std::abs(wanted);
  if (columns > kMostColumns) return RT_ERROR(319, "UTF8PAD(): too many columns");
  std::size_t end = 0;
  std::int64_t used = 0;
  while (end < text.size()) {
    char32_t character = 0;
    const std::size_t length = first_length(text.substr(end), character);
    const int width = utf8proc_charwidth(static_cast<utf8proc_int32_t>(character));
    if (used + width > columns) break;
    used += width;
    end += length;
  }
  const std::string blanks(static_cast<std::size_t>(columns - used), ' ');
  const std::string kept(text.substr(0, end));
  return TMP_TEXT(wanted < 0 ? blanks + kept : kept + blanks);
}

Var* utf8upper(std::int32_t argc, Var** argv) {
  return mapped(argc, argv, utf8proc_toupper);
}
Var* utf8lower(std::int32_t argc, Var** argv) {
  return mapped(argc, argv, utf8proc_tolower);
}

}  // namespace tarnel
