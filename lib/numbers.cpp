#include "lib/numbers.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/blocks.h"
#include "core/errors.h"
#include "core/settings.h"
#include "core/stacks.h"
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

// The one-letter text for a type letter. Integers and floats show themselves with option intvar
// only.
const char* type_text(const Var* v) {
  static constexpr const char* kTexts[] = {"U", "F", "I", "N", "D", "C", "M",
                                           "L", "A", "S", "B", "O", "?"};
  char letter = v->type;
  if (letter == 'b') letter = 'B';
  if ((letter == 'F' || letter == 'I') && !settings().intvar) letter = 'N';
  for (const char* text : kTexts)
    if (*text == letter) return text;
  return "U";
}

// Evaluates an expression with errors held back. Null: no value.
const char* type_of_expression(std::string_view text) {
  const ErrorHold hold;
  const std::int32_t mark = temp_top();
  set_last_error(0);
  const Var* value = macro_hooks().evaluate(text);
  const char* result = value == nullptr || value->type == 'E' ? nullptr : type_text(value);
  POP_TEMPS(mark);
  return result;
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

Var* valtype(std::int32_t argc, Var** argv) {
  return TMP_STR(argc < 1 ? "U" : type_text(argv[0]));
}

namespace {
// What the evaluation of an expression leaves there is the asker's affair alone.
class KeepLastError {
 public:
  KeepLastError() : saved_(last_error()) {}
  ~KeepLastError() { set_last_error(saved_); }
  KeepLastError(const KeepLastError&) = delete;
  KeepLastError& operator=(const KeepLastError&) = delete;

 private:
  const int saved_;
};
}  // namespace

Var* type(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || macro_hooks().evaluate == nullptr) return empty_text();
  const auto text = text_of(argv[0]);
  const KeepLastError keep;
  const char* letters = type_of_expression(text);
  const int code = last_error();
  if (letters == nullptr || code != 0) {
    if (code == 308) {
      letters = "UF";
    } else if (code == 309) {
      letters = "UE";
    } else if (code == 310 || code == 319) {
      letters = "U";
    } else {
      // A call that complains but goes on has a result all the same.
      letters = type_of_expression(text);
      if (letters == nullptr) letters = "UI";
    }
  }
  return TMP_STR(letters);
}

}  // namespace tarnel
