// Searching and replacing in texts, byte by byte: neither case nor the language's order counts.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define SEARCH_BUILTINS(X)                                                       \
  X("at", at, "at(cSearch, cText, [nStart]) -> nPos: first position, 0 if none") \
  X("rat", rat, "rat(cSearch, cText) -> nPos: last position, 0 if none")         \
  X("strtran", strtran,                                                          \
    "strtran(cText, cSearch, [cReplace], [nStart], [nCount]) -> cText: occurrences replaced")

SEARCH_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kSearchBuiltins[] = {SEARCH_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kSearchModule{.name = "search", .functions = kSearchBuiltins};

}  // namespace tarnel
