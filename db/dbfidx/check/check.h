// The check of a table: record file, memo file and orders as they stand on the disk, each against itself
// and against the others.
//
//   findings       the faults that there are, and their lines
//   check_header   header and descriptors        check_records   fields of records, memos
//   check_order    one order against the table   check           opening, and who checks what
//
// The table is opened like any other in shared use, to be read only, so nobody is locked out but who wants
// it alone. Nothing is written. Others may change it meanwhile: records are read without a lock, and what
// looks wrong is looked at again under the internal lock, under which it can't be half done; an order is
// walked some pages at a time under that lock, see check_order.cpp.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "db/dbfidx/check/findings.h"

namespace tarnel {

struct CheckResult {
  std::string name;      // the table's file, without directory
  std::string refused;   // why nothing could be looked at; empty when it was, or
  int system_error = 0;  // the system's number of the reason
  std::int64_t faults = 0;
  std::int32_t records = 0;
  int orders = 0;  // that were looked at
};

// Checks a table, the memo file beside it and its orders: those in the same directory that name it, and
// `orders`, files that are said to be. The name is sought like any table's. `tell` gets the lines. Raises no
// errors; leaves the selection of areas as it is.
CheckResult check_table(std::string_view file, std::span<const std::string> orders,
                        const TellLine& tell);

}  // namespace tarnel
