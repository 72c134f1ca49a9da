// Builtins that tell about the system, the runtime and the program.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ENVIRONMENT_BUILTINS(X)                                                               \
  X("getenv", builtin_getenv, "getenv(cName, [cDefault]) -> cValue: an environment variable", \
    "getenv('NO_SUCH', 'usual') ==> usual")                                                   \
  X("os", os, "os() -> cName: name and release of the operating system",                      \
    "left(os(), 5) ==> Linux")                                                                \
  X("version", version, "version() -> cVersion: name and version of the runtime",             \
    "left(version(), 6) ==> Tarnel")

ENVIRONMENT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kEnvironmentBuiltins[] = {ENVIRONMENT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kEnvironmentModule{
    .name = "environ", .subject = "Runs and the system", .functions = kEnvironmentBuiltins};

}  // namespace tarnel
