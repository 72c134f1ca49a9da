#include "lib/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/settings.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

constexpr int kAutomaticWidth = 10;  // of the integer part of a computed number

// Moves the start of an automatically formatted text so that its integer part is ten wide.
std::string_view right_adjust(NumberBuffer& buffer, std::string_view text) {
  constexpr auto kWidth = static_cast<std::size_t>(kAutomaticWidth);
  const auto point = text.find('.');
  const auto integer = point == text.npos ? text.size() : point;
  if (integer >= kWidth) return text;
  const auto missing = kWidth - integer;
  const char* start = text.data() - missing;
  return start >= buffer.bytes ? std::string_view{start, text.size() + missing} : text;
}

std::string_view stars(NumberBuffer& buffer, int width) {
  const auto n = static_cast<std::size_t>(std::clamp(width, 0, kMaxNumberWidth));
  std::memset(buffer.bytes, '*', n);
  return {buffer.bytes, n};
}

std::string_view strip_zeros(std::string_view text) {
  if (text.find('.') == text.npos) return text;
  while (text.back() == '0') text.remove_suffix(1);
  if (text.back() == '.') text.remove_suffix(1);
  return text;
}

// Whole numbers are the most that are printed, and their digits are those of an integer. The end of the text; null
// for other numbers.
char* print_whole(char* start, char* end, double value, int precision) {
  constexpr double kExactBelow = 9007199254740992;  // 2^53
  const bool minus_zero = value == 0 && std::signbit(value);
  if (!(std::abs(value) < kExactBelow) || value != std::trunc(value) || minus_zero) return nullptr;
  char* at = std::to_chars(start, end, static_cast<std::int64_t>(value)).ptr;
  if (precision > 0) *at++ = '.';
  return std::fill_n(at, precision, '0');
}

}  // namespace

std::string_view print_fixed(NumberBuffer& buffer, double value, int width, int decimals) {
  char* const start = buffer.bytes + NumberBuffer::kLead;
  std::memset(buffer.bytes, ' ', NumberBuffer::kLead);
  if (!std::isfinite(value)) {
    const auto n =
        static_cast<std::size_t>(width > 0 ? std::min(width, kMaxNumberWidth) : kAutomaticWidth);
    std::memset(start, '*', n);
    return {start, n};
  }
  const int precision = decimals < 0 ? 6 : std::min(decimals, kMaxNumberDecimals);
  char* const room = buffer.bytes + NumberBuffer::kSize;
  const char* end = print_whole(start, room, value, precision);
  if (end == nullptr)
    end = std::to_chars(start, room, value, std::chars_format::fixed, precision).ptr;
  auto n = static_cast<std::size_t>(end - start);
  const auto wanted = static_cast<std::size_t>(std::clamp(width, 0, kMaxNumberWidth));
  if (n < wanted) {
    std::memmove(start + (wanted - n), start, n);
    std::memset(start, ' ', wanted - n);
    n = wanted;
  }
  return {start, n};
}

std::string_view numToText(double value, int width, int decimals, NumberBuffer& buffer) {
  const bool automatic = width < 0;
  if (settings().fixed) decimals = settings().decimals;
  const auto text = print_fixed(buffer, value, automatic ? kAutomaticWidth : width, decimals);
  if (automatic) return right_adjust(buffer, text);
  const int limit = std::min(width, kMaxNumberWidth);
  return text.size() > static_cast<std::size_t>(limit) ? stars(buffer, limit) : text;
}

std::string_view number_field(double value, int width, int decimals, bool stored_width,
                              NumberBuffer& buffer) {
  const bool computed = stored_width && width < 0;
  width = width < 0 ? kAutomaticWidth : std::min(width, kMaxNumberWidth);
  const auto text = print_fixed(buffer, value, width, decimals);
  if (computed) return right_adjust(buffer, strip_zeros(text));
  return !stored_width && text.size() > static_cast<std::size_t>(width) ? stars(buffer, width)
                                                                        : text;
}

ParsedNumber parse_number(std::string_view text) {
  const auto digit_at = [text](std::size_t i) {
    return i < text.size() && text[i] >= '0' && text[i] <= '9';
  };
  std::size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const bool negative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  const std::size_t start = i;
  while (digit_at(i)) ++i;
  std::size_t end = i;
  std::size_t decimals = 0;
  if (i < text.size() && text[i] == '.' && digit_at(i + 1)) {
    end = i + 1;
    while (digit_at(end)) ++end;
    decimals = end - i - 1;
  }
  double value = 0;
  const auto read =
      std::from_chars(text.data() + start, text.data() + end, value, std::chars_format::fixed);
  if (read.ec == std::errc::result_out_of_range)
    value = i - start > 300 ? std::numeric_limits<double>::infinity() : 0;
  constexpr std::size_t kIntLimit = std::numeric_limits<int>::max();
  return {negative ? -value : value, static_cast<int>(std::min(end, kIntLimit)),
          static_cast<int>(std::min(decimals, std::size_t{kMaxNumberDecimals}))};
}

Var* str(std::int32_t argc, Var** argv) {
  if (argc < 1 || argc > 3) return empty_text();
  if (argc >= 2 && !arg_is(argc, argv, 1, "NFIL")) return empty_text();
  if (!arg_is(argc, argv, 0, "NFIL")) return empty_text();
  const Var* number = argv[0];
  const int width = argc >= 2 ? integer_of(argv[1]) : number->length;
  const int decimals = argc > 1 ? int_argument(argc, argv, 2, 0) : number->decimals;
  NumberBuffer buffer;
  return TMP_TEXT(number_field(number_of(number), width, decimals, argc == 1, buffer));
}

Var* strzero(std::int32_t argc, Var** argv) {
  Var* result = str(argc, argv);
  if (result->sclass == 'C' || is_error(result)) return result;
  const auto blank = text_of(result).rfind(' ');
  if (blank == std::string_view::npos) return result;
  char* text = result->text;
  std::memset(text, '0', blank + 1);
  if (text[blank + 1] == '-') {
    text[blank + 1] = '0';
    text[0] = '-';
  }
  return result;
}

Var* val(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "CM")) return num_zero();
  const ParsedNumber number = parse_number(text_of(argv[0]));
  if (number.value == 0) return num_zero();
  Var* result = TMP_NUM(number.value, number.decimals);
  result->length = number.width;
  return result;
}

}  // namespace tarnel
