// Any bytes as a program: it is checked, and when nothing is wrong it runs, for a second at most and without an
// error handler that ends it. Of the functions only core's and the string functions are reachable, without those that
// end the run or ask for memory by the gigabyte.
#include <string>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/runtime.h"
#include "core/sequence.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "fuzz/limited.h"
#include "lang/program.h"
#include "lib/strings.h"
#include "lib/strings_search.h"
#include "macro/evaluator.h"

namespace tarnel {
namespace {

constexpr FunctionEntry kGuards[] = {
    {"__quit", nothing, nullptr},
    {"__shutdown", nothing, nullptr},
    {"_deferror", nothing, nullptr},
    {"errorblock", nothing, nullptr},
    {"array", limited<array>, nullptr},
    {"asize", limited<asize>, nullptr},
    {"padc", limited<padc>, nullptr},
    {"padl", limited<padl>, nullptr},
    {"padr", limited<padr>, nullptr},
    {"space", limited<space>, nullptr},
    {"replicate", limited<replicate>, nullptr},
    {"stuff", limited<stuff>, nullptr},
    {"strtran", limited<strtran>, nullptr},
    {"qout", nothing, nullptr},
    {"qqout", nothing, nullptr},
};
constexpr ModuleRecord kGuardModule{.name = "fuzz", .functions = kGuards};
constexpr std::array kGuardModules = {&kGuardModule};
constexpr std::array kTextModules = {&kSearchModule, &kStringsModule};
constexpr auto kModules = join_modules(kGuardModules, kTextModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

// Stands for a handler that lets the run go on.
Var* look_at_error(std::int32_t, Var**, Var**) {
  return nil_value();
}

bool start() {
  init_macro();
  start_library({kFunctions.table(), kModules});
  Var* block[] = {TMP_BLOCK(look_at_error)};
  errorblock(1, block);
  return true;
}

void give_up() {
  break_sequence(nil_value());
}

}  // namespace
}  // namespace tarnel

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace tarnel;
  static const bool started = start();
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
