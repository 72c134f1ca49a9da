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

// What a byte becomes.
struct Piece {
  char bytes[7];  // and zeros
  unsigned char length;
};
using Pieces = std::array<Piece, 256>;

struct Escape {
  char character;
  std::string_view html;
};
constexpr Escape kEscapes[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&#39;"}};

// All but the characters that stand for themselves in every part of an address.
constexpr bool acts_in_url(char c) {
  const auto letter = static_cast<unsigned char>((c | 0x20) - 'a');
  const auto digit = static_cast<unsigned char>(c - '0');
  return !((letter < 26) | (digit < 10) | (c == '-') | (c == '.') | (c == '_') | (c == '~'));
}

constexpr Piece piece_of(std::string_view text) {
  Piece piece{{}, static_cast<unsigned char>(text.size())};
  std::copy(text.begin(), text.end(), piece.bytes);
  return piece;
}
constexpr Pieces kPlainPieces = [] {
  Pieces pieces{};
  for (std::size_t byte = 0; byte < pieces.size(); ++byte) {
    const char c = static_cast<char>(byte);
    pieces[byte] = piece_of({&c, 1});
  }
  return pieces;
}();
constexpr Pieces kHtmlPieces = [] {
  Pieces pieces = kPlainPieces;
  for (const Escape& escape : kEscapes)
    pieces[static_cast<unsigned char>(escape.character)] = piece_of(escape.html);
  return pieces;
}();
constexpr Pieces kUrlPieces = [] {
  constexpr char kDigits[] = "0123456789ABCDEF";
  Pieces pieces = kPlainPieces;
  for (std::size_t byte = 0; byte < pieces.size(); ++byte) {
    const char escape[] = {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    if (acts_in_url(static_cast<char>(byte))) pieces[byte] = piece_of({escape, sizeof escape});
  }
  return pieces;
}();

// Long texts are looked at in blocks: which bytes of one are special? The answer for each is all bits or none.
using Block [[gnu::vector_size(16)]] = unsigned char;
using Hits [[gnu::vector_size(16)]] = signed char;
Block all(int byte) {
  return Block{} + static_cast<unsigned char>(byte);
}
Hits hits_in_html(const Block& b) {
  return (b == all('&')) | (b == all('<')) | (b == all('>')) | (b == all('"')) | (b == all('\''));
}
Hits hits_in_url(const Block& b) {
  return ~(((b | all(0x20)) - all('a') < all(26)) | (b - all('0') < all(10)) | (b == all('-')) |
           (b == all('.')) | (b == all('_')) | (b == all('~')));
}

// Calls for each block without a special byte, and for each other one and the rest that makes no block.
template <typename Mixed, typename Plain>
void walk_blocks(std::string_view text, Hits (*hits)(const Block&), Mixed mixed, Plain plain) {
  for (; text.size() >= sizeof(Block); text.remove_prefix(sizeof(Block))) {
    Block block;
    std::memcpy(&block, text.data(), sizeof block);
    const Hits found = hits(block);
    std::uint64_t halves[2];
    std::memcpy(halves, &found, sizeof halves);
    const auto part = text.substr(0, sizeof(Block));
    (halves[0] | halves[1]) != 0 ? mixed(part) : plain(part);
  }
  mixed(text);
}

// Writes a text with its special bytes replaced.
template <Hits (*hits)(const Block&)>
Var* replaced(std::string_view text, const Pieces& pieces) {
  const auto piece = [&pieces](char c) -> const Piece& {
    return pieces[static_cast<unsigned char>(c)];
  };
  std::int64_t length = 0;
  const auto measure = [&](std::string_view part) {
    for (const char c : part) length += piece(c).length;
  };
  walk_blocks(text, hits, measure, [&](std::string_view) { length += sizeof(Block); });
  if (length == static_cast<std::int64_t>(text.size())) return TMP_TEXT(text);  // as most are
  Var* result = TMP_BUFFER(length);
  if (is_error(result)) return empty_text();
  char* out = result->text;
  const char* const end = out + length;
  const auto write = [&](std::string_view part) {
    for (const char c : part) {
      const Piece& p = piece(c);
      if (end - out >= static_cast<std::ptrdiff_t>(sizeof p.bytes))
        std::memcpy(out, p.bytes,
                    sizeof p.bytes);  // more than the piece: one store is faster than a few bytes
      else
        std::memcpy(out, p.bytes, p.length);
      out += p.length;
    }
  };
  walk_blocks(text, hits, write, [&](std::string_view part) {
    std::memcpy(out, part.data(), sizeof(Block));
    out += sizeof(Block);
  });
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
  return replaced<hits_in_html>(text_argument(argc, argv, 0), kHtmlPieces);
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
  return replaced<hits_in_url>(text_argument(argc, argv, 0), kUrlPieces);
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
