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
  X("alltrim", alltrim, "alltrim(cText | nValue) -> cText: without blanks at both ends",           \
    "'[' + alltrim('  a b ') + ']' ==> [a b]")                                                     \
  X("asc", asc, "asc(cText) -> nCode: code of the first byte, 0 for an empty text",                \
    "asc('A') ==> 65")                                                                             \
  X("chr", chr, "chr(nCode) -> cText: the character of a code 0 to 255", "chr(65) ==> A")          \
  X("isalpha", builtin_isalpha, "isalpha(cText) -> lLetter: is the first character a letter",      \
    "isalpha('7up') ==> .F.")                                                                      \
  X("isdigit", builtin_isdigit, "isdigit(cText) -> lDigit: is the first character a digit",        \
    "isdigit('7up') ==> .T.")                                                                      \
  X("islower", builtin_islower, "islower(cText) -> lLower: is the first character a small letter", \
    "islower('abc') ==> .T.")                                                                      \
  X("isupper", builtin_isupper,                                                                    \
    "isupper(cText) -> lUpper: is the first character a capital letter", "isupper('abc') ==> .F.") \
  X("left", left, "left(cText, nCount) -> cText: the first bytes", "left('abcdef', 2) ==> ab")     \
  X("lower", lower, "lower(cText) -> cText: in small letters", "lower('ABC') ==> abc")             \
  X("ltrim", ltrim, "ltrim(cText | nValue) -> cText: without leading blanks",                      \
    "'[' + ltrim('  a ') + ']' ==> [a ]")                                                          \
  X("padc", padc, "padc(xValue, nLength, [cFill]) -> cText: centred in a length",                  \
    "'[' + padc('ab', 6) + ']' ==> [  ab  ]")                                                      \
  X("padl", padl, "padl(xValue, nLength, [cFill]) -> cText: filled in front to a length",          \
    "padl(7, 3, '0') ==> 007")                                                                     \
  X("padr", padr, "padr(xValue, nLength, [cFill]) -> cText: filled behind to a length",            \
    "padr('ab', 4, '.') ==> ab..")                                                                 \
  X("replicate", replicate, "replicate(cText, nCount) -> cText: the text repeated",                \
    "replicate('ab', 3) ==> ababab")                                                               \
  X("right", right, "right(cText, nCount) -> cText: the last bytes", "right('abcdef', 2) ==> ef")  \
  X("rtrim", rtrim, "rtrim(cText | nValue) -> cText: without trailing blanks",                     \
    "'[' + rtrim(' a  ') + ']' ==> [ a]")                                                          \
  X("space", space, "space(nCount) -> cText: blanks", "'[' + space(3) + ']' ==> [   ]")            \
  X("stuff", stuff, "stuff(cText, nStart, nDelete, cInsert) -> cText: part of a text replaced",    \
    "stuff('abcdef', 2, 3, 'X') ==> aXef")                                                         \
  X("substr", substr, "substr(cText, nStart, [nLength]) -> cText: part of a text",                 \
    "substr('abcdef', 3, 2) ==> cd")                                                               \
  X("trim", rtrim, "trim(cText | nValue) -> cText: without trailing blanks",                       \
    "'[' + trim(' a  ') + ']' ==> [ a]")                                                           \
  X("upper", upper, "upper(cText) -> cText: in capital letters", "upper('abc') ==> ABC")

STRING_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kStringBuiltins[] = {STRING_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kStringsModule{
    .name = "strings", .subject = "Texts", .functions = kStringBuiltins};

}  // namespace tarnel
