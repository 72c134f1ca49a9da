#include "console/shown_text.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "lib/character_reader.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

bool is_plain(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c != '\x7f'; });
}

}  // namespace

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
