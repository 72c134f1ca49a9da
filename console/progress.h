// The progress of long work, shown on standard error at a terminal.
#pragma once

#include <string_view>

namespace tarnel {

// Shows a line with rate and time left for work that takes longer than a moment; nothing when
// standard error is no terminal.
void show_progress();

// What stands before further text on the terminal: nothing, or what takes the line of the progress away. That comes
// again when nothing was written for a moment, and never behind a line without its end.
std::string_view give_way_to(std::string_view text);

}  // namespace tarnel
