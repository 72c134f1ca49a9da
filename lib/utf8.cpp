#include "lib/utf8.h"

#include <cassert>
#include <cstdint>
#include <cstring>

namespace tarnel {

std::size_t utf8_length(std::string_view text, char32_t& c) {
  assert(!text.empty());
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(0);
  c = first;
  if (first < 0x80) return 1;
  const std::size_t n = first >= 0xf0 && first < 0xf8   ? 4
                        : first >= 0xe0 && first < 0xf0 ? 3
                        : first >= 0xc2 && first < 0xe0 ? 2
                                                        : 0;
  if (n == 0 || text.size() < n) return 0;
  c = first & (0xffu >> (n + 1));
  for (std::size_t i = 1; i < n; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
    c = c << 6 | (byte(i) & 0x3fu);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  return c < kLeast[n] || c > 0x10ffff || (c >= 0xd800 && c < 0xe000) ? 0 : n;
}

void append_utf8(std::string& text, char32_t c) {
  assert(c <= 0x10ffff);
  const auto put = [&](char32_t byte) { text += static_cast<char>(byte); };
  if (c < 0x80) return put(c);
  if (c < 0x800) {
    put(0xc0 | c >> 6);
  } else {
    if (c < 0x10000) {
      put(0xe0 | c >> 12);
    } else {
      put(0xf0 | c >> 18);
      put(0x80 | (c >> 12 & 0x3f));
    }
    put(0x80 | (c >> 6 & 0x3f));
  }
  put(0x80 | (c & 0x3f));
}

bool is_utf8(std::string_view text) {
  for (text.remove_prefix(ascii_length(text)); !text.empty();) {
    char32_t character = 0;
    const std::size_t length = utf8_length(text, character);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::size_t ascii_length(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t at = 0;
  for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  while (at < text.size() && (text[at] & 0x80) == 0) ++at;
  return at;
}

}  // namespace tarnel
