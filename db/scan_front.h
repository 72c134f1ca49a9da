// The front functions of relations and scans that have rules of their own for their arguments.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define SCAN_BUILTINS(X)                                                                          \
  X("__dbaverag", dbaverage_statement,                                                            \
    "__dbaverage(xExpr, [xFor], [xWhile], [nNext], [nRecord], [lRest], [@nAverage, ...]) -> "     \
    "lDone: AVERAGE, puts the averages of the expressions into variables",                        \
    "{__mvpublic('n'), __dbaverage({{|| people}}, , , , , .F., @n), n}[3] ==> 96.00")             \
  X("__dbcontin", dbcontinue_statement, "__dbcontinue() -> lFound: CONTINUE",                     \
    "{__dblocate('people > 50'), __dbcontinue(), name}[3] ==> Uppsala")                           \
  X("__dbcount", dbcount_statement,                                                               \
    "__dbcount([xFor], [xWhile], [nNext], [nRecord], [lRest]) -> nRecords: COUNT",                \
    "__dbcount({|| people > 50}, , 2) ==> 1")                                                     \
  X("__dbdelete", dbdelete_statement,                                                             \
    "__dbdelete([xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: DELETE with a scope",    \
    "{flock(), __dbdelete(, , , 2), deleted()}[3] ==> .T.")                                       \
  X("__dblist", dblist_statement,                                                                 \
    "__dblist(aExpr, [xFor], [xWhile], [nNext], [nRecord], [lRest], [lOff]) -> lDone: LIST, a "   \
    "line for each record: its number unless lOff, and the expressions or all fields",            \
    "__dblist({}, , , 0, , .F.) ==> .T.")                                                         \
  X("__dblocate", dblocate_statement,                                                             \
    "__dblocate(xFor, [xWhile], [nNext], [nRecord], [lRest]) -> lFound: LOCATE",                  \
    "{__dblocate('people > 50'), name}[2] ==> Lund")                                              \
  X("__dbrecall", dbrecall_statement,                                                             \
    "__dbrecall([xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: RECALL with a scope",    \
    "{flock(), __dbdelete(, , , 2), __dbrecall(, , , 2), deleted()}[4] ==> .F.")                  \
  X("__dbreplac", dbreplace_statement,                                                            \
    "__dbreplace(aFields, aValues, [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: "     \
    "REPLACE with a scope",                                                                       \
    "{flock(), __dbreplace({'people'}, {{|| people + 1}}, , , , , .F.), dbsum('people')[1]}[3] "  \
    "==> 291")                                                                                    \
  X("__dbsum", dbsum_statement,                                                                   \
    "__dbsum(xExpr, [xFor], [xWhile], [nNext], [nRecord], [lRest], [@nSum, ...]) -> lDone: SUM, " \
    "puts the sums of the expressions into variables",                                            \
    "{__mvpublic('n'), __dbsum({{|| people}}, , , , , .F., @n), n}[3] ==> 288")                   \
  X("dbclearrelation", dbclearrel,                                                                \
    "dbclearrelation([xArea]) -> lDone: no table follows the cursor any more, or not that of an " \
    "area",                                                                                       \
    "dbclearrelation() ==> .T.")                                                                  \
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
