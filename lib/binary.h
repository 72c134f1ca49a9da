// Numbers as bits and bytes: texts of little-endian integers, operations on bits, hexadecimal digits.
//
// Bits are those of 64-bit integers, negative ones as two's complements; fractions are cut off, and what doesn't fit
// is the nearest that does. A result of more than 53 bits is rounded, since numbers are doubles.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define BINARY_BUILTINS(X)                                                                       \
  X("bin2i", bin2i,                                                                              \
    "bin2i(cBytes) -> nValue: signed number of two bytes, the lowest first; missing ones are 0", \
    "bin2i(chr(255) + chr(255)) ==> -1")                                                         \
  X("bin2l", bin2l, "bin2l(cBytes) -> nValue: signed number of four bytes",                      \
    "bin2l(chr(1) + chr(2)) ==> 513")                                                            \
  X("bin2w", bin2w, "bin2w(cBytes) -> nValue: number of two bytes",                              \
    "bin2w(chr(255) + chr(255)) ==> 65535")                                                      \
  X("bitand", bitand_function, "bitand(nValue, nValue, ...) -> nValue: the bits that all have",  \
    "bitand(12, 10) ==> 8")                                                                      \
  X("bitor", bitor_function, "bitor(nValue, nValue, ...) -> nValue: the bits that any has",      \
    "bitor(12, 10) ==> 14")                                                                      \
  X("bitshift", bitshift,                                                                        \
    "bitshift(nValue, nBits) -> nValue: shifted to higher bits, or with a negative number to "   \
    "lower ones",                                                                                \
    "bitshift(1, 10) ==> 1024")                                                                  \
  X("bitxor", bitxor,                                                                            \
    "bitxor(nValue, nValue, ...) -> nValue: the bits that an odd number of them has",            \
    "bitxor(12, 10) ==> 6")                                                                      \
  X("hextonum", hextonum,                                                                        \
    "hextonum(cDigits) -> nValue: number of up to 16 hexadecimal digits, 0 for anything else",   \
    "hextonum('ff') ==> 255")                                                                    \
  X("i2bin", i2bin, "i2bin(nValue) -> cBytes: two bytes of a number, the lowest first",          \
    "asc(i2bin(258)) ==> 2")                                                                     \
  X("l2bin", l2bin, "l2bin(nValue) -> cBytes: four bytes of a number, the lowest first",         \
    "len(l2bin(258)) ==> 4")                                                                     \
  X("numtohex", numtohex,                                                                        \
    "numtohex(nValue, [nLength]) -> cDigits: hexadecimal digits, the lowest ones of a length",   \
    "numtohex(255, 4) ==> 00FF")                                                                 \
  X("w2bin", i2bin, "w2bin(nValue) -> cBytes: two bytes of a number, the lowest first",          \
    "bin2w(w2bin(65535)) ==> 65535")

BINARY_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kBinaryBuiltins[] = {BINARY_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kBinaryModule{
    .name = "binary", .subject = "Numbers", .functions = kBinaryBuiltins};

}  // namespace tarnel
