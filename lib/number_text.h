// Numbers to text and back, in the C locale whatever the environment says.
#pragma once

#include <cstddef>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

constexpr int kMaxNumberWidth = 150;     // wider fields are cut to this
constexpr int kMaxNumberDecimals = 255;  // what a cell can hold

// Room for any number in fixed notation: ten lead blanks, a sign, 309 integer digits, a point and
// the decimals. The lead blanks let a text be right-adjusted by moving its start.
struct NumberBuffer {
  static constexpr std::size_t kLead = 10, kSize = 640;
  char bytes[kSize];
};

// Prints as "%*.*f"; a negative `decimals` means the usual six, a width below 0 none. Widths and
// decimals beyond the limits are cut to them. What is no finite number is stars, ten without a width. The
// text lies in the buffer behind the lead blanks.
std::string_view print_fixed(NumberBuffer& buffer, double value, int width, int decimals);

// The number formatter: a text of `width`, or stars when it does not fit. A negative width is the
// automatic mode: the integer part is at least ten wide. SET FIXED replaces the decimals.
std::string_view numToText(double value, int width, int decimals, NumberBuffer& buffer);

// The text of str(); `stored_width` is true when width and decimals are the number's own.
std::string_view number_field(double value, int width, int decimals, bool stored_width,
                              NumberBuffer& buffer);

// A number read from the front of a text: blanks and tabs, one sign, digits, a point and digits.
// There is no exponent.
struct ParsedNumber {
  double value;
  int width;     // characters up to the last digit
  int decimals;  // digits behind the point
};
ParsedNumber parse_number(std::string_view text);

#define NUMBER_TEXT_BUILTINS(X)                                                                    \
  X("str", str, "str(nValue, [nWidth], [nDecimals]) -> cText: number as text, right-adjusted",     \
    "str(1.5, 8, 3) ==> 1.500")                                                                    \
  X("strzero", strzero, "strzero(nValue, [nWidth], [nDecimals]) -> cText: as str, zeros in front", \
    "strzero(7, 3) ==> 007")                                                                       \
  X("val", val, "val(cText) -> nValue: the number at the beginning of a text",                     \
    "val('12.50 kr') ==> 12.50")

NUMBER_TEXT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kNumberTextBuiltins[] = {NUMBER_TEXT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kNumberTextModule{
    .name = "numtext", .subject = "Numbers", .functions = kNumberTextBuiltins};

}  // namespace tarnel
