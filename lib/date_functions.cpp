#include "lib/date_functions.h"

#include <sys/times.h>

#include <ctime>

#include "core/errors.h"
#include "lib/arguments.h"
#include "lib/dates.h"
#include "lib/national.h"

namespace tarnel {
namespace {

struct CivilDate {
  std::int32_t day = 0, month = 0, year = 0;
};

// The parts of argument 0; all 0 when it is no date.
CivilDate parts_of(std::int32_t argc, Var** argv) {
  CivilDate parts;
  if (arg_is(argc, argv, 0, "D")) dateDecode(argv[0]->i, parts.day, parts.month, parts.year);
  return parts;
}

// 1 to 7, 1 being Sunday; 0 for the empty date.
std::int32_t weekday(std::int32_t number) {
  return number == 0 ? 0 : (number % 7 + 7) % 7 + 1;
}

Var* narrow_int(std::int32_t value, std::int32_t width) {
  Var* result = TMP_INT(value);
  result->length = width;
  return result;
}

bool is_on(std::string_view text) {
  return same_letters(text, "on");
}

}  // namespace

Var* date(std::int32_t, Var**) {
  return TMP_DATE(current_date());
}

Var* ctod(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, kText) ? TMP_DATE(textToDate(text_of(argv[0]))) : empty_date();
}

Var* dtoc(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "D")) return TMP_TEXT(dateToText(argv[0]->i));
  RT_ERROR(312, "DTOC: wrong argument");
  return empty_text();
}

Var* dtos(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "D")) return TMP_TEXT(dateToYmd(argv[0]->i));
  if (argc < 1 || argv[0]->bits != 0) RT_ERROR(312, "DTOS: wrong argument");
  return TMP_STR("        ");
}

Var* year(std::int32_t argc, Var** argv) {
  return narrow_int(parts_of(argc, argv).year, 4);
}
Var* day(std::int32_t argc, Var** argv) {
  return narrow_int(parts_of(argc, argv).day, 2);
}

Var* month(std::int32_t argc, Var** argv) {
  if (arg_is(argc, argv, 0, "D")) return narrow_int(parts_of(argc, argv).month, 2);
  RT_ERROR(312, "MONTH: wrong argument");
  return num_zero();
}

Var* dow(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, "D") ? TMP_INT(weekday(argv[0]->i)) : int_zero();
}

Var* cdow(std::int32_t argc, Var** argv) {
  const std::int32_t n = arg_is(argc, argv, 0, "D") ? weekday(argv[0]->i) : 0;
  return n == 0 ? empty_text() : TMP_TEXT(day_name(n - 1));
}

Var* cmonth(std::int32_t argc, Var** argv) {
  const std::int32_t n = parts_of(argc, argv).month;
  return n == 0 ? empty_text() : TMP_TEXT(month_name(n));
}

Var* builtin_time(std::int32_t, Var**) {
  return TMP_TEXT(clock_text(local_time()));
}

Var* seconds(std::int32_t, Var**) {
  const std::tm now = local_time();
  return TMP_INT(now.tm_hour * 3600 + now.tm_min * 60 + now.tm_sec);
}

Var* secondscpu(std::int32_t argc, Var** argv) {
  tms used{};
  const std::clock_t elapsed = times(&used);
  if (elapsed == static_cast<std::clock_t>(-1)) return num_zero();
  const std::clock_t user = used.tms_utime, system = used.tms_stime;
  std::clock_t ticks = user + system;
  switch (int_argument(argc, argv, 0, 3)) {
    case 1:
      ticks = user;
      break;
    case 2:
      ticks = system;
      break;
    case 4:
    case 14:
      ticks = elapsed;
      break;
    case 11:
      ticks = user + used.tms_cutime;
      break;
    case 12:
      ticks = system + used.tms_cstime;
      break;
    case 13:
      ticks += used.tms_cutime + used.tms_cstime;
      break;
    default:
      break;
  }
  return TMP_NUM(static_cast<double>(ticks) / 100, -1);
}

Var* setcentury(std::int32_t argc, Var** argv) {
  int mode = 2;
  if (arg_is(argc, argv, 0, kText)) mode = is_on(text_of(argv[0])) ? 1 : 0;
  if (arg_is(argc, argv, 0, "L")) mode = truth_of(argv[0]) ? 1 : 0;
  return logical(setCentury(mode));
}

}  // namespace tarnel
