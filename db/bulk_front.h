// The front functions of the operations on whole sets of records, with the customary arguments of their
// statements.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define BULK_BUILTINS(X)                                                                           \
  X("__dbapp", dbappend_from,                                                                      \
    "__dbapp(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest], [cDriver]) -> "      \
    "lDone: APPEND "                                                                               \
    "FROM, adds records of another table",                                                         \
    "{__dbcopy('more'), __dbapp('more'), lastrec()}[3] ==> 6")                                     \
  X("__dbcopy", dbcopy,                                                                            \
    "__dbcopy(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest], [cDriver]) -> "     \
    "lDone: COPY "                                                                                 \
    "TO, makes a new table of records",                                                            \
    "__dbcopy('more', {'name'}) ==> .T.")                                                          \
  X("__dbappgen", dbappend_text,                                                                   \
    "__dbappgen(cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) "   \
    "-> lDone: APPEND FROM a text, adds a record for each line; the delimiter \"\" is SDF",        \
    "{memowrit('new.txt', 'Boden,19'), __dbappgen('new.txt'), lastrec()}[3] ==> 4")                \
  X("__dbcopyde", dbcopy_delimited,                                                                \
    "__dbcopyde(cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) "   \
    "-> lDone: COPY TO a text, fields parted by commas, texts between delimiters",                 \
    "{__dbcopyde('out.txt'), left(memoread('out.txt'), 11)}[2] ==> \"Kiruna\",17")                 \
  X("__dbcopysd", dbcopy_sdf,                                                                      \
    "__dbcopysd(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: COPY "  \
    "TO a text, fields in columns (SDF)",                                                          \
    "{__dbcopysd('out.txt'), left(memoread('out.txt'), 14)}[2] ==> Kiruna      17")                \
  X("__dbcopyst", dbcopy_structure,                                                                \
    "__dbcopyst(cFile, [aFields]) -> lDone: COPY STRUCTURE, makes a new table of the same fields", \
    "{__dbcopyst('empty'), file('empty.dbf')}[2] ==> .T.")                                         \
  X("__dbcopytx", dbcopy_text,                                                                     \
    "__dbcopytx(cFile, lSdf, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], "      \
    "[lRest]) -> lDone: COPY TO a text of either form",                                            \
    "{__dbcopytx('out.txt', .F.), left(memoread('out.txt'), 11)}[2] ==> \"Kiruna\",17")            \
  X("__dbdelim", dbdelimited,                                                                      \
    "__dbdelim(lExport, cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], "    \
    "[lRest]) -> lDone: delimited texts out of the table and into it",                             \
    "{__dbdelim(.T., 'out.txt'), left(memoread('out.txt'), 11)}[2] ==> \"Kiruna\",17")             \
  X("__dbjoin", dbjoin,                                                                            \
    "__dbjoin(xArea, cFile, [aFields], xFor) -> lDone: JOIN, makes a new table of pairs of "       \
    "records of this "                                                                             \
    "table and another",                                                                           \
    "{__dbcopy('more'), dbusearea(.T., , 'more'), __dbjoin('towns', 'pairs', , 'people > "         \
    "100')}[3] ==> .T.")                                                                           \
  X("__dbpack", dbpack, "__dbpack() -> lDone: PACK, drops the records that are marked as deleted", \
    "{dbusearea(.F., , 'towns', , .F.), dbdelete(), __dbpack(), lastrec()}[4] ==> 2")              \
  X("__dbsdf", dbsdf,                                                                              \
    "__dbsdf(lExport, cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: " \
    "SDF texts out of the table and into it",                                                      \
    "{__dbsdf(.T., 'out.txt'), left(memoread('out.txt'), 14)}[2] ==> Kiruna      17")              \
  X("__dbsort", dbsort,                                                                            \
    "__dbsort(cFile, aKeys, [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: SORT, makes " \
    "a new table "                                                                                 \
    "in the order of fields, each \"name/ADC\": ascending, descending, case-blind",                \
    "__dbsort('sorted', {'people/D'}) ==> .T.")                                                    \
  X("__dbtotal", dbtotal,                                                                          \
    "__dbtotal(cFile, xKey, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: "  \
    "TOTAL, makes "                                                                                \
    "a new table with the sums of each run of equal keys",                                         \
    "__dbtotal('totals', 'left(name, 0)', {'people'}) ==> .T.")                                    \
  X("__dbupdate", dbupdate,                                                                        \
    "__dbupdate(xArea, xKey, [lRandom], bReplace) -> lDone: UPDATE, runs a block for each record " \
    "of another "                                                                                  \
    "table whose key is found in this one",                                                        \
    "{__dbcopy('more'), dbusearea(.T., , 'more'), dbcreateindex('more', 'name'), "                 \
    "__dbupdate('towns', 'name', .T., {|| fieldput(2, 0)}), dbsum('people')[1]}[5] ==> 0")         \
  X("__dbzap", dbzap, "__dbzap() -> lDone: ZAP, drops all records",                                \
    "{dbusearea(.F., , 'towns', , .F.), __dbzap(), lastrec()}[3] ==> 0")                           \
  X("__dbzappac", dbzappack,                                                                       \
    "__dbzappac(oServer, lPack) -> lDone: PACK or, false, ZAP of a driver object's table",         \
    "{dbusearea(.F., , 'towns', , .F.), __dbzappac(dbserver(), .F.), lastrec()}[3] ==> 0")         \
  X("dbcopystruct", dbcopy_structure,                                                              \
    "dbcopystruct(cFile, [aFields]) -> lDone: makes a new table of the same fields",               \
    "dbcopystruct('empty', {'name'}) ==> .T.")

BULK_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kBulkBuiltins[] = {BULK_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kBulkModule{
    .name = "bbbulk", .subject = "Sets of records", .functions = kBulkBuiltins};

}  // namespace tarnel
