// Searching and replacing in texts, byte by byte: neither case nor the language's order counts, but in the functions
// that say so.
#pragma once

#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// Where the pattern begins at or behind `from`, npos when it doesn't; an empty one is never found.
std::size_t find_text(std::string_view text, std::string_view pattern, std::size_t from);

#define SEARCH_BUILTINS(X)                                                                         \
  X("at", at, "at(cSearch, cText, [nStart]) -> nPos: first position, 0 if none",                   \
    "at('b', 'abcb') ==> 2")                                                                       \
  X("ati", ati, "ati(cSearch, cText, [nStart]) -> nPos: as at, whatever the case of the letters",  \
    "ati('B', 'abc') ==> 2")                                                                       \
  X("atnum", atnum,                                                                                \
    "atnum(cSearch, cText, [nWhich]) -> nPos: position of an occurrence, of the last one by "      \
    "default",                                                                                     \
    "atnum('a', 'banana', 2) ==> 4")                                                               \
  X("endswith", endswith, "endswith(cText, cEnd) -> lEnds: does the text end so",                  \
    "endswith('table.dbf', '.dbf') ==> .T.")                                                       \
  X("rat", rat, "rat(cSearch, cText) -> nPos: last position, 0 if none", "rat('b', 'abcb') ==> 4") \
  X("rati", rati, "rati(cSearch, cText) -> nPos: as rat, whatever the case of the letters",        \
    "rati('A', 'banana') ==> 6")                                                                   \
  X("startswith", startswith, "startswith(cText, cBeginning) -> lBegins: does the text begin so",  \
    "startswith('table.dbf', 'tab') ==> .T.")                                                      \
  X("strtran", strtran,                                                                            \
    "strtran(cText, cSearch, [cReplace], [nStart], [nCount]) -> cText: occurrences replaced",      \
    "strtran('a-b-c', '-', '+') ==> a+b+c")

SEARCH_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kSearchBuiltins[] = {SEARCH_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kSearchModule{
    .name = "search", .subject = "Texts", .functions = kSearchBuiltins};

}  // namespace tarnel
