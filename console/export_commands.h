// The dot commands that take tables out of their files, and make them of what was taken out.
#pragma once

#include <string_view>

namespace tarnel {

// Each gets the rest of its line and answers true: the session goes on.
bool export_records(std::string_view arguments);  // FILE [FIELDS] [for EXPR] [while EXPR]
bool dump_table(std::string_view alias);
bool show_schema(std::string_view alias);
bool create_command(std::string_view arguments);  // FILE NAME TYPE [LENGTH [DECIMALS]], ...
bool add_row(std::string_view values);            // [-d] [VALUE, ...]

}  // namespace tarnel
