// The front functions of relations and scans that have rules of their own for their arguments.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define SCAN_BUILTINS(X)                                                                          \
  X("__dbcontin", dbcontinue_statement, "__dbcontinue() -> lFound: CONTINUE")                     \
  X("__dblocate", dblocate_statement,                                                             \
    "__dblocate(xFor, [xWhile], [nNext], [nRecord], [lRest]) -> lFound: LOCATE")                  \
  X("dbeval", dbeval,                                                                             \
    "dbeval(bBlock, [xFor], [xWhile], [xNext], [nRecord], [lRest]) -> lDone: runs a block for "   \
    "each record of a scope, all by default")                                                     \
  X("dbrselect", dbrselect,                                                                       \
    "dbrselect([n]) -> nArea: area of the table that the nth relation leads to, 0 none")          \
  X("dbserver", dbserver, "dbserver([xArea]) -> oServer: the driver object of an area, NIL none") \
  X("dbsetrelation", dbsetrelat,                                                                  \
    "dbsetrelation(xArea, xKey, [cText]) -> lDone: the table of an area (number, alias or "       \
    "object) follows the cursor by a key, a block or text")

SCAN_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kScanBuiltins[] = {SCAN_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kScanModule{.name = "bbscan", .functions = kScanBuiltins};

}  // namespace tarnel
