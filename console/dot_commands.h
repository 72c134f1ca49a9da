// The lines that begin with a dot: commands for people, beside the expressions of the language.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnel {

// A dot, a word and then a blank or the end; .T., .not. and .5 begin expressions.
bool is_dot_line(std::string_view line);
// Runs a command line behind its dot. False when it ends the session.
bool run_dot_line(std::string_view line);

// Does a line hold a command that files or folders can be named to?
bool takes_file(std::string_view line);

// Appends the names of commands that begin with a text, the dot included.
void complete_command(std::string_view beginning, std::vector<std::string>& names);

}  // namespace tarnel
