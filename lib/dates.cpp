#include "lib/dates.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstring>
#include <ctime>

#include "core/errors.h"
#include "core/settings.h"
#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::size_t kFormatRead = 11;   // characters of the format that show a date
constexpr std::size_t kFormatCheck = 15;  // characters that a check looks at
constexpr std::size_t kFormatLimit = 19;  // characters that the setting holds

constexpr int kDaysBefore[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

// Appends a number as "%0*d" does.
void append_padded(DateText& text, std::int32_t value, std::size_t width) {
  char digits[12];
  const std::uint32_t magnitude =
      value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  const auto end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
  auto count = static_cast<std::size_t>(end - digits);
  if (value < 0) {
    text.bytes[text.length++] = '-';
    if (width > 0) --width;
  }
  for (; count < width; --width) text.bytes[text.length++] = '0';
  std::memcpy(text.bytes + text.length, digits, count);
  text.length += static_cast<std::uint32_t>(count);
}

// What a run of `width` letters shows of a value.
std::int32_t shown_value(char letter, std::int32_t value, std::size_t width) {
  if (width == 1 && value > 9) return value % 10;
  if (letter == 'y' && width == 2) return value % 100;
  if (letter == 'y' && width == 3) return value % 1000;
  return value;
}

// An optional sign and at most `limit` digits; 0 when there are none.
std::int32_t leading_number(std::string_view text, std::size_t limit) {
  const bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
  std::int32_t value = 0;
  for (std::size_t i = 0; i < std::min(limit, text.size()); ++i) {
    if (text[i] < '0' || text[i] > '9') break;
    value = value * 10 + (text[i] - '0');
  }
  return negative ? -value : value;
}

std::string_view next_token(std::string_view& rest) {
  constexpr std::string_view kDelimiters = "/.- ";
  const auto start = std::min(rest.find_first_not_of(kDelimiters), rest.size());
  rest.remove_prefix(start);
  const auto end = std::min(rest.find_first_of(kDelimiters), rest.size());
  const auto token = rest.substr(0, end);
  rest.remove_prefix(end);
  return token;
}

// The year that up to two digits mean: the first one that ends in them from the epoch on.
std::int64_t apply_epoch(std::int32_t year) {
  if (year < 0) return 0;
  if (year > 99) return year;
  const std::int64_t epoch = settings().epoch, last_two = epoch % 100;
  return year + epoch - last_two + (year >= last_two ? 0 : 100);
}

std::int32_t encode_wide_year(std::int32_t day, std::int32_t month, std::int64_t year) {
  return year > INT32_MAX || year < 1 ? 0 : dateEncode(day, month, static_cast<std::int32_t>(year));
}

void store_format(std::string_view format) {
  format = format.substr(0, kFormatLimit);
  std::memcpy(settings().date_format, format.data(), format.size());
  settings().date_format[format.size()] = 0;
}

}  // namespace

std::int32_t month_length(std::int32_t month, std::int64_t year) {
  assert(month >= 1 && month <= 12);
  return kDaysBefore[month] - kDaysBefore[month - 1] + (month == 2 && is_leap_year(year) ? 1 : 0);
}

std::int32_t dateEncode(std::int32_t day, std::int32_t month, std::int32_t year) {
  if (month < 1 || month > 12 || year < 1 || day < 1 || day > month_length(month, year)) return 0;
  const std::int64_t p = std::int64_t{year} - 1;
  const std::int64_t number = day + 365 * p + p / 4 - p / 100 + p / 400 + kDaysBefore[month - 1] +
                              (month > 2 && is_leap_year(year) ? 1 : 0);
  return number > INT32_MAX ? 0 : static_cast<std::int32_t>(number);
}

void dateDecode(std::int32_t number, std::int32_t& day, std::int32_t& month, std::int32_t& year) {
  if (number == 0) {
    day = month = year = 0;
    return;
  }
  // Counted from 1 March of year 0 every period ends with its leap day, so one formula fits all.
  const std::int64_t n = std::int64_t{number} + 305;
  const std::int64_t era = (n >= 0 ? n : n - 146096) / 146097;
  const std::int64_t of_era = n - era * 146097;
  const std::int64_t years = (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
  const std::int64_t of_year = of_era - (365 * years + years / 4 - years / 100);
  const std::int64_t shifted = (5 * of_year + 2) / 153;  // 0 is March
  day = static_cast<std::int32_t>(of_year - (153 * shifted + 2) / 5 + 1);
  month = static_cast<std::int32_t>(shifted < 10 ? shifted + 3 : shifted - 9);
  year = static_cast<std::int32_t>(years + era * 400 + (month <= 2 ? 1 : 0));
}

DateText dateToText(std::int32_t number) {
  std::int32_t day, month, year;
  dateDecode(number, day, month, year);
  const std::string_view format = std::string_view(settings().date_format).substr(0, kFormatRead);
  bool day_done = false, month_done = false, year_done = false;
  DateText text;
  for (std::size_t i = 0; i < format.size();) {
    const char letter = lower_letter(format[i]);
    bool* done = letter == 'd' ? &day_done : letter == 'm' ? &month_done : &year_done;
    if ((letter != 'd' && letter != 'm' && letter != 'y') || *done) {
      text.bytes[text.length++] = format[i++];
      continue;
    }
    std::size_t end = i;
    while (end < format.size() && lower_letter(format[end]) == letter) ++end;
    const std::int32_t value = letter == 'd' ? day : letter == 'm' ? month : year;
    append_padded(text, shown_value(letter, value, end - i), end - i);
    *done = true;
    i = end;
  }
  if (number == 0) std::replace(text.bytes, text.bytes + text.length, '0', ' ');
  return text;
}

std::int32_t textToDate(std::string_view text) {
  std::int32_t day = 0, month = 0, year = 0;
  for (const char* f = settings().date_format; *f != 0; ++f) {
    const char letter = lower_letter(*f);
    std::int32_t* part = letter == 'd'   ? &day
                         : letter == 'm' ? &month
                         : letter == 'y' ? &year
                                         : nullptr;
    // A part that read as 0 takes the next token at the next letter of its run.
    if (part == nullptr || *part != 0) continue;
    const auto token = next_token(text);
    if (!token.empty()) *part = leading_number(token, letter == 'y' ? 4 : 2);
  }
  return encode_wide_year(day, month, apply_epoch(year));
}

DateText dateToYmd(std::int32_t number) {
  std::int32_t day, month, year;
  dateDecode(number, day, month, year);
  DateText text;
  if (year < 1 || year > 9999) {
    std::memset(text.bytes, ' ', text.length = 8);
    return text;
  }
  append_padded(text, year, 4);
  append_padded(text, month, 2);
  append_padded(text, day, 2);
  return text;
}

std::int32_t ymdToDate(std::string_view text) {
  std::int32_t parts[3] = {};
  constexpr std::size_t kStarts[] = {0, 4, 6, 8};
  if (text.size() < 8) return 0;
  for (std::size_t i = 0; i < 3; ++i) {
    auto digits = text.substr(kStarts[i], kStarts[i + 1] - kStarts[i]);
    digits = trim_left(digits);
    for (const char c : digits) {
      if (c < '0' || c > '9') return 0;
      parts[i] = parts[i] * 10 + (c - '0');
    }
  }
  return dateEncode(parts[2], parts[1], parts[0]);
}

DateFormat dateFormatCheck(std::string_view format) {
  format = format.substr(0, kFormatCheck);
  DateFormat result{DateFormat::kClean, {}, {}, {}};
  bool marked = false;
  for (std::size_t i = 0; i < format.size(); ++i) {
    const char c = format[i], letter = upper_letter(c);
    if (c == ' ') continue;
    if (c == '-' || c == '.' || c == '/') {
      result.format += c;
      result.template_ += c;
    } else if (letter == 'D' || letter == 'M' || letter == 'Y') {
      const bool twice = i + 1 < format.size() && upper_letter(format[i + 1]) == letter;
      if (!twice || result.order.find(letter) != std::string::npos) {
        marked = true;
        continue;
      }
      const std::size_t shown = letter == 'Y' && settings().century ? 4 : 2;
      result.format.append(shown, c);
      result.template_.append(shown, '#');
      result.order += letter;
      ++i;
      while (letter == 'Y' && i + 1 < format.size() && upper_letter(format[i + 1]) == 'Y') ++i;
    } else {
      marked = true;
      result.format += '/';
      result.template_ += '/';
    }
  }
  const bool complete =
      result.order.find('D') != std::string::npos && result.order.find('Y') != std::string::npos;
  result.quality = static_cast<DateFormat::Quality>((complete ? 0 : 2) + (marked ? 1 : 0));
  return result;
}

std::string date_format() {
  std::string format = settings().date_format;
  std::transform(format.begin(), format.end(), format.begin(), upper_letter);
  return format;
}

std::string set_date_format(std::string_view format) {
  std::string old = date_format();
  const DateFormat checked = dateFormatCheck(format);
  if (checked.quality != DateFormat::kUnusable) store_format(checked.format);
  if (checked.quality != DateFormat::kClean) RT_ERROR(336, "SET: Illegal date format");
  return old;
}

bool setCentury(int mode) {
  const bool old = settings().century;
  if (mode != 0 && mode != 1) return old;
  settings().century = mode == 1;
  std::string format = settings().date_format;
  const auto first = format.find_first_of("Yy");
  if (first == std::string::npos) return old;
  auto end = first;
  while (end < format.size() && upper_letter(format[end]) == 'Y') ++end;
  const auto run = end - first;
  if (mode == 1 && run == 2 && format.size() < kFormatLimit)
    format.insert(first, 2, format[first]);
  else if (mode == 0 && run >= 3)
    format.erase(first, 2);
  store_format(format);
  return old;
}

std::tm local_time(std::time_t when) {
  std::tm local{};
  localtime_r(&when, &local);
  return local;
}

std::int32_t day_of(const std::tm& local) {
  return dateEncode(local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
}

std::string clock_text(const std::tm& local) {
  return format_text("%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
}

std::int32_t current_date() {
  return day_of(local_time());
}

}  // namespace tarnel
