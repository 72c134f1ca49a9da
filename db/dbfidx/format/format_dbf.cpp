#include "db/dbfidx/format/format_dbf.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "db/codec.h"

namespace tarnel::dbf {
namespace {

enum Offset : std::size_t {
  kVersionAt = 0,
  kDateAt = 1,
  kCountAt = 4,
  kHeaderSizeAt = 8,
  kRecordSizeAt = 10,
  kReservedAt = 12,
  kCharactersAt = 29,
  kCounterAt = 31,
  kTypeAt = 11,
  kLengthAt = 16,
  kDecimalsAt = 17,
};

// Room for any double in fixed notation with 255 decimals, and for a width of 255.
constexpr std::size_t kNumberRoom = 640;

// Right-aligned in the field. REQUIRES: the digits fit.
void put_right(std::uint8_t* at, int length, std::string_view digits) {
  const auto room = static_cast<std::size_t>(length);
  assert(digits.size() <= room);
  std::memset(at, ' ', room - digits.size());
  std::memcpy(at + room - digits.size(), digits.data(), digits.size());
}

std::string_view general(char* buffer, double value, int precision) {
  // A negative precision means the customary six, 0 counts as one.
  const auto [end, code] =
      std::to_chars(buffer, buffer + kNumberRoom, value, std::chars_format::general,
                    precision < 0 ? 6 : std::max(precision, 1));
  static_cast<void>(code);
  return {buffer, static_cast<std::size_t>(end - buffer)};
}

bool is_blank(std::uint8_t c) {
  return c == ' ' || c == '\t';
}
unsigned digit_of(char c) {
  return static_cast<unsigned>(c) - '0';
}
bool is_digit(char c) {
  return digit_of(c) < 10;
}

constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr int kExactDigits = 15;  // of a decimal that a double holds exactly before it is scaled

// The whole number in eight bytes, right-aligned behind blanks; -1 when there is anything else. All
// bytes are worked on at once.
std::int64_t parse_eight(const char* text) {
  if constexpr (std::endian::native != std::endian::little) return -1;
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  std::uint64_t word;
  std::memcpy(&word, text, 8);
  const int blanks = std::countr_zero(word ^ ' ' * kOnes) / 8;
  const std::uint64_t in_front =
      blanks == 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << 8 * blanks) - 1;
  word = (word & ~in_front) | (in_front & '0' * kOnes);
  word ^= '0' * kOnes;
  if (((word | (word + 0x76 * kOnes)) & 0x80 * kOnes) != 0) return -1;  // a byte above 9
  word = word * 10 + (word >> 8);  // two digits in every other byte, then four, then all
  word = (word & 0x000000FF000000FF) * ((100ULL * 10000 << 32) + 100) +
         (word >> 16 & 0x000000FF000000FF) * ((10000ULL << 32) + 1);
  return static_cast<std::int64_t>(word >> 32);
}

// Any text that may stand in a number's field.
double parse_any(const char* text, const char* end) {
  while (text < end && (is_blank(static_cast<std::uint8_t>(*text)) || *text == '+')) ++text;
  const char* digits = text < end && *text == '-' ? text + 1 : text;
  if (digits == end || (*digits != '.' && !is_digit(*digits))) return 0;
  double value = 0;
  const auto [rest, code] = std::from_chars(text, end, value);
  // from_chars leaves the value alone when it is out of range; the rule is the nearest bound.
  if (code == std::errc::result_out_of_range)
    return std::strtod(std::string(text, rest).c_str(), nullptr);
  return code == std::errc::invalid_argument ? 0 : value;
}

// Prints backwards from `end`; the start of the text, or null when the number is too large, or so
// near the middle between two results that only its exact expansion can decide.
char* print_short(char* end, int decimals, double value) {
  constexpr int kMostDecimals = 8;
  constexpr double kLargest = 1e11, kNearMiddle = 1e-4;  // the error of the product is below 2e-5
  if (decimals > kMostDecimals) return nullptr;
  const double scaled = std::fabs(value) * kPowers[decimals];
  if (!(scaled < kLargest)) return nullptr;
  auto whole = static_cast<std::int64_t>(scaled);
  const double rest = scaled - static_cast<double>(whole);
  if (std::fabs(rest - 0.5) < kNearMiddle) return nullptr;
  if (rest > 0.5) ++whole;
  char* p = end;
  for (int i = 0; i < decimals; ++i, whole /= 10) *--p = static_cast<char>('0' + whole % 10);
  if (decimals > 0) *--p = '.';
  do {
    *--p = static_cast<char>('0' + whole % 10);
    whole /= 10;
  } while (whole != 0);
  if (std::signbit(value)) *--p = '-';
  return p;
}

}  // namespace

std::uint8_t version(const std::uint8_t* header) {
  return header[kVersionAt];
}
std::uint32_t record_count(const std::uint8_t* header) {
  return get_u32le(header + kCountAt);
}
std::uint16_t header_size(const std::uint8_t* header) {
  return get_u16le(header + kHeaderSizeAt);
}
std::uint16_t record_size(const std::uint8_t* header) {
  return get_u16le(header + kRecordSizeAt);
}
std::uint8_t change_counter(const std::uint8_t* header) {
  return header[kCounterAt];
}
std::uint8_t character_mark(const std::uint8_t* header) {
  return header[kCharactersAt];
}
Date last_update(const std::uint8_t* header) {
  return {kYearBase + header[kDateAt], header[kDateAt + 1], header[kDateAt + 2]};
}

void set_version(std::uint8_t* header, bool memo) {
  header[kVersionAt] = static_cast<std::uint8_t>(memo ? kVersion | kMemoBit : kVersion);
}
void set_record_count(std::uint8_t* header, std::uint32_t count) {
  put_u32le(header + kCountAt, count);
}
void set_change_counter(std::uint8_t* header, std::uint8_t counter) {
  header[kCounterAt] = counter;
}
void set_character_mark(std::uint8_t* header, std::uint8_t mark) {
  header[kCharactersAt] = mark;
}
void set_last_update(std::uint8_t* header, Date date) {
  header[kDateAt] = static_cast<std::uint8_t>(date.year - kYearBase);
  header[kDateAt + 1] = static_cast<std::uint8_t>(date.month);
  header[kDateAt + 2] = static_cast<std::uint8_t>(date.day);
}

void set_sizes(std::uint8_t* header, std::uint16_t header_size, std::uint16_t record_size) {
  put_u16le(header + kHeaderSizeAt, header_size);
  put_u16le(header + kRecordSizeAt, record_size);
}
void keep_reserved(std::uint8_t* header, const std::uint8_t* other) {
  std::memcpy(header + kReservedAt, other + kReservedAt, kCounterAt - kReservedAt);
}

bool read_fields(std::span<std::uint8_t> header, std::vector<Field>& fields) {
  fields.clear();
  const std::size_t count = (header.size() - kHeaderPrefix) / kDescriptorSize;
  const std::uint32_t record = record_size(header.data());
  std::uint32_t offset = 1;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint8_t* d = header.data() + kHeaderPrefix + i * kDescriptorSize;
    Field field{};
    std::memcpy(field.name, d, kNameField);
    field.type = static_cast<char>(d[kTypeAt]);
    field.length_byte = d[kLengthAt];
    field.decimals = d[kDecimalsAt];
    field.length = field.type == 'C' ? get_u16le(d + kLengthAt) : d[kLengthAt];
    if (offset + field.length > record) return false;
    field.offset = static_cast<std::uint16_t>(offset);
    put_u32le(d + kFieldOffset, offset);
    offset += field.length;
    fields.push_back(field);
  }
  return offset == record;
}

int stored_length(char type, int length) {
  switch (type) {
    case 'D':
      return kDateLength;
    case 'L':
      return 1;
    case 'M':
      return kMemoLength;
    default:
      return length;
  }
}

std::vector<std::uint8_t> new_header(std::span<const Field> fields, Date today) {
  const std::size_t size = kHeaderPrefix + fields.size() * kDescriptorSize + 1;
  std::vector<std::uint8_t> header(size, 0);
  std::uint32_t record = 1;
  bool memo = false;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Field& field = fields[i];
    std::uint8_t* d = header.data() + kHeaderPrefix + i * kDescriptorSize;
    std::memcpy(d, field.name, strnlen(field.name, kNameField));
    d[kTypeAt] = static_cast<std::uint8_t>(field.type);
    if (field.type == 'C') {
      put_u16le(d + kLengthAt, field.length);
    } else {
      d[kLengthAt] = static_cast<std::uint8_t>(field.length);
      d[kDecimalsAt] = field.decimals;
    }
    record += field.length;
    memo |= field.type == 'M';
  }
  header.back() = kEndMark;
  set_version(header.data(), memo);
  set_last_update(header.data(), today);
  set_sizes(header.data(), static_cast<std::uint16_t>(size), static_cast<std::uint16_t>(record));
  set_change_counter(header.data(), 1);
  return header;
}

// Up to fifteen digits with at most one point go without the general conversion: both parts of the
// division are exact, so the result is the nearest double.
double parse_number(const std::uint8_t* at, int length) {
  const auto* text = reinterpret_cast<const char*>(at);
  const char* const end = text + length;
  while (end - text > 8 && *text == ' ') ++text;
  if (end - text == 8)
    if (const std::int64_t whole = parse_eight(text); whole >= 0) return static_cast<double>(whole);
  while (text < end && *text == ' ') ++text;
  if (text == end) return 0;
  const bool negative = *text == '-';
  std::uint64_t mantissa = 0;  // of too many digits anything, unused
  const char* p = negative ? text + 1 : text;
  for (; p < end && is_digit(*p); ++p) mantissa = mantissa * 10 + digit_of(*p);
  const char* const point = p;
  if (p < end && *p == '.')
    for (++p; p < end && is_digit(*p); ++p) mantissa = mantissa * 10 + digit_of(*p);
  if (p != end || p == text + negative || end - text > kExactDigits) return parse_any(text, end);
  const auto digits = static_cast<double>(static_cast<std::int64_t>(mantissa));
  const double value = point == end ? digits : digits / kPowers[end - point - 1];
  return negative ? -value : value;
}

std::uint32_t memo_block(const std::uint8_t* at, int length) {
  const auto* text = reinterpret_cast<const char*>(at);
  const char* end = text + length;
  while (text < end && is_blank(static_cast<std::uint8_t>(*text))) ++text;
  std::int64_t block = 0;
  std::from_chars(text, end, block);
  return block > 0 && block <= UINT32_MAX ? static_cast<std::uint32_t>(block) : 0;
}

void put_text(std::uint8_t* at, int length, std::string_view text) {
  const std::size_t n = std::min(text.size(), static_cast<std::size_t>(length));
  if (n > 0) std::memmove(at, text.data(), n);  // a field may be copied onto itself
  std::memset(at + n, ' ', static_cast<std::size_t>(length) - n);
}

bool put_fixed(std::uint8_t* at, int length, int decimals, double value) {
  char digits[kNumberRoom];
  char* end = digits + kNumberRoom;
  char* start = print_short(end, decimals, value);
  if (start == nullptr && std::isfinite(value)) {
    start = digits;
    end = std::to_chars(digits, end, value, std::chars_format::fixed, decimals).ptr;
  }
  const std::string_view text(start, start != nullptr ? static_cast<std::size_t>(end - start) : 0);
  if (text.empty() || text.size() > static_cast<std::size_t>(length)) {
    put_text(at, length, {});
    return false;
  }
  put_right(at, length, text);
  return true;
}

void put_float(std::uint8_t* at, int length, double value) {
  char digits[kNumberRoom];
  std::string_view text = general(digits, value, length);
  if (text.size() > static_cast<std::size_t>(length))
    text = general(digits, value, 2 * length - static_cast<int>(text.size()));
  put_right(at, length, text.substr(0, static_cast<std::size_t>(length)));
}

void put_logical(std::uint8_t* at, int length, bool value) {
  if (length > 0) put_text(at, length, value ? "T" : "F");
}

void put_block(std::uint8_t* at, int length, std::uint32_t block) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, block).ptr;
  const auto n = static_cast<std::size_t>(end - digits);
  put_right(at, length, {digits, std::min(n, static_cast<std::size_t>(length))});
}

}  // namespace tarnel::dbf
