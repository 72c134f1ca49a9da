// The error handler of a request: the report goes to the log and into the page, then the run ends.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define ERROR_PAGE_BUILTINS(X)                                                                 \
  X("dumperr", dumperr, "dumperr(aMessages): logs the messages, then writes them to the page") \
  X("errhand", errhand, "errhand(oError) -> lFalse: writes the error page and shuts down")     \
  X("errorsys", errorsys, "errorsys() -> bOld: sets errhand as the error block")               \
  X("throwerror", throwerror,                                                                  \
    "throwerror(cSubsystem, nSubcode, [nSeverity], [cDescription], [aArgs]): raises an error") \
  X("x2c", x2c, "x2c(xValue) -> cText: printable form of a value")

ERROR_PAGE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kErrorPageBuiltins[] = {ERROR_PAGE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kErrorPageModule{.name = "tnerr", .functions = kErrorPageBuiltins};

}  // namespace tarnel
