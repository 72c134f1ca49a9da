// What targets that run any expression share: of the functions only core's and the string functions are reachable,
// without those that end the run or ask for memory by the gigabyte.
#pragma once

#include <array>
#include <cstdint>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/runtime.h"
#include "lib/strings.h"
#include "lib/strings_search.h"
#include "macro/evaluator.h"

namespace tarnel {

constexpr std::int32_t kMost = 100;  // bytes or elements that a function may be asked for

inline Var* nothing(std::int32_t, Var**) {
  return nil_value();
}

// A function that isn't called when one of its numbers is large or a text of it has grown.
template <Callable function>
Var* limited(std::int32_t argc, Var** argv) {
  for (std::int32_t i = 0; i < argc; ++i) {
    if (argv[i] == nullptr) continue;
    if (is_number_or_logical(argv[i]) && integer_of(argv[i]) > kMost) return nil_value();
    if (is_text(argv[i]) && argv[i]->length > kMost * kMost) return nil_value();
  }
  return function(argc, argv);
}

inline constexpr FunctionEntry kGuards[] = {{"__quit", nothing, nullptr},
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
                                            {"strtran", limited<strtran>, nullptr}};
inline constexpr ModuleRecord kGuardModule{.name = "guards", .functions = kGuards};
inline constexpr std::array kGuardedModules = {&kGuardModule, &kSearchModule, &kStringsModule};

// Starts the runtime with a handler that lets the run go on.
inline bool start_guarded(const Program& program, BlockFunction handler) {
  init_macro();
  start_library(program);
  Var* block[] = {TMP_BLOCK(handler)};
  errorblock(1, block);
  return true;
}

}  // namespace tarnel
