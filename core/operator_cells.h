// How the arithmetic operators choose and fill their result cell. For the operator files only.
#pragma once

#include "core/errors.h"
#include "core/stacks.h"
#include "core/var.h"

namespace tarnel {

constexpr const char* kOwningVariables = "NVLS";
constexpr const char* kAllVariables = "NVLSnvls";

// The left cell when it is a temporary, or the variable of a compound assignment.
inline bool left_is_target(const Var* left, bool in_place, const char* variables) {
  return left->sclass == 'T' || (in_place && letter_in(left->sclass, variables));
}

// Left target, else a right temporary, else a new temporary.
inline Var* result_cell(Var* left, Var* right, bool in_place,
                        const char* variables = kOwningVariables) {
  if (left_is_target(left, in_place, variables)) return left;
  if (right != nullptr && right->sclass == 'T') return right;
  return NEW_TEMP();
}

// What an operator without a row for its left operand hands back: never the right operand.
inline Var* untouched(Var* left) {
  return left->sclass == 'T' ? left : NEW_TEMP();
}

// Stores a result where no text or body lies (the operands were numbers, logicals or dates). A
// fixed-type variable refuses a type that it would refuse in an assignment.
inline Var* store(Var* cell, char type, std::int32_t length, std::uint8_t decimals) {
  if (upper_class(cell->sclass) == 'S' && !types_compatible(cell->type, type))
    return CLR_VAR(cell, type);
  cell->type = type;
  cell->length = length;
  cell->decimals = decimals;
  return cell;
}

inline Var* store_num(Var* cell, double value, int decimals) {
  cell = store(cell, 'N', -1, static_cast<std::uint8_t>(decimals > 255 ? 255 : decimals));
  if (!is_error(cell)) cell->num = value;
  return cell;
}

inline Var* store_int(Var* cell, std::int32_t value) {
  cell = store(cell, 'I', -1, 0);
  if (!is_error(cell)) put_word(cell, value);
  return cell;
}

inline Var* store_date(Var* cell, std::int32_t day) {
  cell = store(cell, 'D', 8, 0);
  if (!is_error(cell)) put_word(cell, day);
  return cell;
}

// A compound assignment to a field writes the record.
inline Var* finish(Var* left, Var* cell, bool in_place) {
  if (in_place && upper_class(left->sclass) == 'F' && !is_error(cell)) return CPY_VAR(left, cell);
  return cell;
}

// 32-bit arithmetic wraps.
inline std::int32_t wrap_add(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
inline std::int32_t wrap_sub(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
inline std::int32_t wrap_mul(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace tarnel
