// Starts the runtime for the tests of term.
#include "core/core_modules.h"
#include "lib/lib_modules.h"
#include "term/term_modules.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

constexpr auto kModules = join_modules(kTermModules, kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
const auto* runtime = start_before_tests({kFunctions.table(), kModules});

}  // namespace
}  // namespace tarnel::testing
