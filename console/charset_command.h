// The dot command that tells and chooses the character set of the current table.
#pragma once

#include <string_view>

namespace tarnel {

// [-save] [NAME]; gets the rest of its line and answers true: the session goes on.
bool choose_charset(std::string_view arguments);

}  // namespace tarnel
