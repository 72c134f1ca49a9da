// The operators of the language, one function for each operator and operand form. Module names
// spell the form: cs, the left operand's letter, the operation, the right operand's letter; u is
// any Var, c a literal text, n a numeric literal.
//
// in_place is true in a compound assignment (+= and the like). Arithmetic results stand in the left cell
// when that is a temporary or the assigned variable, else in the right one when that is a temporary, else in
// a new temporary; a left field is written through. A failure gives the error value, a division by zero
// numeric zero.
//
// Behind each function: [temporaries pushed, errors raised]. A raise runs the error block, and where that lets
// the run go on the operation returns; its errors push nothing. All arithmetic on a variable of a fixed type
// may raise 332, on a field what the record raises, on texts 301 and 319.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/stacks.h"
#include "core/var.h"

namespace tarnel {

// The usual cases, of two doubles, stand where they are called; all others are functions.
namespace detail {
Var* add(Var* left, Var* right, bool in_place);
Var* subtract(Var* left, Var* right, bool in_place);
Var* multiply(Var* left, Var* right, bool in_place);

// The cell of a result that is a temporary or a plain variable. Null: it is another case.
[[gnu::always_inline]] inline Var* plain_result(Var* left, Var* right, bool in_place) {
  if (left->type != 'N' || right->type != 'N') return nullptr;
  if (left->sclass == 'T' || (in_place && left->sclass == 'N')) return left;
  if (in_place) return nullptr;
  return right->sclass == 'T' ? right : init_cell(push_cell(), 'T', 'N');
}
[[gnu::always_inline]] inline Var* store_plain(Var* cell, double value, int decimals) {
  cell->type = 'N';
  cell->length = -1;
  cell->decimals = static_cast<std::uint8_t>(decimals);
  cell->num = value;
  return cell;
}

enum Relation : std::uint8_t {
  kEqual,
  kExactlyEqual,
  kNotEqual,
  kGreater,
  kLess,
  kGreaterEqual,
  kLessEqual
};
Var* compare(Relation relation, Var* left, Var* right);

template <typename T>
[[gnu::always_inline]] inline bool holds(Relation relation, T a, T b) {
  switch (relation) {
    case kEqual:
    case kExactlyEqual:
      return a == b;
    case kNotEqual:
      return a != b;
    case kGreater:
      return a > b;
    case kLess:
      return a < b;
    case kGreaterEqual:
      return a >= b;
    case kLessEqual:
      return a <= b;
  }
  return false;
}

// Of the two usual kinds of number, which are fields and constants of texts.
inline bool is_plain_number(const Var* v) {
  return v->type == 'N' || v->type == 'I';
}
inline double plain_number(const Var* v) {
  return v->type == 'N' ? v->num : v->i;
}
[[gnu::always_inline]] inline Var* compare_cells(Relation relation, Var* left, Var* right) {
  if (is_plain_number(left) && is_plain_number(right))
    return logical(holds(relation, plain_number(left), plain_number(right)));
  return compare(relation, left, right);
}
}  // namespace detail

// [0..1, 201 902]
[[gnu::always_inline]] inline Var* csuaddu(Var* left, Var* right, bool in_place) {
  if (Var* const cell = detail::plain_result(left, right, in_place); cell != nullptr)
    return detail::store_plain(cell, left->num + right->num,
                               std::max(left->decimals, right->decimals));
  return detail::add(left, right, in_place);
}
Var* csuaddc(Var* left, const char* right, bool in_place);           // [0..1, 201]
Var* cscaddu(const char* left, Var* right);                          // [1, 201]
Var* csnaddu(double left, int decimals, Var* right, bool in_place);  // [0..1, 201]
// [0..2, 201 902]
[[gnu::always_inline]] inline Var* csusubu(Var* left, Var* right, bool in_place) {
  if (Var* const cell = detail::plain_result(left, right, in_place); cell != nullptr)
    return detail::store_plain(cell, left->num - right->num,
                               std::max(left->decimals, right->decimals));
  return detail::subtract(left, right, in_place);
}
Var* csusubn(Var* left, double right, int decimals, bool in_place);  // [0..1, 202]
// [0..1, 202]
[[gnu::always_inline]] inline Var* csumulu(Var* left, Var* right, bool in_place) {
  if (Var* const cell = detail::plain_result(left, right, in_place); cell != nullptr)
    return detail::store_plain(cell, left->num * right->num,
                               std::min(left->decimals + right->decimals, 255));
  return detail::multiply(left, right, in_place);
}
Var* csnmulu(double left, int decimals, Var* right, bool in_place);  // [0..1, 202]
Var* csudivu(Var* left, Var* right, bool in_place);                  // [0..1, 202 902]
Var* csudivn(Var* left, double right, bool in_place);                // [0..1, 202 902]
Var* csumodu(Var* left, Var* right, bool in_place);                  // [0..1, 202 205]
Var* csumodn(Var* left, double right, bool in_place);                // [0..1, 202 205]
Var* csupowu(Var* left, Var* right, bool in_place);                  // [0..1, 202]
Var* csupown(Var* left, double right, bool in_place);                // [0..1, 202]

namespace detail {
bool condition(Var* v);
}
// [0, 202] Condition of a compiled if; the error gives false.
inline bool csifu(Var* v) {
  return v == true_value() || (v != false_value() && detail::condition(v));
}

Var* csminusu(Var* v);  // [0..1, 202]
Var* csnotu(Var* v);    // [0, 202]
Var* csincu(Var* v);    // [0..1, 201] prefix: the operand itself
Var* csdecu(Var* v);    // [0..1, 201]
Var* csuinc(Var* v);    // [0..2, 201] postfix: a copy of the old value
Var* csudec(Var* v);    // [0..2, 201]

// Comparisons: the true or the false constant, or the error value. Those of two cells by =, == and # are
// false after 901, which an undefined variable raises.
#define COMPARISON_OF_CELLS(name, relation)              \
  inline Var* name(Var* left, Var* right) {              \
    return detail::compare_cells(relation, left, right); \
  }
COMPARISON_OF_CELLS(csuequu, detail::kEqual)          // [0, 201 901]
COMPARISON_OF_CELLS(csueequu, detail::kExactlyEqual)  // [0, 201 901]
COMPARISON_OF_CELLS(csunequ, detail::kNotEqual)       // [0, 201 901]
COMPARISON_OF_CELLS(csugtu, detail::kGreater)         // [0, 201]
COMPARISON_OF_CELLS(csultu, detail::kLess)            // [0, 201]
COMPARISON_OF_CELLS(csugequ, detail::kGreaterEqual)   // [0, 201]
COMPARISON_OF_CELLS(csulequ, detail::kLessEqual)      // [0, 201]
#undef COMPARISON_OF_CELLS
Var* csuequc(Var* left, const char* right);   // [0, 201]
Var* cscequu(const char* left, Var* right);   // [0, 201]
Var* csnequu(double left, Var* right);        // [0, 201]
Var* csceequu(const char* left, Var* right);  // [0, 201]
Var* csuneqc(Var* left, const char* right);   // [0, 201]
Var* csnequ(double left, Var* right);         // [0, 201]
Var* cscgtu(const char* left, Var* right);    // [0, 201]
Var* csngtu(double left, Var* right);         // [0, 201]
Var* csnltu(double left, Var* right);         // [0, 201]
Var* csngequ(double left, Var* right);        // [0, 201]
Var* csnlequ(double left, Var* right);        // [0, 201]
Var* csuinu(Var* left, Var* right);           // [0, 201]
Var* csucontc(Var* left, const char* right);  // [0, 201]

// Compares two texts under SET EXACT and the current collation; negative, zero or positive. With
// SET EXACT off a left text equals each of its prefixes on the right.
int nastrcmp(const char* a, const char* b, std::int32_t la, std::int32_t lb);

// The collation weights of the 256 characters, or null for plain byte order. Set by the languages.
void set_collation(const unsigned char* weights);
const unsigned char* collation();

}  // namespace tarnel
