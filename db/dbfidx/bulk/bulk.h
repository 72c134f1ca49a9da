// Operations on whole sets of records. Each gives true when all was done, else false after exactly one
// error; then no file has been changed or made, unless its comment says so, and no temporary one is left.
// REQUIRES for all: the table is open. Blocks may close it, which ends an operation with false.
#pragma once

#include <string_view>

#include "db/dbfidx/bulk/statement_scope.h"
#include "db/dbfidx/dbfidx.h"
#include "db/text/text_format.h"

namespace tarnel {

// What a statement says of its file, its fields and its records.
struct BulkRequest {
  std::string_view file;  // not empty
  Var* fields;            // an array of names, one name, NIL for all
  StatementScope scope;   // when all of it is NIL the stored scope of the table counts
};

// --- Rewriting a table (pack.cpp).
// Both take all records in their natural order, whatever filter, scope and order are in force, and leave
// those as they are. Errors 104, 322, those of reading records and memos; after them the table is as it
// was. When only an order could not be built, the records are packed and the order shows that it differs.
[[nodiscard]] bool pack_table(DbfIdx& dbf);  // drops the deleted records and unused memo blocks
[[nodiscard]] bool zap_table(DbfIdx& dbf);   // drops all records

// --- Copies (copy.cpp). Errors of NewTable, 306 of the list of fields, those of reading records and memos.
// Records of the scope, with their delete marks, as a new table, in place of a former one.
[[nodiscard]] bool copy_table(DbfIdx& dbf, const BulkRequest& request);
[[nodiscard]] bool copy_structure(DbfIdx& dbf, std::string_view file, Var* names);

// Records of the scope in the order of fields, ascending unless told otherwise: an array of "name/ADC",
// for ascending, descending and without regard to case. Numbers are compared by value, texts by the
// collation in force; equal ones keep their turn. 32 bytes of memory a record.
[[nodiscard]] bool sort_table(DbfIdx& dbf, std::string_view file, Var* keys,
                              const StatementScope& scope);
// The first record of each run of records with equal keys (a block or text); the fields named, N or F,
// hold the sums. Memos are left out. Errors also 205, 312.
[[nodiscard]] bool total_table(DbfIdx& dbf, const BulkRequest& request, Var* key);

// --- Two open tables (join.cpp). The other one's cursor comes back.
// Pairs of records for which a condition (a block or text) holds, without memos.
[[nodiscard]] bool join_tables(DbfIdx& dbf, DbfIdx& other, std::string_view file, Var* names,
                               Var* condition);
// Runs a block, under the lock of the record, for each record of the other table whose key is found here:
// by the controlling order (random; error 415 without one), or by walking both, which must ascend by the
// key.
[[nodiscard]] bool update_table(DbfIdx& dbf, DbfIdx& other, Var* key, bool random, Var* block);

// --- Appending (append.cpp). Adds the records of a file's scope, with the fields that both have, or those named,
// and their delete marks. After an error at a record those before it stay; 101, 201, 306 and 325 come
// before the first. The cursor is left on the last record added.
[[nodiscard]] bool append_from(DbfIdx& dbf, const BulkRequest& request);

// --- Texts: a line a record, without memos (text_file.cpp, append.cpp).
// Records of the scope as a text file, in place of a former one. Errors 104, 105, 205 for a text that
// would tear its line, 306, 322 for a file that is open.
[[nodiscard]] bool copy_text(DbfIdx& dbf, const BulkRequest& request, TextFormat format);
// Lines of a text file as records; the fields are those of the table, or those named, in their order.
// Errors as of append_from, and 205 for a number that does not fit, at which it ends.
[[nodiscard]] bool append_text(DbfIdx& dbf, const BulkRequest& request, TextFormat format);

// Brings the record under the cursor into the buffer; false after an error, also for one that can't be
// read.
[[nodiscard]] inline bool fetch_current(DbfIdx& dbf) {
  return dbf.isOpen() && (is_buffered(dbf) || refreshRecord(dbf, true)) && !is_unreadable(dbf);
}

}  // namespace tarnel
