// Numbers.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define NUMBER_BUILTINS(X)                                                                        \
  X("abs", builtin_abs, "abs(nValue) -> nValue: without its sign", "abs(-7) ==> 7")               \
  X("atan2", builtin_atan2, "atan2(nY, nX) -> nAngle: angle of a point, -pi() to pi()",           \
    "atan2(1, -1) ==> 2.36")                                                                      \
  X("ceiling", builtin_ceiling, "ceiling(nValue) -> nInteger: the next whole number upwards",     \
    "ceiling(-1.5) ==> -1")                                                                       \
  X("cos", builtin_cos, "cos(nAngle) -> nValue: cosine of an angle, whose full turn is 2 * pi()", \
    "cos(pi()) ==> -1.00")                                                                        \
  X("descend", descend,                                                                           \
    "descend(xValue) -> xValue: sorts backwards where the argument sorts forwards",               \
    "descend(5) ==> -5")                                                                          \
  X("exp", builtin_exp, "exp(nValue) -> nValue: e to that power", "exp(1) ==> 2.72")              \
  X("floor", builtin_floor, "floor(nValue) -> nInteger: the next whole number downwards",         \
    "floor(-1.5) ==> -2")                                                                         \
  X("int", builtin_int, "int(nValue) -> nInteger: cut towards zero", "int(-1.5) ==> -1")          \
  X("log", builtin_log, "log(nValue) -> nValue: natural logarithm; 0 for 0 and less",             \
    "log(exp(2)) ==> 2.00")                                                                       \
  X("log10", builtin_log10, "log10(nValue) -> nValue: decimal logarithm; 0 for 0 and less",       \
    "log10(1000) ==> 3.00")                                                                       \
  X("max", builtin_max, "max(xValue, xValue) -> xValue: the greater of two numbers or dates",     \
    "max(2, 3) ==> 3")                                                                            \
  X("min", builtin_min, "min(xValue, xValue) -> xValue: the smaller of two numbers or dates",     \
    "min(stod('20240229'), stod('20240301')) ==> 02/29/24")                                       \
  X("mod", builtin_mod, "mod(nValue, nDivisor) -> nRest: remainder with the divisor's sign",      \
    "mod(-1, 7) ==> 6")                                                                           \
  X("num2int", num2int,                                                                           \
    "num2int(nValue) -> nInteger: rounded half away from zero, 0 beyond 32 bits",                 \
    "num2int(2.5) ==> 3")                                                                         \
  X("pi", pi, "pi() -> nValue: half a turn", "round(pi(), 5) ==> 3.14159")                        \
  X("round", builtin_round, "round(nValue, nDecimals) -> nValue: rounded half away from zero",    \
    "round(2.345, 2) ==> 2.35")                                                                   \
  X("sign", sign, "sign(nValue) -> nSign: -1, 0 or 1", "sign(-7.5) ==> -1")                       \
  X("sin", builtin_sin, "sin(nAngle) -> nValue: sine of an angle, whose full turn is 2 * pi()",   \
    "sin(pi() / 2) ==> 1.00")                                                                     \
  X("sqrt", builtin_sqrt, "sqrt(nValue) -> nValue: square root; 0 for 0 and less",                \
    "sqrt(2) ==> 1.41")

NUMBER_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kNumberBuiltins[] = {NUMBER_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kNumbersModule{
    .name = "numbers", .subject = "Numbers", .functions = kNumberBuiltins};

}  // namespace tarnel
