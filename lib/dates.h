// Dates as day numbers, and their text forms under the date format setting.
//
// Day 1 is 1 January of year 1 in the Gregorian calendar extended backwards; a day number modulo 7
// is the weekday, 0 being Sunday; day 0 is the empty date.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace tarnel {

constexpr bool is_leap_year(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}
// Days of a month. REQUIRES: month 1 to 12.
std::int32_t month_length(std::int32_t month, std::int64_t year);

// Day number of a date; 0 when there is no such day, the year is below 1 or the number too large.
std::int32_t dateEncode(std::int32_t day, std::int32_t month, std::int32_t year);
// The inverse; all parts are 0 for day number 0. Numbers below 1 continue backwards through year 0.
void dateDecode(std::int32_t number, std::int32_t& day, std::int32_t& month, std::int32_t& year);

// A date as text, held by value.
struct DateText {
  char bytes[64];
  std::uint32_t length = 0;
  operator std::string_view() const { return {bytes, length}; }
};

// A date in the current format, of which eleven characters count. The empty date shows as the
// format's separators between blanks.
DateText dateToText(std::int32_t number);
// A date read by the current format and the epoch; 0 when the text names no day.
std::int32_t textToDate(std::string_view text);
// The form yyyymmdd; eight blanks for the empty date and for years that have not four digits.
DateText dateToYmd(std::int32_t number);
// Reads yyyymmdd; blanks in front of a part's digits are passed over. 0 when it names no day.
std::int32_t ymdToDate(std::string_view text);

// What a format text amounts to.
struct DateFormat {
  enum Quality { kClean = 0, kMarked = 1, kIncomplete = 2, kUnusable = 3 };
  Quality quality;
  std::string format;     // normalised: the century setting alone decides about the year's digits
  std::string order;      // the fields' letters in their order
  std::string template_;  // the format with '#' for digits
};
// Checks the first fifteen characters of a format. The month is not required.
DateFormat dateFormatCheck(std::string_view format);

// SET DATE: the old format in upper case. Error 336 for a format that is not clean; an unusable one
// changes nothing.
std::string set_date_format(std::string_view format);
std::string date_format();  // in upper case

// SET CENTURY: mode 0 off, 1 on, 2 only asks. Gives the old setting and rewrites the format's year.
bool setCentury(int mode);

std::tm local_time(std::time_t when = std::time(nullptr));
std::int32_t day_of(const std::tm& local);
std::string clock_text(const std::tm& local);  // hh:mm:ss
std::int32_t current_date();                   // today, local time

}  // namespace tarnel
