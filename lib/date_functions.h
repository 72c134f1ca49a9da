// Builtins on dates and times.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define DATE_BUILTINS(X)                                                                  \
  X("__setcentu", setcentury, "__setcentu([lOn | cOn]) -> lOld: SET CENTURY")             \
  X("cdow", cdow, "cdow(dDate) -> cName: name of the weekday")                            \
  X("cmonth", cmonth, "cmonth(dDate) -> cName: name of the month")                        \
  X("ctod", ctod, "ctod(cDate) -> dDate: date read by the date format")                   \
  X("date", date, "date() -> dToday: local date")                                         \
  X("day", day, "day(dDate) -> nDay: day of the month")                                   \
  X("dow", dow, "dow(dDate) -> nDay: day of the week, 1 is Sunday, 0 for the empty date") \
  X("dtoc", dtoc, "dtoc(dDate) -> cDate: date in the date format")                        \
  X("dtos", dtos, "dtos(dDate) -> cDate: date as yyyymmdd")                               \
  X("month", month, "month(dDate) -> nMonth: month of the year")                          \
  X("seconds", seconds, "seconds() -> nSeconds: whole seconds since midnight")            \
  X("secondscpu", secondscpu, "secondscpu([nWhich]) -> nSeconds: processor time used")    \
  X("time", builtin_time, "time() -> cTime: local time as hh:mm:ss")                      \
  X("year", year, "year(dDate) -> nYear: the year")

DATE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kDateBuiltins[] = {DATE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kDatesModule{.name = "dates", .functions = kDateBuiltins};

}  // namespace tarnel
