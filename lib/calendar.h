// Months, quarters, weeks and years of dates, and times of day as texts hh:mm:ss.
//
// A date that is left out is today. Anything else that is no date, and the empty date, give the empty date, 0 or .F.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define CALENDAR_BUILTINS(X)                                                                       \
  X("addmonth", addmonth,                                                                          \
    "addmonth([dDate], nMonths) -> dDate: the same day that many months later, or the last one "   \
    "of the month",                                                                                \
    "dtos(addmonth(stod('20240131'), 1)) ==> 20240229")                                            \
  X("ampm", ampm, "ampm(cTime) -> cTime: a time of twelve hours with am or pm",                    \
    "ampm('13:45:00') ==> 01:45:00 pm")                                                            \
  X("bom", bom, "bom([dDate]) -> dDate: first day of the month",                                   \
    "dtos(bom(stod('20240229'))) ==> 20240201")                                                    \
  X("boy", boy, "boy([dDate]) -> dDate: first day of the year",                                    \
    "dtos(boy(stod('20240229'))) ==> 20240101")                                                    \
  X("days", days, "days(nSeconds) -> nDays: whole days in seconds", "days(200000) ==> 2")          \
  X("daysinmonth", daysinmonth,                                                                    \
    "daysinmonth([dDate]) | daysinmonth(nMonth, [lLeap]) -> nDays: length of a month, 0 when "     \
    "there is none",                                                                               \
    "daysinmonth(stod('20240201')) ==> 29")                                                        \
  X("doy", doy, "doy([dDate]) -> nDay: day of the year", "doy(stod('20241231')) ==> 366")          \
  X("elaptime", elaptime,                                                                          \
    "elaptime(cStart, cEnd) -> cTime: time from one to the other, on the next day when that is "   \
    "earlier",                                                                                     \
    "elaptime('23:00:00', '01:30:00') ==> 02:30:00")                                               \
  X("eom", eom, "eom([dDate]) -> dDate: last day of the month",                                    \
    "dtos(eom(stod('20240201'))) ==> 20240229")                                                    \
  X("eoy", eoy, "eoy([dDate]) -> dDate: last day of the year",                                     \
    "dtos(eoy(stod('20240229'))) ==> 20241231")                                                    \
  X("isleap", isleap, "isleap([dDate]) -> lLeap: has the year 366 days",                           \
    "isleap(stod('19000101')) ==> .F.")                                                            \
  X("quarter", quarter, "quarter([dDate]) -> nQuarter: 1 to 4", "quarter(stod('20240401')) ==> 2") \
  X("secs", secs, "secs(cTime) -> nSeconds: seconds since midnight", "secs('01:02:03') ==> 3723")  \
  X("stod", stod, "stod(cDate) -> dDate: date of yyyymmdd", "stod('20240229') + 1 ==> 03/01/24")   \
  X("tstring", tstring, "tstring(nSeconds) -> cTime: seconds as a time of day",                    \
    "tstring(90061) ==> 01:01:01")                                                                 \
  X("week", week,                                                                                  \
    "week([dDate], [lSimple]) -> nWeek: week of the year as ISO 8601 counts, simple from 1 "       \
    "January on",                                                                                  \
    "week(stod('20241230')) ==> 1")

CALENDAR_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kCalendarBuiltins[] = {CALENDAR_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kCalendarModule{
    .name = "calendar", .subject = "Dates and times", .functions = kCalendarBuiltins};

}  // namespace tarnel
