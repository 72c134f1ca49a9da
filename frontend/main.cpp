// The CGI program: its modules in link order, and the start.
#include <array>

#include "core/core_modules.h"
#include "core/runtime.h"
#include "frontend/error_page.h"
#include "frontend/log.h"
#include "frontend/request.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lib/lib_modules.h"
#include "pages/pages.h"
#include "term/terminal.h"

namespace {

using namespace tarnel;

constexpr std::array<const ModuleRecord*, 6> kFrontEnd = {
    &kRequestModule, &kLogModule, &kToolkitModule, &kStateModule, &kErrorPageModule, &kPagesModule};
constexpr auto kModules = join_modules(kFrontEnd, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

void setup() {}

}  // namespace

int main(int argc, char** argv) {
  runtime_hooks().setup = setup;
  runtime_hooks().open_terminal = open_terminal;
  START_RUNTIME(argc, argv, {kFunctions.table(), kModules});
}
