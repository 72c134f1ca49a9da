// A table with other fields in the place of an open one. It is written beside it, as a pack does, and takes its place
// when it is whole and on the disk: until then, and whatever goes wrong on the way, the former one is there untouched.
//
//   Restructure next(dbf, fields);
//   if (!next.begin()) ...
//   for each record: fill next.blank_record(), next.add_memo(), next.add()
//   if (!next.finish()) ...
//
// Its errors are told of the open table.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "db/dbfidx/bulk/table_writer.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {

class Restructure {
 public:
  // REQUIRES: the table is open, exclusively and to write.
  Restructure(DbfIdx& dbf, std::vector<dbf::Field> fields);

  // False after errors 104, 105 and 320. A memo file that would be made must not be there yet.
  [[nodiscard]] bool begin();
  // The fields with their places.
  const std::vector<dbf::Field>& fields() const { return fields_; }
  std::uint8_t* blank_record();
  [[nodiscard]] bool add();
  // The block of a text, -1 after error 104. REQUIRES: there are memo fields.
  std::int64_t add_memo(std::string_view text);
  // The former table is closed, and its orders lack what happened. False after error 104; when it could not be taken
  // back, the former table is closed too, and the next open finishes the work.
  [[nodiscard]] bool finish();

 private:
  bool unwritable();

  DbfIdx& dbf_;
  std::vector<dbf::Field> fields_;
  std::vector<std::uint8_t> record_;
  const bool memo_, had_memo_;
  const std::string memo_path_;
  TableWriter writer_;
  TableHeader next_;
};

}  // namespace tarnel
