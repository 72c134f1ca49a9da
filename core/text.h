// Texts by their bytes: letters of the C locale in two cases, blanks, and the last part of a path. The case tables
// of a language that a program loads are those of lib/national.h.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace tarnel {

constexpr char upper_letter(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char lower_letter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
inline std::string upper_text(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), upper_letter);
  return upper;
}
inline std::string lower_text(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), lower_letter);
  return lower;
}
// Are they the same, whatever the case of their letters?
constexpr bool same_letters(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower_letter(x) == lower_letter(y); });
}

constexpr std::string_view trim_left(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}
constexpr std::string_view trim_right(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}
constexpr std::string_view trim_blanks(std::string_view text) {
  return trim_right(trim_left(text));
}

// What stands behind the last '/'.
constexpr std::string_view base_name(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace tarnel
