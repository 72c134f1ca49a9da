// What of the demo pages is no program of examples/pages/: the dispatcher.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define PAGE_BUILTINS(X) \
  X("tarnelmain", tarnelmain, "tarnelmain(aEnv, aForm, oState): answers a request by a page")

PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageBuiltins[] = {PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPagesModule{.name = "pages", .functions = kPageBuiltins};

}  // namespace tarnel
