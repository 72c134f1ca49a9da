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

TEST_F(Pictures, NumbersThroughTemplates) {
  shows({
      {1234.5, "999", "***"},
      {1234567, "9,999,999", "1,234,567"},
      {12, "9,999,999", "       12"},
      {-12345, "999,999", "-12,345"},
      {-12, "9,999", "  -12"},
      {1234.5, "9,999.99", "1,234.50"},
      {1234.5, "$9,999.99", "$1,234.50"},
      {12, "@F $9,999", "$$$$12"},
      {12, "*9,999", "*   12"},
      {12, "@F *9,999", "****12"},
      {5, "99.", " 5."},
      {5, "9.9.9", "  5.0"},
      {5, "9.9,9", "5.000"},
      {5, "!!", " 5"},
      {5, "99%", " 5%"},
      {12345, "9,999", "12345"},
      {1e300, "999.99", "******"},
      {1.5, "", "         1.50"},
  });
}

TEST_F(Pictures, SignsBracketsAndBlankZeros) {
  shows({
      {-5, "@( 999", "( 5)"},
      {-5, "@) 999", " (5)"},
      {-555, "@) 9999", "(555)"},
      {5, "@( 999", "  5"},
      {5, "@C 99", " 5 CR"},
      {-5, "@C 99", "-5"},
      {-5, "@X 99", " 5 DB"},
      {5, "@X 99", " 5"},
      {-5, "@CX 999", "  5 DB"},
      {-5, "@X( 999", "( 5)"},
      {0, "@Z 999.99", "      "},
      {0.5, "@Z 999.99", "  0.50"},
      {5, "@Z 999.99", "  5.00"},
      {0, "@Z 9,999", "     "},
      {-5, "@B 9999", "-5  "},
      {-5, "@(B 9999", "(5)  "},
      {1234.5, "@E 9,999.99", "1.234,50"},
      {0.5, "@EZ 999.99", "  0,50"},
      {12, "@BT 9999", "12"},
      {1234.5, "@S3 9999.9", "123"},
  });
}

TEST_F(Pictures, TextsThroughTemplates) {
  shows({
      {"abc", "@!", "ABC"},
      {"abc", "!X", "Ab"},
      {"abc", "!", "A"},
      {"123456", "999-999", "123-56"},
      {"123456", "@R 999-999", "123-456"},
      {"12", "@R (99)", "(12)"},
      {"1", "@R (99)", "(1"},
      {"12345", "@R 99-99", "12-34"},
      {"12345", "@R! A9-xx", "12-34"},
      {"abcdef", "@S3", "abc"},
      {"abcdef", "@S 3 !!!!!!", "ABC"},
      {"abcdef", "@S", "abcdef"},
      {"  ab ", "@T", "ab"},
      {"ab", "@", "ab"},
      {"ab", "@ !!", "ab"},
      {"ab", "@!9", "A"},
      {"ab", "@Q!", "AB"},
      {"Yx", "YY", "YY"},
      {"a.b", "XxX", "a.b"},
      {"", "@R (99)", ""},
  });
}

TEST_F(Pictures, LogicalsAndValuesThatCannotBeShown) {
  shows({
      {true, "Y", "Y"},
      {false, "Y", "N"},
      {true, "L", "T"},
      {false, "#", "#"},
      {true, "@! X", "T"},
      {Memo{"memo"}, "@!", ""},
      {Nil{}, "X", ""},
  });
  check({{"transform", {}, "C  !316 in TRANSFORM()"},
         {"transform", {true}, "C T"},
         {"transform", {"x", 5}, "C x"}});
}

TEST_F(Pictures, DatesFollowTheMask) {
  const Date day{dateEncode(25, 12, 1998)};
  shows({
      {day, "99/99/99", "12/25/98"},
      {day, "99/99/9999", "12/25/1998"},
      {day, "99.99.99", "12.25.98"},
      {day, "99-99-9999", "12-25-1998"},
      {day, "@D", "12/25/98"},
      {day, "@E", "25/12/98"},
      {day, "@E 99/99/9999", "25/12/1998"},
      {day, "99999999", "12251998"},
      {Date{0}, "99/99/99", "  /  /  "},
      {Date{0}, "@Z", "        "},
  });
  setCentury(1);
  shows({{day, "@D", "12/25/1998"}, {day, "99/99/99", "12/25/98"}});
  EXPECT_EQ(date_format(), "MM/DD/YYYY") << "the setting is put back";
}

TEST_F(Pictures, NoticesShowToDevelopersOnly) {
  EXPECT_EQ(call("transform", {"ab", "99"}), "C ab");
  call("ov_set", {"developer", true});
  const char* const prefix = " !333 (DevelopMode) PICTURE";
  check({
      {"transform",
       {"a1", "99"},
       std::string("C a1") + prefix + ": wrong char 'a' on template symbol '9' - unchanged"},
      {"transform",
       {"ab", "@ X"},
       std::string("C ab") + prefix +
           ": first char after @ is blank, should be function character. No picture used."},
      {"transform",
       {"ab", "@S X"},
       std::string("C ab") + prefix + ": @Sn function without lenght <n>. No picture used."},
      {"transform",
       {"ab", "@Q"},
       std::string("C ab") + prefix +
           " @function: character Q not allowed for data type C. Not considered"},
      {"transform",
       {1.5, "9.9.9"},
       std::string("C   1.5") + prefix + ": more than one decimal point. Last used."},
      {"transform",
       {Date{5}, "@! 99/99/99"},
       std::string("C 01/05/01") + prefix +
           ": unknown/not allowed @..!.. funct symbol, not considered"},
  });
  call("ov_set", {"developer", false});
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
