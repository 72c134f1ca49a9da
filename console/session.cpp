#include "console/session.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <utility>

#include "console/dot_commands.h"
#include "console/output_target.h"
#include "console/program_commands.h"
#include "console/screen_session.h"
#include "console/shown_text.h"
#include "console/whole_value.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/switched.h"
#include "core/symbols.h"
#include "db/written_records.h"
#include "lang/typed_statements.h"
#include "lib/value_text.h"
#include "macro/evaluator.h"
#include "macro/machine.h"
#include "term/screen.h"

namespace tarnel {
namespace {

constexpr int kDeepestRead = 16;  // files that read each other
constexpr std::int32_t kDeveloperNotice = 902;

struct SessionState {
  Frame frame{};
  int reading = 0;
  bool bailed = false;
  SessionSwitches switches;
} session;

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

std::size_t name_length(std::string_view text) {
  std::size_t n = 0;
  while (n < text.size() &&
         (text[n] == '_' || std::isalnum(static_cast<unsigned char>(text[n])) != 0))
    ++n;
  return n != 0 && std::isdigit(static_cast<unsigned char>(text[0])) != 0 ? 0 : n;
}

// The name that a line assigns to, if it is one of the forms that may bring a name into being.
std::string_view assigned_name(std::string_view line) {
  const std::string_view name = line.substr(0, name_length(line));
  line.remove_prefix(name.size());
  while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
  const bool assigns =
      line.size() > 1 && line[1] == '=' && std::strchr(":+-*/", line[0]) != nullptr;
  return assigns ? name : std::string_view();
}

// Makes a name known as an undefined variable; the assignment then gives it a private of the
// session.
void make_known(std::string_view name) {
  if (name.empty() || FIND_SYMBOL(name) > 0) return;
  const std::int32_t sym = ADD_SYMBOL(name);
  if (sym > 0) symbol_var(sym)->sclass = 'U';
}

const char* line_word(std::int32_t severity) {
  switch (severity) {
    case kWarning:
      return "warning";
    case kFatal:
      return "fatal";
    case kInternal:
      return "internal";
    default:
      return "error";
  }
}

// The error block. It returns, so the run goes on as the language says.
Var* show_error(std::int32_t argc, Var** argv, Var**) {
  Procedure p("tnsh", "cb_1_1_1", -1, argc);
  Var* error = argc > 0 ? argv[0] : nil_value();
  if (class_of(error) != &error_class()) return p.end();
  const std::int32_t code = get_integer_ivar(error, "gencode");
  Var* description = get_ivar(error, "descriptio");
  if ((code != kDeveloperNotice || settings().developer) && is_text(description))
    complain(format_text("%s %d: ", line_word(get_integer_ivar(error, "severity")), code)
                 .append(text_of(description)));
  return p.end();
}

void run_expression(std::string_view line) {
  const TypedLine typed = run_statements(line);
  if (typed.has_run) return;
  line = typed.expression;
  const bool right = typed.is_right || is_expression(line);
  if (right) make_known(assigned_name(line));
  const Var* value = right ? EXP_EVAL(line) : error_value();
  if (screen_open()) return;  // there the script alone decides what is shown
  const bool has_parts = letter_in(value->type, "AOBb");
  if (has_parts && isatty(STDOUT_FILENO) != 0)
    write_output(whole_value(value, ValueTexts(line)));
  else
    write_value(value, ValueTexts(line));
  write_output("\n");
}

// Lines of a descriptor, without their line feeds.
class LineReader {
 public:
  explicit LineReader(int fd) : fd_(fd) {}
  // False at the end of the input or when it can't be read.
  bool next(std::string& line) {
    line.clear();
    for (;;) {
      const std::size_t end = buffer_.find('\n', start_);
      line.append(buffer_, start_, end - start_);
      if (end != std::string::npos) {
        start_ = end + 1;
        return true;
      }
      if (!fill()) return !line.empty();
    }
  }
  // The system's number of the failure that ended the input, 0 none.
  int error() const { return error_; }

 private:
  bool fill() {
    flush_output();  // whoever writes the input may wait for it
    start_ = 0;
    buffer_.resize(kPiece);
    const ssize_t n = read_some(fd_, buffer_.data(), kPiece);
    if (n < 0) error_ = errno;
    buffer_.resize(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    return n > 0;
  }

  static constexpr std::size_t kPiece = 64 * 1024;

  const int fd_;
  std::string buffer_;
  std::size_t start_ = 0;
  int error_ = 0;
};

// What a line took and changed, written when it has run.
class LineAccount {
 public:
  ~LineAccount() {
    const std::int64_t changes = written_records() - before_;
    if (wanted_.changes && session.switches.changes && changes != 0)
      write_output(format_text("%lld changes\n", static_cast<long long>(changes)));
    if (!wanted_.timer || !session.switches.timer) return;
    const std::chrono::duration<double> taken = Clock::now() - start_;
    write_output(format_text("%.3f s\n", taken.count()));
  }

 private:
  using Clock = std::chrono::steady_clock;
  const SessionSwitches wanted_ = session.switches;
  const std::int64_t before_ = written_records();
  const Clock::time_point start_ = Clock::now();
};

// A script whose lines run, to its end.
class RunningScript {
 public:
  explicit RunningScript(const char* name)
      : place_(name), bail_(session.switches.bail, session.switches.bail) {
    ++session.reading;
  }
  ~RunningScript() { --session.reading; }
  RunningScript(const RunningScript&) = delete;
  RunningScript& operator=(const RunningScript&) = delete;

 private:
  const InScript place_;
  const Switched<bool> bail_;  // one that is chosen in the file holds to its end
};

}  // namespace

void open_session() {
  assert(current_frame() != nullptr && current_frame() != &session.frame);
  BEGIN_PROC(&session.frame, "tnsh", "tnsh", 0, 0);
  set_default_handler(show_error);
  POP_TEMPS(session.frame.temp_mark);
}

static bool run_accounted(std::string_view line) {
  const RunningLine running;
  const LineAccount account;
  bool goes_on = true;
  if (line.front() == '#')
    take_directive(line);
  else if (is_dot_line(line))
    goes_on = run_dot_line(line.substr(1));
  else
    run_expression(line);
  POP_TEMPS(session.frame.temp_mark);
  return goes_on;
}

bool run_line(std::string_view line) {
  look_at_signals();
  line = trimmed(line);
  session.frame.line = next_line();
  if (line.empty() || (line.front() == '#' && !is_directive(line))) return true;
  if (session.switches.echo) write_output(std::string(line) + "\n");
  const bool goes_on = run_accounted(line);
  end_of_line();
  return goes_on;
}

bool run_or_bail(std::string_view line) {
  const int before = complaints();
  const bool goes_on = run_line(line);
  session.bailed |= session.switches.bail && complaints() != before;
  return goes_on && !session.bailed;
}

SessionSwitches& session_switches() {
  return session.switches;
}

bool take_bail() {
  return std::exchange(session.bailed, false);
}

// Comments and commands are lines of their own.
static bool goes_on_below(std::string_view line) {
  line = trimmed(line);
  if (line.empty() || is_dot_line(line)) return false;
  return line.front() == '#' ? is_directive(line) && line.ends_with(';') : lacks_end(line);
}

bool run_lines(int fd, const char* name) {
  LineReader reader(fd);
  bool goes_on = true;
  for (std::string line; goes_on && reader.next(line);) {
    int further = 0;
    for (std::string next; goes_on_below(line) && reader.next(next); ++further) line += "\n" + next;
    goes_on = run_or_bail(line);
    while (further-- > 0) next_line();
  }
  if (reader.error() != 0) complain(std::string(name) + ": " + system_words(reader.error()));
  return goes_on;
}

bool run_file(const char* name) {
  if (session.reading >= kDeepestRead) {
    complain(std::string(name) + ": files read each other too deeply");
    return true;
  }
  const File file(name, O_RDONLY);
  if (!file.opened()) {
    complain(std::string(name) + ": " + system_words(errno));
    return true;
  }
  bool goes_on;
  {
    const RunningScript script(name);
    goes_on = run_lines(file.fd(), name);
  }
  // What ended early by its own word doesn't end what reads it.
  return goes_on || (!session.switches.bail && take_bail());
}

bool run_file_on_screen(const char* name) {
  if (screen_open()) return run_file(name);
  const SessionScreen screen;
  if (screen.fault().empty()) return run_file(name);
  complain(screen.fault());
  return true;
}

void set_session_variable(std::string_view name, Var* value) {
  make_known(name);
  if (const std::int32_t sym = FIND_SYMBOL(name); sym > 0) CPY_VAR(symbol_var(sym), value);
}

bool is_expression(std::string_view text) {
  const auto fault = find_syntax_fault(text);
  if (!fault) return true;
  show_caret(text, fault->at);
  report_syntax_fault(text, *fault);
  return false;
}

Var* evaluate_argument(std::string_view expression) {
  return is_expression(expression) ? EXP_EVAL(expression) : error_value();
}

void write_value(const Var* value, const ValueTexts& texts) {
  NumberBuffer buffer;
  write_output(texts.readable(varToText(value, buffer)));
}

}  // namespace tarnel
