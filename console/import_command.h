// Tables of texts from outside.
#pragma once

#include <string_view>

namespace tarnel {

// [-append] FILE [TABLE]: makes a table of rows whose columns tell its fields, or adds them to one. The session goes
// on.
bool import_rows(std::string_view arguments);

}  // namespace tarnel
