// A table that an operation opens to take records from it, in an area and under an alias of its own, and
// that is closed again on every way out.
#pragma once

#include <string>
#include <string_view>

#include "db/dbfidx/dbfidx.h"

namespace tarnel {

class SourceTable {
 public:
  SourceTable() = default;
  ~SourceTable() noexcept(false);  // a handler of errors may leave by break
  SourceTable(const SourceTable&) = delete;
  SourceTable& operator=(const SourceTable&) = delete;

  // Opens a file shared, to be read only, with the extension that the target's files have. False when it
  // can't be opened, or is the target's own file; nothing is raised.
  [[nodiscard]] bool open(DbfIdx& target, std::string_view file);
  DbfIdx& dbf() { return dbf_of(object_); }

 private:
  Var* object_ = nullptr;  // held
};

}  // namespace tarnel
