#include "lib/binary.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <string>

#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr std::size_t kMostDigits = 16;
constexpr std::int32_t kBits = 64;

std::int64_t bits_of(const Var* v) {
  constexpr double kLimit = 9223372036854775808.0;  // 2 to the 63rd
  const double value = number_of(v);
  if (value != value) return 0;
  if (value >= kLimit) return INT64_MAX;
  return value < -kLimit ? INT64_MIN : static_cast<std::int64_t>(value);
}

Var* number(std::int64_t value) {
  return value >= INT32_MIN && value <= INT32_MAX ? TMP_INT(static_cast<std::int32_t>(value))
                                                  : TMP_NUM(static_cast<double>(value), 0);
}

// Combines all arguments; integer 0 when one is no number or there are none.
template <typename Combine>
Var* combined(std::int32_t argc, Var** argv, Combine combine) {
  std::int64_t result = 0;
  for (std::int32_t i = 0; i < argc; ++i) {
    if (!arg_is(argc, argv, i, kNumeric)) return int_zero();
    result = i == 0 ? bits_of(argv[i]) : combine(result, bits_of(argv[i]));
  }
  return number(result);
}

// The number that the first bytes of a text make, the lowest first.
template <typename Number>
Var* number_of_bytes(std::int32_t argc, Var** argv) {
  const auto bytes = text_argument(argc, argv, 0).substr(0, sizeof(Number));
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return TMP_INT(static_cast<Number>(value));
}

Var* bytes_of_number(std::int32_t argc, Var** argv, std::size_t count) {
  auto value = arg_is(argc, argv, 0, kNumeric) ? static_cast<std::uint64_t>(bits_of(argv[0])) : 0;
  std::string bytes;
  for (; bytes.size() < count; value >>= 8U) bytes += static_cast<char>(value & 0xFFU);
  return TMP_TEXT(bytes);
}

}  // namespace

Var* bin2i(std::int32_t argc, Var** argv) {
  return number_of_bytes<std::int16_t>(argc, argv);
}
Var* bin2w(std::int32_t argc, Var** argv) {
  return number_of_bytes<std::uint16_t>(argc, argv);
}
Var* bin2l(std::int32_t argc, Var** argv) {
  return number_of_bytes<std::int32_t>(argc, argv);
}
Var* i2bin(std::int32_t argc, Var** argv) {
  return bytes_of_number(argc, argv, 2);
}
Var* l2bin(std::int32_t argc, Var** argv) {
  return bytes_of_number(argc, argv, 4);
}

Var* bitand_function(std::int32_t argc, Var** argv) {
  return combined(argc, argv, std::bit_and<std::int64_t>());
}
Var* bitor_function(std::int32_t argc, Var** argv) {
  return combined(argc, argv, std::bit_or<std::int64_t>());
}
Var* bitxor(std::int32_t argc, Var** argv) {
  return combined(argc, argv, std::bit_xor<std::int64_t>());
}

Var* bitshift(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric) || !arg_is(argc, argv, 1, kNumeric)) return int_zero();
  const std::int64_t value = bits_of(argv[0]);
  const std::int32_t by = std::clamp(integer_of(argv[1]), -kBits, kBits);
  if (by < 0) return number(value >> std::min(-by, kBits - 1));  // the sign comes after
  return number(by == kBits ? 0
                            : static_cast<std::int64_t>(static_cast<std::uint64_t>(value) << by));
}

Var* numtohex(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kNumeric)) return empty_text();
  char digits[kMostDigits];
  const auto end =
      std::to_chars(digits, digits + kMostDigits, static_cast<std::uint64_t>(bits_of(argv[0])), 16)
          .ptr;
  const std::string all = upper_text({digits, end});
  const auto length = static_cast<std::size_t>(
      std::clamp(int_argument(argc, argv, 1, 0), 0, static_cast<std::int32_t>(kMostDigits)));
  if (length == 0) return TMP_TEXT(all);
  return TMP_TEXT((std::string(kMostDigits, '0') + all).substr(kMostDigits + all.size() - length));
}

Var* hextonum(std::int32_t argc, Var** argv) {
  const auto digits = trim_blanks(text_argument(argc, argv, 0));
  std::uint64_t value = 0;
  const auto [end, failure] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (digits.size() > kMostDigits || failure != std::errc() || end != digits.data() + digits.size())
    return int_zero();
  return number(static_cast<std::int64_t>(value));
}

}  // namespace tarnel
