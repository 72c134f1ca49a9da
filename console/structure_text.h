// The structure of a table as `.create` takes it: NAME TYPE [LENGTH [DECIMALS]], ...
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/var.h"
#include "db/dbfidx/format/format_dbf.h"

namespace tarnel {

// "C 10", "N 6 2", "D"
std::string type_text(const dbf::Field& field);
// The fields with what parts them.
std::string structure_text(const std::vector<dbf::Field>& fields, std::string_view between = ", ");
// Such a text as the rows of a structure, an array; null for one that is none, or that has a fault: then that gets the
// words. With `former` "was NAME" may stand behind a field: it gets the name of that for each, or that of the field
// itself. temps +1
Var* structure_of(std::string_view text, std::string& fault,
                  std::vector<std::string>* former = nullptr);

}  // namespace tarnel
