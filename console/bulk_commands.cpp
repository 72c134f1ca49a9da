#include "console/bulk_commands.h"

#include <unistd.h>

#include <optional>
#include <string>

#include "console/export_commands.h"
#include "console/progress.h"
#include "console/row_commands.h"
#include "console/session.h"
#include "console/words.h"
#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/switched.h"
#include "core/text.h"
#include "db/area.h"
#include "db/text/text_coding.h"
#include "db/text_set.h"

namespace tarnel {
namespace {

// The current table for the time of a command; null after a complaint.
class CurrentTable {
 public:
  CurrentTable() : mark_(temp_top()), server_(current_server()) {
    if (server_ == nullptr)
      complain("no table is open in the current area");
    else
      server_ = ARG_VAR(server_);
  }
  ~CurrentTable() { POP_TEMPS(mark_); }
  CurrentTable(const CurrentTable&) = delete;
  CurrentTable& operator=(const CurrentTable&) = delete;

  bool is_open() const { return server_ != nullptr; }
  std::string records() const { return std::to_string(integer_of(get_ivar(server_, "lastrec"))); }
  TextSet characters() const { return text_set_of(server_); }
  std::string alias() const { return std::string(text_of(get_ivar(server_, "alias"))); }

  // Runs a method; errors were told by then.
  template <typename... Arguments>
  bool run(const char* method, Arguments... arguments) {
    const Var* done = send(server_, method, arguments...);
    return done->type == 'L' && truth_of(done);
  }
  // The same for one that leaves another number of records, which is shown.
  template <typename... Arguments>
  void change(const char* method, Arguments... arguments) {
    if (run(method, arguments...)) write_output(records() + " records\n");
  }

 private:
  const std::int32_t mark_;
  Var* server_;
};

// The fields before "for", an array; the rest of the line is what stands behind it.
Var* take_fields(std::string_view& line) {
  Var* fields = NEW_TEMP();
  cscreara(fields, 0, kAllNil);
  for (std::int32_t count = 0; !line.empty();) {
    const std::string_view word = take_word(line, kBlanksAndCommas);
    if (upper_text(word) == "FOR") break;
    cscrearr(fields, ++count, kKeep, {TMP_TEXT(word)});
  }
  return fields;
}

// What the extension of a file says it holds: columns, fields parted by commas, else records of a table.
enum class Kind { kTable, kColumns, kDelimited };
Kind kind_of(std::string_view file) {
  const std::string_view name = base_name(file);
  const std::string extension = lower_text(name.substr(std::min(name.rfind('.'), name.size())));
  if (extension == ".sdf") return Kind::kColumns;
  return extension == ".txt" || extension == ".csv" ? Kind::kDelimited : Kind::kTable;
}
// The coding of a text for the time of a command: UTF-8 where nobody chose another set. Columns are counted in bytes and
// stay as they are in the table, and so do texts of a table whose set nobody told, unless a set was chosen.
class TextFileCoding {
 public:
  // Takes -charset NAME off a line. False after a complaint.
  [[nodiscard]] bool take(std::string_view& line) {
    chosen_ = find_word(line, "-charset") == 0;
    return take_charset(line, file_);
  }
  [[nodiscard]] bool begin(std::string_view file, const TextSet& set) {
    const Kind kind = kind_of(file);
    if (kind == Kind::kTable && chosen_) {
      complain("-charset goes with a text: .csv, .txt or .sdf");
      return false;
    }
    coding_.emplace(set.assumed ? CodePage::kUtf8 : set.page, file_);
    const bool wanted = chosen_ || (kind == Kind::kDelimited && !set.assumed);
    if (wanted && coding_->table != coding_->file) in_force_.emplace(text_coding(), &*coding_);
    return true;
  }
  void tell_lost(std::string_view file, bool reading) const {
    if (!coding_->lost) return;
    const std::string first = words_of(coding_->lost, coding_->lost_in), name(file);
    complain(reading ? name + " holds " + first + ", and was read up to there"
                     : name + ": " + std::to_string(coding_->lost.count) +
                           " characters could not be converted, the first: " + first);
  }

 private:
  CodePage file_ = CodePage::kUtf8;
  bool chosen_ = false;
  std::optional<TextCoding> coding_;
  std::optional<Switched<TextCoding*>> in_force_;
};

// The delimiter that the methods for texts take: none makes columns.
Var* delimiter_of(Kind kind) {
  return kind == Kind::kColumns ? empty_text() : nil_value();
}

}  // namespace

bool confirmed(const std::string& question) {
  write_output(question + " (y/n) ");
  flush_output();
  char answer[16] = "";
  const ssize_t n = ::read(STDIN_FILENO, answer, sizeof answer);
  static_cast<void>(give_way_to("\n"));  // the answer ended the line
  return n > 0 && upper_letter(answer[0]) == 'Y';
}

bool pack_records(std::string_view) {
  CurrentTable table;
  if (table.is_open()) table.change("pack");
  return true;
}

bool zap_records(std::string_view sure) {
  CurrentTable table;
  if (!table.is_open()) return true;
  const bool asks = sure.empty() && isatty(STDIN_FILENO) != 0;
  if (asks ? confirmed("drop all " + table.records() + " records of " + table.alias() + "?")
           : sure == "!")
    table.change("zap");
  else if (!asks)
    complain(".zap drops all records; say .zap ! to do so");
  return true;
}

bool copy_records(std::string_view arguments) {
  CurrentTable table;
  if (!table.is_open()) return true;
  TextFileCoding coding;
  if (!coding.take(arguments)) return true;
  const std::string file = take_file_name(arguments);
  if (file.empty()) {
    complain(".copy needs the name of a file");
    return true;
  }
  Var* fields = take_fields(arguments);
  std::string text(arguments);
  if (!is_expression(arguments) || !encode_expression(text, table.characters()) ||
      !coding.begin(file, table.characters()))
    return true;
  Var* condition = arguments.empty() ? nil_value() : TMP_TEXT(text);
  if (const Kind kind = kind_of(file); kind != Kind::kTable)
    table.run("copydelimited", TMP_TEXT(file), delimiter_of(kind), fields, condition);
  else
    table.run("copydb", TMP_TEXT(file), fields, condition);
  coding.tell_lost(file, false);
  return true;
}

bool append_records(std::string_view arguments) {
  CurrentTable table;
  if (!table.is_open()) return true;
  TextFileCoding coding;
  if (!coding.take(arguments)) return true;
  const std::string file = last_file_name(arguments);
  if (file.empty()) {
    complain(".append needs the name of a file");
    return true;
  }
  if (!coding.begin(file, table.characters())) return true;
  if (const Kind kind = kind_of(file); kind != Kind::kTable)
    table.change("appenddelimited", TMP_TEXT(file), delimiter_of(kind));
  else
    table.change("appenddb", TMP_TEXT(file));
  coding.tell_lost(file, true);
  return true;
}

}  // namespace tarnel
