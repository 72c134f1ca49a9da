// Records as text, one a line, that other programs write and read: fields in the columns that their lengths give
// (SDF), or parted by commas with texts between delimiters, or parted by blanks. Here a record has the bytes
// that it has in a table; memos have no place in a text.
//
//   type   in a line                        read back
//   C      delimited: without blanks at      the bytes; in columns or cut at the field's length
//          its end, delimiters doubled
//   N F    as many digits as the field has  any number; what is none is 0
//   D      YYYYMMDD, nothing when empty     an impossible date is empty
//   L      T or F                           T t Y y are true
//
// Lines end with LF; CR LF is read too, and so are a last line without an end and an end mark (byte 26) behind
// the last one. Within delimiters the end of a line is text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/var.h"
#include "db/dbfidx/format/format_dbf.h"

namespace tarnel {

struct TextFormat {
  char separator;  // NUL: columns
  char delimiter;  // NUL: none
};
// NIL: quotation marks and commas. The empty text: columns. "BLANK" or a first blank: parted by blanks, without
// delimiters. Any other first character is the delimiter.
TextFormat text_format(const Var* delimiter);

// What was found at the beginning of a text.
enum class Taken : std::uint8_t {
  kRecord,
  kMore,     // a record that doesn't end within the text
  kTooLong,  // lines within delimiters that are more than a record can hold
};
struct TakenRecord {
  Taken taken;
  std::size_t used;  // bytes of it
  int wide;          // first field whose number does not fit, -1 none: its bytes are blank
};
// Takes one record off a text into `record`, whose first byte is the delete mark. `last`: the file ends with
// the text. REQUIRES: the text is not empty.
TakenRecord take_record(std::string_view text, bool last, TextFormat format,
                        std::span<const dbf::Field> fields, std::span<std::uint8_t> record);

// Adds a record as a line. False when a text can't be written so that it comes back: `line` is then as it was, and
// `wrong` the number of the field.
[[nodiscard]] bool put_line(std::string& line, const std::uint8_t* record, TextFormat format,
                            std::span<const dbf::Field> fields, std::size_t& wrong);

}  // namespace tarnel
