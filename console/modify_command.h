// The dot command that gives a table other fields.
#pragma once

#include <string_view>

namespace tarnel {

// [TABLE] [from SCRIPT] [!]; gets the rest of its line and answers true: the session goes on.
bool modify_table(std::string_view arguments);

}  // namespace tarnel
