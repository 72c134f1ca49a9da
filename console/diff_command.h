// The dot command that tells in what two tables differ.
#pragma once

#include <string_view>

namespace tarnel {

// TABLE1 TABLE2 [KEY]; gets the rest of its line and answers true: the session goes on.
bool diff_tables(std::string_view arguments);

}  // namespace tarnel
