// The contents of fields in the notations that rows are written in.
//
//               text                     date         logical     nothing
//   csv         quoted where need be     2024-01-31   T F         the text for nothing
//   tsv         \t \n \r \\ escaped      2024-01-31   T F         the text for nothing
//   json jsonl  escaped                  "2024-01-31" true false  null
//   insert      'quoted'                 '2024-01-31' 1 0         NULL
//   markdown    | as \|, <br>            as SET DATE  T F         the text for nothing
//   html        & < > " as entities      as SET DATE  T F         the text for nothing
//   line        printable, lines kept    as SET DATE  T F         the text for nothing
//   table box   printable, one line      as SET DATE  T F         the text for nothing
//
// Texts come as UTF-8, or in the set of the file that they go to, and control characters and all stay as they are
// but where a person reads. Numbers stand as the field's digits do. Nothing is what blank numbers, dates and logicals hold, and memos that
// can't be read.
#pragma once

#include <string>
#include <string_view>

#include "console/byte_buffer.h"

namespace tarnel {

enum class CellKind : std::uint8_t { kNothing, kText, kNumber, kDate, kLogical };
// A date as yyyymmdd, a logical as T or F.
struct RowCell {
  CellKind kind = CellKind::kNothing;
  std::string_view text;
};

// Each writes a cell that holds something.
void put_csv(ByteBuffer& out, const RowCell& cell);
void put_tsv(ByteBuffer& out, const RowCell& cell);
void put_json(ByteBuffer& out, const RowCell& cell);
void put_sql(ByteBuffer& out, const RowCell& cell);
void put_markdown(ByteBuffer& out, const RowCell& cell);
void put_html(ByteBuffer& out, const RowCell& cell);
void put_json_text(ByteBuffer& out, std::string_view text);
// The same without quotes, for a part of a text.
void put_json_part(ByteBuffer& out, std::string_view text);

// For a person: one line, UTF-8 without control characters.
std::string shown_cell(const RowCell& cell);
// The same with its line feeds.
std::string shown_lines(const RowCell& cell);
// Any text as a terminal may get it: line feeds, returns, tabs and bells act, other control characters and what is
// no UTF-8 become characters of the PC code page.
std::string terminal_text(std::string_view text);
// Does a text consist of such bytes only that no notation changes but for quotes and separators?
bool is_plain(std::string_view text);

}  // namespace tarnel
