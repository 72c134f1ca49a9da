// Text files on either side of an operation on a table.
#pragma once

#include <string_view>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "db/text/text_table.h"

namespace tarnel {

// The fields of a table that go into a text and come out of one, with their places in the table's record: those that
// a list of names selects, but no memos. False after error 306.
[[nodiscard]] bool read_text_fields(DbfIdx& dbf, Var* names, const char* operation,
                                    std::vector<dbf::Field>& fields);

// A text that an operation reads, in an area and under an alias of its own, and that is closed on every way out.
class TextInput {
 public:
  TextInput() = default;
  ~TextInput();
  TextInput(const TextInput&) = delete;
  TextInput& operator=(const TextInput&) = delete;

  // False after error 101, also for the table's own file.
  [[nodiscard]] bool open(DbfIdx& target, std::string_view file, const char* operation,
                          std::vector<dbf::Field> fields, TextFormat format, TextScope scope);
  TextTable& table();

 private:
  Var* object_ = nullptr;  // held
};

}  // namespace tarnel
