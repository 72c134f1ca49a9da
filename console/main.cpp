// tnsh, the console of the runtime.
#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "console/line_editor.h"
#include "console/open_commands.h"
#include "console/progress.h"
#include "console/screen_session.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "core/core_modules.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "lib/streams.h"
#include "macro/evaluator.h"
#include "term/term_modules.h"

namespace tarnel {
namespace {

constexpr const char* kUsage =
    "usage: tnsh [-s] [-w|-x|-readonly] [-e EXPR]... [TABLE.dbf]... [FILE]\n"
    "  -e EXPR       evaluates an expression and prints its value\n"
    "  -s, --screen  runs them on a screen, where values aren't printed\n"
    "  -w, -x        opens the tables to write them, -x for nobody else\n"
    "  -readonly     lets .open open tables for reading only\n"
    "  TABLE.dbf     is opened, by default shared and for reading only\n"
    "  FILE          runs the lines of a file; without it and -e those of standard input\n";
constexpr int kWrongUse = 2;

struct CommandLine {
  std::vector<const char*> expressions, tables;
  const char* file = nullptr;
  OpenFor use = OpenFor::kReading;
  bool on_screen = false;
};

bool reads_input(const CommandLine& line) {
  return line.file == nullptr && line.expressions.empty();
}

[[noreturn]] void usage(int descriptor, int status) {
  write_fully(descriptor, kUsage);
  _exit(status);
}

// What an option does with its argument, null for one that has none. Letters are short forms.
struct Option {
  const char* name;  // null: it has only a letter
  int letter;
  bool with_argument;
  void (*take)(CommandLine& line, const char* argument);
};
constexpr Option kOptions[] = {
    {nullptr, 'e', true, [](CommandLine& line, const char* a) { line.expressions.push_back(a); }},
    {"help", 'h', false, [](CommandLine&, const char*) { usage(STDOUT_FILENO, 0); }},
    {"readonly", 'r', false, [](CommandLine&, const char*) { forbid_writing(); }},
    {"screen", 's', false, [](CommandLine& line, const char*) { line.on_screen = true; }},
    {nullptr, 'w', false, [](CommandLine& line, const char*) { line.use = OpenFor::kWriting; }},
    {nullptr, 'x', false, [](CommandLine& line, const char*) { line.use = OpenFor::kAlone; }},
};

bool is_table_name(std::string_view name) {
  return name.size() > 4 && same_letters(name.substr(name.size() - 4), ".dbf");
}

void take_operand(CommandLine& line, const char* name) {
  if (is_table_name(name))
    line.tables.push_back(name);
  else if (line.file == nullptr)
    line.file = name;
  else
    usage(STDERR_FILENO, kWrongUse);
}

CommandLine parse(int argc, char** argv) {
  CommandLine line;
  std::string letters;
  std::vector<option> names;
  for (const Option& known : kOptions) {
    letters.append(1, static_cast<char>(known.letter)).append(known.with_argument ? ":" : "");
    if (known.name != nullptr)
      names.push_back({known.name, known.with_argument ? required_argument : no_argument, nullptr,
                       known.letter});
  }
  names.push_back({});
  for (int c; (c = getopt_long_only(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
    const auto* known = std::ranges::find(kOptions, c, &Option::letter);
    if (known == std::end(kOptions)) usage(STDERR_FILENO, kWrongUse);
    known->take(line, optarg);
  }
  while (optind < argc) take_operand(line, argv[optind++]);
  if (line.on_screen && reads_input(line) && isatty(STDIN_FILENO) != 0)
    usage(STDERR_FILENO, kWrongUse);
  return line;
}

CommandLine command_line;

// The first one becomes the current table.
void open_tables_of(const CommandLine& line) {
  for (const char* table : line.tables) open_for_person(table, "", line.use);
  if (area_list() != nullptr && line.tables.size() > 1) {
    const TempsMark mark;
    ogsSelect(TMP_INT(area_list()->number), SelectMode::kExisting);
  }
}

void run(const CommandLine& line) {
  open_tables_of(line);
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
