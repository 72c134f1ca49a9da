// The operators of the language, one function for each operator and operand form. Module names
// spell the form: cs, the left operand's letter, the operation, the right operand's letter; u is
// any Var, c a literal text, n a numeric literal.
//
// Arithmetic members: in_place is true in a compound assignment (+= and the like). The result is
// the left cell when that is a temporary or the assigned variable, else the right one when it is a
// temporary, else a new temporary; a left field is written through. Failures raise 201, 202, 205 or
// 902 and return the error value, a division by zero numeric zero.
// Comparisons return the true or the false constant, or the error value.
#pragma once

#include <cstdint>

#include "core/var.h"

namespace tarnel {

Var* csuaddu(Var* left, Var* right, bool in_place);
Var* csuaddc(Var* left, const char* right, bool in_place);
Var* cscaddu(const char* left, Var* right);
Var* csnaddu(double left, int decimals, Var* right, bool in_place);
Var* csusubu(Var* left, Var* right, bool in_place);
Var* csusubn(Var* left, double right, int decimals, bool in_place);
Var* csumulu(Var* left, Var* right, bool in_place);
Var* csnmulu(double left, int decimals, Var* right, bool in_place);
Var* csudivu(Var* left, Var* right, bool in_place);
Var* csudivn(Var* left, double right, bool in_place);
Var* csumodu(Var* left, Var* right, bool in_place);
Var* csumodn(Var* left, double right, bool in_place);
Var* csupowu(Var* left, Var* right, bool in_place);
Var* csupown(Var* left, double right, bool in_place);

Var* csminusu(Var* v);
Var* csnotu(Var* v);
bool csifu(Var* v);   // condition of a compiled if; error 202 gives false
Var* csincu(Var* v);  // prefix: the operand itself
Var* csdecu(Var* v);
Var* csuinc(Var* v);  // postfix: a copy of the old value
Var* csudec(Var* v);

Var* csuequu(Var* left, Var* right);
Var* csuequc(Var* left, const char* right);
Var* cscequu(const char* left, Var* right);
Var* csnequu(double left, Var* right);
Var* csueequu(Var* left, Var* right);
Var* csceequu(const char* left, Var* right);
Var* csunequ(Var* left, Var* right);
Var* csuneqc(Var* left, const char* right);
Var* csnequ(double left, Var* right);
Var* csugtu(Var* left, Var* right);
Var* cscgtu(const char* left, Var* right);
Var* csngtu(double left, Var* right);
Var* csultu(Var* left, Var* right);
Var* csnltu(double left, Var* right);
Var* csugequ(Var* left, Var* right);
Var* csngequ(double left, Var* right);
Var* csulequ(Var* left, Var* right);
Var* csnlequ(double left, Var* right);
Var* csuinu(Var* left, Var* right);
Var* csucontc(Var* left, const char* right);

// Compares two texts under SET EXACT and the current collation; negative, zero or positive. With
// SET EXACT off a left text equals each of its prefixes on the right.
int nastrcmp(const char* a, const char* b, std::int32_t la, std::int32_t lb);

// The collation weights of the 256 characters, or null for plain byte order. Set by the languages.
void set_collation(const unsigned char* weights);
const unsigned char* collation();

}  // namespace tarnel
