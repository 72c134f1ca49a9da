// The repair of a damaged table. All is written anew beside it, as a pack does, and takes its place when it is
// whole and on the disk: until then, and whatever goes wrong on the way, the former files are there untouched.
//
//   header    made of the fields, with the end mark, the sizes and the memo bit that they ask for
//   records   as many whole ones as the file holds, as they are; what is no delete mark becomes a blank
//   memos     each copied into blocks of its own; one that can't be read becomes empty
//   leftovers of processes that were killed, in its directory, go
//   orders    built anew by the key and condition in their headers
//
// Values that are none of their field's type stay: nobody knows what they should be.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "db/dbfidx/check/findings.h"

namespace tarnel {

class TableRepair {
 public:
  // `tell` gets a line for each thing that a repair would change.
  TableRepair(std::string_view file, TellLine tell);
  ~TableRepair() noexcept(false);
  TableRepair(const TableRepair&) = delete;
  TableRepair& operator=(const TableRepair&) = delete;

  // Takes the table alone and tells what would be done. False when nothing can be.
  [[nodiscard]] bool plan();
  // Does it. False when the table stayed as it was.
  [[nodiscard]] bool run();

  // The table's file, without directory, and what was in the way.
  const std::string& name() const;
  const std::string& fault() const;
  int system_error() const;  // the system's number of it, 0 none

 private:
  class Work;
  const std::unique_ptr<Work> work_;
};

}  // namespace tarnel
