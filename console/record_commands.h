// The dot commands that count and change records.
#pragma once

#include <string_view>

namespace tarnel {

// Each gets the rest of its line and answers true: the session goes on.
bool count_records(std::string_view conditions);  // [for EXPR] [while EXPR]
bool sum_records(std::string_view arguments);     // EXPR [for EXPR] [while EXPR]
bool edit_record(std::string_view arguments);     // N FIELD := EXPR
bool show_value(std::string_view expression);

}  // namespace tarnel
