// Values as cells of a row, and their notations where rows are written.
//
//               text                     date         logical     nothing
//   csv         quoted where need be     2024-01-31   T F         the text for nothing
//   tsv         \t \n \r \\ escaped      2024-01-31   T F         the text for nothing
//   json jsonl  escaped                  "2024-01-31" true false  null
//   insert      'quoted'                 '2024-01-31' 1 0         NULL
//   markdown    | as \|, <br>            as SET DATE  T F         the text for nothing
//   html        & < > " ' as entities    as SET DATE  T F         the text for nothing
//
// Texts come as UTF-8, or in the set of the file that they go to, and control characters and all stay as they are.
// Numbers stand as the field's digits do. Nothing is what blank numbers, dates and logicals hold, and memos that
// can't be read. The notations for a person are those of console/shown_text.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/var.h"
#include "lib/byte_buffer.h"

namespace tarnel {

enum class CellKind : std::uint8_t { kNothing, kText, kNumber, kDate, kLogical };
// A date as yyyymmdd, a logical as T or F.
struct RowCell {
  CellKind kind = CellKind::kNothing;
  std::string_view text;
};
// The cell of a value, whose text it may put into `room`; a text as it stands, NIL and what a cell has no place for
// as nothing.
RowCell cell_of_value(const Var* value, std::string& room);

// Each writes a cell that holds something.
void put_csv(ByteBuffer& out, const RowCell& cell);
void put_tsv(ByteBuffer& out, const RowCell& cell);
void put_json(ByteBuffer& out, const RowCell& cell);
void put_sql(ByteBuffer& out, const RowCell& cell);
void put_markdown(ByteBuffer& out, const RowCell& cell);
void put_html(ByteBuffer& out, const RowCell& cell);

// A text between quotes.
void put_json_text(ByteBuffer& out, std::string_view text);
// A date of yyyymmdd as the settings have it; what is no day as it stands.
std::string shown_date(std::string_view ymd);

}  // namespace tarnel
