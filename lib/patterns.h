// Regular expressions, run by RE2: the time that a match takes grows with the text alone, whatever the pattern.
//
// Characters are those of UTF-8 where text and pattern are UTF-8, else bytes. Positions count bytes. A pattern that
// is none is error 320.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define PATTERN_BUILTINS(X)                                                                       \
  X("refind", refind,                                                                             \
    "refind(cText, cPattern, [nStart]) -> aFound: where the pattern first matches, what it "      \
    "matches, and its groups; empty when nowhere",                                                \
    "refind('a12b', '[0-9]+') [2] ==> 12")                                                        \
  X("rematch", rematch, "rematch(cText, cPattern) -> lMatches: does the pattern match all of it", \
    "rematch('2024-01-31', '\\d+-\\d+-\\d+') ==> .T.")                                            \
  X("rereplace", rereplace,                                                                       \
    "rereplace(cText, cPattern, cWith) -> cText: each match replaced; \\0 to \\9 there are "      \
    "the match and its groups",                                                                   \
    "rereplace('Lund Kiruna', '(\\w+) (\\w+)', '\\2, \\1') ==> Kiruna, Lund")                     \
  X("resplit", resplit, "resplit(cText, cPattern) -> aPieces: what stands between the matches",   \
    "resplit('a, b;c', '[,;] *')[3] ==> c")

PATTERN_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPatternBuiltins[] = {PATTERN_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPatternsModule{
    .name = "patterns", .subject = "Texts", .functions = kPatternBuiltins};

}  // namespace tarnel
