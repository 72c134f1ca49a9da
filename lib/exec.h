// Other programs, started without a shell.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define EXEC_BUILTINS(X)                                                                           \
  X("exec", exec_function,                                                                         \
    "exec(aArgs, [cInput], [nSeconds]) -> aResult: runs a program with its arguments, where the "  \
    "program that calls allows it: {status, output, what it wrote on standard error}; the status " \
    "is 128 and more behind a signal, one that takes longer is ended",                             \
    "exec({'echo', 'a b'})[1] ==> 0")

EXEC_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kExecBuiltins[] = {EXEC_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kExecModule{
    .name = "exec", .subject = "Runs and the system", .functions = kExecBuiltins};

}  // namespace tarnel
