// The main program of a translated program on a console: the runtime with all its modules, and the program's entry with
// the arguments of the command line as texts.
#include <array>
#include <span>
#include <vector>

#include "core/core_modules.h"
#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "frontend/state_object.h"
#include "lib/lib_modules.h"
#include "lib/streams.h"
#include "macro/macro.h"
#include "macro/program_files.h"
#include "native/program.h"
#include "term/prompts.h"
#include "term/term_modules.h"

extern const tarnel::TranslatedProgram translated_program;

namespace tarnel {
namespace {

std::span<char*> arguments;

Var* program_main(std::int32_t, Var**) {
  set_interrupt_answer(InterruptAnswer::kLeave);
  settings().commands = true;
  set_default_handler(end_with_report);
  if (!start_translated(translated_program)) {
    set_exit_status(1);
    return nil_value();
  }
  std::vector<Var*> cells;
  for (const char* argument : arguments) cells.push_back(TMP_TEXT(argument));
  const Var* const result =
      run_translated(translated_program, static_cast<std::int32_t>(cells.size()), cells.data());
  end_last_line();
  set_exit_status(status_of(result));
  return nil_value();
}

constexpr FunctionEntry kMainFunctions[] = {{"main", program_main, nullptr}};
constexpr ModuleRecord kMainModule{.name = "program", .functions = kMainFunctions};
constexpr std::array kOwnModules = {&kMainModule, &kTranslatedModule, &kProgramFilesModule,
                                    &kStateModule};
constexpr auto kModules = join_modules(kOwnModules, kTermModules, kDbModules, kLibModules,
                                       kBorrowedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  using namespace tarnel;
  arguments = {argv + 1, static_cast<std::size_t>(argc > 0 ? argc - 1 : 0)};
  runtime_hooks().setup = [] {
    init_macro();
    init_db();
  };
  runtime_hooks().close_files = close_streams;
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
