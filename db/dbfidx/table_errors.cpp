#include "db/dbfidx/table_errors.h"

#include <cstdlib>

#include "core/arrays.h"
#include "core/error_object.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/text.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {
namespace {

struct TableErrorRow {
  int code;
  int severity;
  const char* operation;
  const char* text;
};

#define TABLE_ERROR_ROW(name, code, severity, operation, text) {code, severity, operation, text},
constexpr TableErrorRow kRows[] = {TABLE_ERRORS(TABLE_ERROR_ROW)};
#undef TABLE_ERROR_ROW

constexpr std::int32_t kHiddenSubcode = -9999;
constexpr int kNotice = 902, kCodes = 999;

const TableErrorRow& row(TableError which) {
  return kRows[static_cast<std::size_t>(which)];
}

// File, procedure and line of the running procedure of the language.
std::string running_place() {
  const Frame* frame = frame_at(0);
  const std::string module = upper_text(frame != nullptr ? frame->module : "");
  return format_text("%s.PRG, module %s line %d", module.c_str(),
                     frame != nullptr ? frame->proc : "", frame != nullptr ? frame->line : 0);
}

bool names_operation(const TableErrorRow& error) {
  return error.operation[0] == '%';
}

std::string description(const TableErrorRow& error, const std::string& operation,
                        const std::string& text) {
  if (error.code == kNotice) return text;
  const std::string known = error_entry(error.code).text;
  return format_text("DBFIDX:%s;%s;%d (%s)", operation.c_str(), text.c_str(), error.code,
                     error.code < kCodes && known != "???" ? known.c_str() : "unknown");
}

void put(Var* error, const char* instance, Var* value) {
  put_ivar(error, instance, value);
}

void fill_template(Var* error, const TableErrorRow& row, const std::string& operation,
                   const std::string& text, const SourceLine& where) {
  put(error, "args", nil_value());
  for (const char* flag : {"candefault", "canretry", "cansubstit"}) put(error, flag, false_value());
  put(error, "cargo", nil_value());
  put(error, "filename", TMP_TEXT(running_place()));
  put(error, "operation", TMP_TEXT(operation));
  put(error, "oscode", int_zero());
  put(error, "tries", int_zero());
  put(error, "descriptio", TMP_TEXT(description(row, operation, text)));
  put(error, "gencode", TMP_INT(row.code));
  put(error, "severity", TMP_INT(row.severity));
  if (!settings().developer) return;
  const std::string_view file = base_name(where.file);
  put(error, "subsystem",
      TMP_TEXT(format_text("dbfidx driver (%s, line %d)", std::string(file).c_str(), where.line)));
  put(error, "subcode", TMP_INT(kHiddenSubcode));
}

}  // namespace

std::string table_error_text(TableError which, std::initializer_list<Fact> facts) {
  std::string text;
  const Fact* fact = facts.begin() + (names_operation(row(which)) ? 1 : 0);
  for (const char* p = row(which).text; *p != 0; ++p) {
    if (*p != '%') {
      text += *p;
      continue;
    }
    ++p;
    if (*p == 'l') ++p;
    if (fact == facts.end()) continue;
    text += *p == 'x' ? format_text("%x", static_cast<unsigned>(fact->number())) : fact->text();
    ++fact;
  }
  return text;
}

void dxerror(DbfIdx& dbf, TableError which, std::initializer_list<Fact> facts, SourceLine where) {
  if (!errors_held()) answer_given_up_wait();
  const ErrorGuard guard;
  set_last_error(row(which).code);
  if (errors_held() || dbf.object->type != 'O') return;
  const std::int32_t mark = temp_top();
  if (dbf.errorTemplate == nullptr) HOLD_VAR(&dbf.errorTemplate, error_class().make());
  const std::string operation =
      names_operation(row(which)) ? facts.begin()->text() : row(which).operation;
  fill_template(dbf.errorTemplate, row(which), operation, table_error_text(which, facts), where);
  const CallOut out;
  Var* argv[] = {dbf.object, dbf.errorTemplate};
  csdometh("error", server_slot("error"), 0, 2, argv);
  POP_TEMPS(mark);
}

}  // namespace tarnel
