// Records as arrays and pairs, and the records of a table as CSV and JSON.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define ROW_BUILTINS(X)                                                                           \
  X("areacsv", areacsv,                                                                           \
    "areacsv([xFor]) -> cCsv: the records that filter and condition (a block or text) let show, " \
    "in UTF-8 below the names of their fields",                                                   \
    "strtran(areacsv('people > 100'), chr(10), '|') ==> NAME,PEOPLE|Uppsala,177|")                \
  X("areajson", areajson, "areajson([xFor]) -> cJson: the same as an array of objects",           \
    "areajson('people > 100') ==> [{\"NAME\":\"Uppsala\",\"PEOPLE\":177}]")                       \
  X("arraytorow", arraytorow,                                                                     \
    "arraytorow(aRow) -> lDone: stores values into the fields of the current record in their "    \
    "order, or pairs {cName, xValue} into those named; NIL leaves one as it is",                  \
    "{rlock(), arraytorow({NIL, 18}), people}[3] ==> 18")                                         \
  X("rowpairs", rowpairs, "rowpairs() -> aPairs: {cName, xValue} for each field of the record",   \
    "rowpairs()[1][1] ==> NAME")                                                                  \
  X("rowtoarray", rowtoarray, "rowtoarray() -> aRow: the values of the fields of the record",     \
    "rowtoarray()[2] ==> 17")

ROW_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kRowBuiltins[] = {ROW_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kRowModule{
    .name = "bbrows", .subject = "Tables", .functions = kRowBuiltins};

}  // namespace tarnel
