// The front functions of relations and scans that have rules of their own for their arguments.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define SCAN_BUILTINS(X)                                                                          \
  X("__dbcontin", dbcontinue_statement, "__dbcontinue() -> lFound: CONTINUE",                     \
    "{__dblocate('people > 50'), __dbcontinue(), name}[3] ==> Uppsala")                           \
  X("__dblocate", dblocate_statement,                                                             \
    "__dblocate(xFor, [xWhile], [nNext], [nRecord], [lRest]) -> lFound: LOCATE",                  \
    "{__dblocate('people > 50'), name}[2] ==> Lund")                                              \
  X("dbeval", dbeval,                                                                             \
    "dbeval(bBlock, [xFor], [xWhile], [xNext], [nRecord], [lRest]) -> lDone: runs a block for "   \
    "each record of a scope, all by default",                                                     \
    "{flock(), dbeval({|| fieldput(2, 0)}), dbsum('people')[1]}[3] ==> 0")                        \
  X("dbrselect", dbrselect,                                                                       \
    "dbrselect([n]) -> nArea: area of the table that the nth relation leads to, 0 none",          \
    "dbrselect() ==> 0")                                                                          \
  X("dbserver", dbserver, "dbserver([xArea]) -> oServer: the driver object of an area, NIL none", \
    "valtype(dbserver()) ==> O")                                                                  \
  X("dbsetrelation", dbsetrelat,                                                                  \
    "dbsetrelation(xArea, xKey, [cText]) -> lDone: the table of an area (number, alias or "       \
    "object) follows the cursor by a key, a block or text",                                       \
    "{dbusearea(.T., , 'towns', 'again', .T.), dbsetrelation('towns', 'recno()'), dbgoto(2), "    \
    "towns->name}[4] ==> Lund")

SCAN_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kScanBuiltins[] = {SCAN_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kScanModule{
    .name = "bbscan", .subject = "Sets of records", .functions = kScanBuiltins};

}  // namespace tarnel
