// The dot commands that look after the files of tables.
#pragma once

#include <string_view>

namespace tarnel {

// Checks tables with their memo files and orders: the named ones, or those that are open. A line for each
// fault, then what became of each table. An order that is named goes with the table before it. Answers true:
// the session goes on.
bool check_files(std::string_view files);
// FILE [!]: mends a table in which a check finds damage, once it was told what would become of it and agreed to;
// where nobody can be asked the "!" agrees.
bool repair_file(std::string_view arguments);
// Who holds which locks on the open tables.
bool list_locks(std::string_view);
// Tries in a directory whether its file system keeps the locks that tables need.
bool test_directory_locks(std::string_view directory);

}  // namespace tarnel
