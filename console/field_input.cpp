#include "console/field_input.h"

#include <algorithm>
#include <charconv>

#include "console/shown_text.h"
#include "core/text.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/record/memo.h"
#include "db/text_set.h"
#include "lib/dates.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

constexpr char kMemoEnd = '\x1a';
constexpr std::string_view kDigits = "0123456789";

std::string_view put_right(std::uint8_t* at, int length, std::string_view text) {
  std::copy(text.begin(), text.end(), at + length - static_cast<int>(text.size()));
  return {};
}

// The digits of a number whose point stands behind so many of them, which may be none or more than there are.
struct Digits {
  bool negative;
  std::string all;
  std::int64_t point;
};
Digits digits_of(std::string_view number) {
  Digits d{number.starts_with('-'), {}, 0};
  if (number.starts_with('-') || number.starts_with('+')) number.remove_prefix(1);
  const std::size_t end = std::min(number.find_first_of("eE"), number.size());
  std::string_view exponent = number.substr(std::min(end + 1, number.size()));
  if (exponent.starts_with('+')) exponent.remove_prefix(1);
  int shift = 0;
  std::from_chars(exponent.data(), exponent.data() + exponent.size(), shift);
  const std::string_view mantissa = number.substr(0, end);
  d.point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size())) + shift;
  d.all = mantissa;
  std::erase(d.all, '.');
  return d;
}

// Digit by digit, since a double has room for 15 of them only.
std::string_view put_digits(const dbf::Field& field, std::uint8_t* at, Digits d) {
  const std::size_t zeros = std::min(d.all.find_first_not_of('0'), d.all.size());
  d.all.erase(0, zeros);
  d.point -= static_cast<std::int64_t>(zeros);
  d.all.resize(d.all.find_last_not_of('0') + 1);
  if (d.all.empty()) d = {false, {}, 0};
  const std::int64_t width = (d.negative ? 1 : 0) + std::max<std::int64_t>(d.point, 1) +
                             (field.decimals > 0 ? 1 + field.decimals : 0);
  if (width > field.length) return "doesn't fit";
  if (static_cast<std::int64_t>(d.all.size()) - d.point > field.decimals)
    return "has more decimals than its field";
  if (d.point < 1) d.all.insert(0, static_cast<std::size_t>(1 - d.point), '0');
  const auto whole = static_cast<std::size_t>(std::max<std::int64_t>(d.point, 1));
  d.all.resize(whole + field.decimals, '0');
  if (field.decimals > 0) d.all.insert(whole, 1, '.');
  return put_right(at, field.length, (d.negative ? "-" : "") + d.all);
}

std::string_view put_number(const dbf::Field& field, std::uint8_t* at, std::string_view text) {
  const std::string_view bare = text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
  double number = 0;
  const auto [end, failed] = std::from_chars(bare.data(), bare.data() + bare.size(), number);
  const bool digits = bare.find_first_of(kDigits) == 0 || bare.starts_with('.');
  if (!digits || failed == std::errc::invalid_argument || end != bare.data() + bare.size())
    return "is no number";
  if (keeps_digits(field, text)) return put_right(at, field.length, text);
  if (failed != std::errc()) return "doesn't fit";
  if (field.type == 'N') return put_digits(field, at, digits_of(text));
  if (text.starts_with('-')) number = -number;
  dbf::put_float(at, field.length, number);
  if (dbf::parse_number(at, field.length) == number) return {};
  std::fill_n(at, field.length, ' ');
  return "doesn't fit";
}

// 2024-01-31 or 20240131.
std::string_view put_date(std::uint8_t* at, std::string_view text) {
  std::string ymd(text);
  if (ymd.size() == 10 && ymd[4] == '-' && ymd[7] == '-') std::erase(ymd, '-');
  if (ymd.size() != dbf::kDateLength || ymd.find_first_not_of(kDigits) != ymd.npos ||
      ymdToDate(ymd) == 0)
    return "is no date";
  std::ranges::copy(ymd, at);
  return {};
}

std::string_view put_logical(const dbf::Field& field, std::uint8_t* at, std::string_view text) {
  const std::string word = lower_text(text);
  const bool yes = word == "t" || word == "true" || word == "y" || word == "yes" || word == "1";
  const bool no = word == "f" || word == "false" || word == "n" || word == "no" || word == "0";
  if (!yes && !no) return "is no logical";
  dbf::put_logical(at, field.length, yes);
  return {};
}

}  // namespace

bool keeps_digits(const dbf::Field& field, std::string_view number) {
  const std::size_t point = number.find('.');
  const std::size_t decimals = point == number.npos ? 0 : number.size() - point - 1;
  const bool plain = number.find_first_not_of("0123456789.-") == number.npos;
  return number.size() <= field.length &&
         (field.type == 'F' || (plain && decimals == field.decimals));
}

std::string_view put_input(const dbf::Field& field, std::uint8_t* at, const InputValue& value,
                           bool exact) {
  std::fill_n(at, field.length, ' ');
  const bool is_truth = value.kind == InputKind::kTrue || value.kind == InputKind::kFalse;
  const std::string_view text =
      is_truth ? (value.kind == InputKind::kTrue ? "T" : "F") : std::string_view(value.text);
  if (value.kind == InputKind::kNothing) return {};
  if (field.type == 'C' ||
      (exact && value.kind == InputKind::kText && text.size() == field.length)) {
    if (text.size() > field.length) return "is too long";
    std::ranges::copy(text, at);
    return {};
  }
  const std::string_view trimmed = trim_blanks(text);
  if (trimmed.empty()) return {};
  switch (field.type) {
    case 'N':
    case 'F':
      return is_truth ? "is no number" : put_number(field, at, trimmed);
    case 'D':
      return put_date(at, trimmed);
    case 'L':
      return put_logical(field, at, trimmed);
    default:
      return "has no place in a field of its type";
  }
}

std::string_view put_input(DbfIdx& dbf, const dbf::Field& field, std::uint8_t* record,
                           const InputValue& value, bool exact) {
  std::uint8_t* at = record + field.offset;
  if (field.type != 'M') return put_input(field, at, value, exact);
  if (value.text.find(kMemoEnd) != value.text.npos) return "holds byte 26, which would end it";
  if (value.text.size() >= dbt::kMaxBlocks * dbt::kBlockSize) return "is too long";
  if (value.text.empty()) return {};
  const std::int64_t block = add_memo_text(dbf, value.text);
  if (block < 0) return kUnwritable;
  dbf::put_block(at, field.length, static_cast<std::uint32_t>(block));
  return {};
}

std::string shown_input(const InputValue& value) {
  constexpr std::size_t kLongest = 40;
  const std::string text = shown_cell({CellKind::kText, value.text});
  return text.size() > kLongest ? text.substr(0, kLongest) + "..." : text;
}

void JsonReader::skip_blanks() {
  rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
}

bool JsonReader::at_end() {
  skip_blanks();
  return rest_.empty();
}

bool JsonReader::take(char c) {
  skip_blanks();
  if (!rest_.starts_with(c)) return false;
  rest_.remove_prefix(1);
  return true;
}

bool JsonReader::take_value(InputValue& value) {
  skip_blanks();
  constexpr std::pair<std::string_view, InputKind> kWords[] = {
      {"null", InputKind::kNothing}, {"true", InputKind::kTrue}, {"false", InputKind::kFalse}};
  for (const auto& [word, kind] : kWords)
    if (rest_.starts_with(word)) {
      value = {kind, {}};
      rest_.remove_prefix(word.size());
      return true;
    }
  value = {InputKind::kText, {}};
  if (rest_.starts_with('"')) return take_text(value);
  const std::size_t end = std::min(rest_.find_first_not_of("0123456789+-.eE"), rest_.size());
  if (end == 0) return false;
  value = {InputKind::kNumber, std::string(rest_.substr(0, end))};
  rest_.remove_prefix(end);
  return true;
}

bool JsonReader::take_text(InputValue& value) {
  const std::string_view whole = rest_;
  rest_.remove_prefix(1);
  for (;;) {
    const std::size_t end = rest_.find_first_of("\"\\");
    if (end == rest_.npos) break;
    value.text.append(rest_, 0, end);
    const bool closes = rest_[end] == '"';
    rest_.remove_prefix(end + 1);
    if (closes) return true;
    if (!take_escape(value)) break;
  }
  rest_ = whole;
  return false;
}

bool JsonReader::take_unit(char32_t& unit) {
  const std::string_view digits = rest_.substr(0, 4);
  unsigned value = 0;
  const auto [end, failed] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (failed != std::errc() || end != digits.data() + 4) return false;
  rest_.remove_prefix(4);
  unit = value;
  return true;
}

bool JsonReader::take_escape(InputValue& value) {
  constexpr std::string_view kLetters = "nrtbf\"\\/", kMeant = "\n\r\t\b\f\"\\/";
  if (rest_.empty()) return false;
  const char letter = rest_[0];
  rest_.remove_prefix(1);
  if (const std::size_t at = kLetters.find(letter); at != kLetters.npos) {
    value.text += kMeant[at];
    return true;
  }
  char32_t unit = 0, second = 0;
  if (letter != 'u' || !take_unit(unit)) return false;
  if (unit >= 0xd800 && unit < 0xdc00 && rest_.starts_with("\\u")) {
    rest_.remove_prefix(2);
    if (!take_unit(second) || second < 0xdc00 || second > 0xdfff) return false;
    unit = 0x10000 + ((unit - 0xd800) << 10) + (second - 0xdc00);
  }
  const bool half = unit >= 0xd800 && unit < 0xe000;
  const bool byte = carries_ && unit > kCarriedByte + 0x7f && unit <= kCarriedByte + 0xff;
  if (half && !byte) return false;  // no character
  value.carries |= byte;
  append_utf8(value.text, unit);
  return true;
}

}  // namespace tarnel
