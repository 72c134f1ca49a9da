// The CGI program: its modules in link order, and the start.
#include <array>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "core/system_log.h"
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
#include "pages/pages.h"
#include "pages/programs.cpp"  // as a whole, since the compiler makes the table of functions
#include "term/term_modules.h"

namespace {

using namespace tarnel;

constexpr std::array<const ModuleRecord*, 8> kFrontEnd = {
    &kRequestModule, &kLogModule,       &kToolkitModule,   &kEscapedToolkitModule,
    &kStateModule,   &kErrorPageModule, &program::kModule, &kPagesModule};
constexpr auto kModules =
    join_modules(kFrontEnd, kTermModules, kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace

int main(int argc, char** argv) {
  runtime_hooks().setup = [] {
#ifdef TARNEL_LOG_SOCKET  // a program under test
    system_log_socket() = TARNEL_LOG_SOCKET;
#endif
    init_macro();
    init_db();
    log_orders();
  };
  runtime_hooks().close_files = close_streams;
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
