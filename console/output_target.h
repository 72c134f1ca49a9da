// Where the console's output goes: to descriptor 1, which may be led to a file or a command for a while.
#pragma once

#include <string_view>

namespace tarnel {

// [FILE|"|command"]; without one output goes where it went at the start. Both answer true: the session goes on.
bool output_command(std::string_view target);
bool once_command(std::string_view target);  // for the next line alone
// To be called behind each line that ran.
void end_of_line();
// Leads output back, and waits for a command.
void end_output();
// From now on what a terminal gets holds no control bytes.
void guard_terminal();

}  // namespace tarnel
