#include "lib/delimited_rows.h"

#include <algorithm>

namespace tarnel {
namespace {

char tsv_meant(char letter) {
  return letter == 't' ? '\t' : letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter;
}

}  // namespace

std::size_t byte_order_mark(std::string_view text) {
  constexpr std::string_view kMark = "\xef\xbb\xbf";
  return text.starts_with(kMark) ? kMark.size() : 0;
}

void LineCursor::move_to(std::size_t place) {
  for (; at < place; ++at)
    line += text[at] == '\n' || (text[at] == '\r' && !text.substr(at + 1).starts_with('\n'));
}

DelimitedReader::DelimitedReader(std::string_view text, RowNotation notation)
    : notation_(notation), cursor_{text, byte_order_mark(text)} {}

// The end of a row, or of the text.
bool DelimitedReader::take_line_end() {
  const std::string_view rest = cursor_.rest();
  if (rest.empty()) return true;
  const std::size_t end = rest.starts_with("\r\n") ? 2 : rest[0] == '\r' || rest[0] == '\n' ? 1 : 0;
  cursor_.move_to(cursor_.at + end);
  return end > 0;
}

// A quote that isn't closed takes its line as it stands.
void DelimitedReader::take_csv(InputValue& value) {
  const std::string_view text = cursor_.text;
  value.text.clear();
  if (cursor_.rest().starts_with('"')) {
    std::size_t from = cursor_.at + 1, quote = text.find('"', from);
    for (; quote != text.npos && text.substr(quote + 1).starts_with('"');
         quote = text.find('"', from)) {
      value.text.append(text, from, quote + 1 - from);
      from = quote + 2;
    }
    if (quote != text.npos) {
      value.kind = InputKind::kText;
      value.text.append(text, from, quote - from);
      return cursor_.move_to(quote + 1);
    }
    value.text.clear();
    fault_ = "a quote is never closed";
  }
  const std::size_t end = std::min(text.find_first_of(",\r\n", cursor_.at), text.size());
  value.text.append(text, cursor_.at, end - cursor_.at);
  value.kind = value.text.empty() ? InputKind::kNothing : InputKind::kText;
  cursor_.at = end;
}

void DelimitedReader::take_tsv(InputValue& value) {
  const std::string_view text = cursor_.text;
  std::size_t& at = cursor_.at;
  value.text.clear();
  for (; at < text.size() && std::string_view("\t\r\n").find(text[at]) == std::string_view::npos;
       ++at) {
    const bool escaped = text[at] == '\\' && at + 1 < text.size() && text[at + 1] != '\n';
    value.text += escaped ? tsv_meant(text[++at]) : text[at];
  }
  value.kind = value.text.empty() ? InputKind::kNothing : InputKind::kText;
}

bool DelimitedReader::next(std::vector<InputValue>& row) {
  fault_.clear();
  line_ = last_line_ = cursor_.line;
  if (cursor_.at_end()) return false;
  const bool csv = notation_ == RowNotation::kCsv;
  std::size_t count = 0;
  for (bool more = true; more; ++count) {
    if (row.size() <= count) row.emplace_back();
    if (csv)
      take_csv(row[count]);
    else
      take_tsv(row[count]);
    more = cursor_.rest().starts_with(csv ? ',' : '\t');
    if (more) ++cursor_.at;
  }
  row.resize(count);
  last_line_ = cursor_.line;
  if (take_line_end()) return true;
  fault_ = "text behind a quote";
  cursor_.move_to(std::min(cursor_.text.find_first_of("\r\n", cursor_.at), cursor_.text.size()));
  take_line_end();
  return true;
}

}  // namespace tarnel
