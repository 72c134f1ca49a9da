// The front functions of the operations on whole sets of records, with the customary arguments of their
// statements.
#pragma once

#include "core/modules.h"

namespace tarnel {

#define BULK_BUILTINS(X)                                                                           \
  X("__dbapp", dbappend_from,                                                                      \
    "__dbapp(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest], [cDriver]) -> "      \
    "lDone: APPEND "                                                                               \
    "FROM, adds records of another table")                                                         \
  X("__dbcopy", dbcopy,                                                                            \
    "__dbcopy(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest], [cDriver]) -> "     \
    "lDone: COPY "                                                                                 \
    "TO, makes a new table of records")                                                            \
  X("__dbappgen", dbappend_text,                                                                   \
    "__dbappgen(cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) "   \
    "-> lDone: APPEND FROM a text, adds a record for each line; the delimiter \"\" is SDF")        \
  X("__dbcopyde", dbcopy_delimited,                                                                \
    "__dbcopyde(cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) "   \
    "-> lDone: COPY TO a text, fields parted by commas, texts between delimiters")                 \
  X("__dbcopysd", dbcopy_sdf,                                                                      \
    "__dbcopysd(cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: COPY "  \
    "TO a text, fields in columns (SDF)")                                                          \
  X("__dbcopyst", dbcopy_structure,                                                                \
    "__dbcopyst(cFile, [aFields]) -> lDone: COPY STRUCTURE, makes a new table of the same fields") \
  X("__dbcopytx", dbcopy_text,                                                                     \
    "__dbcopytx(cFile, lSdf, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], "      \
    "[lRest]) -> lDone: COPY TO a text of either form")                                            \
  X("__dbdelim", dbdelimited,                                                                      \
    "__dbdelim(lExport, cFile, [cDelimiter], [aFields], [xFor], [xWhile], [nNext], [nRecord], "    \
    "[lRest]) -> lDone: delimited texts out of the table and into it")                             \
  X("__dbjoin", dbjoin,                                                                            \
    "__dbjoin(xArea, cFile, [aFields], xFor) -> lDone: JOIN, makes a new table of pairs of "       \
    "records of this "                                                                             \
    "table and another")                                                                           \
  X("__dbpack", dbpack, "__dbpack() -> lDone: PACK, drops the records that are marked as deleted") \
  X("__dbsdf", dbsdf,                                                                              \
    "__dbsdf(lExport, cFile, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: " \
    "SDF texts out of the table and into it")                                                      \
  X("__dbsort", dbsort,                                                                            \
    "__dbsort(cFile, aKeys, [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: SORT, makes " \
    "a new table "                                                                                 \
    "in the order of fields, each \"name/ADC\": ascending, descending, case-blind")                \
  X("__dbtotal", dbtotal,                                                                          \
    "__dbtotal(cFile, xKey, [aFields], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> lDone: "  \
    "TOTAL, makes "                                                                                \
    "a new table with the sums of each run of equal keys")                                         \
  X("__dbupdate", dbupdate,                                                                        \
    "__dbupdate(xArea, xKey, [lRandom], bReplace) -> lDone: UPDATE, runs a block for each record " \
    "of another "                                                                                  \
    "table whose key is found in this one")                                                        \
  X("__dbzap", dbzap, "__dbzap() -> lDone: ZAP, drops all records")                                \
  X("__dbzappac", dbzappack,                                                                       \
    "__dbzappac(oServer, lPack) -> lDone: PACK or, false, ZAP of a driver object's table")

BULK_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kBulkBuiltins[] = {BULK_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kBulkModule{.name = "bbbulk", .functions = kBulkBuiltins};

}  // namespace tarnel
