// Characters of a text as a screen shows them.
#pragma once

#include <string>
#include <string_view>

#include "lib/character_reader.h"
#include "lib/utf8.h"  // append_utf8

namespace tarnel {

std::u32string decode_text(std::string_view text);

// How many columns a character takes: 0 for marks that join the one before, 2 for wide ones, else 1.
int shown_width(char32_t character);
// The columns of a text.
int shown_width(std::string_view text);
// The beginning of a text that fits into a number of columns.
std::string_view fitting(std::string_view text, int columns);

}  // namespace tarnel
