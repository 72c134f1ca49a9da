// Rows of cells as text in the modes that `.mode` knows: their names, and the formatter of those that programs read.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lib/byte_buffer.h"
#include "lib/cell_text.h"

namespace tarnel {

enum class RowMode : std::uint8_t {
  kTable,
  kBox,
  kLine,
  kCsv,
  kTsv,
  kJson,
  kJsonl,
  kMarkdown,
  kHtml,
  kInsert,
};
// The mode of a name, which is also the extension of its files (and "md", "sql"). False for others.
[[nodiscard]] bool find_mode(std::string_view name, RowMode& mode);
std::string_view mode_name(RowMode mode);
// Modes for a person show more of a record than its fields.
inline bool is_for_person(RowMode mode) {
  return mode <= RowMode::kLine;
}

struct RowForm {
  RowMode mode = RowMode::kTable;
  bool headers = true;
  std::string nothing;       // what stands for a cell that holds nothing
  bool makes_table = false;  // statements make the table too, in one transaction
};

struct RowColumn {
  std::string name;
  char type = 'C';  // of a field
  int width = 0, decimals = 0;
  bool is_mark = false;  // nameless in tables; lines leave it out where it holds nothing
};

// Rows in a mode that isn't for a person.
class WrittenRows {
 public:
  // Writes what stands before the rows. `table` is the name in statements. `out` must last. REQUIRES: such a mode.
  WrittenRows(const RowForm& form, const std::vector<RowColumn>& columns, std::string_view table,
              ByteBuffer& out);

  // REQUIRES: a cell for each column.
  void add(std::span<const RowCell> cells);
  // Writes what stands behind the rows.
  void finish();

 private:
  void fence_fields(std::string_view first, std::string_view between, std::string_view end);
  void fence_names();
  void make_fences(std::string_view table);
  void open(std::string_view table);
  void open_sql(std::string_view table);
  void open_markdown();
  void open_delimited();

  const RowForm form_;
  const std::vector<RowColumn>& columns_;
  ByteBuffer& out_;
  std::string_view nothing_;
  bool any_ = false;
  std::vector<std::string> fences_;  // what stands before each cell, and behind the last
};

}  // namespace tarnel
