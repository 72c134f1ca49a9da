// Rows of texts from outside: CSV, TSV (as .mode writes them), JSON, lines of it or an array.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "console/field_input.h"
#include "lib/delimited_rows.h"

namespace tarnel {

enum class ImportForm : std::uint8_t { kCsv, kTsv, kJson };

class ImportReader {
 public:
  // `text` must last. The first line of CSV and TSV names the columns, and line() and fault() are about it before a row
  // was read; members of objects become columns as they come.
  ImportReader(std::string_view text, ImportForm form);

  const std::vector<std::string>& columns() const { return columns_; }
  // The next row, a value for each column that was met so far; false at the end.
  bool next(std::vector<InputValue>& row);
  // Of the row last read: the line where it begins, from 1, and what is wrong with it, "" when nothing is.
  std::int64_t line() const { return row_line_; }
  const std::string& fault() const { return fault_; }

 private:
  bool take_row(std::vector<InputValue>& row);
  bool next_object(std::vector<InputValue>& row);
  bool find_object();
  bool take_members(JsonReader& json, std::vector<InputValue>& row);
  void skip_object();
  void take_object(std::vector<InputValue>& row);
  std::size_t column(const std::string& name);

  const ImportForm form_;
  DelimitedReader rows_;                       // of CSV and TSV
  LineCursor cursor_;                          // of JSON
  std::int64_t row_line_ = 1, last_line_ = 1;  // of a row, first and last
  bool in_array_ = false;
  std::vector<std::string> columns_;
  std::string fault_;
};

}  // namespace tarnel
