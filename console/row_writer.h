// Rows of cells as text in the modes that `.mode` knows. One formatter writes whatever the console shows or exports.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console/byte_buffer.h"
#include "console/cell_text.h"

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

struct RowStyle {
  RowMode mode = RowMode::kTable;
  bool chosen = false;  // else rows that are too wide for the terminal become lines
  bool headers = true;
  std::vector<int>
      widths;           // columns of tables and boxes; 0: as wide as need be, below 0: to the right
  std::string nothing;  // what stands for a cell that holds nothing
  bool makes_table = false;  // statements make the table too, in one transaction
};
RowStyle& session_style();

struct RowColumn {
  std::string name;
  char type = 'C';  // of a field
  int width = 0, decimals = 0;
  bool is_mark = false;  // nameless in tables; lines leave it out where it holds nothing
};

class RowWriter {
 public:
  // `table` is the name in statements, `window` the columns of the terminal, 0 without one.
  RowWriter(const RowStyle& style, std::vector<RowColumn> columns, std::string table, int window,
            ByteBuffer::Sink sink);
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;

  // REQUIRES: a cell for each column. False when the sink failed.
  bool add(std::span<const RowCell> cells);
  std::int64_t rows() const { return rows_; }
  // Writes what waits and what ends the rows. Nothing is written by a writer that isn't finished and got few rows.
  bool finish();

 private:
  struct KeptCell {
    CellKind kind;
    std::string text;
  };
  bool is_aligned() const { return style_.mode <= RowMode::kBox; }
  void keep(std::span<const RowCell> cells);
  void settle(bool all);
  void measure(bool all);
  int total_width() const;
  void make_fences();
  void fence_fields(std::string_view first, std::string_view between, std::string_view end);
  void fence_names();
  void open();
  void open_sql();
  void open_markdown();
  void open_delimited();
  void close();
  void write(std::span<const RowCell> cells);
  void write_fenced(std::span<const RowCell> cells);
  void write_lines(std::span<const RowCell> cells);
  void write_aligned(std::span<const RowCell> cells);
  void write_rule(std::string_view left, std::string_view between, std::string_view right);

  RowStyle style_;
  const std::vector<RowColumn> columns_;
  const std::string table_;
  const int window_;
  ByteBuffer out_;
  bool settled_ = false;
  std::int64_t rows_ = 0;
  std::vector<std::vector<KeptCell>> kept_;  // rows that tell how wide the columns are
  std::size_t kept_bytes_ = 0;
  std::vector<int> widths_;
  std::vector<std::string> fences_;  // what stands before each cell, and behind the last
};

}  // namespace tarnel
