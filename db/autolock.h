// The automatic locks that a write takes when the program took none.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define AUTOLOCK_BUILTINS(X)                                                                      \
  X("autoflock", autoflock,                                                                       \
    "autoflock(oServer, [nSeconds]) -> lHeld: locks the table, waiting up to that time",          \
    "autoflock(dbserver()) ==> .T.")                                                              \
  X("autorlock", autorlock,                                                                       \
    "autorlock(oServer, [nSeconds]) -> lHeld: locks the current record, waiting up to that time", \
    "autorlock(dbserver()) ==> .T.")                                                              \
  X("autounlock", autounlock,                                                                     \
    "autounlock(oServer) -> lDone: commits the current record and gives up its automatic lock",   \
    "autounlock(dbserver()) ==> .T.")

AUTOLOCK_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kAutolockBuiltins[] = {AUTOLOCK_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kAutolockModule{
    .name = "autolock", .subject = "Tables", .functions = kAutolockBuiltins};

}  // namespace tarnel
