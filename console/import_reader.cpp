#include "console/import_reader.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace tarnel {

ImportReader::ImportReader(std::string_view text, ImportForm form)
    : form_(form),
      rows_(text, form == ImportForm::kTsv ? RowNotation::kTsv : RowNotation::kCsv),
      cursor_{text, byte_order_mark(text)} {
  if (form == ImportForm::kJson) return;
  std::vector<InputValue> names;
  static_cast<void>(take_row(names));
  for (const InputValue& name : names) columns_.push_back(name.text);
}

bool ImportReader::take_row(std::vector<InputValue>& row) {
  const bool found = rows_.next(row);
  row_line_ = rows_.line();
  last_line_ = rows_.last_line();
  fault_ = rows_.fault();
  return found;
}

std::size_t ImportReader::column(const std::string& name) {
  const auto found = std::ranges::find(columns_, name);
  if (found == columns_.end()) columns_.push_back(name);
  return static_cast<std::size_t>(std::ranges::find(columns_, name) - columns_.begin());
}

bool ImportReader::take_members(JsonReader& json, std::vector<InputValue>& row) {
  InputValue name, value;
  if (!json.take('{')) return false;
  if (json.take('}')) return true;
  do {
    if (!json.take_value(name) || name.kind != InputKind::kText || !json.take(':') ||
        !json.take_value(value))
      return false;
    const std::size_t at = column(name.text);
    row.resize(columns_.size());
    row[at] = value;
  } while (json.take(','));
  return json.take('}');
}

// Past an object with all that is in it, or past what is none, up to one or to the end of its line. A text never
// goes over the end of a line, and a line that begins with an object begins another row: so little is lost behind
// a bracket or quote that is missing.
void ImportReader::skip_object() {
  const std::string_view text = cursor_.text;
  std::size_t at = cursor_.at, depth = 0;
  char quote = 0;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    const bool ends_line = c == '\n' || c == '\r';
    if (at > cursor_.at && c == '{' && (depth == 0 ? quote == 0 : text[at - 1] == '\n')) break;
    if (depth == 0 && (ends_line || (in_array_ && quote == 0 && c == ']'))) break;
    if (quote != 0 && c == '\\' && at + 1 < text.size() && text[at + 1] != '\n')
      ++at;
    else if (c == '"' || (ends_line && quote != 0))
      quote = quote != 0 ? 0 : c;
    else if (quote == 0 && c == '{')
      ++depth;
    else if (quote == 0 && c == '}' && depth > 0 && --depth == 0)
      break;
  }
  const bool closed = at < text.size() && text[at] == '}';
  cursor_.move_to(at + (closed ? 1 : 0));
}

// An object, and what parts it from the next.
void ImportReader::take_object(std::vector<InputValue>& row) {
  const std::size_t known = columns_.size();
  row.assign(known, {});
  JsonReader json(cursor_.rest());
  if (take_members(json, row)) {
    cursor_.move_to(cursor_.text.size() - json.rest().size());
  } else {
    fault_ = "no object of plain values";
    columns_.resize(known);
    skip_object();
  }
  last_line_ = cursor_.line;
  JsonReader behind(cursor_.rest());
  if (behind.take(',')) cursor_.move_to(cursor_.text.size() - behind.rest().size());
}

// On to the next object, in or out of an array. False at the end.
bool ImportReader::find_object() {
  const std::string_view text = cursor_.text;
  for (;; ++cursor_.at) {
    cursor_.move_to(std::min(text.find_first_not_of(" \t\r\n", cursor_.at), text.size()));
    if (cursor_.at_end()) return false;
    if (text[cursor_.at] != (in_array_ ? ']' : '[')) return true;
    in_array_ = !in_array_;
  }
}

bool ImportReader::next_object(std::vector<InputValue>& row) {
  const bool found = find_object();
  row_line_ = last_line_ = cursor_.line;
  if (found)
    take_object(row);
  else if (std::exchange(in_array_, false))
    fault_ = "the array is never closed";
  else
    return false;
  return true;
}

bool ImportReader::next(std::vector<InputValue>& row) {
  fault_.clear();
  if (!(form_ == ImportForm::kJson ? next_object(row) : take_row(row))) return false;
  if (form_ != ImportForm::kJson && fault_.empty() && row.size() != columns_.size())
    fault_ =
        std::to_string(row.size()) + " values for " + std::to_string(columns_.size()) + " columns";
  if (!fault_.empty() && last_line_ > row_line_)
    fault_ += ", all up to line " + std::to_string(last_line_) + " is left out";
  return true;
}

}  // namespace tarnel
