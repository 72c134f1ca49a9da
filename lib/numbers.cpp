#include "lib/numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "core/errors.h"
#include "lib/arguments.h"
#include "lib/national.h"

namespace tarnel {
namespace {

constexpr double kIntMax = 2147483647.0, kIntMin = -2147483648.0;

Var* computed(std::int32_t argc, Var** argv, bool positive_only, double (*function)(double)) {
  if (!arg_is(argc, argv, 0, kNumeric)) return num_zero();
  const double value = number_of(argv[0]);
  return positive_only && !(value > 0) ? num_zero() : TMP_NUM(function(value), -1);
}

// max and min; on a tie the first argument.
Var* extreme(std::int32_t argc, Var** argv, double sign) {
  if (argc < 1) return num_zero();
  Var* first = argv[0];
  if (first->type == 'D') {
    if (!arg_is(argc, argv, 1, "D")) return empty_date();
    return sign * argv[1]->i > sign * first->i ? argv[1] : first;
  }
  if (!is_number(first) || !arg_is(argc, argv, 1, kNumeric)) return num_zero();
  return sign * number_of(argv[1]) > sign * number_of(first) ? argv[1] : first;
}

// A whole number: an integer as long as it fits.
Var* whole(std::int32_t argc, Var** argv, double (*function)(double)) {
  if (!arg_is(argc, argv, 0, kNumeric)) return int_zero();
  if (argv[0]->type == 'I') return argv[0];
  const double value = function(number_of(argv[0]));
  return value >= kIntMin && value <= kIntMax ? TMP_INT(static_cast<std::int32_t>(value))
                                              : TMP_NUM(value, 0);
}

std::int32_t negated(std::int32_t value) {
  return static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(value));
}

double power_of_ten(int n) {
  return std::pow(10.0, n);
}

double rounded(double value, int decimals) {
  if (!std::isfinite(value) || decimals > 300) return value;
  if (decimals < -308) return 0;
  const double scale = power_of_ten(std::abs(decimals));
  const double scaled = decimals < 0 ? value / scale : value * scale;
  if (!std::isfinite(scaled)) return value;
  // 1.005 is a little less than what was written; the slack lets it round as it reads.
  const double slack = std::abs(scaled) * 1e-15;
  const double whole = std::copysign(std::floor(std::abs(scaled) + 0.5 + slack), value);
  return decimals < 0 ? whole * scale : whole / scale;
}

}  // namespace

Var* builtin_abs(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return num_zero();
  const Var* v = argv[0];
  if (v->type == 'I') return TMP_INT(v->i < 0 ? negated(v->i) : v->i);
  return TMP_NUM(std::abs(number_of(v)), v->decimals);
}

Var* builtin_log(std::int32_t argc, Var** argv) {
  return computed(argc, argv, true, std::log);
}
Var* builtin_sqrt(std::int32_t argc, Var** argv) {
  return computed(argc, argv, true, std::sqrt);
}
Var* builtin_exp(std::int32_t argc, Var** argv) {
  return computed(argc, argv, false, std::exp);
}
Var* builtin_log10(std::int32_t argc, Var** argv) {
  return computed(argc, argv, true, std::log10);
}
Var* builtin_sin(std::int32_t argc, Var** argv) {
  return computed(argc, argv, false, std::sin);
}
Var* builtin_cos(std::int32_t argc, Var** argv) {
  return computed(argc, argv, false, std::cos);
}
Var* builtin_atan2(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric) || !arg_is(argc, argv, 1, kNumeric)) return num_zero();
  return TMP_NUM(std::atan2(number_of(argv[0]), number_of(argv[1])), -1);
}
Var* pi(std::int32_t, Var**) {
  return TMP_NUM(std::numbers::pi, -1);
}
Var* builtin_floor(std::int32_t argc, Var** argv) {
  return whole(argc, argv, std::floor);
}
Var* builtin_ceiling(std::int32_t argc, Var** argv) {
  return whole(argc, argv, std::ceil);
}
Var* sign(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return int_zero();
  const double value = number_of(argv[0]);
  return value > 0 ? int_one() : value < 0 ? int_minus_one() : int_zero();
}
Var* builtin_max(std::int32_t argc, Var** argv) {
  return extreme(argc, argv, 1);
}
Var* builtin_min(std::int32_t argc, Var** argv) {
  return extreme(argc, argv, -1);
}

Var* builtin_int(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return int_zero();
  if (argv[0]->type == 'I') return argv[0];
  const double value = std::trunc(number_of(argv[0]));
  // What the processor's conversion gives for a value that does not fit.
  const bool fits = value >= kIntMin && value <= kIntMax;
  return TMP_INT(fits ? static_cast<std::int32_t>(value) : INT32_MIN);
}

Var* num2int(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return int_zero();
  const double value = number_of(argv[0]);
  if (!(value >= kIntMin && value <= kIntMax)) return int_zero();
  return TMP_INT(static_cast<std::int32_t>(value + (value < 0 ? -0.5 : 0.5)));
}

Var* builtin_mod(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric) || !arg_is(argc, argv, 1, kNumeric)) return num_zero();
  const double value = number_of(argv[0]), divisor = number_of(argv[1]);
  const int decimals = std::max(argv[0]->decimals, argv[1]->decimals);
  if (divisor == 0) return TMP_NUM(value, decimals);
  const double rest = std::fmod(value, divisor);
  return TMP_NUM(rest != 0 && (rest < 0) != (divisor < 0) ? rest + divisor : rest, decimals);
}

Var* builtin_round(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return num_zero();
  const std::int32_t decimals = std::clamp(int_argument(argc, argv, 1, 0), -1000, 1000);
  return TMP_NUM(rounded(number_of(argv[0]), decimals), std::clamp(decimals, 0, 255));
}

Var* descend(std::int32_t argc, Var** argv) {
  if (argc != 1) return RT_ERROR(311, "DESCEND(): requires one argument");
  Var* v = argv[0];
  switch (v->type) {
    case 'C':
    case 'M': {
      Var* copy = TMP_TEXT(text_of(v));
      if (!is_error(copy)) descend_bytes(copy->text, text_of(copy).size());
      return copy;
    }
    case 'D':
      return TMP_NUM(1000000.0 - v->i, 0);
    case 'F':
    case 'N':
      return TMP_NUM(-v->num, v->decimals);
    case 'I':
      return TMP_INT(negated(v->i));
    case 'L':
      return logical(v->i == 0);
    default:
      return v;
  }
}

}  // namespace tarnel
