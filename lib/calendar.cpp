#include "lib/calendar.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "core/errors.h"
#include "lib/arguments.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

constexpr std::int32_t kDaySeconds = 24 * 60 * 60;
constexpr std::int32_t kLastYear = 9999, kMostMonths = 12 * kLastYear;

// The day number in argument 0: today without one, 0 when it is something else.
std::int32_t day_argument(std::int32_t argc, Var** argv) {
  if (argc < 1 || is_nil(argv[0])) return current_date();
  return argv[0]->type == 'D' ? argv[0]->i : 0;
}

// The date in argument 0. One whose year has not four digits is none.
struct Parts {
  std::int32_t number, day = 0, month = 0, year = 0;
  Parts(std::int32_t argc, Var** argv) : number(day_argument(argc, argv)) {
    dateDecode(number, day, month, year);
  }
  bool known() const { return year >= 1 && year <= kLastYear; }
};

std::int32_t day_of_year(const Parts& d) {
  return d.number - dateEncode(1, 1, d.year) + 1;
}

// Week of ISO 8601: the one of the year in which its Thursday lies.
std::int32_t iso_week(std::int32_t number) {
  const std::int32_t weekday = ((number + 6) % 7 + 7) % 7;  // 0 is Monday
  std::int32_t day = 0, month = 0, year = 0;
  dateDecode(number - weekday + 3, day, month, year);
  return (number - weekday + 3 - dateEncode(1, 1, year)) / 7 + 1;
}

// Seconds of the text hh:mm:ss, of which the end may be missing. What is no digit ends a part.
std::int32_t seconds_of(std::string_view time) {
  std::int32_t seconds = 0;
  for (std::int32_t unit = 3600; unit > 0; unit /= 60) {
    const auto end = std::min(time.find(':'), time.size());
    const std::string_view part = trim_left(time.substr(0, end)).substr(0, 2);
    std::int32_t value = 0;
    for (const char c : part) {
      if (c < '0' || c > '9') break;
      value = value * 10 + (c - '0');
    }
    seconds += value * unit;
    time.remove_prefix(std::min(end + 1, time.size()));
  }
  return seconds;
}

Var* time_text(std::int32_t seconds) {
  return TMP_TEXT(format_text("%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60));
}

// Whole seconds in argument 0, 0 when it is no number.
double seconds_argument(std::int32_t argc, Var** argv) {
  const double seconds = arg_is(argc, argv, 0, kNumeric) ? number_of(argv[0]) : 0;
  return std::isfinite(seconds) ? std::trunc(seconds) : 0;
}

Var* date_of(const Parts& d, std::int32_t day, std::int32_t month) {
  return d.known() ? TMP_DATE(dateEncode(day, month, d.year)) : empty_date();
}

}  // namespace

Var* stod(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, kText) ? TMP_DATE(ymdToDate(text_of(argv[0]))) : empty_date();
}

Var* addmonth(std::int32_t argc, Var** argv) {
  const bool today = arg_is(argc, argv, 0, kNumeric);  // the date was left out altogether
  const Parts d(today ? 0 : argc, argv);
  const std::int32_t months = int_argument(argc, argv, today ? 0 : 1, 0);
  if (!d.known()) return empty_date();
  const std::int32_t all =
      d.year * 12 + d.month - 1 + std::clamp(months, -kMostMonths, kMostMonths);
  const std::int32_t year = all / 12, month = all % 12 + 1;
  if (year < 1 || year > kLastYear) return empty_date();
  return TMP_DATE(dateEncode(std::min(d.day, month_length(month, year)), month, year));
}

Var* bom(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  return date_of(d, 1, d.month);
}
Var* eom(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  return d.known() ? date_of(d, month_length(d.month, d.year), d.month) : empty_date();
}
Var* boy(std::int32_t argc, Var** argv) {
  return date_of(Parts(argc, argv), 1, 1);
}
Var* eoy(std::int32_t argc, Var** argv) {
  return date_of(Parts(argc, argv), 31, 12);
}

Var* doy(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  return d.known() ? TMP_INT(day_of_year(d)) : int_zero();
}

Var* week(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  if (!d.known()) return int_zero();
  const bool simple = arg_is(argc, argv, 1, kNumeric) && truth_of(argv[1]);
  return TMP_INT(simple ? (day_of_year(d) - 1) / 7 + 1 : iso_week(d.number));
}

Var* quarter(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  return d.known() ? TMP_INT((d.month - 1) / 3 + 1) : int_zero();
}

Var* isleap(std::int32_t argc, Var** argv) {
  const Parts d(argc, argv);
  return logical(d.known() && is_leap_year(d.year));
}

Var* daysinmonth(std::int32_t argc, Var** argv) {
  constexpr std::int32_t kLeapYear = 4, kCommonYear = 1;
  if (!arg_is(argc, argv, 0, kNumber)) {
    const Parts d(argc, argv);
    return d.known() ? TMP_INT(month_length(d.month, d.year)) : int_zero();
  }
  const std::int32_t month = integer_of(argv[0]);
  const bool leap = arg_is(argc, argv, 1, kNumeric) && truth_of(argv[1]);
  if (month < 1 || month > 12) return int_zero();
  return TMP_INT(month_length(month, leap ? kLeapYear : kCommonYear));
}

Var* days(std::int32_t argc, Var** argv) {
  return TMP_INT(truncate_to_int(seconds_argument(argc, argv) / kDaySeconds));
}

Var* secs(std::int32_t argc, Var** argv) {
  return TMP_INT(seconds_of(text_argument(argc, argv, 0)));
}

Var* tstring(std::int32_t argc, Var** argv) {
  const auto rest = static_cast<std::int32_t>(std::fmod(seconds_argument(argc, argv), kDaySeconds));
  return time_text(rest < 0 ? rest + kDaySeconds : rest);
}

Var* elaptime(std::int32_t argc, Var** argv) {
  const std::int32_t elapsed =
      (seconds_of(text_argument(argc, argv, 1)) - seconds_of(text_argument(argc, argv, 0))) %
      kDaySeconds;
  return time_text(elapsed < 0 ? elapsed + kDaySeconds : elapsed);
}

Var* ampm(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText)) return empty_text();
  const std::int32_t seconds = seconds_of(text_of(argv[0])) % kDaySeconds;
  const std::int32_t hour = seconds / 3600;
  const std::int32_t shown = (hour + 11) % 12 + 1;
  return TMP_TEXT(format_text("%02d:%02d:%02d %s", shown, seconds / 60 % 60, seconds % 60,
                              hour < 12 ? "am" : "pm"));
}

}  // namespace tarnel
