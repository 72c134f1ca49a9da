#include "console/import_reader.h"

#include <algorithm>

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

void ImportReader::move_to(std::size_t at) {
  line_ += std::count(text_.begin() + static_cast<std::ptrdiff_t>(at_),
                      text_.begin() + static_cast<std::ptrdiff_t>(at), '\n');
  at_ = at;
}

void ImportReader::skip_line() {
  move_to(std::min(text_.find('\n', at_), text_.size() - 1) + 1);
}

// The end of a row: LF, CR LF or the end of the text.
bool ImportReader::take_line_end() {
  if (at_ >= text_.size()) return true;
  const std::size_t end = at_ + (text_[at_] == '\r' ? 1 : 0);
  if (end < text_.size() && text_[end] != '\n') return false;
  move_to(std::min(end + 1, text_.size()));
  return true;
}

// Within quotes anything is text; one that isn't closed takes its line as it stands.
void ImportReader::take_csv(InputValue& value) {
  value.text.clear();
  if (at_ < text_.size() && text_[at_] == '"') {
    std::size_t from = at_ + 1, quote = text_.find('"', from);
    for (; quote + 1 < text_.size() && text_[quote + 1] == '"'; quote = text_.find('"', from)) {
      value.text.append(text_, from, quote + 1 - from);
      from = quote + 2;
    }
    if (quote != text_.npos) {
      value.kind = InputKind::kText;
      value.text.append(text_, from, quote - from);
      return move_to(quote + 1);
    }
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
  if (take_line_end()) return;
  fault_ = "text behind a quote";
  skip_line();
}

std::size_t ImportReader::column(const std::string& name) {
  const auto found = std::ranges::find(columns_, name);
  if (found == columns_.end()) columns_.push_back(name);
  return static_cast<std::size_t>(std::ranges::find(columns_, name) - columns_.begin());
}

// An object, and what parts it from the next.
void ImportReader::take_object(std::vector<InputValue>& row) {
  row.assign(columns_.size(), {});
  JsonReader json(text_.substr(at_));
  InputValue name, value;
  bool good = json.take('{');
  for (bool more = good && !json.take('}'); good && more;) {
    good = json.take_value(name) && name.kind == InputKind::kText && json.take(':') &&
           json.take_value(value);
    if (!good) break;
    const std::size_t at = column(name.text);
    row.resize(columns_.size());
    row[at] = value;
    more = json.take(',');
    good = more || json.take('}');
  }
  if (!good) {
    fault_ = "no object of plain values";
    return skip_line();
  }
  json.take(',');
  move_to(text_.size() - json.rest().size());
}

bool ImportReader::next(std::vector<InputValue>& row) {
  fault_.clear();
  if (form_ == ImportForm::kJson) {
    const std::size_t begin = text_.find_first_not_of(" \t\r\n[]", at_);
    move_to(std::min(begin, text_.size()));
  }
  row_line_ = line_;
  if (at_ >= text_.size()) return false;
  if (form_ == ImportForm::kJson) {
    take_object(row);
    return true;
  }
  take_fields(row);
  if (fault_.empty() && row.size() != columns_.size())
    fault_ =
        std::to_string(row.size()) + " values for " + std::to_string(columns_.size()) + " columns";
  return true;
}

}  // namespace tarnel
