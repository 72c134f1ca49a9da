// tnsh, the console of the runtime.
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "console/line_editor.h"
#include "console/progress.h"
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
    "usage: tnsh [-e EXPR]... [FILE]\n"
    "  -e EXPR  evaluates an expression and prints its value\n"
    "  FILE     runs the lines of a file; without it and -e those of standard input\n";
constexpr int kWrongUse = 2;

struct CommandLine {
  std::vector<const char*> expressions;
  const char* file = nullptr;
};

[[noreturn]] void usage(int descriptor, int status) {
  write_fully(descriptor, kUsage);
  _exit(status);
}

CommandLine parse(int argc, char** argv) {
  CommandLine line;
  for (int option; (option = getopt(argc, argv, "e:h")) != -1;) {
    if (option == 'h') usage(STDOUT_FILENO, 0);
    if (option != 'e') usage(STDERR_FILENO, kWrongUse);
    line.expressions.push_back(optarg);
  }
  if (optind < argc) line.file = argv[optind++];
  if (optind < argc) usage(STDERR_FILENO, kWrongUse);
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
  else if (isatty(STDIN_FILENO) != 0)
    run_interactive();
  else
    run_lines(STDIN_FILENO, "standard input");
}

Var* console_main(std::int32_t, Var**) {
  set_interrupt_answer(InterruptAnswer::kLeave);
  open_session();
  show_progress();
  tell_of_orders();
  run(command_line);
  return nil_value();
}

constexpr FunctionEntry kMainFunctions[] = {{"main", console_main, nullptr}};
constexpr ModuleRecord kMainModule{.name = "console", .functions = kMainFunctions};
constexpr std::array kConsoleModules = {&kMainModule};
constexpr auto kModules = join_modules(kConsoleModules, kTermModules, kDbModules, kLibModules, kCoreModules);
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
