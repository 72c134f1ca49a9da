// Relations out of a table, as navigation calls them.
#pragma once

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// Moves the child tables to the records that belong to the one under the cursor.
void runRelations(DbfIdx& dbf);
// Gives up all relations, without moving a child.
void clear_relations(DbfIdx& dbf);

}  // namespace tarnel
