// What of a cell a terminal can show.
#pragma once

#define NCURSES_WIDECHAR 1
#include <curses.h>

#include "term/screen.h"

namespace tarnel {

// Sets up the colours of the terminal, and asks what characters it has. To be called behind newterm().
void init_cell_painting();
bool terminal_has_colours();

// The screen library's form of a cell with a character. The user's locale is in force.
cchar_t painted(const Cell& cell);

}  // namespace tarnel
