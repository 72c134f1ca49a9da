#include "lib/time_functions.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <string>

#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

constexpr double kYear10000 = 253402300800.0, kYear1 = -62135596800.0;

double now_in_seconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<double>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()) /
         1e6;
}

// The moment of argument 0, or now without one; false for anything else, and one that has no year of four digits.
bool moment_argument(std::int32_t argc, Var** argv, std::time_t& moment) {
  if (argc > 0 && !is_nil(argv[0]) && !arg_is(argc, argv, 0, kNumber)) return false;
  const double seconds = arg_is(argc, argv, 0, kNumber) ? number_of(argv[0]) : now_in_seconds();
  if (!(seconds >= kYear1 && seconds < kYear10000)) return false;
  moment = static_cast<std::time_t>(std::floor(seconds));
  return true;
}

// Takes a number of exactly so many digits off a text. False where they aren't.
bool take_number(std::string_view& text, std::size_t digits, std::int32_t& number) {
  if (text.size() < digits) return false;
  number = 0;
  for (const char c : text.substr(0, digits)) {
    if (c < '0' || c > '9') return false;
    number = number * 10 + (c - '0');
  }
  text.remove_prefix(digits);
  return true;
}
bool take_sign(std::string_view& text, std::string_view signs) {
  if (text.empty() || signs.find(text[0]) == signs.npos) return false;
  text.remove_prefix(1);
  return true;
}

// hh:mm[:ss[.fraction]] as seconds of the day.
bool take_clock(std::string_view& text, double& seconds) {
  std::int32_t hour = 0, minute = 0, second = 0;
  if (!take_number(text, 2, hour) || !take_sign(text, ":") || !take_number(text, 2, minute))
    return false;
  if (take_sign(text, ":") && !take_number(text, 2, second)) return false;
  double fraction = 0, unit = 0.1;
  if (take_sign(text, ".,"))
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; text.remove_prefix(1), unit /= 10)
      fraction += (text[0] - '0') * unit;
  seconds = hour * 3600 + minute * 60 + second + fraction;
  return hour < 24 && minute < 60 && second < 61;
}

// What stands behind the clock: Z, an offset, or nothing for local time of that day. False for anything else.
bool take_offset(std::string_view text, std::time_t local, std::int32_t& offset) {
  if (text.empty()) {
    std::tm parts{};
    gmtime_r(&local, &parts);
    parts.tm_isdst = -1;
    offset = static_cast<std::int32_t>(local - std::mktime(&parts));
    return true;
  }
  if (same_letters(text, "Z")) {
    offset = 0;
    return true;
  }
  const std::int32_t sign = text[0] == '-' ? -1 : 1;
  std::int32_t hours = 0, minutes = 0;
  if (!take_sign(text, "+-") || !take_number(text, 2, hours)) return false;
  if (!text.empty() && (static_cast<void>(take_sign(text, ":")), !take_number(text, 2, minutes)))
    return false;
  offset = sign * (hours * 3600 + minutes * 60);
  return text.empty() && hours < 24 && minutes < 60;
}

}  // namespace

Var* unixtime(std::int32_t, Var**) {
  return TMP_NUM(now_in_seconds(), 6);
}

Var* now_function(std::int32_t, Var**) {
  const std::tm local = local_time();
  char text[32];
  text[std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &local)] = '\0';
  return TMP_TEXT(std::string(text).insert(22, ":"));
}

Var* isodate(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "D")) {
    if (argv[0]->i == 0) return empty_text();
    std::string day{std::string_view(dateToYmd(argv[0]->i))};
    return TMP_TEXT(day.insert(6, "-").insert(4, "-"));
  }
  std::time_t moment = 0;
  if (!moment_argument(argc, argv, moment)) return RT_ERROR(320, "ISODATE(): no moment");
  std::tm parts{};
  gmtime_r(&moment, &parts);
  return TMP_TEXT(format_text("%04d-%02d-%02dT%02d:%02d:%02dZ", parts.tm_year + 1900,
                              parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
                              parts.tm_sec));
}

Var* httpdate(std::int32_t argc, Var** argv) {
  constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::time_t moment = 0;
  if (!moment_argument(argc, argv, moment)) return RT_ERROR(320, "HTTPDATE(): no moment");
  std::tm parts{};
  gmtime_r(&moment, &parts);
  return TMP_TEXT(format_text("%s, %02d %s %04d %02d:%02d:%02d GMT", kDays[parts.tm_wday],
                              parts.tm_mday, kMonths[parts.tm_mon], parts.tm_year + 1900,
                              parts.tm_hour, parts.tm_min, parts.tm_sec));
}

Var* fromiso(std::int32_t argc, Var** argv) {
  std::string_view text = trim_blanks(text_argument(argc, argv, 0));
  std::int32_t year = 0, month = 0, day = 0;
  if (!take_number(text, 4, year) || !take_sign(text, "-") || !take_number(text, 2, month) ||
      !take_sign(text, "-") || !take_number(text, 2, day))
    return nil_value();
  const std::int32_t date = dateEncode(day, month, year);
  if (date == 0) return nil_value();
  if (text.empty()) return TMP_DATE(date);
  double seconds = 0;
  std::int32_t offset = 0;
  const std::time_t midnight = std::time_t{date - dateEncode(1, 1, 1970)} * 86400;
  if (!take_sign(text, "Tt ") || !take_clock(text, seconds) ||
      !take_offset(text, midnight + static_cast<std::time_t>(seconds), offset))
    return nil_value();
  const double moment = static_cast<double>(midnight) + seconds - offset;
  return TMP_NUM(moment, moment == std::floor(moment) ? 0 : 6);
}

Var* sleep_function(std::int32_t argc, Var** argv) {
  constexpr double kLongest = 1e9;
  const double seconds = arg_is(argc, argv, 0, kNumeric) ? number_of(argv[0]) : 0;
  if (!(seconds > 0)) return nil_value();
  pause_run(std::min(seconds, kLongest));
  return nil_value();
}

}  // namespace tarnel
