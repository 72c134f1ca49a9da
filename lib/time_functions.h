// Moments: seconds since 1970 in UTC, and the texts that other programs exchange.
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

#define TIME_BUILTINS(X)                                                                           \
  X("fromiso", fromiso,                                                                            \
    "fromiso(cText) -> dDate | nMoment | NIL: the day of \"2024-01-31\", or the moment of "        \
    "\"2024-01-31T12:00:00Z\", which may have a fraction and an offset and is local without one",  \
    "fromiso('2024-01-31T12:00:00+01:00') ==> 1706698800")                                         \
  X("httpdate", httpdate, "httpdate([nMoment]) -> cText: as headers of HTTP have it",              \
    "httpdate(784111777) ==> Sun, 06 Nov 1994 08:49:37 GMT")                                       \
  X("isodate", isodate,                                                                            \
    "isodate([dDate | nMoment]) -> cText: \"2024-01-31\" of a day, \"2024-01-31T12:00:00Z\" of a " \
    "moment, by default now",                                                                      \
    "isodate(0) ==> 1970-01-01T00:00:00Z")                                                         \
  X("now", now_function, "now() -> cText: date and time here with the offset to UTC",              \
    "len(now()) ==> 25")                                                                           \
  X("sleep", sleep_function, "sleep(nSeconds): waits, or until a signal asks for something",       \
    "sleep(0.01) ==> NIL")                                                                         \
  X("unixtime", unixtime, "unixtime() -> nMoment: now, to the microsecond",                        \
    "unixtime() > 1700000000 ==> .T.")

TIME_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kTimeBuiltins[] = {TIME_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kTimeModule{
    .name = "time", .subject = "Dates and times", .functions = kTimeBuiltins};

}  // namespace tarnel
