// What the file of an order says of its agreement with the table, and what stands behind that.
//
// The file holds the change counter that the table had when the two last agreed. Invariant: whenever a
// process may die, the counter in the file is the table's own only if every record has its key in the
// file. So a change of keys is bracketed: the table's counter moves in its file before the record is
// written, the order's when the keys are in place.
//
//   agrees    the counter in the file is the table's. In use by others it falls behind during a change;
//             in exclusive use, where pages wait in memory, the mark stands there until all is written.
//   unknown   the file says 0, nobody knows. A change leaves it so, with the mark in the file meanwhile.
//   differs   something was missed. The mark stands in the file, and only a build ends it: no change
//             writes it over.
//
// The mark is a counter of 1. A table has that before its first change and never again, since a counter
// that comes round steps over 0 and 1; an ordinary one would agree again after 254 changes. For the
// table that still has 1 another number stands in, until the change that is under way has counted.
//
// An order held alone on a table that others change can't be followed by those: it agrees only while
// the counter is the one that this process itself left.
#pragma once

#include <cstdint>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

enum class Agreement : std::uint8_t { kAgrees, kUnknown, kDiffers };

// What an order knows of it; changed only in agreement.cpp.
struct AgreementState {
  Agreement agreement = Agreement::kAgrees;
  int stored = -1;           // the counter in the file as last read or written, -1 not known
  std::uint8_t counter = 0;  // held alone: the table's when this process last looked or changed it
  int changes = 0;           // brackets under way
  bool unwritten = false;    // a page of the change under way could not be written
};

// A counter that a table with this one will not have before it is counted on.
std::uint8_t difference_mark(std::uint8_t table_counter);

// Looks how things stand. REQUIRES: the internal lock is held and the header was read under it.
Agreement look_at_agreement(DbfIdx& dbf, IndexControl& index);
// An order just opened, under the same lock. `stored` is the counter in its file.
void begin_agreement(DbfIdx& dbf, IndexControl& index, std::uint8_t stored);
// The keys are not those of the records: so it stays, until a build.
void set_different(IndexControl& index);
// The same for a page that could not be written, by which the change under way fails.
void set_unwritten(IndexControl& index);

// Around a build, under one internal lock: the file says that it differs until it is all written.
// False after error 104.
[[nodiscard]] bool begin_build(DbfIdx& dbf, IndexControl& index);
[[nodiscard]] bool end_build(DbfIdx& dbf, IndexControl& index);

// Writes all that is in memory in exclusive use, and whether the order agrees. False after an error.
[[nodiscard]] bool flush_index(DbfIdx& dbf, IndexControl& index);
// The same for an order that is about to be closed; one that others use gets the mark if it differs.
void leave_index(DbfIdx& dbf, IndexControl& index);

// What is wrong with an order beside the table, kIndexGood when nothing. REQUIRES: as
// look_at_agreement
IndexState check_index(DbfIdx& dbf, IndexControl& index);

}  // namespace tarnel
