#include "lib/web_texts.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/escapes.h"
#include "lib/url.h"

namespace tarnel {
namespace {

struct Escapes {
  std::size_t (*copy_plain)(char* out, std::string_view text);
  std::int64_t (*growth_in)(std::string_view text);
  void (*fill)(char* out, std::string_view text);
};

// A text with its special bytes replaced, of which most have none.
Var* escaped(std::string_view text, const Escapes& escapes) {
  const auto size = static_cast<std::int64_t>(text.size());
  Var* result = TMP_BUFFER(size);
  if (is_error(result)) return empty_text();
  const std::size_t plain = escapes.copy_plain(result->text, text);
  text.remove_prefix(plain);
  const std::int64_t growth = escapes.growth_in(text);
  if (growth != 0 && is_error(SET_STR(result, result->text, size + growth))) return empty_text();
  if (growth == 0)
    std::copy(text.begin(), text.end(), result->text + plain);
  else
    escapes.fill(result->text + plain, text);
  return result;
}

// The character that a reference at the front of a text stands for, with its length; 0 when it is none of ours.
std::size_t reference(std::string_view text, char& character) {
  for (const HtmlEscape& escape : kHtmlEscapes)
    if (text.starts_with(escape.html)) {
      character = escape.character;
      return escape.html.size();
    }
  constexpr std::string_view kApostrophe = "&apos;";
  if (text.starts_with(kApostrophe)) {
    character = '\'';
    return kApostrophe.size();
  }
  if (!text.starts_with("&#")) return 0;
  const bool hexadecimal = text.size() > 2 && lower_letter(text[2]) == 'x';
  const char* const begin = text.data() + (hexadecimal ? 3 : 2);
  const char* const end = text.data() + text.size();
  unsigned code = 0;
  const auto [at, failure] =
      std::from_chars(std::min(begin, end), end, code, hexadecimal ? 16 : 10);
  if (failure != std::errc() || at == end || *at != ';' || code == 0 || code > 127) return 0;
  character = static_cast<char>(code);
  return static_cast<std::size_t>(at - text.data()) + 1;
}

Var* text_or_empty(std::string_view text) {
  Var* result = TMP_TEXT(text);
  return is_error(result) ? empty_text() : result;
}

std::string decoded(std::string_view text) {
  return decode_url(std::string(text));
}

// May a path stand in a header line as it is?
bool is_header_path(std::string_view path) {
  return std::ranges::none_of(
      path, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f' || c == ';'; });
}

}  // namespace

Var* htmlesc(std::int32_t argc, Var** argv) {
  return escaped(text_argument(argc, argv, 0), {copy_plain_html, growth_in_html, fill_html});
}

Var* htmlunesc(std::int32_t argc, Var** argv) {
  auto text = text_argument(argc, argv, 0);
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t plain = std::min(text.find('&'), text.size());
    result += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    char character = '&';
    const std::size_t length = reference(text, character);
    result += character;
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return text_or_empty(result);
}

Var* urlenc(std::int32_t argc, Var** argv) {
  return escaped(text_argument(argc, argv, 0), {copy_plain_url, growth_in_url, fill_url});
}

Var* urldec(std::int32_t argc, Var** argv) {
  return text_or_empty(decoded(text_argument(argc, argv, 0)));
}

Var* querypairs(std::int32_t argc, Var** argv) {
  auto query = text_argument(argc, argv, 0);
  Var* pairs = cscreara(NEW_TEMP(), 0, kAllNil);
  while (!query.empty() && element_count(pairs) < kMaxElements) {
    const std::size_t end = std::min(query.find('&'), query.size());
    append_pair(pairs, split_pair(decoded(query.substr(0, end))));
    query.remove_prefix(std::min(end + 1, query.size()));
  }
  return pairs;
}

Var* cookiepairs(std::int32_t argc, Var** argv) {
  auto header = text_argument(argc, argv, 0);
  Var* pairs = cscreara(NEW_TEMP(), 0, kAllNil);
  while (!header.empty() && element_count(pairs) < kMaxElements) {
    const std::size_t end = std::min(header.find(';'), header.size());
    NamedValue pair = split_pair(trim_blanks(header.substr(0, end)));
    header.remove_prefix(std::min(end + 1, header.size()));
    if (pair.name.empty()) continue;
    if (pair.value.size() > 1 && pair.value.front() == '"' && pair.value.back() == '"')
      pair.value = pair.value.substr(1, pair.value.size() - 2);
    const std::string name = decoded(pair.name), value = decoded(pair.value);
    append_pair(pairs, {name, value});
  }
  return pairs;
}

Var* cookieset(std::int32_t argc, Var** argv) {
  const auto path = text_argument(argc, argv, 3, "/");
  if (text_argument(argc, argv, 0).empty() || !arg_is(argc, argv, 1, kText)) {
    RT_ERROR(312, "in COOKIESET()");
    return empty_text();
  }
  if (!is_header_path(path)) {
    RT_ERROR(313, "COOKIESET: no path of a cookie");
    return empty_text();
  }
  std::string line = "Set-Cookie: ";
  line.append(text_of(urlenc(1, argv))).append("=").append(text_of(urlenc(1, argv + 1)));
  line.append("; Path=").append(path);
  if (arg_is(argc, argv, 2, kNumeric))
    line.append("; Max-Age=").append(std::to_string(std::max(integer_of(argv[2]), 0)));
  line += "; HttpOnly; SameSite=Lax";
  if (arg_is(argc, argv, 4, kNumeric) && truth_of(argv[4])) line += "; Secure";
  return text_or_empty(line);
}

}  // namespace tarnel
