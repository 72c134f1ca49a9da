// Texts: trimming, cutting, padding, case, and making texts of characters.
//
// Blanks are the character 32 only. Lengths are those of the cells; NUL bytes are characters.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// Which side of a text padding fills.
enum class Pad { kLeft, kRight, kCentre };
// A text of `length` bytes, cut or filled; the centre mode rounds the part in front down.
Var* pad_text(std::string_view text, std::int32_t length, char fill, Pad side);

#define STRING_BUILTINS(X)                                                                         \
  X("alltrim", alltrim, "alltrim(cText | nValue) -> cText: without blanks at both ends")           \
  X("asc", asc, "asc(cText) -> nCode: code of the first byte, 0 for an empty text")                \
  X("chr", chr, "chr(nCode) -> cText: the character of a code 0 to 255")                           \
  X("empty", empty, "empty(xValue) -> lEmpty: is it blank, zero, false, NIL or without elements")  \
  X("isalpha", builtin_isalpha, "isalpha(cText) -> lLetter: is the first character a letter")      \
  X("isdigit", builtin_isdigit, "isdigit(cText) -> lDigit: is the first character a digit")        \
  X("islower", builtin_islower, "islower(cText) -> lLower: is the first character a small letter") \
  X("isupper", builtin_isupper,                                                                    \
    "isupper(cText) -> lUpper: is the first character a capital letter")                           \
  X("left", left, "left(cText, nCount) -> cText: the first bytes")                                 \
  X("len", len, "len(cText | aArray) -> nLength: bytes or elements")                               \
  X("lower", lower, "lower(cText) -> cText: in small letters")                                     \
  X("ltrim", ltrim, "ltrim(cText | nValue) -> cText: without leading blanks")                      \
  X("padc", padc, "padc(xValue, nLength, [cFill]) -> cText: centred in a length")                  \
  X("padl", padl, "padl(xValue, nLength, [cFill]) -> cText: filled in front to a length")          \
  X("padr", padr, "padr(xValue, nLength, [cFill]) -> cText: filled behind to a length")            \
  X("replicate", replicate, "replicate(cText, nCount) -> cText: the text repeated")                \
  X("right", right, "right(cText, nCount) -> cText: the last bytes")                               \
  X("rtrim", rtrim, "rtrim(cText | nValue) -> cText: without trailing blanks")                     \
  X("space", space, "space(nCount) -> cText: blanks")                                              \
  X("stuff", stuff, "stuff(cText, nStart, nDelete, cInsert) -> cText: part of a text replaced")    \
  X("substr", substr, "substr(cText, nStart, [nLength]) -> cText: part of a text")                 \
  X("trim", rtrim, "trim(cText | nValue) -> cText: without trailing blanks")                       \
  X("upper", upper, "upper(cText) -> cText: in capital letters")

STRING_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kStringBuiltins[] = {STRING_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kStringsModule{.name = "strings", .functions = kStringBuiltins};

}  // namespace tarnel
