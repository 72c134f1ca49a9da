// Starts the runtime for the tests of the front end, with the library beside it.
#include "core/core_modules.h"
#include "frontend/error_page.h"
#include "frontend/log.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

constexpr std::array<const ModuleRecord*, 4> kFrontEnd = {&kLogModule, &kToolkitModule,
                                                          &kStateModule, &kErrorPageModule};
constexpr auto kModules = join_modules(kFrontEnd, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
const auto* runtime = start_before_tests({kFunctions.table(), kModules}, init_macro);

}  // namespace
}  // namespace tarnel::testing
