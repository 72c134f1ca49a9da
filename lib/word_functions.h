// Texts as lists: parts between separators, words and their letters, and sets of characters.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define WORD_BUILTINS(X)                                                                           \
  X("charonly", charonly,                                                                          \
    "charonly(cCharacters, cText) -> cText: only those characters of the text",                    \
    "charonly('0123456789', '018-14 15') ==> 0181415")                                             \
  X("charrem", charrem, "charrem(cCharacters, cText) -> cText: the text without those characters", \
    "charrem('- ', '018-14 15') ==> 0181415")                                                      \
  X("join", join,                                                                                  \
    "join(aValues, [cSeparator]) -> cText: values in a row, a blank between them by default",      \
    "join({'a', 7, .T.}, '/') ==> a/7/.T.")                                                        \
  X("numtoken", numtoken,                                                                          \
    "numtoken(cText, [cDelimiters]) -> nCount: number of words between delimiters",                \
    "numtoken('one, two; three') ==> 3")                                                           \
  X("proper", proper, "proper(cText) -> cText: each word with a capital letter",                   \
    "proper('LUND and kiruna') ==> Lund And Kiruna")                                               \
  X("soundex", soundex,                                                                            \
    "soundex(cText) -> cCode: a letter and three digits, alike for what sounds alike",             \
    "soundex('Robert') + soundex('Rupert') ==> R163R163")                                          \
  X("split", split,                                                                                \
    "split(cText, [cSeparator]) -> aParts: what stands between separators, a blank by default",    \
    "join(split('a,,b', ','), '|') ==> a||b")                                                      \
  X("token", token,                                                                                \
    "token(cText, [cDelimiters], [nWhich]) -> cWord: a word between delimiters, the last one by "  \
    "default",                                                                                     \
    "token('one, two; three', , 2) ==> two")

WORD_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kWordBuiltins[] = {WORD_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kWordsModule{
    .name = "words", .subject = "Texts", .functions = kWordBuiltins};

}  // namespace tarnel
