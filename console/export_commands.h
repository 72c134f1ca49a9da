// The dot commands that take tables out of their files, and make them of what was taken out.
#pragma once

#include <string_view>

#include "lib/code_pages.h"

namespace tarnel {

// Each gets the rest of its line and answers true: the session goes on.
// [-charset NAME] FILE [FIELDS] [for EXPR] [while EXPR]
bool export_records(std::string_view arguments);
bool dump_table(std::string_view alias);
bool show_schema(std::string_view alias);
bool create_command(std::string_view arguments);  // FILE NAME TYPE [LENGTH [DECIMALS]], ...
bool add_row(std::string_view values);            // [-d] [VALUE, ...]

// Takes "-charset NAME" off a line, if it begins with that. False after a complaint.
[[nodiscard]] bool take_charset(std::string_view& line, CodePage& page);

}  // namespace tarnel
