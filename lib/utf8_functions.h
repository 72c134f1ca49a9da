// Texts in UTF-8 by their characters, and the way between UTF-8 and other character sets.
//
// A byte that belongs to no character counts as one, and stays as it is.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define UTF8_BUILTINS(X)                                                                        \
  X("fromutf8", fromutf8,                                                                       \
    "fromutf8(cText, cSet) -> cText: a text in UTF-8 as bytes of another set, with ? for what " \
    "that hasn't: cp437 cp850 cp852 cp866 cp1250 cp1251 cp1252 latin1",                         \
    "asc(fromutf8(toutf8(chr(228), 'latin1'), 'cp437')) ==> 132")                               \
  X("toutf8", toutf8, "toutf8(cText, cSet) -> cText: a text of another set in UTF-8",           \
    "len(toutf8(chr(228), 'latin1')) ==> 2")                                                    \
  X("utf8left", utf8left, "utf8left(cText, nCount) -> cText: the first characters",             \
    "utf8left('añb', 2) ==> añ")                                                                \
  X("utf8len", utf8len, "utf8len(cText) -> nCount: characters", "utf8len('añb') ==> 3")         \
  X("utf8lower", utf8lower, "utf8lower(cText) -> cText: in small letters of all alphabets",     \
    "utf8lower('ÄÖ') ==> äö")                                                                   \
  X("utf8pad", utf8pad,                                                                         \
    "utf8pad(cText, nColumns) -> cText: cut or filled with blanks to a number of columns on a " \
    "screen, below 0 filled in front",                                                          \
    "utf8pad('ñ', 3) + '|' ==> ñ  |")                                                           \
  X("utf8substr", utf8substr,                                                                   \
    "utf8substr(cText, nStart, [nCount]) -> cText: characters from one on; below 0 it counts "  \
    "from the end",                                                                             \
    "utf8substr('añb', 2, 1) ==> ñ")                                                            \
  X("utf8upper", utf8upper, "utf8upper(cText) -> cText: in capital letters of all alphabets",   \
    "utf8upper('äö') ==> ÄÖ")

UTF8_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kUtf8Builtins[] = {UTF8_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kUtf8Module{
    .name = "utf8", .subject = "Characters", .functions = kUtf8Builtins};

}  // namespace tarnel
