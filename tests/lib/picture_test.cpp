#include <cmath>
#include <string>

#include "lib/dates.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Pictures : public LibTest {
 protected:
  // Rows of a value, a picture and the text that shows.
  struct Row {
    Arg value;
    const char* picture;
    const char* expected;
  };
  static void shows(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
      EXPECT_EQ(call("transform", {row.value, row.picture}), std::string("C ") + row.expected)
          << row.picture;
  }
};

TEST_F(Pictures, RareCombinations) {
  shows({{1e300, "999.99", "******"}, {HUGE_VAL, "@Z 9,999", "*****"}, {Memo{"memo"}, "@!", ""}});
}

TEST_F(Pictures, TheCenturySettingIsPutBack) {
  const Date day{dateEncode(25, 12, 1998)};
  shows({{day, "99/99/9999", "12/25/1998"}});
  EXPECT_EQ(date_format(), "MM/DD/YY");
  setCentury(1);
  shows({{day, "99/99/99", "12/25/98"}});
  EXPECT_EQ(date_format(), "MM/DD/YYYY");
}

// A long template costs time in proportion to its length, whatever it is made of.
TEST_F(Pictures, LongTemplatesAreRead) {
  const std::size_t n = 300000;
  const std::string commas = "@R " + std::string(n, '-') + "X";
  const Var* text = call_cell("transform", {"ab", commas});
  EXPECT_EQ(text_of(text).size(), n + 1);
  const Var* number = call_cell("transform", {12, "9" + std::string(n, ',') + "9"});
  EXPECT_EQ(text_of(number).size(), n + 2);
  EXPECT_EQ(text_of(number).back(), '2');
}

}  // namespace
}  // namespace tarnel::testing
