// UTF-8, character by character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnel {

// The bytes of the character that a text begins with, 0 when it begins with none: only shortest forms count, and
// no halves of surrogate pairs. REQUIRES: a text that isn't empty.
std::size_t utf8_length(std::string_view text, char32_t& character);

// Is all of a text UTF-8?
bool is_utf8(std::string_view text);

// Appends a character. REQUIRES: one of Unicode.
void append_utf8(std::string& text, char32_t character);

// How many bytes at the beginning of a text are ASCII.
std::size_t ascii_length(std::string_view text);
inline bool is_ascii(std::string_view text) {
  return ascii_length(text) == text.size();
}

}  // namespace tarnel
