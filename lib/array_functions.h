// Builtins on arrays beyond those of the core.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ARRAY_FUNCTION_BUILTINS(X)                                                             \
  X("asort", asort,                                                                            \
    "asort(aTarget, [nStart], [nCount], [bBefore]) -> aTarget: sorts elements, keeping equal " \
    "ones in order")                                                                           \
  X("atail", atail, "atail(aSource) -> xValue: the last element")

ARRAY_FUNCTION_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kArrayFunctionBuiltins[] = {ARRAY_FUNCTION_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kArrayFunctionsModule{.name = "arrayfn",
                                                    .functions = kArrayFunctionBuiltins};

}  // namespace tarnel
