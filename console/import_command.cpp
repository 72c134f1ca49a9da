#include "console/import_command.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/export_commands.h"
#include "console/import_reader.h"
#include "console/session.h"
#include "console/user_editor.h"
#include "console/words.h"
#include "core/descriptors.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/dbfidx.h"
#include "db/progress.h"
#include "db/text_set.h"
#include "lib/utf8.h"
#include "term/screen.h"

namespace tarnel {
namespace {

constexpr std::size_t kWidestText = 254;  // longer ones become memos

bool form_of(std::string_view file, ImportForm& form) {
  const std::string name = lower_text(base_name(file));
  const std::string_view extension =
      std::string_view(name).substr(std::min(name.rfind('.'), name.size()));
  if (extension == ".json" || extension == ".jsonl")
    form = ImportForm::kJson;
  else if (extension == ".tsv" || extension == ".tab")
    form = ImportForm::kTsv;
  else if (extension == ".csv")
    form = ImportForm::kCsv;
  else
    return false;
  return true;
}

// What rows come from.
struct Source {
  std::string file;
  ImportForm form{};
  std::optional<CodePage> page;  // none: nobody said, so it is UTF-8 or has the bytes of the table
  std::string text;              // with bytes carried over where a page was said
};

std::string place_of(const Source& source, const ImportReader& reader) {
  return source.file + ":" + std::to_string(reader.line()) + ": ";
}

// A value with the bytes that the table's set has for it.
Unconverted encode_value(InputValue& value, const Source& source, const TextSet& set) {
  return encode(value.text, set, source.page ? Carried::kLost : Carried::kNone);
}

// --- What the values of a column have in common.

bool is_date(std::string_view text) {
  dbf::Field field{
      .name = "", .type = 'D', .length_byte = 8, .decimals = 0, .offset = 0, .length = 8};
  std::uint8_t bytes[8];
  return text.size() == 10 &&
         put_input(field, bytes, {InputKind::kText, std::string(text)}, false).empty();
}

// Digits that a number doesn't lose: no zeros in front, which codes have, and no exponent.
bool is_number(std::string_view text, std::size_t& whole, std::size_t& decimals) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
  const auto digits = [](std::string_view part) {
    return part.find_first_not_of("0123456789") == part.npos;
  };
  whole = point;
  decimals = fraction.size();
  return point > 0 && digits(text.substr(0, point)) && digits(fraction) &&
         (point == 1 || text[0] != '0') && (point == text.size() || !fraction.empty());
}

bool is_logical(const InputValue& value) {
  const std::string text = lower_text(value.text);
  return value.kind == InputKind::kTrue || value.kind == InputKind::kFalse || text == "t" ||
         text == "f" || text == "true" || text == "false";
}

struct Column {
  std::size_t longest = 0, whole = 1, decimals = 0;
  bool any = false, negative = false;
  bool numbers = true, dates = true, logicals = true;

  void look_at(const InputValue& value) {
    if (value.kind == InputKind::kNothing || (value.text.empty() && value.kind == InputKind::kText))
      return;
    any = true;
    longest = std::max(longest, value.text.size());
    logicals = logicals && is_logical(value);
    std::size_t digits = 0, fraction = 0;
    numbers = numbers && is_number(value.text, digits, fraction);
    dates = dates && is_date(value.text);
    if (!numbers) return;
    whole = std::max(whole, digits + (value.text[0] == '-' ? 1 : 0));
    decimals = std::max(decimals, fraction);
  }
  // As .create takes it.
  std::string type() const {
    const std::size_t width = whole + (decimals > 0 ? decimals + 1 : 0);
    const bool fits = width <= std::size_t{dbf::kMaxNumericLength} &&
                      decimals <= std::size_t{dbf::kMaxNumericDecimals};
    if (any && logicals) return "L";
    if (any && dates) return "D";
    if (any && numbers && fits)
      return "N " + std::to_string(width) + (decimals > 0 ? " " + std::to_string(decimals) : "");
    return longest > kWidestText ? "M" : "C " + std::to_string(std::max<std::size_t>(longest, 1));
  }
};

// A name that a field can have, none of those given.
std::string field_name(std::string_view column, const std::vector<std::string>& taken) {
  std::string name = upper_text(trim_blanks(column)).substr(0, 10);
  for (char& c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0])) != 0)
    name = ("F" + name).substr(0, 10);
  const std::string base = name;
  for (int i = 2; std::ranges::find(taken, name) != taken.end(); ++i) {
    const std::string number = std::to_string(i);
    name = base.substr(0, 10 - number.size()) + number;
  }
  return name;
}

// How many rows to expect.
std::int64_t lines_of(const Source& source) {
  return std::ranges::count(source.text, '\n');
}

// The fields for all rows of a text, as .create takes them; empty without columns.
std::string structure_for(const Source& source) {
  ImportReader reader(source.text, source.form);
  std::vector<Column> columns;
  Progress progress("columns", lines_of(source));
  for (std::vector<InputValue> row; reader.next(row);) {
    look_at_signals();
    progress.step();
    if (!reader.fault().empty()) continue;
    columns.resize(std::max(columns.size(), reader.columns().size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      static_cast<void>(encode_value(row[i], source, usual_text_set()));
      columns[i].look_at(row[i]);
    }
  }
  columns.resize(reader.columns().size());
  std::vector<std::string> names;
  std::string fields;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    names.push_back(field_name(reader.columns()[i], names));
    fields += (i > 0 ? ", " : "") + names.back() + " " + columns[i].type();
  }
  return fields;
}

// --- Records of rows.

// What became of a row.
enum class RowEnd : std::uint8_t {
  kAdded,
  kLeftOut,  // the row is at fault, which was told
  kStop,     // no other row will do better; told
};

class Appender {
 public:
  // `made`: the table has the columns of the file in their places, and nothing else. Otherwise they go to the fields
  // of their names.
  Appender(DbfIdx& dbf, const Source& source, bool made)
      : dbf_(dbf),
        source_(source),
        set_(text_set_of(dbf.object)),
        made_(made),
        record_(dbf.recordSize),
        same_(dbf) {}

  void run() {
    ImportReader reader(source_.text, source_.form);
    Progress progress("import", lines_of(source_));
    bool whole = find_fields(reader);
    for (std::vector<InputValue> row; whole && reader.next(row);) {
      answer_signals_at(reader);
      progress.step();
      const RowEnd end = take(reader, row);
      whole = same_.holds() && end != RowEnd::kStop &&
              (end == RowEnd::kAdded || !session_switches().bail);
    }
    if (same_.holds() && !flush(reader)) whole = false;
    if (whole)
      write_output(std::to_string(added_) + " records\n");
    else
      tell_end(reader);
    if (foreign_ > 0)
      tell("note: " + source_.file + ": " + std::to_string(foreign_) +
           " texts, the first in line " + std::to_string(first_foreign_) +
           ", are no UTF-8 and stay as they are; -charset NAME would say what they are");
  }

 private:
  void complain_of(const ImportReader& reader, const std::string& fault) {
    complain(place_of(source_, reader) + fault);
  }

  // How much of a file that was not read to its end is in the table.
  void tell_end(const ImportReader& reader) {
    complain_of(reader, "broken off, " + std::to_string(added_) + " records were added" +
                            (made_ ? ": the table is incomplete" : ""));
  }

  // An answer may leave the import or end the run. On a screen it need not.
  void answer_signals_at(const ImportReader& reader) {
    if (!signal_waits()) return;
    if (!screen_open() && flush(reader)) tell_end(reader);
    look_at_signals();
  }

  // Finds the fields of columns that were not met before. False after a complaint.
  bool find_fields(const ImportReader& reader) {
    while (fields_.size() < reader.columns().size()) {
      const std::string& name = reader.columns()[fields_.size()];
      const std::int32_t field =
          made_ ? static_cast<std::int32_t>(fields_.size()) + 1 : field_position(dbf_, name);
      const bool twice = std::ranges::find(fields_, field) != fields_.end();
      if (field < 1 || twice) {
        complain_of(reader, (twice ? "two columns for the field " : "there is no field ") + name);
        return false;
      }
      fields_.push_back(field);
    }
    return true;
  }

  RowEnd take(const ImportReader& reader, std::vector<InputValue>& row) {
    if (!reader.fault().empty()) {
      complain_of(reader, reader.fault());
      return RowEnd::kLeftOut;
    }
    if (!find_fields(reader)) return RowEnd::kStop;
    std::ranges::fill(record_, std::uint8_t{' '});
    for (std::size_t i = 0; i < row.size(); ++i) {
      const dbf::Field& field = dbf_.fields[static_cast<std::size_t>(fields_[i]) - 1];
      if (set_.assumed && !source_.page && !is_utf8(row[i].text) && ++foreign_ == 1)
        first_foreign_ = reader.line();
      if (const Unconverted lost = encode_value(row[i], source_, set_)) {
        complain_of(reader, std::string(field.name) + " holds " + words_of_lost(lost));
        return RowEnd::kLeftOut;
      }
      const std::string_view wrong = put_input(dbf_, field, record_.data(), row[i], false);
      if (wrong.empty()) continue;
      row[i].text = decoded(row[i].text, set_);
      complain_of(reader,
                  std::string(field.name) + " " + std::string(wrong) + ": " + shown_input(row[i]));
      return wrong == kUnwritable ? RowEnd::kStop : RowEnd::kLeftOut;
    }
    return add(reader) ? RowEnd::kAdded : RowEnd::kStop;
  }

  std::string words_of_lost(const Unconverted& lost) const {
    const CodePage from = source_.page.value_or(CodePage::kUtf8);
    return words_of(lost, lost.is_byte ? from : set_.page);
  }

  // Many at once where nothing is to be done for each. False after a complaint.
  bool add(const ImportReader& reader) {
    if (dbf_.exclusive() && dbf_.orderCount == 0) {
      run_.insert(run_.end(), record_.begin(), record_.end());
      return run_.size() < kRun || flush(reader);
    }
    const bool added = told(reader, [this] {
      const InternalLock lock(dbf_, LockMode::kExclusive);
      return lock.held() && append_record(dbf_, true, record_.data());
    });
    added_ += added ? 1 : 0;
    return added;
  }
  bool flush(const ImportReader& reader) {
    const auto count = static_cast<std::int32_t>(run_.size() / record_.size());
    const bool written =
        count == 0 || told(reader, [&] { return append_run(dbf_, run_.data(), count); });
    if (written) added_ += count;
    run_.clear();
    return written;
  }
  // A write whose failure is told with the row. A lock that others keep raises no error.
  template <typename Write>
  bool told(const ImportReader& reader, const Write& write) {
    std::string fault = "the table is in use by another program";
    {
      const MessagesTo messages(fault);
      if (write()) return true;
    }
    complain_of(reader, fault);
    return false;
  }

  static constexpr std::size_t kRun = 256 * 1024;

  DbfIdx& dbf_;
  const Source& source_;
  const TextSet set_;
  const bool made_;
  std::vector<std::uint8_t> record_, run_;
  std::vector<std::int32_t> fields_;  // of the columns
  std::int64_t added_ = 0;
  std::int64_t foreign_ = 0,
               first_foreign_ = 0;  // texts that are no UTF-8 though nothing else was said
  const SameTable same_;
};

// The current table, when it can be added to.
DbfIdx* table_to_fill() {
  Var* server = current_server();
  if (server == nullptr || class_of(server) != &dbfidx_class())
    complain("no table is open in the current area");
  else if (dbf_of(server).readOnly())
    complain("the table is open for reading only, .open -w opens it to write");
  else
    return &dbf_of(server);
  return nullptr;
}

// Makes the table that rows need, after its structure was shown, and opens it. False after a complaint.
bool make_table(const std::string& table, const Source& source) {
  const std::string fields = structure_for(source);
  if (fields.empty()) {
    complain(source.file + ": there are no columns");
    return false;
  }
  const std::string line = quoted(table) + " " + fields;
  write_output(".create " + line + "\n");
  flush_output();
  create_command(line);
  return current_server() != nullptr;
}

// Reads the file of a command's line. False after a complaint.
bool read_source(std::string_view& line, Source& source) {
  source.file = take_file_name(line);
  if (!form_of(source.file, source.form)) {
    complain(".import needs the name of a file that ends in .csv, .tsv, .json or .jsonl");
    return false;
  }
  if (source.form == ImportForm::kJson &&
      source.page.value_or(CodePage::kUtf8) != CodePage::kUtf8) {
    complain("JSON is utf-8");
    return false;
  }
  if (const std::string wrong = read_file(source.file, source.text); !wrong.empty()) {
    complain(source.file + ": " + wrong);
    return false;
  }
  if (source.text.starts_with("\xff\xfe") || source.text.starts_with("\xfe\xff")) {
    complain(source.file + ": is UTF-16, which is not read; other programs save it as UTF-8");
    return false;
  }
  if (source.page) {
    const std::string bytes = std::exchange(source.text, {});
    to_utf8_exactly(source.text, bytes, *source.page);
  }
  const ImportReader head(source.text, source.form);
  if (!head.fault().empty()) complain(place_of(source, head) + head.fault());
  return head.fault().empty();
}

}  // namespace

bool import_rows(std::string_view arguments) {
  const TempsMark mark;
  Source source;
  bool append = false;
  while (arguments.starts_with('-')) {
    CodePage page{};
    if (take_if(arguments, "-append")) {
      append = true;
      continue;
    }
    const std::size_t left = arguments.size();
    if (!take_charset(arguments, page)) return true;
    if (arguments.size() == left) break;
    source.page = page;
  }
  if (!read_source(arguments, source)) return true;
  std::string table = take_file_name(arguments);
  if (table.empty()) table = base_name(source.file.substr(0, source.file.rfind('.')));
  if (!append && !make_table(table, source)) return true;
  if (DbfIdx* dbf = table_to_fill(); dbf != nullptr) {
    const KeepObject keep(dbf->object);
    Appender(*dbf, source, !append).run();
  }
  return true;
}

}  // namespace tarnel
