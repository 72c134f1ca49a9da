// Long texts as lines of a width: where they break, and from lines and columns to places and back.
//
// A line ends at CR LF, CR or LF. A soft end, the bytes 141 and LF, stands where a text was wrapped once: with word wrap
// it counts as one blank, without it ends the line. With word wrap a line that is too long breaks behind its last blank,
// and the blanks there belong to no line; a longer word is cut. Without, a line is cut and its rest passed over. A tab
// reaches to the next multiple of its size. Widths are 4 to 65,535.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define MEMO_TEXT_BUILTINS(X)                                                                     \
  X("hardcr", hardcr, "hardcr(cText) -> cText: soft ends of lines made hard ones",                \
    "strtran(hardcr('a' + chr(141) + chr(10) + 'b'), chr(13) + chr(10), '|') ==> a|b")            \
  X("memoline", memoline,                                                                         \
    "memoline(cText, [nWidth], [nLine], [nTab], [lWrap]) -> cLine: a line filled with blanks to " \
    "the width",                                                                                  \
    "memoline('one two three', 8, 2) ==> three")                                                  \
  X("memotran", memotran,                                                                         \
    "memotran(cText, [cHard], [cSoft]) -> cText: other texts for hard and soft ends of lines",    \
    "memotran('a' + chr(13) + chr(10) + 'b') ==> a;b")                                            \
  X("mlcount", mlcount,                                                                           \
    "mlcount(cText, [nWidth], [nTab], [lWrap]) -> nLines: number of lines, of 79 columns by "     \
    "default",                                                                                    \
    "mlcount('one two three', 8) ==> 2")                                                          \
  X("mlctopos", mlctopos,                                                                         \
    "mlctopos(cText, nWidth, nLine, nColumn, [nTab], [lWrap]) -> nPos: place of a column, from "  \
    "0, of a line",                                                                               \
    "mlctopos('one two three', 8, 2, 1) ==> 10")                                                  \
  X("mlpos", mlpos,                                                                               \
    "mlpos(cText, nWidth, nLine, [nTab], [lWrap]) -> nPos: where a line begins, the text's "      \
    "length behind the last",                                                                     \
    "mlpos('one two three', 8, 2) ==> 9")                                                         \
  X("mpostolc", mpostolc,                                                                         \
    "mpostolc(cText, nWidth, nPos, [nTab], [lWrap]) -> aPlace: line and column, from 0, of a "    \
    "place",                                                                                      \
    "mpostolc('one two three', 8, 10)[1] ==> 2")

MEMO_TEXT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kMemoTextBuiltins[] = {MEMO_TEXT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kMemoTextModule{
    .name = "memotext", .subject = "Texts", .functions = kMemoTextBuiltins};

}  // namespace tarnel
