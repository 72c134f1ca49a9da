// What of the demo pages is no program of examples/pages/: the dispatcher, and the page that shows a whole table.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define PAGE_BUILTINS(X)                                                        \
  X("asstring", asstring, "asstring(xValue) -> cText: a field's value as text") \
  X("example6", example6, "example6(aEnv, aForm): table browser")               \
  X("ntrim", ntrim, "ntrim(nValue) -> cText: number without blanks")            \
  X("tarnelmain", tarnelmain, "tarnelmain(aEnv, aForm, oState): answers a request by a page")

PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPageBuiltins[] = {PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPagesModule{.name = "pages", .functions = kPageBuiltins};

}  // namespace tarnel
