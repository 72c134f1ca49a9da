// The CGI program for pages that are files: its modules in link order, and the start.
#include <array>

#include "core/core_modules.h"
#include "core/errors.h"
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
#include "macro/macro.h"
#include "macro/program_files.h"
#include "term/term_modules.h"
#include "webpage/page_answer.h"
#include "webpage/page_errors.h"
#include "webpage/page_functions.h"
#include "webpage/page_run.h"

namespace {

using namespace tarnel;

constexpr std::array<const ModuleRecord*, 10> kPageModules = {
    &kPageFunctionsModule, &kPageRunModule,        &kPageErrorsModule, &kLogModule,
    &kToolkitModule,       &kEscapedToolkitModule, &kStateModule,      &kErrorPageModule,
    &kProgramModule,       &kProgramFilesModule};
// Those of other libraries that cost a page nothing before it calls them.
constexpr std::array<const ModuleRecord*, 3> kBorrowed = {&kDigestsModule, &kJsonModule,
                                                          &kUtf8Module};
constexpr auto kModules =
    join_modules(kPageModules, kTermModules, kDbModules, kLibModules, kBorrowed, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace

int main(int, char** argv) {
  runtime_hooks().setup = [] {
    begin_answer();
    programs_end_lines() = false;
    set_screen_writer([](std::string_view, std::string_view) {
      RT_ERROR(320, "a page has no screen to say something on");
    });
    init_macro();
    init_db();
    log_orders();
  };
  runtime_hooks().close_files = end_page_files;
  runtime_hooks().tell_fatal = tell_fatal;
  // A query without an equals sign comes as arguments: they are a stranger's.
  START_RUNTIME(1, argv, {kFunctions.table(), kModules});
}
