// One request: the environment and the form as arrays, the header, the state object, the call of
// the application.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define REQUEST_BUILTINS(X)            \
  X("cursesinit", cursesinit, nullptr) \
  X("main", request_main, nullptr)     \
  X("programini", programini, nullptr) \
  X("tndirect", tndirect, "tndirect() -> lFalse: decodes the request and calls tarnelmain")

REQUEST_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kRequestBuiltins[] = {REQUEST_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kRequestModule{.name = "tndirect", .functions = kRequestBuiltins};

}  // namespace tarnel
