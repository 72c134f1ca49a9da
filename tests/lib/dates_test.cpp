#include "lib/dates.h"

#include "lib/date_functions.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Dates : public LibTest {
 protected:
  static std::int32_t day(std::int32_t d, std::int32_t m, std::int32_t y) {
    return dateEncode(d, m, y);
  }
};

TEST_F(Dates, EveryDayOfThreeMillenniaIsTheNextNumber) {
  std::int32_t expected = 1;
  for (std::int32_t y = 1; y <= 2999; ++y)
    for (std::int32_t m = 1; m <= 12; ++m)
      for (std::int32_t d = 1; d <= 31; ++d) {
        const std::int32_t number = dateEncode(d, m, y);
        if (number == 0) {
          ASSERT_GT(d, 28);
          continue;
        }
        ASSERT_EQ(number, expected++);
        std::int32_t d2, m2, y2;
        dateDecode(number, d2, m2, y2);
        ASSERT_EQ(d2, d);
        ASSERT_EQ(m2, m);
        ASSERT_EQ(y2, y);
      }
  EXPECT_EQ(dateEncode(1, 1, 1970), 719163);
  EXPECT_EQ(expected - 1, dateEncode(31, 12, 2999));
}

TEST_F(Dates, ImpossibleDaysAndExtremeNumbersAreSafe) {
  struct Row {
    std::int32_t d, m, y;
  };
  const Row rows[] = {{29, 2, 1900},     {31, 4, 2000},    {0, 1, 2000}, {1, 13, 2000},
                      {1, 0, 2000},      {1, 1, 0},        {1, 1, -5},   {1, 1, INT32_MAX},
                      {INT32_MIN, 1, 1}, {1, INT32_MIN, 1}};
  for (const Row& r : rows) EXPECT_EQ(dateEncode(r.d, r.m, r.y), 0);
  for (const std::int32_t n : {INT32_MIN, -719163, -1, 0, INT32_MAX})
    for (const char* name : {"dtoc", "dtos", "cdow", "cmonth", "dow", "day", "transform"}) {
      EXPECT_NE(call_cell(name, {Date{n}, "@D 99/99/9999"}), nullptr);
      EXPECT_EQ(take_errors(), "");
    }
  EXPECT_EQ(call("dtos", {Date{INT32_MAX}}), "C         ");
}

TEST_F(Dates, TextsFollowTheFormat) {
  struct Row {
    const char* format;
    const char* text;
  };
  const Row rows[] = {{"mm/dd/yy", "03/09/98"}, {"dd.mm.yyyy", "09.03.1998"},
                      {"DdMmYy", "090398"},     {"y m d", "8 3 9"},
                      {"yyy-m-d", "998-3-9"},   {"yy/mm/dd/yy/mm", "98/03/09/yy"}};
  for (const Row& row : rows) {
    std::strcpy(settings().date_format, row.format);
    EXPECT_EQ(std::string_view(dateToText(day(9, 3, 1998))), row.text) << row.format;
  }
}

TEST_F(Dates, TextsAreReadByFormatAndEpoch) {
  struct Row {
    const char* text;
    std::int32_t expected;
  };
  const Row rows[] = {{"02/30/98", 0},
                      {"  12-25.1998 ", day(25, 12, 1998)},
                      {"12 25 98", day(25, 12, 1998)},
                      {"12/25", day(25, 12, 1900)},
                      {"00/12/25/98", day(25, 12, 1998)},
                      {"12/255/98", day(25, 12, 1998)},
                      {"x/y/z", 0},
                      {"", 0}};
  for (const Row& row : rows) EXPECT_EQ(textToDate(row.text), row.expected) << row.text;
  settings().epoch = INT32_MIN;
  EXPECT_EQ(textToDate("1/2/03"), 0);
  EXPECT_EQ(ymdToDate("19981225"), day(25, 12, 1998));
  EXPECT_EQ(ymdToDate("1998 1 2"), day(2, 1, 1998));
  EXPECT_EQ(ymdToDate("        "), 0);
  EXPECT_EQ(ymdToDate("1998x225"), 0);
}

TEST_F(Dates, FormatsAreCheckedAndNormalised) {
  struct Row {
    const char* format;
    DateFormat::Quality quality;
    const char *normalised, *mask;
  };
  const Row rows[] = {{"dd.mm.yyyy", DateFormat::kClean, "dd.mm.yy", "##.##.##"},
                      {"yy-dd", DateFormat::kClean, "yy-dd", "##-##"},
                      {" dd mm yy", DateFormat::kClean, "ddmmyy", "######"},
                      {"dd:mm:yy", DateFormat::kMarked, "dd/mm/yy", "##/##/##"},
                      {"d/mm/yy", DateFormat::kUnusable, "/mm/yy", "/##/##"},
                      {"dd/dd/yy", DateFormat::kMarked, "dd//yy", "##//##"},
                      {"mm/dd", DateFormat::kIncomplete, "mm/dd", "##/##"},
                      {"", DateFormat::kIncomplete, "", ""}};
  for (const Row& row : rows) {
    const DateFormat checked = dateFormatCheck(row.format);
    EXPECT_EQ(checked.quality, row.quality) << row.format;
    EXPECT_EQ(checked.format, row.normalised);
    EXPECT_EQ(checked.template_, row.mask);
  }
}

TEST_F(Dates, ACenturyThatHasNoRoomLeavesTheFormat) {
  std::strcpy(settings().date_format, "dd/mm/yy/dd/mm/dd/d");
  setCentury(1);
  EXPECT_STREQ(settings().date_format, "dd/mm/yy/dd/mm/dd/d");
}

TEST_F(Dates, TheClockIsRead) {
  EXPECT_EQ(text_of(call_cell("time", {})).size(), 8U);
  EXPECT_GT(call_cell("date", {})->i, dateEncode(1, 1, 2020));
  EXPECT_LT(call_cell("seconds", {})->i, 86400);
  EXPECT_GE(number_of(call_cell("secondscpu", {1})), 0);
}

}  // namespace
}  // namespace tarnel::testing
