// Characters of a text as a screen shows them.
#pragma once

#include <string>
#include <string_view>

#include "lib/utf8.h"  // append_utf8

namespace tarnel {

// Reads the characters of a text: UTF-8, or bytes of the customary PC code page where a run of bytes outside
// ASCII is no UTF-8 as a whole, since two neighbours of an old frame often look like a character. One that
// the end of the text cuts spoils only itself. Control characters are the pictures of that page, so a
// result is never one.
class CharacterReader {
 public:
  explicit CharacterReader(std::string_view text) : rest_(text) {}
  bool at_end() const { return rest_.empty(); }
  std::string_view rest() const { return rest_; }
  char32_t next();  // REQUIRES: !at_end()

 private:
  std::string_view rest_;
  std::size_t run_left_ = 0;  // bytes of a run outside ASCII that was looked at
  bool by_page_ = false;      // how they are read
};

std::u32string decode_text(std::string_view text);

// How many columns a character takes: 0 for marks that join the one before, 2 for wide ones, else 1.
int shown_width(char32_t character);
// The columns of a text.
int shown_width(std::string_view text);
// The beginning of a text that fits into a number of columns.
std::string_view fitting(std::string_view text, int columns);

}  // namespace tarnel
