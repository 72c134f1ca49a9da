// The class tnstate: a bag of named values that every page receives as its third argument.
#pragma once

#include "core/classes.h"
#include "core/modules.h"

namespace tarnel {

#define STATE_BUILTINS(X)                                                  \
  X("tnstate", tnstate, "tnstate() -> oState: a new request state object") \
  X("tnstatenew", tnstate, nullptr)

STATE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kStateBuiltins[] = {STATE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kStateModule{.name = "tnstate", .functions = kStateBuiltins};

}  // namespace tarnel
