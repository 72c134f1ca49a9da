// Numbers, and functions that tell about values of any type.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define NUMBER_BUILTINS(X)                                                                     \
  X("abs", builtin_abs, "abs(nValue) -> nValue: without its sign")                             \
  X("descend", descend,                                                                        \
    "descend(xValue) -> xValue: sorts backwards where the argument sorts forwards")            \
  X("exp", builtin_exp, "exp(nValue) -> nValue: e to that power")                              \
  X("int", builtin_int, "int(nValue) -> nInteger: cut towards zero")                           \
  X("log", builtin_log, "log(nValue) -> nValue: natural logarithm; 0 for 0 and less")          \
  X("max", builtin_max, "max(xValue, xValue) -> xValue: the greater of two numbers or dates")  \
  X("min", builtin_min, "min(xValue, xValue) -> xValue: the smaller of two numbers or dates")  \
  X("mod", builtin_mod, "mod(nValue, nDivisor) -> nRest: remainder with the divisor's sign")   \
  X("num2int", num2int, "num2int(nValue) -> nInteger: rounded half away from zero")            \
  X("round", builtin_round, "round(nValue, nDecimals) -> nValue: rounded half away from zero") \
  X("sqrt", builtin_sqrt, "sqrt(nValue) -> nValue: square root; 0 for 0 and less")             \
  X("type", type, "type(cExpression) -> cType: type letter of an expression's value")          \
  X("valtype", valtype, "valtype(xValue) -> cType: type letter of a value")

NUMBER_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kNumberBuiltins[] = {NUMBER_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kNumbersModule{.name = "numbers", .functions = kNumberBuiltins};

}  // namespace tarnel
