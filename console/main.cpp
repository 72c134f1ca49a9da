// tnsh, the console of the runtime.
#include <getopt.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "console/line_editor.h"
#include "console/progress.h"
#include "console/screen_session.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "core/core_modules.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "lib/streams.h"
#include "macro/evaluator.h"
#include "term/term_modules.h"

namespace tarnel {
namespace {

constexpr const char* kUsage =
    "usage: tnsh [-s] [-e EXPR]... [FILE]\n"
    "  -e EXPR       evaluates an expression and prints its value\n"
    "  -s, --screen  runs them on a screen, where values aren't printed\n"
    "  FILE          runs the lines of a file; without it and -e those of standard input\n";
constexpr int kWrongUse = 2;

struct CommandLine {
  std::vector<const char*> expressions;
  const char* file = nullptr;
  bool on_screen = false;
};

bool reads_input(const CommandLine& line) {
  return line.file == nullptr && line.expressions.empty();
}

[[noreturn]] void usage(int descriptor, int status) {
  write_fully(descriptor, kUsage);
  _exit(status);
}

CommandLine parse(int argc, char** argv) {
  CommandLine line;
  static constexpr option kLong[] = {{"screen", no_argument, nullptr, 's'}, {}};
  for (int letter; (letter = getopt_long(argc, argv, "e:hs", kLong, nullptr)) != -1;) {
    if (letter == 'h') usage(STDOUT_FILENO, 0);
    if (letter == 's')
      line.on_screen = true;
    else if (letter == 'e')
      line.expressions.push_back(optarg);
    else
      usage(STDERR_FILENO, kWrongUse);
  }
  if (optind < argc) line.file = argv[optind++];
  const bool needs_file = line.on_screen && reads_input(line) && isatty(STDIN_FILENO) != 0;
  if (optind < argc || needs_file) usage(STDERR_FILENO, kWrongUse);
  return line;
}

CommandLine command_line;

void run(const CommandLine& line) {
  for (const char* expression : line.expressions)
    if (!run_line(expression)) return;
  if (line.file != nullptr)
    run_file(line.file);
  else if (!line.expressions.empty())
    return;
  else if (!line.on_screen && isatty(STDIN_FILENO) != 0)
    run_interactive();
  else
    run_lines(STDIN_FILENO, "standard input");
}

void run_on_screen(const CommandLine& line) {
  const SessionScreen screen;
  if (screen.fault().empty()) return run(line);
  tell("tnsh: " + screen.fault());
  set_exit_status(kWrongUse);
}

Var* console_main(std::int32_t, Var**) {
  set_interrupt_answer(InterruptAnswer::kLeave);
  open_session();
  show_progress();
  tell_of_orders();
  let_accept_read_input(!reads_input(command_line));
  if (command_line.on_screen)
    run_on_screen(command_line);
  else
    run(command_line);
  return nil_value();
}

constexpr FunctionEntry kMainFunctions[] = {{"main", console_main, nullptr}};
constexpr ModuleRecord kMainModule{.name = "console", .functions = kMainFunctions};
constexpr std::array kConsoleModules = {&kMainModule};
constexpr auto kModules =
    join_modules(kConsoleModules, kTermModules, kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  using namespace tarnel;
  command_line = parse(argc, argv);
  runtime_hooks().setup = [] {
    init_macro();
    init_db();
  };
  runtime_hooks().close_files = close_streams;
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
