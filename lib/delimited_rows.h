// Rows of texts that a character parts, one a line: CSV, where a text may stand between quotes, and TSV, where escapes
// stand for tabs and ends of lines. Written by put_csv() and put_tsv() of lib/cell_text.h.
//
// Lines end with LF, CR LF or CR. Within quotes anything is text, a quote doubled. An empty value is nothing unless it
// is quoted.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnel {

enum class InputKind : std::uint8_t { kNothing, kText, kNumber, kTrue, kFalse };
struct InputValue {
  InputKind kind = InputKind::kNothing;
  std::string text;      // of texts and numbers
  bool carries = false;  // bytes that are no characters, see to_utf8_exactly()
};

// A place in a text, which must last, and the number of its line.
struct LineCursor {
  std::string_view text;
  std::size_t at = 0;
  std::int64_t line = 1;

  bool at_end() const { return at >= text.size(); }
  std::string_view rest() const { return text.substr(at); }
  void move_to(std::size_t place);  // not back
};

enum class RowNotation : std::uint8_t { kCsv, kTsv };

class DelimitedReader {
 public:
  // `text` must last; a byte order mark before it is left out.
  DelimitedReader(std::string_view text, RowNotation notation);

  // The next row, of as many values as it has; false at the end. One at fault takes its line with it.
  bool next(std::vector<InputValue>& row);
  // Of the row last read: the lines where it begins and ends, from 1, and what is wrong with it, "" when nothing is.
  std::int64_t line() const { return line_; }
  std::int64_t last_line() const { return last_line_; }
  const std::string& fault() const { return fault_; }

 private:
  void take_csv(InputValue& value);
  void take_tsv(InputValue& value);
  bool take_line_end();

  const RowNotation notation_;
  LineCursor cursor_;
  std::int64_t line_ = 1, last_line_ = 1;
  std::string fault_;
};

// How many bytes at the beginning of a text are a byte order mark.
std::size_t byte_order_mark(std::string_view text);

}  // namespace tarnel
