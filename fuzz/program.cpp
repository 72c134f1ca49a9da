// Any bytes as a program: it is checked, and when nothing is wrong it runs, for a second at most and without an
// error handler that ends it.
#include <string>

#include "core/sequence.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "fuzz/guards.h"
#include "lang/program.h"

namespace tarnel {
namespace {

constexpr FunctionEntry kOwn[] = {{"qout", nothing, nullptr}, {"qqout", nothing, nullptr}};
constexpr ModuleRecord kOwnModule{.name = "fuzz", .functions = kOwn};
constexpr std::array kOwnModules = {&kOwnModule};
constexpr auto kModules = join_modules(kOwnModules, kGuardedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

Var* go_on(std::int32_t, Var**, Var**) {
  return nil_value();
}

void give_up() {
  break_sequence(nil_value());
}

}  // namespace
}  // namespace tarnel

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace tarnel;
  static const bool started = start_guarded({kFunctions.table(), kModules}, go_on);
  static_cast<void>(started);
  const std::int32_t mark = temp_top();
  std::string report;
  LoadedProgram* const program =
      LoadedProgram::of_text(size > 0 && data[0] == '<' ? "x.tnp" : "x.prg",
                             std::string(reinterpret_cast<const char*>(data), size), report);
  if (program != nullptr) {
    in_sequence([&] {
      const RunWatch watch(give_up);  // after half a second
      if (program->start() && program->entry() != nullptr) program->entry()->call(0, nullptr);
    });
    RELEASE_ALL(true);
    POP_TEMPS(mark);
    program->discard();
  }
  POP_TEMPS(mark);
  return 0;
}
