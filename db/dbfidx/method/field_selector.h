// Which fields an operation over many records is about.
#pragma once

#include <cstdint>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {

struct FieldSelector {
  std::vector<std::int32_t> numbers;  // from 0
  bool several = false;               // given as an array
};

// Reads a field given by number or name, or an array of such. False after error 312, or, for a field that
// the table doesn't have, `no_field`.
[[nodiscard]] bool read_fields(DbfIdx& dbf, const Var* argument, TableError no_field,
                               FieldSelector& fields);

}  // namespace tarnel
