// The contents of fields, and other texts, for a person. Dates are as SET DATE has them, logicals T and F.
#pragma once

#include <string>
#include <string_view>

#include "lib/cell_text.h"

namespace tarnel {

// A cell in one line: UTF-8 without control characters.
std::string shown_cell(const RowCell& cell);
// The same with its line feeds.
std::string shown_lines(const RowCell& cell);
// Any text as a terminal may get it: line feeds, returns, tabs and bells act, other control characters and what is
// no UTF-8 become characters of the PC code page.
std::string terminal_text(std::string_view text);

}  // namespace tarnel
