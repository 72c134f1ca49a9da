// Builtins on dates and times.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define DATE_BUILTINS(X)                                                                           \
  X("__setcentu", setcentury, "__setcentu([lOn | cOn]) -> lOld: SET CENTURY",                      \
    "{__setcentu(.T.), stod('20240229')}[2] ==> 02/29/2024")                                       \
  X("cdow", cdow, "cdow(dDate) -> cName: name of the weekday",                                     \
    "cdow(stod('20240229')) ==> Thursday")                                                         \
  X("cmonth", cmonth, "cmonth(dDate) -> cName: name of the month",                                 \
    "cmonth(stod('20240229')) ==> February")                                                       \
  X("ctod", ctod, "ctod(cDate) -> dDate: date read by the date format",                            \
    "dtos(ctod('02/28/99')) ==> 19990228")                                                         \
  X("date", date, "date() -> dToday: local date", "date() = stod(dtos(date())) ==> .T.")           \
  X("day", day, "day(dDate) -> nDay: day of the month", "day(stod('20240229')) ==> 29")            \
  X("dow", dow, "dow(dDate) -> nDay: day of the week, 1 is Sunday, 0 for the empty date",          \
    "dow(stod('20240229')) ==> 5")                                                                 \
  X("dtoc", dtoc, "dtoc(dDate) -> cDate: date in the date format",                                 \
    "dtoc(stod('20240229')) ==> 02/29/24")                                                         \
  X("dtos", dtos, "dtos(dDate) -> cDate: date as yyyymmdd", "dtos(ctod('02/29/24')) ==> 19240229") \
  X("month", month, "month(dDate) -> nMonth: month of the year", "month(stod('20240229')) ==> 2")  \
  X("seconds", seconds, "seconds() -> nSeconds: whole seconds since midnight",                     \
    "seconds() >= 0 ==> .T.")                                                                      \
  X("secondscpu", secondscpu, "secondscpu([nWhich]) -> nSeconds: processor time used",             \
    "secondscpu() >= 0 ==> .T.")                                                                   \
  X("time", builtin_time, "time() -> cTime: local time as hh:mm:ss", "len(time()) ==> 8")          \
  X("year", year, "year(dDate) -> nYear: the year", "year(stod('20240229')) ==> 2024")

DATE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kDateBuiltins[] = {DATE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kDatesModule{
    .name = "dates", .subject = "Dates and times", .functions = kDateBuiltins};

}  // namespace tarnel
