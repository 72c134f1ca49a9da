// Builtins on arrays beyond those of the core.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ARRAY_FUNCTION_BUILTINS(X)                                                                \
  X("acopy", acopy,                                                                               \
    "acopy(aSource, aTarget, [nStart], [nCount], [nTarget]) -> aTarget: copies elements into an " \
    "array that has them",                                                                        \
    "acopy({1, 2, 3}, {0, 0, 0}, 2, 2)[2] ==> 3")                                                 \
  X("asort", asort,                                                                               \
    "asort(aTarget, [nStart], [nCount], [bBefore]) -> aTarget: sorts elements, keeping equal "    \
    "ones in order",                                                                              \
    "asort({3, 1, 2})[1] ==> 1")                                                                  \
  X("atail", atail, "atail(aSource) -> xValue: the last element", "atail({1, 2, 3}) ==> 3")

ARRAY_FUNCTION_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kArrayFunctionBuiltins[] = {ARRAY_FUNCTION_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kArrayFunctionsModule{
    .name = "arrayfn", .subject = "Arrays", .functions = kArrayFunctionBuiltins};

}  // namespace tarnel
