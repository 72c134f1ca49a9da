// The screen on a terminal. Who opens it owns the terminal until it is closed: line modes, alternate screen,
// the signals of terminals and the box that asks about an interrupt.
#pragma once

#include <string>

namespace tarnel {

// Opens the screen on standard output and input, or on the controlling terminal in the place of one that is no
// terminal. Result: empty, or why there is no screen; nothing was written then. REQUIRES: !screen_open().
[[nodiscard]] std::string open_terminal();
// Gives the terminal back as it was found. May be called at any time and more than once, also while another
// call has not come to its end: each step begins once.
void close_terminal();

}  // namespace tarnel
