// tnsh, the console of the runtime.
#include <getopt.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "console/line_editor.h"
#include "console/open_commands.h"
#include "console/output_target.h"
#include "console/program_run.h"
#include "console/progress.h"
#include "console/row_commands.h"
#include "console/screen_session.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "core/arrays.h"
#include "core/core_modules.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "db/open_manner.h"
#include "frontend/state_object.h"
#include "lib/lib_modules.h"
#include "lib/streams.h"
#include "macro/evaluator.h"
#include "macro/program_files.h"
#include "term/term_modules.h"

namespace tarnel {
namespace {

constexpr const char* kUsage =
    "usage: tnsh [OPTIONS] [TABLE.dbf]... [FILE [ARGUMENT]...]\n"
    "       tnsh [OPTIONS] PROGRAM.prg... [[--] ARGUMENT...]\n"
    "  -e EXPR       evaluates an expression, or runs a command, and prints its value\n"
    "  -s, --screen  runs them on a screen, where values aren't printed\n"
    "  -w, -x        opens the tables to write them, -x for nobody else\n"
    "  -readonly     lets .open open tables for reading only\n"
    "  -csv, -json, -line  chooses how rows are shown, as .mode does\n"
    "  -bail         ends the run with the first line that complains\n"
    "  -init FILE    runs the lines of a file first\n"
    "  -cmd LINE     runs a line before the input\n"
    "  -c            only checks the programs\n"
    "  -I FOLDER     is searched for what programs include\n"
    "  --version     tells which version this is\n"
    "  TABLE.dbf     is opened, by default shared and for reading only\n"
    "  FILE          runs the lines of a file; without it and -e those of standard input\n"
    "  ARGUMENT      is what the file finds in the array aArgs\n"
    "  PROGRAM.prg   runs the procedure main, or the first one, with the arguments\n"
    "                (-x: FILE is a program whatever its name; -w: warns of undeclared names)\n";
constexpr const char* kVersion = "tnsh 1.10\n";
constexpr int kWrongUse = 2;

struct CommandLine {
  std::vector<const char*> expressions, tables, beginnings;
  const char *init = nullptr, *mode = nullptr;
  const char* file = nullptr;
  std::vector<std::string> programs;
  ProgramOptions program_options;
  bool only_check = false;
  std::vector<const char*> arguments;  // of the file
  OpenFor use = OpenFor::kReading;
  bool on_screen = false;
};

bool reads_input(const CommandLine& line) {
  return line.file == nullptr && line.expressions.empty() && line.programs.empty();
}

[[noreturn]] void usage(int descriptor, int status) {
  write_fully(descriptor, kUsage);
  _exit(status);
}

[[noreturn]] void tell_version() {
  write_fully(STDOUT_FILENO, kVersion);
  _exit(0);
}

// What an option does with its argument, null for one that has none. Letters are short forms.
struct Option {
  const char* name;  // null: it has only a letter
  int letter;
  bool with_argument;
  void (*take)(CommandLine& line, const char* argument);
};
constexpr Option kOptions[] = {
    {"bail", 'b', false, [](CommandLine&, const char*) { session_switches().bail = true; }},
    {nullptr, 'c', false, [](CommandLine& line, const char*) { line.only_check = true; }},
    {"cmd", 'D', true, [](CommandLine& line, const char* a) { line.beginnings.push_back(a); }},
    {"csv", 'C', false, [](CommandLine& line, const char*) { line.mode = "csv"; }},
    {nullptr, 'e', true, [](CommandLine& line, const char* a) { line.expressions.push_back(a); }},
    {"help", 'h', false, [](CommandLine&, const char*) { usage(STDOUT_FILENO, 0); }},
    {nullptr, 'I', true,
     [](CommandLine& line, const char* a) {
       line.program_options.include_folders.emplace_back(a);
     }},
    {"init", 'i', true, [](CommandLine& line, const char* a) { line.init = a; }},
    {"json", 'J', false, [](CommandLine& line, const char*) { line.mode = "json"; }},
    {"line", 'L', false, [](CommandLine& line, const char*) { line.mode = "line"; }},
    {"readonly", 'r', false, [](CommandLine&, const char*) { tables_only_read() = true; }},
    {"screen", 's', false, [](CommandLine& line, const char*) { line.on_screen = true; }},
    {"version", 'V', false, [](CommandLine&, const char*) { tell_version(); }},
    {nullptr, 'w', false,
     [](CommandLine& line, const char*) {
       line.use = OpenFor::kWriting;
       line.program_options.warn = true;
     }},
    {nullptr, 'x', false, [](CommandLine& line, const char*) { line.use = OpenFor::kAlone; }},
};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() &&
         same_letters(name.substr(name.size() - ending.size()), ending);
}

// Without a table -x can only mean that the file is a program.
bool names_program(const CommandLine& line, const char* name) {
  return ends_with(name, ".prg") ||
         ((line.use == OpenFor::kAlone || line.only_check) && line.tables.empty());
}

// Behind the first name that is no table's all belongs to that file.
void take_operand(CommandLine& line, const char* name) {
  if (line.file != nullptr)
    line.arguments.push_back(name);
  else if (ends_with(name, ".dbf"))
    line.tables.push_back(name);
  else if (names_program(line, name))
    line.programs.emplace_back(name);
  else
    line.file = name;
}

// Behind a program: further ones, then its arguments, which -- may separate.
void take_arguments(CommandLine& line, std::span<char*> names) {
  std::size_t at = 0;
  while (at < names.size() && ends_with(names[at], ".prg")) line.programs.emplace_back(names[at++]);
  if (at < names.size() && std::string_view(names[at]) == "--") ++at;
  line.arguments.assign(names.begin() + static_cast<std::ptrdiff_t>(at), names.end());
}

CommandLine parse(int argc, char** argv) {
  constexpr int kOperand = 1;
  CommandLine line;
  std::string letters = "-";  // operands come in their place among the options
  std::vector<option> names;
  for (const Option& known : kOptions) {
    letters.append(1, static_cast<char>(known.letter)).append(known.with_argument ? ":" : "");
    if (known.name != nullptr)
      names.push_back({known.name, known.with_argument ? required_argument : no_argument, nullptr,
                       known.letter});
  }
  names.push_back({});
  for (int c; line.file == nullptr && line.programs.empty() &&
              (c = getopt_long_only(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
    if (c == kOperand) {
      take_operand(line, optarg);
      continue;
    }
    const auto* known = std::ranges::find(kOptions, c, &Option::letter);
    if (known == std::end(kOptions)) usage(STDERR_FILENO, kWrongUse);
    known->take(line, optarg);
  }
  if (!line.programs.empty())
    take_arguments(line, {argv + optind, argv + argc});
  else
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

bool at_prompt(const CommandLine& line) {
  return reads_input(line) && !line.on_screen && isatty(STDIN_FILENO) != 0;
}

// ~/.tnshrc, for a person only: what a script does depends on the script alone.
bool run_own_beginning() {
  const char* const home = std::getenv("HOME");
  const std::string file = std::string(home != nullptr ? home : "") + "/.tnshrc";
  return home == nullptr || access(file.c_str(), F_OK) != 0 || run_file(file.c_str());
}

void make_arguments(const CommandLine& line) {
  const TempsMark mark;
  Var* arguments = NEW_TEMP();
  cscreara(arguments, static_cast<std::int32_t>(line.arguments.size()), kAllNil);
  for (std::size_t i = 0; i < line.arguments.size(); ++i)
    CPY_VAR(element(arguments, static_cast<std::int32_t>(i) + 1), TMP_TEXT(line.arguments[i]));
  set_session_variable("aArgs", arguments);
}

void run(const CommandLine& line) {
  make_arguments(line);
  if (line.init == nullptr && at_prompt(line) && !run_own_beginning()) return;
  open_tables_of(line);
  if (line.init != nullptr && !run_file(line.init)) return;
  if (line.mode != nullptr) choose_mode(line.mode);
  for (const auto& lines : {line.beginnings, line.expressions})
    for (const char* text : lines)
      if (!run_or_bail(text)) return;
  if (line.file != nullptr)
    run_file(line.file);
  else if (!line.expressions.empty())
    return;
  else if (at_prompt(line))
    run_interactive();
  else
    run_lines(STDIN_FILENO, "standard input");
}

void run_program_files(const CommandLine& line) {
  open_tables_of(line);
  run_programs(line.programs, line.program_options, line.arguments);
}

void run_on_screen(const CommandLine& line) {
  const SessionScreen screen;
  if (screen.fault().empty()) return run(line);
  tell("tnsh: " + screen.fault());
  set_exit_status(kWrongUse);
}

Var* console_main(std::int32_t, Var**) {
  set_interrupt_answer(InterruptAnswer::kLeave);
  set_error_writer(write_for_reader);
  settings().commands = true;  // who sits here has the shell anyway
  if (command_line.only_check) {
    set_exit_status(check_programs(command_line.programs, command_line.program_options));
    return nil_value();
  }
  if (command_line.programs.empty())
    open_session();  // programs have errors and variables of their own
  guard_terminal();
  show_progress();
  tell_of_orders();
  let_accept_read_input(!reads_input(command_line));
  if (!command_line.programs.empty())
    run_program_files(command_line);
  else if (command_line.on_screen)
    run_on_screen(command_line);
  else
    run(command_line);
  end_output();
  return nil_value();
}

constexpr FunctionEntry kMainFunctions[] = {{"main", console_main, nullptr}};
constexpr ModuleRecord kMainModule{.name = "console", .functions = kMainFunctions};
// The state object is that of pages: what a page's procedures do can be tried here.
constexpr std::array kConsoleModules = {&kMainModule, &kProgramModule, &kProgramFilesModule,
                                        &kStateModule};
constexpr auto kModules = join_modules(kConsoleModules, kTermModules, kDbModules, kLibModules,
                                       kBorrowedModules, kCoreModules);
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
