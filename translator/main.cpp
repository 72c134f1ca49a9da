// tnc, which turns program files into C++.
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "core/core_modules.h"
#include "core/descriptors.h"
#include "core/output.h"
#include "core/runtime.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "frontend/error_page.h"
#include "frontend/escaped_toolkit.h"
#include "frontend/log.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lang/program.h"
#include "lib/lib_modules.h"
#include "lib/replacement_file.h"
#include "macro/macro.h"
#include "macro/program_files.h"
#include "native/program.h"
#include "term/term_modules.h"
#include "translator/translation.h"

namespace tarnel {
namespace {

constexpr const char* kUsage =
    "usage: tnc [OPTIONS] PROGRAM.prg... -o FILE.cpp\n"
    "  -o FILE     is what the C++ is written to\n"
    "  -I FOLDER   is searched for what programs include\n"
    "  -w          warns of undeclared names\n"
    "  --version   tells which version this is\n";
constexpr const char* kVersion = "tnc 1.10\n";
constexpr int kWrong = 2;

struct CommandLine {
  std::vector<std::string> programs;
  ProgramOptions options;
  std::string target;
} line;

[[noreturn]] void tell_and_leave(int descriptor, const char* text, int status) {
  write_fully(descriptor, text);
  _exit(status);
}

void parse(int argc, char** argv) {
  constexpr option kNames[] = {{"help", no_argument, nullptr, 'h'},
                               {"version", no_argument, nullptr, 'V'},
                               {nullptr, 0, nullptr, 0}};
  for (int c; (c = getopt_long(argc, argv, "o:I:w", kNames, nullptr)) != -1;) switch (c) {
      case 'o':
        line.target = optarg;
        break;
      case 'I':
        line.options.include_folders.emplace_back(optarg);
        break;
      case 'w':
        line.options.warn = true;
        break;
      case 'h':
        tell_and_leave(STDOUT_FILENO, kUsage, 0);
      case 'V':
        tell_and_leave(STDOUT_FILENO, kVersion, 0);
      default:
        tell_and_leave(STDERR_FILENO, kUsage, kWrong);
    }
  line.programs.assign(argv + optind, argv + argc);
  if (line.programs.empty() || line.target.empty()) tell_and_leave(STDERR_FILENO, kUsage, kWrong);
}

bool is_a_source(const std::string& target) {
  struct stat there, source;
  return stat(target.c_str(), &there) == 0 &&
         std::ranges::any_of(line.programs, [&](const std::string& program) {
           return stat(program.c_str(), &source) == 0 && source.st_dev == there.st_dev &&
                  source.st_ino == there.st_ino;
         });
}

mode_t usual_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

Var* translator_main(std::int32_t, Var**) {
  SourceFiles sources;
  Diagnostics diagnostics(sources);
  std::string told;
  std::vector<ProgramTree> trees;
  line.options.trees = &trees;
  LoadedProgram* const program =
      LoadedProgram::read(line.programs, line.options, sources, diagnostics, told);
  write_error(told);
  set_exit_status(kWrong);
  if (program == nullptr) return nil_value();
  if (program->entry() == nullptr) {
    write_error(line.programs.front() + ": there is no procedure to begin with\n");
    return nil_value();
  }
  if (is_a_source(line.target)) {
    write_error("tnc: " + line.target + ": is one of the programs\n");
    return nil_value();
  }
  const std::string text = translate(trees, sources, program->entry()->part().name, line.target);
  ReplacementFile file(line.target, ".tnc");
  if (file.create(usual_mode()) && file.append(text.data(), text.size()) && file.flush(false) &&
      file.take_place())
    set_exit_status(0);
  else
    write_error("tnc: " + line.target + ": " + std::strerror(errno) + "\n");
  return nil_value();
}

constexpr FunctionEntry kMainFunctions[] = {{"main", translator_main, nullptr}};
constexpr ModuleRecord kMainModule{.name = "tnc", .functions = kMainFunctions};
// All functions that a translated program may call, so that others are told of.
constexpr std::array kOwnModules = {&kMainModule,  &kProgramFilesModule, &kTranslatedModule,
                                    &kLogModule,   &kToolkitModule,      &kEscapedToolkitModule,
                                    &kStateModule, &kErrorPageModule};
constexpr auto kModules = join_modules(kOwnModules, kTermModules, kDbModules, kLibModules,
                                       kBorrowedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  using namespace tarnel;
  parse(argc, argv);
  runtime_hooks().setup = [] {
    init_macro();
    init_db();
  };
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
