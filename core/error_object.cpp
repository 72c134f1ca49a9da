#include "core/error_object.h"

#include <array>
#include <utility>
#include <vector>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/sequence.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/switched.h"
#include "core/text.h"

namespace tarnel {
namespace {

// Instances of class error, in their order, with the type of their defaults.
#define ERROR_INSTANCES(X)                                                                         \
  X(argnum, 'I')                                                                                   \
  X(args, 'U')                                                                                     \
  X(argtypereq, 'C')                                                                               \
  X(callfuncsy, 'C')                                                                               \
  X(candefault, 'L')                                                                               \
  X(canretry, 'L')                                                                                 \
  X(cansubstit, 'L')                                                                               \
  X(cargo, 'U')                                                                                    \
  X(choice, 'I')                                                                                   \
  X(descriptio, 'C') X(filehandle, 'I') X(filename, 'C') X(funcptr, 'B') X(funcsym, 'C')           \
      X(gencode, 'I') X(maxsize, 'N') X(methodself, 'O') X(operation, 'C') X(oscode, 'I')          \
          X(severity, 'I') X(subcode, 'I') X(subcodetex, 'C') X(subsystem, 'C') X(substitute, 'C') \
              X(tries, 'I')
#define INSTANCE_ROW(name, type) {#name, type},
#define INSTANCE_NAME(name, type) k_##name,
constexpr InstanceEntry kInstances[] = {ERROR_INSTANCES(INSTANCE_ROW)};
enum Instance { ERROR_INSTANCES(INSTANCE_NAME) };
#undef INSTANCE_ROW
#undef INSTANCE_NAME
#undef ERROR_INSTANCES

constexpr std::size_t kLongestLine = 76, kLineHead = 56, kLineTail = 15;
constexpr std::int32_t kHiddenSubcode = -9999;
constexpr int kDeveloperNotice = 902;

struct ErrorObjectState {
  Var* block = nullptr;  // made at the first use
  std::int32_t (*alert)(std::string_view, Var*, Var*) = nullptr;
  Var* last_error = nullptr;
  BlockFunction handler = nullptr;  // the default one
  struct Handled {
    Var* error;  // null: no error block runs
    Frame* frame;
    std::int32_t vars;
  } handled{};
} state;

Var* block_cell() {
  if (state.block == nullptr) state.block = NEW_VAR('N', 'U');
  return state.block;
}

Var* instance(Var* error, Instance which) {
  return element(error, which + 3);
}

std::vector<std::string> split(std::string_view text) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t at = text.find(';');
    parts.emplace_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

// Breaks an overlong line behind its commas. The position of the first comma is held against the
// number of lines, not of characters: so it has always been.
void break_at_commas(std::vector<std::string>& lines, std::size_t at) {
  const std::size_t comma = lines[at].find(',');
  if (lines[at].size() <= kLongestLine || comma == std::string::npos || comma + 1 >= lines.size())
    return;
  std::string marked;
  for (char c : lines[at]) marked += c == ',' ? ",;" : std::string(1, c);
  const std::vector<std::string> parts = split(marked);
  lines[at] = parts.front();
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at) + 1, parts.begin() + 1, parts.end());
}

std::string shorten(const std::string& line) {
  if (line.size() <= kLongestLine) return line;
  return line.substr(0, kLineHead) + " ... " + line.substr(line.size() - kLineTail);
}

Var* build_error(const RaisedError& raised) {
  Var* error = error_class().make();
  cscreara(instance(error, k_args), 0, kAllNil);
  SET_STR(instance(error, k_descriptio), error_description(raised.code, raised.text));
  SET_INT(instance(error, k_gencode), raised.code);
  SET_INT(instance(error, k_oscode), dos_error());
  SET_INT(instance(error, k_severity), raised.severity);
  SET_INT(instance(error, k_subcode), raised.subcode);
  SET_STR(instance(error, k_subsystem), raised.subsystem.empty() ? "BASE" : raised.subsystem);
  return error;
}

Var* default_block(std::int32_t argc, Var** argv, Var**) {
  Procedure p("overror", "cb_1_1_1", 1, argc);
  return p.result(deferror(argc, argv));
}

std::string_view text_instance(Var* error, Instance which) {
  Var* cell = instance(error, which);
  return is_text(cell) ? text_of(cell) : std::string_view();
}

std::int32_t int_instance(Var* error, Instance which) {
  Var* cell = instance(error, which);
  return is_number_or_logical(cell) ? integer_of(cell) : 0;
}

bool is_error_object(const Var* v) {
  return class_of(v) == &error_class();
}

std::string place_of_failure(std::int32_t level) {
  const Frame* f = frame_at(level);
  return upper_text(f != nullptr ? f->proc : "") + format_text("(%d)", f != nullptr ? f->line : 0);
}

constexpr const char* kChoices[] = {"Abort", "Ignore", "Callstack",
                                    "Debug", "Print",  "Errormessage"};
enum Choice { kAbort, kIgnore, kCallstack, kDebug, kPrint, kErrormessage };

std::vector<Choice> offered(bool notice, std::int32_t severity) {
  if (notice) return {kIgnore, kAbort, kCallstack, kDebug};
  if (severity == kFatal) return {kAbort, kCallstack, kDebug};
  return {kAbort, kIgnore, kCallstack, kDebug};
}

std::string call_stack() {
  std::string stack;
  for (std::int32_t level = 2;; ++level) {
    const Frame* f = frame_at(level);
    if (f == nullptr) return stack;
    if (!stack.empty()) stack += ';';
    stack += format_text("%-10.10s%5d:%-12.12s", upper_text(f->module).c_str(), f->line,
                         (upper_text(f->proc) + "()").c_str());
  }
}

Choice ask(std::string_view message, const std::vector<Choice>& options, Var* colour) {
  Var* list = cscreara(NEW_TEMP(), static_cast<std::int32_t>(options.size()), kAllNil);
  for (std::size_t i = 0; i < options.size(); ++i)
    SET_STR(list->shared->elements[i], kChoices[options[i]]);
  const std::int32_t answer = state.alert(message, list, colour);
  if (answer < 1 || answer > static_cast<std::int32_t>(options.size())) return kIgnore;
  return options[static_cast<std::size_t>(answer - 1)];
}

// Asks until the answer is not the call stack; its box offers the message again in its place.
Choice run_dialogue(const std::string& message, std::vector<Choice> options) {
  for (;;) {
    Choice choice = ask(message, options, nil_value());
    if (choice != kCallstack) return choice;
    std::vector<Choice> swapped = options;
    for (Choice& c : swapped)
      if (c == kCallstack) c = kErrormessage;
    choice = ask(call_stack(), swapped, nil_value());
    if (choice != kErrormessage) return choice;
  }
}

}  // namespace

const ClassDescriptor& error_class() {
  static const ClassDescriptor descriptor("error", kInstances, {});
  return descriptor;
}

std::string error_description(int code, std::string_view text) {
  std::string plain(text);
  for (char& c : plain)
    if (c == '\n') c = ';';
  std::vector<std::string> lines = split(plain);
  std::string description = std::string(error_entry(code).text) + ";";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    break_at_commas(lines, i);
    description += shorten(lines[i]);
    if (i + 1 < lines.size()) description += ';';
  }
  return description;
}

void raise_error_object(const RaisedError& raised) {
  if (!raised.always && error_threshold() > error_entry(raised.code).level) return;
  const std::int32_t mark = temp_top();
  Procedure p("overror", "_errcaller", -1, 5);
  evaluate_error_block(build_error(raised));
  p.end();
  POP_TEMPS(mark);
}

void evaluate_error_block(Var* error) {
  if (is_error_object(error)) {
    const std::int32_t code = int_instance(error, k_gencode);
    if (error_entry(code).level >= error_threshold() &&
        fails_on_exit_road(code, text_instance(error, k_descriptio)))
      return;
  }
  Var* block = block_cell();
  if (!is_block(block)) block = TMP_BLOCK(default_block);
  const Switched<ErrorObjectState::Handled> handled(state.handled,
                                                    {error, current_frame(), varstack_top()});
  // An error of a guard that a break runs on its way: the handler hears of it, but can't break again.
  if (break_on_its_way())
    in_sequence([&] { run_block_with(block, error); });
  else
    run_block_with(block, error);
  if (is_quitting() && !in_exit_procedure()) QUIT_RUN();
}

Var* set_default_handler(BlockFunction handler) {
  state.handler = handler;
  return CALL_SIMPLE(errorblock, TMP_BLOCK(handler));
}

bool tell_of_handled_error() {
  const auto [error, frame, vars] = std::exchange(state.handled, {});
  if (error == nullptr) return false;
  leave_procedures(frame, vars);
  Var* argv[] = {error, nullptr};
  (state.handler != nullptr ? state.handler : default_block)(1, argv, nullptr);
  return true;
}

const char* severity_word(std::int32_t severity) {
  switch (severity) {
    case kFatal:
      return "Fatal";
    case kRunTime:
      return "Run-time";
    case kWarning:
      return "I/O";
    default:
      return "Internal";
  }
}

std::string error_report(Var* error) {
  if (!is_error_object(error)) return "UNKNOWN ERROR";
  const std::int32_t severity = int_instance(error, k_severity),
                     code = int_instance(error, k_gencode);
  std::string report = severity_word(severity);
  report += " error ";
  report += code == kDeveloperNotice ? "(Developer warning) " : format_text("%3d", code);
  report += " in ";
  const std::string_view file = text_instance(error, k_filename);
  report += file.empty() ? place_of_failure(2) : std::string(file);
  report += ";";
  report += text_instance(error, k_descriptio);
  if (const std::int32_t subcode = int_instance(error, k_subcode); subcode != 0) {
    report += ";";
    report += text_instance(error, k_subsystem);
    if (subcode != kHiddenSubcode)
      report += (subcode < -99 || subcode > 999 ? " (***)" : format_text(" (%d)", subcode));
  }
  return report;
}

void set_alert_hook(std::int32_t (*alert)(std::string_view message, Var* options, Var* colour)) {
  state.alert = alert;
}

Var* deferror(std::int32_t argc, Var** argv) {
  Procedure p("overror", "_deferror", 1, argc);
  Var* error = p.param(argv);
  const bool known = is_error_object(error);
  const std::int32_t severity = known ? int_instance(error, k_severity) : 0;
  const bool notice = known && int_instance(error, k_gencode) == kDeveloperNotice;
  if (notice && (severity == kRunTime || severity == kWarning) && !settings().developer)
    return p.end();
  const std::string message = error_report(error);
  if (state.alert == nullptr) {
    write_output("\n" + message);
    QUIT_RUN(1);
  }
  if (run_dialogue(message, offered(notice, severity)) == kAbort) QUIT_RUN(1);
  if (state.last_error == nullptr) state.last_error = NEW_VAR('N', 'U');
  CPY_VAR(state.last_error, error);
  return p.end();
}

Var* errcaller(std::int32_t argc, Var** argv) {
  RaisedError raised{0, kRunTime, {}, 0, {}};
  if (arg_is(argc, argv, 0, "INFL")) raised.code = integer_of(argv[0]);
  if (arg_is(argc, argv, 1, "INF")) raised.severity = static_cast<Severity>(integer_of(argv[1]));
  if (arg_is(argc, argv, 2, "CM")) raised.text = text_of(argv[2]);
  if (arg_is(argc, argv, 3, "INF")) raised.subcode = integer_of(argv[3]);
  if (arg_is(argc, argv, 4, "CM")) raised.subsystem = text_of(argv[4]);
  const ErrorGuard guard;
  raise_error_object(raised);
  return nil_value();
}

Var* builtin_break(std::int32_t argc, Var** argv) {
  break_sequence(argc > 0 ? argv[0] : nil_value());
}

Var* erralert(std::int32_t argc, Var** argv) {
  if (state.alert == nullptr || !arg_is(argc, argv, 0, "CM") || !arg_is(argc, argv, 1, "A"))
    return int_zero();
  return TMP_INT(state.alert(text_of(argv[0]), argv[1], argc > 2 ? argv[2] : nil_value()));
}

Var* errorblock(std::int32_t argc, Var** argv) {
  Var* previous = ARG_VAR(block_cell());
  if (arg_is(argc, argv, 0, "Bb")) CPY_VAR(block_cell(), argv[0]);
  return previous;
}

Var* errornew(std::int32_t argc, Var** argv) {
  Procedure p("error", "errornew", -1, argc);
  Var* error = error_class().make();
  return p.result(csdoinit(error, argc, argv), 'O');
}

Var* isbegseq(std::int32_t, Var**) {
  return logical(inside_sequence());
}

Var* errinit(std::int32_t, Var**) {
  set_error_caller(raise_error_object);
  if (const Function errorsys = lookup_function("errorsys"); errorsys != nullptr) {
    const std::int32_t mark = temp_top();
    CALL_VECTOR(errorsys, 0, nullptr);
    POP_TEMPS(mark);
  }
  return true_value();
}

}  // namespace tarnel
