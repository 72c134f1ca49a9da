// The main program of a translated program that answers requests: the front end, which calls tarnelmain(), and behind it
// the program's entry with the environment, the form and the state object.
#include <array>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "frontend/error_page.h"
#include "frontend/escaped_toolkit.h"
#include "frontend/log.h"
#include "frontend/request.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lib/lib_modules.h"
#include "lib/streams.h"
#include "macro/macro.h"
#include "macro/program_files.h"
#include "native/program.h"
#include "term/term_modules.h"

extern const tarnel::TranslatedProgram translated_program;

namespace tarnel {
namespace {

Var* answer_request(std::int32_t argc, Var** argv) {
  return start_translated(translated_program) ? run_translated(translated_program, argc, argv)
                                              : nil_value();
}

constexpr FunctionEntry kRequestEntry[] = {{"tarnelmain", answer_request, nullptr}};
constexpr ModuleRecord kRequestEntryModule{.name = "program", .functions = kRequestEntry};
constexpr std::array<const ModuleRecord*, 9> kFrontEnd = {
    &kRequestEntryModule, &kRequestModule,        &kLogModule,
    &kToolkitModule,      &kEscapedToolkitModule, &kStateModule,
    &kErrorPageModule,    &kTranslatedModule,     &kProgramFilesModule};
constexpr auto kModules =
    join_modules(kFrontEnd, kTermModules, kDbModules, kLibModules, kBorrowedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  using namespace tarnel;
  runtime_hooks().setup = [] {
    init_macro();
    init_db();
    log_orders();
  };
  runtime_hooks().close_files = close_streams;
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
