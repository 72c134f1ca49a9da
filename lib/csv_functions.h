// Arrays of rows as CSV and back.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define CSV_BUILTINS(X)                                                                           \
  X("fromcsv", fromcsv, "fromcsv(cCsv) -> aRows: the rows of a CSV text, each an array of texts", \
    "fromcsv('a,\"b, c\"')[1][2] ==> b, c")                                                       \
  X("tocsv", tocsv,                                                                               \
    "tocsv(aRows) -> cCsv: an array of rows as CSV, dates as 2024-01-31, nothing for NIL",        \
    "tocsv({{'a', 1, .T.}}) ==> a,1,T")

CSV_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kCsvBuiltins[] = {CSV_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kCsvModule{
    .name = "csv", .subject = "Pages", .functions = kCsvBuiltins};

}  // namespace tarnel
