#include "console/import_reader.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

char tsv_meant(char letter) {
  return letter == 't' ? '\t' : letter == 'n' ? '\n' : letter == 'r' ? '\r' : letter;
}

}  // namespace

ImportReader::ImportReader(std::string_view text, ImportForm form) : text_(text), form_(form) {
  if (text.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
  if (form == ImportForm::kJson || at_ >= text.size()) return;
  std::vector<InputValue> names;
  take_fields(names);
  for (const InputValue& name : names) columns_.push_back(name.text);
}

// Lines end with LF, CR LF or CR.
void ImportReader::move_to(std::size_t at) {
  for (; at_ < at; ++at_)
    line_ += text_[at_] == '\n' || (text_[at_] == '\r' && !text_.substr(at_ + 1).starts_with('\n'));
}

void ImportReader::skip_line() {
  move_to(std::min(text_.find_first_of("\r\n", at_), text_.size()));
  take_line_end();
}

// The end of a row, or of the text.
bool ImportReader::take_line_end() {
  const std::string_view rest = text_.substr(at_);
  if (rest.empty()) return true;
  const std::size_t end = rest.starts_with("\r\n") ? 2 : rest[0] == '\r' || rest[0] == '\n' ? 1 : 0;
  move_to(at_ + end);
  return end > 0;
}

// Within quotes anything is text; one that isn't closed takes its line as it stands.
void ImportReader::take_csv(InputValue& value) {
  value.text.clear();
  if (at_ < text_.size() && text_[at_] == '"') {
    std::size_t from = at_ + 1, quote = text_.find('"', from);
    for (; quote != text_.npos && text_.substr(quote + 1).starts_with('"');
         quote = text_.find('"', from)) {
      value.text.append(text_, from, quote + 1 - from);
      from = quote + 2;
    }
    if (quote != text_.npos) {
      value.kind = InputKind::kText;
      value.text.append(text_, from, quote - from);
      return move_to(quote + 1);
    }
    value.text.clear();
    fault_ = "a quote is never closed";
  }
  const std::size_t end = std::min(text_.find_first_of(",\r\n", at_), text_.size());
  value.text.append(text_, at_, end - at_);
  value.kind = value.text.empty() ? InputKind::kNothing : InputKind::kText;
  at_ = end;
}

void ImportReader::take_tsv(InputValue& value) {
  value.text.clear();
  for (;
       at_ < text_.size() && std::string_view("\t\r\n").find(text_[at_]) == std::string_view::npos;
       ++at_) {
    const bool escaped = text_[at_] == '\\' && at_ + 1 < text_.size() && text_[at_ + 1] != '\n';
    value.text += escaped ? tsv_meant(text_[++at_]) : text_[at_];
  }
  value.kind = value.text.empty() ? InputKind::kNothing : InputKind::kText;
}

void ImportReader::take_fields(std::vector<InputValue>& row) {
  std::size_t count = 0;
  for (bool more = true; more; ++count) {
    if (row.size() <= count) row.emplace_back();
    if (form_ == ImportForm::kCsv)
      take_csv(row[count]);
    else
      take_tsv(row[count]);
    more = at_ < text_.size() && text_[at_] == (form_ == ImportForm::kCsv ? ',' : '\t');
    if (more) ++at_;
  }
  row.resize(count);
  last_line_ = line_;
  if (take_line_end()) return;
  fault_ = "text behind a quote";
  skip_line();
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
  std::size_t at = at_, depth = 0;
  char quote = 0;
  for (; at < text_.size(); ++at) {
    const char c = text_[at];
    const bool ends_line = c == '\n' || c == '\r';
    if (at > at_ && c == '{' && (depth == 0 ? quote == 0 : text_[at - 1] == '\n')) break;
    if (depth == 0 && (ends_line || (in_array_ && quote == 0 && c == ']'))) break;
    if (quote != 0 && c == '\\' && at + 1 < text_.size() && text_[at + 1] != '\n')
      ++at;
    else if (c == '"' || (ends_line && quote != 0))
      quote = quote != 0 ? 0 : c;
    else if (quote == 0 && c == '{')
      ++depth;
    else if (quote == 0 && c == '}' && depth > 0 && --depth == 0)
      break;
  }
  const bool closed = at < text_.size() && text_[at] == '}';
  move_to(at + (closed ? 1 : 0));
}

// An object, and what parts it from the next.
void ImportReader::take_object(std::vector<InputValue>& row) {
  const std::size_t known = columns_.size();
  row.assign(known, {});
  JsonReader json(text_.substr(at_));
  if (take_members(json, row)) {
    move_to(text_.size() - json.rest().size());
  } else {
    fault_ = "no object of plain values";
    columns_.resize(known);
    skip_object();
  }
  last_line_ = line_;
  JsonReader behind(text_.substr(at_));
  if (behind.take(',')) move_to(text_.size() - behind.rest().size());
}

// On to the next object, in or out of an array. False at the end.
bool ImportReader::find_object() {
  for (;; ++at_) {
    move_to(std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()));
    if (at_ >= text_.size() || text_[at_] != (in_array_ ? ']' : '[')) return at_ < text_.size();
    in_array_ = !in_array_;
  }
}

bool ImportReader::next(std::vector<InputValue>& row) {
  fault_.clear();
  const bool found = form_ == ImportForm::kJson ? find_object() : at_ < text_.size();
  row_line_ = last_line_ = line_;
  if (!found) {
    if (!std::exchange(in_array_, false)) return false;
    fault_ = "the array is never closed";
    return true;
  }
  if (form_ == ImportForm::kJson) {
    take_object(row);
  } else {
    take_fields(row);
    if (fault_.empty() && row.size() != columns_.size())
      fault_ = std::to_string(row.size()) + " values for " + std::to_string(columns_.size()) +
               " columns";
  }
  if (!fault_.empty() && last_line_ > row_line_)
    fault_ += ", all up to line " + std::to_string(last_line_) + " is left out";
  return true;
}

}  // namespace tarnel
