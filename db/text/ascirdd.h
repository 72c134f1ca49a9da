// The driver of text files, ascirdd: a class of objects that read one file once, line by line.
#pragma once

#include "core/classes.h"
#include "core/modules.h"
#include "db/text/text_table.h"

namespace tarnel {

const ClassDescriptor& ascirdd_class();
// The table behind an object of the class, made at the first call.
TextTable& text_table_of(Var* object);

Var* ascirddnew(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kAscirddBuiltins[] = {
    {"ascirddnew", ascirddnew,
     "ascirddnew(cFile, aStruct, [cDelimiter], [xFor], [xWhile], [nNext], [nRecord], [lRest]) -> "
     "oServer: opens a text file as a table to be read once",
     "{memowrit('more.txt', '\"Boden\",19'), ascirddnew('more.txt', dbstruct()), name}[3] ==> Boden"}};
inline constexpr ModuleRecord kAscirddModule{
    .name = "ascirdd", .subject = "Tables", .functions = kAscirddBuiltins};

}  // namespace tarnel
