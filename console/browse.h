// The browser of tables on a screen.
#pragma once

#include <string_view>

namespace tarnel {

// Shows the current table and lets the user look through it and change it: "[FIELDS] [ro]". Without a terminal
// a complaint. Answers true: the session goes on.
bool browse(std::string_view arguments);

}  // namespace tarnel
