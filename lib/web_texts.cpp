#include "lib/web_texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/url.h"

namespace tarnel {
namespace {

// Long texts are looked at in blocks, which the compiler does many bytes at a time.
constexpr std::size_t kBlock = 64;

struct Escape {
  char character;
  std::string_view html;
};
constexpr Escape kEscapes[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

constexpr bool acts_in_html(char c) {
  return (c == '&') | (c == '<') | (c == '>') | (c == '"') | (c == '\'');
}

// The characters that stand for themselves in every part of an address.
constexpr bool stands_in_url(char c) {
  const auto letter = static_cast<unsigned char>((c | 0x20) - 'a');
  const auto digit = static_cast<unsigned char>(c - '0');
  return (letter < 26) | (digit < 10) | (c == '-') | (c == '.') | (c == '_') | (c == '~');
}

char* append(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* append_html(char* out, char c) {
  for (const Escape& escape : kEscapes)
    if (escape.character == c) return append(out, escape.html);
  *out = c;
  return out + 1;
}

char* append_url(char* out, char c) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  if (stands_in_url(c)) {
    *out = c;
    return out + 1;
  }
  const auto byte = static_cast<unsigned char>(c);
  const char escape[] = {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
  return append(out, {escape, sizeof escape});
}

// Writes a text with its special characters replaced. Blocks without any are copied as they are.
template <typename Special, typename Append>
Var* replaced(std::string_view text, Special special, Append append_one) {
  std::array<char, 8> one{};
  std::int64_t length = 0;
  for (std::size_t at = 0; at < text.size(); at += kBlock) {
    const std::string_view block = text.substr(at, kBlock);
    unsigned count = 0;
    for (const char c : block) count += special(c) ? 1 : 0;
    length += static_cast<std::int64_t>(block.size());
    if (count == 0) continue;
    for (const char c : block)
      if (special(c)) length += append_one(one.data(), c) - one.data() - 1;
  }
  Var* result = TMP_BUFFER(length);
  if (is_error(result)) return empty_text();
  char* out = result->text;
  for (std::size_t at = 0; at < text.size(); at += kBlock) {
    const std::string_view block = text.substr(at, kBlock);
    unsigned count = 0;
    for (const char c : block) count += special(c) ? 1 : 0;
    if (count == 0)
      out = append(out, block);
    else
      for (const char c : block) out = append_one(out, c);
  }
  return result;
}

// The character that a reference at the front of a text stands for, with its length; 0 when it is none of ours.
std::size_t reference(std::string_view text, char& character) {
  for (const Escape& escape : kEscapes)
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
  return replaced(text_argument(argc, argv, 0), acts_in_html, append_html);
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
  return replaced(
      text_argument(argc, argv, 0), [](char c) { return !stands_in_url(c); }, append_url);
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
