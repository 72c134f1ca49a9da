#include "console/cell_text.h"

#include <algorithm>
#include <cctype>

#include "core/errors.h"
#include "core/text.h"
#include "lib/dates.h"
#include "lib/utf8.h"
#include "term/glyphs.h"

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

// Writes a text with some of its bytes replaced: `replacement` gives the text for a byte, null for itself.
template <typename Replacement>
void put_replaced(ByteBuffer& out, std::string_view text, Replacement replacement) {
  std::size_t done = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char* other = replacement(text[i]);
    if (other == nullptr) continue;
    out.put(text.substr(done, i - done));
    out.put(std::string_view(other));
    done = i + 1;
  }
  out.put(text.substr(done));
}

const char* json_escape(char c) {
  static const auto kEscapes = [] {
    std::vector<std::string> escapes;
    for (int i = 0; i < ' '; ++i) escapes.push_back(format_text("\\u%04x", unsigned(i)));
    escapes['\n'] = "\\n", escapes['\r'] = "\\r", escapes['\t'] = "\\t";
    return escapes;
  }();
  if (c >= 0 && c < ' ') return kEscapes[static_cast<std::size_t>(c)].c_str();
  return c == '"' ? "\\\"" : c == '\\' ? "\\\\" : nullptr;
}

const char* tsv_escape(char c) {
  return c == '\t' ? "\\t" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\\' ? "\\\\" : nullptr;
}
const char* html_escape(char c) {
  return c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : c == '"' ? "&quot;" : nullptr;
}
const char* markdown_escape(char c) {
  return c == '|' ? "\\|" : c == '\n' ? "<br>" : c == '\r' ? "" : html_escape(c);
}
// A NUL byte would end the statement.
const char* sql_escape(char c) {
  return c == '\'' ? "''" : nullptr;
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

// As the settings have it; what is no day as it stands.
std::string shown_date(std::string_view ymd) {
  const std::int32_t day = ymdToDate(ymd);
  return std::string(day != 0 ? std::string_view(dateToText(day)) : ymd);
}

}  // namespace

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
  put_replaced(out, cell.text, tsv_escape);
}

void put_json_part(ByteBuffer& out, std::string_view text) {
  put_replaced(out, text, json_escape);
}

void put_json_text(ByteBuffer& out, std::string_view text) {
  out.put('"');
  put_json_part(out, text);
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
      put_replaced(out, cell.text,
                   [](char c) { return c == '\0' ? "'||char(0)||'" : sql_escape(c); });
      return out.put('\'');
  }
}

void put_markdown(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return out.put(shown_date(cell.text));
  put_replaced(out, cell.text, markdown_escape);
}

void put_html(ByteBuffer& out, const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return out.put(shown_date(cell.text));
  put_replaced(out, cell.text, html_escape);
}

std::string shown_cell(const RowCell& cell) {
  std::string text = cell.kind == CellKind::kDate ? shown_date(cell.text) : std::string(cell.text);
  for (char& c : text)
    if (std::iscntrl(static_cast<unsigned char>(c)) != 0) c = ' ';
  return is_ascii(text) ? text : terminal_text(text);
}

std::string shown_lines(const RowCell& cell) {
  if (cell.kind == CellKind::kDate) return shown_date(cell.text);
  std::string text;
  std::ranges::copy_if(cell.text, std::back_inserter(text), [](char c) { return c != '\r'; });
  std::ranges::replace_if(
      text, [](char c) { return c == '\t' || c == '\a'; }, ' ');
  return terminal_text(text);
}

bool is_plain(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c != '\x7f'; });
}

std::string terminal_text(std::string_view text) {
  std::string result;
  const auto acts = [](char c) { return c == '\n' || c == '\r' || c == '\t' || c == '\a'; };
  while (!text.empty()) {
    const auto n = static_cast<std::size_t>(std::ranges::find_if(text, acts) - text.begin());
    if (is_plain(text.substr(0, n)))
      result.append(text, 0, n);
    else
      for (CharacterReader reader(text.substr(0, n)); !reader.at_end();)
        append_utf8(result, reader.next());
    text.remove_prefix(n);
    for (; !text.empty() && acts(text[0]); text.remove_prefix(1)) result += text[0];
  }
  return result;
}

}  // namespace tarnel
