#include "core/errors.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/system_log.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr int kUsual = 1000, kNotice = 700;
constexpr ErrorEntry kUnknown = {0, "???", kNotice};

// Texts and levels of the codes. Spelling and trailing blanks are what programs and people know.
constexpr ErrorEntry kErrorTable[] = {
    {101, "file open error", kUsual},
    {102, "file close error", kUsual},
    {103, "file read error", kUsual},
    {104, "file write error", kUsual},
    {105, "create file error", kUsual},
    {106, "erase file error", kUsual},
    {107, "file status error", kUsual},
    {201, "data type mismatch", kUsual},
    {202, "illegal operation on data type", kUsual},
    {203, "illegal data type", kUsual},
    {204, "illegal field type", kUsual},
    {205, "illegal field value", kUsual},
    {301, "no memory available", kUsual},
    {302, "no memory variables available", kUsual},
    {303, "null pointer for memory variable", kUsual},
    {304, "too many prompts for menu", kUsual},
    {305, "too many gets", kUsual},
    {306, "cannot find that field", kUsual},
    {307, "undefined variable", kUsual},
    {308, "undefined function", kUsual},
    {309, "Syntax error in expression", kUsual},
    {310, "NULL pointer returned from evaluator", kUsual},
    {311, "Wrong argument count", kUsual},
    {312, "Wrong argument type", kUsual},
    {313, "Wrong argument value", kUsual},
    {314, "Endless loop in macro expansion", kUsual},
    {315, "Too long macro expansion", kUsual},
    {316, "Missing argument", kUsual},
    {317, "Illegal type", kUsual},
    {318, "Illegal skeleton", kUsual},
    {319, "string too long", kUsual},
    {320, "Illegal value", kUsual},
    {321, "command or filename not found", 0},
    {322, "No database opened", kUsual},
    {323, "Wrong file name", kUsual},
    {324, "Argument is null string", kUsual},
    {325, "DBF file or record not locked", kUsual},
    {326, "Wrong version of DBF file", kUsual},
    {327, "Number of locks for the DBF exceeded", kUsual},
    {328, "Incorrect line in file", kUsual},
    {329, "Illegal color specification", kNotice},
    {330, "No database opened", kNotice},
    {331, "Index file corrupted", kUsual},
    {332, "wrong type for typed var/par", kUsual},
    {333, "Illegal picture string", kNotice},
    {334, "Record wanted but eof", kUsual},
    {335, "BREAK unexpected", kUsual},
    {336, "Illegal dateformat string", kNotice},
    {337, "Undefined identifer", kUsual},
    {338, "Illegal object class", kUsual},
    {339, "unable to open file", kUsual},
    {340, "Wrong IDX version of file", kUsual},
    {341, "cannot find that field", kNotice},
    {342, "Illegal alias", kUsual},
    {343, "Illegal method", kUsual},
    {344, "Illegal instance", kUsual},
    {401, "argcnt negative", kUsual},
    {402, "too many args", kUsual},
    {403, "too little args", kUsual},
    {404, "wrong arg type", kUsual},
    {405, "arg negative", kUsual},
    {406, "arg null", kUsual},
    {407, "arg null pointer", kUsual},
    {408, "arg points to null string", kUsual},
    {409, "arg out of range", kUsual},
    {410, "flag has impossible value", kUsual},
    {411, "out of memory", kUsual},
    {412, "non-existing index data sector access", kUsual},
    {413, "database file (DBF) not opened ", kUsual},
    {414, "database file has no memo file (DBT) ", kUsual},
    {415, "database index file (IDX) not opened ", kUsual},
    {416, "illegal internal value", kUsual},
    {501, "unable to open file", kUsual},
    {502, "too many function arguments", kUsual},
    {701, "index file already locked", kUsual},
    {901, "(warning)", kUsual},
    {902, "(warning)", kNotice},
};
static_assert(std::is_sorted(std::begin(kErrorTable), std::end(kErrorTable),
                             [](const ErrorEntry& a, const ErrorEntry& b) {
                               return a.code < b.code;
                             }));

constexpr int kMostErrors = 4;  // in progress, before the fatal report

struct ErrorState {
  int threshold = 800;
  int last = 0;
  int dos = 0;
  int in_progress = 0;
  bool held = false;
  void (*caller)(const RaisedError&) = nullptr;
} state;

void print_fatal_report() {
  const Frame* f = current_frame();
  std::string report =
      format_text("\rFATAL ERROR in module %s %d: %s()\r\n", f->module, f->line, f->proc);
  report += "Called from:\r\n";
  for (f = f->prev; f != nullptr && f->prev != nullptr; f = f->prev)
    if (f->line >= 0) report += format_text("%10s %3d: %10s()\r\n", f->module, f->line, f->proc);
  report += "Press return ...\r\n";
  if (runtime_hooks().tell_fatal != nullptr) return runtime_hooks().tell_fatal(report);
  static_cast<void>(write_gathered());
  if (runtime_hooks().close_terminal != nullptr) runtime_hooks().close_terminal();
  write_fully(STDERR_FILENO, report);
  char c;
  if (isatty(STDIN_FILENO) != 0) static_cast<void>(!read(STDIN_FILENO, &c, 1));
}

// Until the error objects are live, or while errors are held, the code is all that is kept.
Var* raise(const RaisedError& raised) {
  if (!state.held) answer_given_up_wait();
  const ErrorGuard guard;
  state.last = raised.code;
  if (state.held) return error_value();
  const bool silent = !raised.always && error_entry(raised.code).level < state.threshold;
  if (!silent && fails_on_exit_road(raised.code, raised.text)) return error_value();
  if (state.caller != nullptr)
    state.caller(raised);
  else if (!silent)
    log_system(LOG_ERR, "error %d: %s; %.*s", raised.code, error_entry(raised.code).text,
               static_cast<int>(raised.text.size()), raised.text.data());
  return error_value();
}

}  // namespace

const ErrorEntry& error_entry(int code) {
  const auto* found = std::lower_bound(std::begin(kErrorTable), std::end(kErrorTable), code,
                                       [](const ErrorEntry& e, int c) { return e.code < c; });
  return found != std::end(kErrorTable) && found->code == code ? *found : kUnknown;
}

Var* RT_ERROR(int code, std::string_view text) {
  return raise({code, kRunTime, text, 0, {}});
}
Var* RT_WARNING(int code, std::string_view text) {
  return raise({code, kWarning, text, 0, {}});
}

Var* RT_INTERNAL(int code, std::string_view text, SourceLine where) {
  return raise({code, kInternal, text, where.line, base_name(where.file)});
}

Var* RT_REFUSED(std::string_view text) {
  constexpr int kNoCommand = 321;
  return raise({kNoCommand, kRunTime, text, 0, {}, true});
}

void RT_FATAL(int code, std::string_view text) {
  raise({code, kFatal, text, 0, {}});
  QUIT_RUN(1);
}

std::string format_text(const char* format, ...) {
  char buffer[512];
  va_list args, again;
  va_start(args, format);
  va_copy(again, args);
  const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  std::string text;
  if (n >= static_cast<int>(sizeof buffer)) {
    text.resize(static_cast<std::size_t>(n));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  } else if (n > 0) {
    text.assign(buffer, static_cast<std::size_t>(n));
  }
  va_end(again);
  return text;
}

int error_threshold() {
  return state.threshold;
}
void set_error_threshold(int threshold) {
  state.threshold = threshold;
}
int last_error() {
  return state.last;
}
void set_last_error(int code) {
  state.last = code;
}
int dos_error() {
  return state.dos;
}
void set_dos_error(int number) {
  state.dos = number;
}
int errors_in_progress() {
  return state.in_progress;
}
void set_error_caller(void (*caller)(const RaisedError&)) {
  state.caller = caller;
}

ErrorGuard::ErrorGuard() {
  if (state.in_progress > kMostErrors) {
    static_cast<void>(write_gathered());
    if (runtime_hooks().close_terminal != nullptr) runtime_hooks().close_terminal();
    _exit(255);
  }
  if (state.in_progress++ >= kMostErrors) {
    print_fatal_report();
    QUIT_RUN(1);
  }
}

ErrorGuard::~ErrorGuard() {
  --state.in_progress;
}

bool errors_held() {
  return state.held;
}
ErrorHold::ErrorHold() : held_(state.held, true) {}

}  // namespace tarnel
