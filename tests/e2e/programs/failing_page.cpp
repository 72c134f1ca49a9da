// A CGI program whose application fails in its first statement.
#include "core/core_modules.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/runtime.h"
#include "frontend/error_page.h"
#include "frontend/log.h"
#include "frontend/request.h"
#include "frontend/state_object.h"
#include "frontend/toolkit.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"

namespace tarnel {
namespace {

Var* failing_main(std::int32_t argc, Var** argv) {
  Procedure p("failing", "tarnelmain", 7, argc);
  Var* env = p.param(argv);
  LINE_HOOK(9);
  csuaddu(TMP_STR("100% <&name> "), env, false);
  write_line("nothing of this may be seen");
  return p.end();
}

constexpr FunctionEntry kFailingFunctions[] = {{"tarnelmain", failing_main, nullptr}};
constexpr ModuleRecord kFailing{.name = "failing", .functions = kFailingFunctions};
constexpr std::array<const ModuleRecord*, 6> kApplication = {
    &kFailing, &kRequestModule, &kLogModule, &kToolkitModule, &kStateModule, &kErrorPageModule};
constexpr auto kModules = join_modules(kApplication, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

}  // namespace
}  // namespace tarnel

int main(int argc, char** argv) {
  tarnel::runtime_hooks().setup = tarnel::init_macro;
  tarnel::START_RUNTIME(argc, argv, {tarnel::kFunctions.table(), tarnel::kModules});
}
