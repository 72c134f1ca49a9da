// Rows of cells as text in the modes that `.mode` knows. One writer takes whatever the console shows or exports; those
// that aren't for a person it hands on.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lib/byte_buffer.h"
#include "lib/written_rows.h"

namespace tarnel {

struct RowStyle : RowForm {
  bool chosen = false;  // else rows that are too wide for the terminal become lines
  std::vector<int>
      widths;  // columns of tables and boxes; 0: as wide as need be, below 0: to the right
};
RowStyle& session_style();

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
  void name_lines();
  void open();
  void close();
  void write(std::span<const RowCell> cells);
  void write_lines(std::span<const RowCell> cells);
  void write_aligned(std::span<const RowCell> cells);
  void write_rule(std::string_view left, std::string_view between, std::string_view right);

  RowStyle style_;
  const std::vector<RowColumn> columns_;
  const std::string table_;
  const int window_;
  ByteBuffer out_;
  std::optional<WrittenRows> written_;
  bool settled_ = false;
  std::int64_t rows_ = 0;
  std::vector<std::vector<KeptCell>> kept_;  // rows that tell how wide the columns are
  std::size_t kept_bytes_ = 0;
  std::vector<int> widths_;
  std::vector<std::string> names_;  // of lines, all as wide as the widest
};

}  // namespace tarnel
