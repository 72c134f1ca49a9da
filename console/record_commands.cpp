#include "console/record_commands.h"

#include <charconv>
#include <string>
#include <vector>

#include "console/row_commands.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "console/whole_value.h"
#include "console/words.h"
#include "core/arrays.h"
#include "core/classes.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbt.h"

namespace tarnel {
namespace {

// The cursor of a table comes back at the end.
class KeepPlace {
 public:
  explicit KeepPlace(Var* server)
      : kept_(server), server_(server), record_(integer_of(get_ivar(server, "recno"))) {}
  ~KeepPlace() noexcept(false) {
    const TempsMark mark;
    if (truth_of(get_ivar(server_, "used"))) send(server_, "goto", TMP_INT(record_));
  }
  KeepPlace(const KeepPlace&) = delete;
  KeepPlace& operator=(const KeepPlace&) = delete;

 private:
  const CellHold kept_;
  Var* const server_;
  const std::int32_t record_;
};

Var* or_nil(Var* block) {
  return block != nullptr ? block : nil_value();
}

// The lock of a record for the time of a change, unless it was held before.
class RecordHold {
 public:
  RecordHold(DbfIdx& dbf, std::int32_t record)
      : dbf_(dbf), record_(record), needed_(!holds_record(dbf, record)) {
    held_ = !needed_ || lockRecord(dbf, record) == 0;
  }
  ~RecordHold() noexcept(false) {
    if (needed_ && held_ && dbf_.isOpen()) unlockRecord(dbf_, record_);
  }
  RecordHold(const RecordHold&) = delete;
  RecordHold& operator=(const RecordHold&) = delete;
  bool held() const { return held_; }

 private:
  DbfIdx& dbf_;
  const std::int32_t record_;
  const bool needed_;
  bool held_ = false;
};

// N FIELD := EXPR taken apart: the number of the record and of the field. "" or a complaint.
std::string read_change(std::string_view& line, DbfIdx& dbf, std::int32_t& record,
                        std::int32_t& field) {
  const std::string_view number = take_word(line);
  const auto [end, failed] = std::from_chars(number.data(), number.data() + number.size(), record);
  const std::size_t assigns = line.find(":=");
  if (failed != std::errc() || end != number.data() + number.size() || assigns == line.npos)
    return ".edit needs a record, a field and a value: N FIELD := EXPR";
  const std::string name(trim_blanks(line.substr(0, assigns)));
  line = trim_blanks(line.substr(assigns + 2));
  field = field_position(dbf, name);
  if (field == 0) return "there is no field " + name;
  if (!has_record(dbf, record)) return "there is no record " + std::to_string(record);
  if (dbf.readOnly()) return "the table is open for reading only, .open -w opens it to write";
  return {};
}

// Why a field can't hold a value whole, "" when it can; looked at before it is stored, since a number that doesn't fit
// leaves a blank field.
std::string misfit(const DbfIdx& dbf, std::int32_t field, const Var* value) {
  const dbf::Field& into = dbf.fields[static_cast<std::size_t>(field - 1)];
  std::vector<std::uint8_t> place(into.length);
  if (!letter_in(value->type, "CMNFIDL")) return "no field can hold the value";
  if (into.type == 'M' && is_text(value) &&
      text_of(value).find(static_cast<char>(dbt::kEndMark)) != std::string_view::npos)
    return "the value holds byte 26, which would end it";
  const bool is_text = into.type == 'C' && (value->type == 'C' || value->type == 'M');
  const bool fits = is_text ? trim_right(text_of(value)).size() <= into.length
                            : into.type == 'M' || !is_number_or_logical(value) ||
                                  put_value(into, place.data(), value);
  return fits ? "" : "the value doesn't fit into " + std::string(into.name);
}

void change_record(DbfIdx& dbf, std::int32_t record, std::int32_t field,
                   std::string_view expression) {
  const KeepPlace place(dbf.object);
  const RecordHold hold(dbf, record);
  if (!hold.held()) {
    complain("record " + std::to_string(record) + " is in use by another program");
    return;
  }
  send(dbf.object, "goto", TMP_INT(record));
  const SameTable same(dbf);
  Var* value = evaluate_argument(expression);
  if (is_error(value) || !same.holds() || dbf.recNo != record) return;
  if (const std::string fault = misfit(dbf, field, value); !fault.empty()) {
    complain(fault);
    return;
  }
  const Var* stored = send(dbf.object, "fieldput", TMP_INT(field), value);
  if (is_nil(stored) || !same.holds()) return;
  if (is_text(stored))
    write_output(decoded(text_of(stored), text_set_of(dbf.object)));
  else
    write_value(stored);
  write_output("\n");
  send(dbf.object, "commit");
}

}  // namespace

bool count_records(std::string_view conditions) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  RowRequest request;
  if (server == nullptr) return true;
  if (!conditions.empty() && find_word(conditions, "for") != 0 &&
      find_word(conditions, "while") != 0) {
    complain(".count takes for and while with a condition each");
    return true;
  }
  if (!take_selection(conditions, server, request)) return true;
  const KeepPlace place(server);
  const Var* count = send(server, "count", or_nil(request.for_block), or_nil(request.while_block));
  write_output(std::to_string(integer_of(count)) + "\n");
  return true;
}

bool sum_records(std::string_view arguments) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  const std::size_t end =
      std::min({find_word(arguments, "for"), find_word(arguments, "while"), arguments.size()});
  std::string expression(trim_right(arguments.substr(0, end)));
  RowRequest request;
  if (expression.empty()) {
    complain(".sum needs an expression");
    return true;
  }
  if (!is_expression(expression) || !encode_expression(expression, text_set_of(server)) ||
      !take_selection(arguments.substr(end), server, request))
    return true;
  const KeepPlace place(server);
  const Var* sums = send(server, "sum", TMP_TEXT(expression), or_nil(request.for_block),
                         or_nil(request.while_block));
  if (sums->type == 'A' && element_count(sums) > 0) {
    write_value(element(sums, 1));
    write_output("\n");
  }
  return true;
}

bool edit_record(std::string_view arguments) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  if (class_of(server) != &dbfidx_class()) {
    complain("the table can't be changed");
    return true;
  }
  DbfIdx& dbf = dbf_of(server);
  const KeepObject keep(server);
  std::int32_t record = 0, field = 0;
  if (const std::string wrong = read_change(arguments, dbf, record, field); !wrong.empty()) {
    complain(wrong);
    return true;
  }
  std::string expression(arguments);
  if (encode_expression(expression, text_set_of(server)))
    change_record(dbf, record, field, expression);
  return true;
}

bool show_value(std::string_view expression) {
  const TempsMark mark;
  if (expression.empty()) {
    complain(".show needs an expression");
    return true;
  }
  const Var* value = evaluate_argument(expression);
  write_output(whole_value(value, ValueTexts(expression)) + "\n");
  return true;
}

}  // namespace tarnel
