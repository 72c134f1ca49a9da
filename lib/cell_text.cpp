#include "lib/cell_text.h"

#include <algorithm>

#include "core/text.h"
#include "lib/dates.h"
#include "lib/escapes.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

void put_iso_date(ByteBuffer& out, std::string_view ymd) {
  char* at = out.room(10);
  std::copy_n(ymd.data(), 4, at);
  at[4] = at[7] = '-';
  std::copy_n(ymd.data() + 4, 2, at + 5);
  std::copy_n(ymd.data() + 6, 2, at + 8);
  out.took(10);
}

// Digits as JSON has them: no plus, no zeros in front, digits on both sides of a point.
void put_json_number(ByteBuffer& out, std::string_view number) {
  if (number.starts_with('-')) out.put('-');
  number.remove_prefix(number[0] == '-' || number[0] == '+' ? 1 : 0);
  while (number.size() > 1 && number[0] == '0' && is_digit(number[1])) number.remove_prefix(1);
  if (number.empty() || !is_digit(number[0])) out.put('0');
  const std::size_t point = number.find('.');
  const bool bare =
      point != number.npos && (point + 1 == number.size() || !is_digit(number[point + 1]));
  out.put(bare ? number.substr(0, point) : number);
  if (bare) out.put(number.substr(point + 1));
}

}  // namespace

RowCell cell_of_value(const Var* value, std::string& room) {
  std::string mask;
  switch (value->type) {
    case 'D':
      room = dateToYmd(value->i);
      return value->i == 0 ? RowCell{} : RowCell{CellKind::kDate, room};
    case 'L':
      return {CellKind::kLogical, truth_of(value) ? "T" : "F"};
    case 'U':
      return {};
    default:
      if (is_text(value)) return {CellKind::kText, text_of(value)};
      varDefaultText(value, mask, room);
      room = trim_blanks(room);
      return {is_number(value) ? CellKind::kNumber : CellKind::kText, room};
  }
}

std::string shown_date(std::string_view ymd) {
  const std::int32_t day = ymdToDate(ymd);
  return std::string(day != 0 ? std::string_view(dateToText(day)) : ymd);
}

void put_csv(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return put_iso_date(out, cell.text);
  const std::size_t n = cell.text.size();
  char* at = out.room(n * 2 + 2);
  bool special = false;
  for (std::size_t i = 0; i < n; ++i) {
    const char c = cell.text[i];
    at[i] = c;
    special |= c == ',' || c == '"' || c == '\n' || c == '\r';
  }
  if (!special) return out.took(n);
  char* to = at;
  *to++ = '"';
  for (const char c : cell.text) {
    if (c == '"') *to++ = '"';
    *to++ = c;
  }
  *to++ = '"';
  out.took(static_cast<std::size_t>(to - at));
}

void put_tsv(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return put_iso_date(out, cell.text);
  escape_tsv(out, cell.text);
}

void put_json_text(ByteBuffer& out, std::string_view text) {
  out.put('"');
  escape_json(out, text);
  out.put('"');
}

void put_json(ByteBuffer& out, const RowCell& cell) {
  switch (cell.kind) {
    case CellKind::kNumber:
      return put_json_number(out, cell.text);
    case CellKind::kLogical:
      return out.put(cell.text == "T" ? "true" : "false");
    case CellKind::kDate:
      out.put('"');
      put_iso_date(out, cell.text);
      return out.put('"');
    default:
      return put_json_text(out, cell.text);
  }
}

void put_sql(ByteBuffer& out, const RowCell& cell) {
  switch (cell.kind) {
    case CellKind::kNumber:
      return out.put(cell.text);
    case CellKind::kLogical:
      return out.put(cell.text == "T" ? '1' : '0');
    case CellKind::kDate:
      out.put('\'');
      put_iso_date(out, cell.text);
      return out.put('\'');
    default:
      out.put('\'');
      escape_sql(out, cell.text);
      return out.put('\'');
  }
}

void put_markdown(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return out.put(shown_date(cell.text));
  escape_markdown(out, cell.text);
}

void put_html(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return out.put(shown_date(cell.text));
  escape_html(out, cell.text);
}

}  // namespace tarnel
