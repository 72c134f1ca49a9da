// Builtins that tell about the system, the runtime and the program.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ENVIRONMENT_BUILTINS(X)                                                               \
  X("getenv", builtin_getenv, "getenv(cName, [cDefault]) -> cValue: an environment variable") \
  X("os", os, "os() -> cName: name and release of the operating system")                      \
  X("version", version, "version() -> cVersion: name and version of the runtime")

ENVIRONMENT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kEnvironmentBuiltins[] = {ENVIRONMENT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kEnvironmentModule{.name = "environ",
                                                 .functions = kEnvironmentBuiltins};

}  // namespace tarnel
