// What there is to ask about a value of any type.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define VALUE_BUILTINS(X)                                                                         \
  X("empty", empty, "empty(xValue) -> lEmpty: is it blank, zero, false, NIL or without elements", \
    "empty({0}) ==> .F.")                                                                         \
  X("len", len, "len(cText | aArray) -> nLength: bytes or elements",                              \
    "len('abc') + len({7, 8}) ==> 5")                                                             \
  X("type", type, "type(cExpression) -> cType: type letter of an expression's value",             \
    "type('1 + 1') ==> N")                                                                        \
  X("valtype", valtype, "valtype(xValue) -> cType: type letter of a value", "valtype(date()) ==> D")

VALUE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kValueBuiltins[] = {VALUE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kValuesModule{
    .name = "values", .subject = "Values as texts", .functions = kValueBuiltins};

}  // namespace tarnel
