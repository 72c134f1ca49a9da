// Multiplication, division, modulo, power, and the operators of one operand.
#include <algorithm>
#include <cmath>

#include "core/operator_cells.h"
#include "core/operators.h"
#include "core/settings.h"

namespace tarnel {
namespace {

constexpr const char* kOnlyDivided = "only numerics can be divided";
constexpr const char* kZeroDivision = "attempted division by zero";

Var* failed_with_zero(int code, const char* text) {
  RT_ERROR(code, text);
  return num_zero();
}

// Moves a date, number or integer by one, in place or through its field.
Var* step(Var* v, std::int32_t by, const char* text) {
  if (!letter_in(v->type, "DFNI")) return RT_ERROR(201, text);
  if (upper_class(v->sclass) == 'F') {
    Var* moved = NEW_TEMP();
    moved->type = v->type;
    moved->length = v->length;
    moved->decimals = v->decimals;
    if (is_number(v) && v->type != 'I')
      moved->num = v->num + by;
    else
      put_word(moved, wrap_add(v->i, by));
    return CPY_VAR(v, moved);
  }
  if (v->type == 'D' || v->type == 'I')
    put_word(v, wrap_add(v->i, by));
  else
    v->num += by;
  return v;
}

// A field's cell may only point at its value; the new one goes to the record.
bool can_step(const Var* v) {
  return letter_in(v->sclass, "SNLVFTf");
}

Var* prefix_step(Var* v, std::int32_t by, const char* text) {
  if (!can_step(v)) return v;
  return is_error(step(v, by, text)) ? error_value() : v;
}

Var* postfix_step(Var* v, std::int32_t by, const char* text) {
  if (!can_step(v)) return v;
  Var* before = NEW_TEMP();
  if (letter_in(v->type, "DFNI")) CPY_VAR(before, v);
  return is_error(step(v, by, text)) ? error_value() : before;
}

// fmod; whole numbers are divided as such, in a fraction of its time.
double remainder_of(double dividend, double divisor) {
  constexpr double kExact =
      9007199254740992;  // 2 to 53: up to there every whole number is a double
  if (std::abs(dividend) < kExact && std::abs(divisor) < kExact) {
    const auto a = static_cast<std::int64_t>(dividend), b = static_cast<std::int64_t>(divisor);
    if (static_cast<double>(a) == dividend && static_cast<double>(b) == divisor && b != 0)
      return std::copysign(static_cast<double>(a % b), dividend);
  }
  return std::fmod(dividend, divisor);
}

constexpr const char* kIncrement = "only date numerics can be auto-incremented";
constexpr const char* kDecrement = "only date numerics can be auto-decremented";

}  // namespace

Var* detail::multiply(Var* left, Var* right, bool in_place) {
  if (!is_number_or_logical(left) || !is_number_or_logical(right))
    return RT_ERROR(202, "only numerics can be multiplied");
  Var* cell = result_cell(left, right, in_place);
  if (left->type == 'I' && right->type == 'I')
    return finish(left, store_int(cell, wrap_mul(left->i, right->i)), in_place);
  const double product = number_of(left) * number_of(right);
  return finish(left, store_num(cell, product, left->decimals + right->decimals), in_place);
}

Var* csnmulu(double left, int decimals, Var* right, bool in_place) {
  if (!is_number_or_logical(right)) return RT_ERROR(202, "only numerics can be multiplied");
  if (decimals == -1) decimals = settings().decimals;
  Var* cell = result_cell(right, nullptr, in_place);
  if (right->type == 'I' && (decimals == 0 || cell->sclass == 'S'))
    return finish(right, store_int(cell, wrap_mul(truncate_to_int(left), right->i)), in_place);
  const double product = left * number_of(right);
  return finish(right, store_num(cell, product, right->decimals + decimals), in_place);
}

Var* csudivu(Var* left, Var* right, bool in_place) {
  if (!is_number_or_logical(left)) return RT_ERROR(202, kOnlyDivided);
  if (!is_number_or_logical(right))
    return RT_ERROR(202, "only numerics can be divided, parameter 2");
  const double dividend = number_of(left), divisor = number_of(right);
  if (divisor == 0) return failed_with_zero(902, kZeroDivision);
  Var* cell = result_cell(left, right, in_place);
  return finish(left, store_num(cell, dividend / divisor, settings().decimals), in_place);
}

Var* csudivn(Var* left, double right, bool in_place) {
  if (!is_number_or_logical(left)) return RT_ERROR(202, kOnlyDivided);
  if (right == 0) return failed_with_zero(902, kZeroDivision);
  const double quotient = number_of(left) / right;
  return finish(left,
                store_num(result_cell(left, nullptr, in_place), quotient, settings().decimals),
                in_place);
}

Var* csumodu(Var* left, Var* right, bool in_place) {
  if (right->type == 'N' && right->num != 0)
    if (Var* const cell = detail::plain_result(left, right, in_place); cell != nullptr)
      return detail::store_plain(cell, remainder_of(left->num, right->num),
                                 std::min(settings().decimals, 255));
  if (!is_number_or_logical(left) || !is_number_or_logical(right))
    return failed_with_zero(202, kOnlyDivided);
  const double dividend = number_of(left), divisor = number_of(right);
  if (divisor == 0) return failed_with_zero(205, kZeroDivision);
  Var* cell = result_cell(left, right, in_place);
  if (left->type == 'I' && right->type == 'I') {
    // The smallest integer modulo -1 overflows in the processor; the remainder is 0.
    const std::int32_t remainder = right->i == -1 ? 0 : left->i % right->i;
    return finish(left, store_int(cell, remainder), in_place);
  }
  return finish(left, store_num(cell, remainder_of(dividend, divisor), settings().decimals),
                in_place);
}

Var* csumodn(Var* left, double right, bool in_place) {
  if (!is_number_or_logical(left)) return failed_with_zero(202, "only numerics can be moduloed");
  if (right == 0) return failed_with_zero(205, kZeroDivision);
  const double remainder = remainder_of(number_of(left), right);
  return finish(left,
                store_num(result_cell(left, nullptr, in_place), remainder, settings().decimals),
                in_place);
}

Var* csupowu(Var* left, Var* right, bool in_place) {
  if (!is_number_or_logical(left) || !is_number_or_logical(right))
    return RT_ERROR(202, "only numerics can be potentiated");
  const double power = std::pow(number_of(left), number_of(right));
  const bool whole = left->type == 'I' && right->type == 'I';
  Var* cell = result_cell(left, right, in_place);
  return finish(
      left,
      whole ? store_int(cell, truncate_to_int(power)) : store_num(cell, power, settings().decimals),
      in_place);
}

Var* csupown(Var* left, double right, bool in_place) {
  if (!is_number_or_logical(left)) return RT_ERROR(202, "only numerics can be potentiated");
  const double power = std::pow(number_of(left), right);
  Var* cell = result_cell(left, nullptr, in_place);
  const bool whole = left->type == 'I' && cell->sclass == 'S';
  return finish(
      left,
      whole ? store_int(cell, truncate_to_int(power)) : store_num(cell, power, settings().decimals),
      in_place);
}

Var* csminusu(Var* v) {
  if (!is_number_or_logical(v)) return RT_ERROR(202, "only numerics can be negated");
  Var* cell = result_cell(v, nullptr, false);
  if (v->type == 'I') {
    const std::int32_t length = v->length;
    store_int(cell, wrap_sub(0, v->i));
    cell->length = length;
    return cell;
  }
  return store_num(cell, -v->num, v->decimals);
}

Var* csnotu(Var* v) {
  if (!is_number_or_logical(v)) return RT_ERROR(202, ".not. only on logicals");
  return logical(!truth_of(v));
}

bool detail::condition(Var* v) {
  if (is_number_or_logical(v)) return truth_of(v);
  RT_ERROR(202, "expected logical for condition");
  return false;
}

Var* csincu(Var* v) {
  if (v->type == 'N' && v->sclass == 'N') {  // the usual case
    v->num += 1;
    return v;
  }
  return prefix_step(v, 1, kIncrement);
}
Var* csdecu(Var* v) {
  return prefix_step(v, -1, kDecrement);
}
Var* csuinc(Var* v) {
  return postfix_step(v, 1, kIncrement);
}
Var* csudec(Var* v) {
  return postfix_step(v, -1, kDecrement);
}

}  // namespace tarnel
