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
  X("__dbcopyst", dbcopy_structure,                                                                \
    "__dbcopyst(cFile, [aFields]) -> lDone: COPY STRUCTURE, makes a new table of the same fields") \
  X("__dbpack", dbpack, "__dbpack() -> lDone: PACK, drops the records that are marked as deleted") \
  X("__dbzap", dbzap, "__dbzap() -> lDone: ZAP, drops all records")                                \
  X("__dbzappac", dbzappack,                                                                       \
    "__dbzappac(oServer, lPack) -> lDone: PACK or, false, ZAP of a driver object's table")

BULK_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kBulkBuiltins[] = {BULK_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kBulkModule{.name = "bbbulk", .functions = kBulkBuiltins};

}  // namespace tarnel
