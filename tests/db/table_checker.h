// Looks at a table's files on its own, byte by byte, and knows nothing of the engine's code.
#pragma once

#include <string>

namespace tarnel::testing {

// The first thing that is wrong with NAME.dbf and, where it has memos, NAME.dbt; "" when nothing is.
std::string table_fault(const std::string& name);

}  // namespace tarnel::testing
