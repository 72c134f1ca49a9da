// Memory variables in a file: SAVE and RESTORE.
//
// The file is the line "tarnel variables 1", then an entry for each variable: a line NAME TYPE LENGTH, that many bytes,
// a line feed. By type the bytes are
//
//   C  the text                     L  T or F                     D  the day number
//   N  the digits, for other numbers than integers with decimals and display width behind blanks
//   A  nothing: LENGTH elements follow, entries with the name "-"
//   U  nothing; NIL, in arrays only
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define VARIABLE_FILE_BUILTINS(X)                                                               \
  X("__mvrestore", mvrestore,                                                                   \
    "__mvrestore(cFile, [lAdditive], [cNames], [lLike]) -> nCount: RESTORE, in place of those " \
    "of this level unless additive; -1 and nothing on failure",                                 \
    "{__mvpublic('flag'), __mvsave('a'), __mvrestore('a'), type('flag')}[4] ==> L")             \
  X("__mvsave", mvsave,                                                                         \
    "__mvsave(cFile, [cNames], [lLike]) -> nCount: SAVE, the variables with names like a "      \
    "pattern, or unlike it; -1 on failure",                                                     \
    "{__mvpublic('flag'), __mvsave('a', 'f*')}[2] ==> 1")

VARIABLE_FILE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kVariableFileBuiltins[] = {VARIABLE_FILE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kVariableFileModule{
    .name = "varfile", .subject = "Blocks, names and calls", .functions = kVariableFileBuiltins};

}  // namespace tarnel
