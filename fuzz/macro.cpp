// Lines of any bytes through the expander and the evaluator. Variables a to f are known, so that a
// line can leave values to those below it. Each line is also compiled once and run twice, each time with
// variables a to f undefined, and must give the same value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/classes.h"
#include "core/sequence.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "fuzz/guards.h"
#include "macro/expand.h"
#include "macro/machine.h"

namespace tarnel {
namespace {

constexpr FunctionEntry kOwn[] = {{"aclone", nothing, nullptr}, {"readvar", nothing, nullptr}};
constexpr ModuleRecord kOwnModule{.name = "fuzz", .functions = kOwn};
constexpr std::array kOwnModules = {&kOwnModule};
constexpr auto kModules = join_modules(kOwnModules, kGuardedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

// Stands for a handler that looks at the error and lets the run go on.
Var* look_at_error(std::int32_t argc, Var** argv, Var**) {
  if (argc > 0) get_ivar(argv[0], "descriptio");
  return nil_value();
}

bool start() {
  start_guarded({kFunctions.table(), kModules}, look_at_error);
  for (const char* name : {"a", "b", "c", "d", "e", "f"})
    symbol_var(ADD_SYMBOL(name))->sclass = 'U';
  return true;
}

void run(std::string_view line) {
  const std::int32_t mark = temp_top();
  std::string target;
  EXPAND_MACRO(line, target, kExpandLimit, kLeaveUnknown);
  EXP_EVAL(line);
  if (temp_top() > mark + 1) std::abort();
  POP_TEMPS(mark);
}

void undefine_variables() {
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    RELEASE_NAME(name, true);
    symbol_var(FIND_SYMBOL(name))->sclass = 'U';
  }
}

// What can be told of a value whatever cells it lies in.
std::string describe(const Var* value) {
  std::string text(1, value->type);
  if (is_text(value)) return text.append(text_of(value));
  if (is_number_or_logical(value) || value->type == 'D') return text + std::to_string(value->bits);
  return text;
}

void run_twice(std::string_view line) {
  if (line.size() > kExpandLimit || has_macro(line)) return;
  const std::int32_t names = symbol_count();
  const std::int32_t mark = temp_top();
  const CodeHold code(compile(line));
  std::string values[2];
  for (std::string& value : values) {
    undefine_variables();
    value = describe(run_code(*code, line, {0, nullptr}));
    POP_TEMPS(mark);
  }
  // A run that makes names changes what the next one finds.
  if (values[0] != values[1] && symbol_count() == names) std::abort();
}

}  // namespace
}  // namespace tarnel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarnel;
  static const bool started = start();
  static_cast<void>(started);
  std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::int32_t mark = temp_top();
  in_sequence([text]() mutable {
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      run(text.substr(0, end));
      run_twice(text.substr(0, end));
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
  });
  RELEASE_ALL(true);
  POP_TEMPS(mark);
  return 0;
}
