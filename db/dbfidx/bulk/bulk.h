// Operations on whole sets of records. Each gives true when all was done, else false after exactly one error;
// then no file has been changed or made, unless its comment says so, and no temporary one is left.
#pragma once

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// --- Rewriting a table (pack.cpp). REQUIRES: it is open.
// Both take all records in their natural order, whatever filter, scope and order are in force, and leave those
// as they are. Errors 104, 322, those of reading records and memos; after them the table is as it was. When
// only an order could not be built, the records are packed and the order shows that it differs.
[[nodiscard]] bool pack_table(DbfIdx& dbf);  // drops the deleted records and unused memo blocks
[[nodiscard]] bool zap_table(DbfIdx& dbf);   // drops all records

}  // namespace tarnel
