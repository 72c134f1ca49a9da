// Builtins that tell about the system, the runtime and the program.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ENVIRONMENT_BUILTINS(X)                                                                    \
  X("diskspace", diskspace,                                                                        \
    "diskspace([cDirectory | nDrive]) -> nBytes: room for files of this user, there or in the "    \
    "working directory",                                                                           \
    "diskspace() > 0 ==> .T.")                                                                     \
  X("errorlevel", errorlevel,                                                                      \
    "errorlevel([nStatus]) -> nOld: status with which the run will end, 0 to 255",                 \
    "{errorlevel(3), errorlevel()}[2] ==> 3")                                                      \
  X("getenv", builtin_getenv, "getenv(cName, [cDefault]) -> cValue: an environment variable",      \
    "getenv('NO_SUCH', 'usual') ==> usual")                                                        \
  X("memory", memory,                                                                              \
    "memory([nKind]) -> nKib: memory that the system could give, whatever the kind",               \
    "memory(0) > 0 ==> .T.")                                                                       \
  X("netname", netname, "netname() -> cName: name of the machine", "empty(netname()) ==> .F.")     \
  X("os", os, "os() -> cName: name and release of the operating system",                           \
    "left(os(), 5) ==> Linux")                                                                     \
  X("run", run,                                                                                    \
    "run(cCommand) -> nStatus: runs a command of the shell, where the program allows it; -1 when " \
    "it could not start",                                                                          \
    "run('exit 3') ==> 3")                                                                         \
  X("version", version, "version() -> cVersion: name and version of the runtime",                  \
    "left(version(), 6) ==> Tarnel")

ENVIRONMENT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kEnvironmentBuiltins[] = {ENVIRONMENT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kEnvironmentModule{
    .name = "environ", .subject = "Runs and the system", .functions = kEnvironmentBuiltins};

}  // namespace tarnel
