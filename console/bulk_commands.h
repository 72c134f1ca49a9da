// The dot commands that work on whole tables.
#pragma once

#include <string>
#include <string_view>

namespace tarnel {

// Asks at the terminal; true for "y" or "yes".
bool confirmed(const std::string& question);

// Each gets the rest of its line and answers true: the session goes on.
bool pack_records(std::string_view);
// Asks at a terminal; elsewhere the answer is the argument "!".
bool zap_records(std::string_view sure);
// FILE [FIELDS] [for CONDITION]
bool copy_records(std::string_view arguments);
bool append_records(std::string_view file);

}  // namespace tarnel
