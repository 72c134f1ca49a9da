// The conditions of a table: its filter, its stored scope, and whatever block an order or a scan runs
// for a record. A block is run with the area of its table selected, and whatever it selects itself is
// undone when it comes back or leaves by break.
#pragma once

#include <cstdint>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// Runs a block in the table's area; a null block gives true. The block may close the table, or drop its
// object: hold what is needed afterwards (KeepObject, SameTable). temps +1
Var* run_in_area(DbfIdx& dbf, Var* block);
// The same for a block that is to say something of the record under the cursor: where it moves the cursor
// that is put back, since it would keep a search or a scan from its end.
Var* value_of_record(DbfIdx& dbf, Var* block);

// What a condition says of the record under the cursor: only numbers and logicals can hold. Failed: its
// expression gave the error value, or the record could not be read and showed blanks; the error was told.
enum class Verdict : std::uint8_t { kNo, kHolds, kFailed };
Verdict judge(DbfIdx& dbf, Var* block);  // a null block holds
inline bool condition_holds(DbfIdx& dbf, Var* block) {
  return judge(dbf, block) == Verdict::kHolds;
}

// The block that an argument stands for, in a temporary: a block itself, or one made of a text. Null for
// anything else and, after an error, for a text that makes no block.
Var* block_of(Var* argument);
// Argument i, NIL when there is none.
inline Var* argument_or_nil(std::int32_t argc, Var** argv, std::int32_t i) {
  return i < argc && argv[i] != nullptr ? argv[i] : nil_value();
}

// Keeps a copy of a value in a slot of the table in place of what is there.
void keep_value(Var** slot, Var* value);
// Releases filter, locate condition, stored scope and the condition of the next order.
void release_conditions(DbfIdx& dbf);

}  // namespace tarnel
