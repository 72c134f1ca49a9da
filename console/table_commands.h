// The dot commands that look at open tables, and the completion of their names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/var.h"

namespace tarnel {

// Each gets the rest of its line and answers true: the session goes on.
bool list_tables(std::string_view);
bool list_orders(std::string_view);
bool list_structure(std::string_view file);  // of the current table, or of a file
// Sets the filter of the current table; without a condition it is cleared.
bool set_filter(std::string_view condition);

// The driver of the current table; null after a complaint.
Var* server_or_complaint();
// Writes what hides records or moves with them: filter and relations, and the stored scope if wanted.
void write_aspects(Var* server, bool with_scope);

// From now on a line on standard error tells of each order that lacks changes of its table, when it is
// opened or chosen.
void tell_of_orders();

// Appends the aliases of open tables, with "->", and the fields of the current one that begin with
// a text in any case; behind "alias->" those of that table.
void complete_table_name(std::string_view beginning, std::vector<std::string>& names);

}  // namespace tarnel
