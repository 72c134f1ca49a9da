#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "core/memory.h"
#include "lib/number_text.h"
#include "lib/value_text.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Numbers : public LibTest {};

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST_F(Numbers, StrGoesByTheStoredOrTheGivenWidth) {
  check({{"str", {Sized{1234.5, 3, 1}}, "C 1234.5"},
         {"str", {Computed{12345678901.0, 0}}, "C 12345678901"},
         {"str", {Computed{12345678901.25, 2}}, "C 12345678901.25"},
         {"str", {Sized{2, 6, 2}}, "C   2.00"},
         {"str", {5, 1000, 2}, "C " + std::string(146, ' ') + "5.00"},
         {"str", {1, 150, 1000000}, "C " + std::string(150, '*')},
         {"str", {kInf, 5}, "C *****"},
         {"str", {Computed{-kInf, 2}}, "C **********"},
         {"str", {kNan, 2}, "C **"}});
}

TEST_F(Numbers, WholeAndOtherNumbersPrintAlike) {
  for (const double value : {0.0, -0.0, 1.0, -1.0, 0.5, 9007199254740991.0, -9007199254740991.0,
                             9007199254740992.0, 9007199254740994.0, 1e22, -1e300})
    for (const int decimals : {0, 1, 3, 15}) {
      char expected[400];
      std::snprintf(expected, sizeof expected, "%5.*f", decimals, value);
      if (char* comma = std::strchr(expected, ',')) *comma = '.';
      NumberBuffer buffer;
      EXPECT_EQ(print_fixed(buffer, value, 5, decimals), expected);
    }
}

TEST_F(Numbers, DefaultTextsOfValues) {
  struct Row {
    Arg value;
    const char* expected;
  };
  NumberBuffer buffer;
  const Row rows[] = {{Computed{1.5, 2}, "         1.50"},
                      {Computed{0, 0}, "         0"},
                      {Sized{123, 2, 0}, "**"},
                      {7, "         7"},
                      {Computed{1e22, 2}, "10000000000000000000000.00"},
                      {true, ".T."},
                      {Date{0}, "  /  /  "},
                      {Nil{}, "NIL"},
                      {Memo{"m"}, "m"}};
  for (const Row& row : rows) EXPECT_EQ(varToText(cell_of(row.value), buffer), row.expected);
  Var* value = TMP_NUM(1234567.0, 0);
  value->type = 'F';
  value->length = 8;
  value->decimals = 2;
  EXPECT_EQ(varToText(value, buffer), " 1.2e+06");
  value->num = 1.5;
  EXPECT_EQ(varToText(value, buffer), "    1.50");
  value->type = 'q';
  EXPECT_EQ(varToText(value, buffer), "");
  EXPECT_EQ(take_errors(), "203 Converting variable 'q' to string");
  value->type = 'N';
}

TEST_F(Numbers, ValReadsTheFrontOfATextAndKeepsItsShape) {
  struct Row {
    const char* text;
    double value;
    int width, decimals;
  };
  const Row rows[] = {{"  12.50", 12.5, 7, 2}, {"-3", -3, 2, 0},   {"+.5x", 0.5, 3, 1},
                      {"12.", 12, 2, 0},       {"\t1e5", 1, 2, 0}, {"0.00", 0, -1, 0},
                      {"- 5", 0, -1, 0},       {"inf", 0, -1, 0},  {"", 0, -1, 0},
                      {"1.1.1", 1.1, 3, 1}};
  for (const Row& row : rows) {
    const Var* v = call_cell("val", {row.text});
    EXPECT_EQ(v->num, row.value) << row.text;
    EXPECT_EQ(v->length, row.width) << row.text;
    EXPECT_EQ(v->decimals, row.decimals) << row.text;
  }
  EXPECT_EQ(call_cell("val", {"0.00"}), num_zero());
  EXPECT_EQ(call_cell("val", {5}), num_zero());
  EXPECT_EQ(call_cell("val", {std::string(400, '9')})->num, kInf);
  const Var* longest = call_cell("val", {"0." + std::string(400, '1')});
  EXPECT_EQ(longest->decimals, 255);
  EXPECT_NEAR(longest->num, 1.0 / 9, 1e-15);
}

TEST_F(Numbers, ValOfStrIsTheNumber) {
  std::uint64_t seed = 42;
  for (int i = 0; i < 20000; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    const int decimals = static_cast<int>(seed >> 62) * 2;
    const double scale = std::pow(10, decimals);
    const double x = std::round(static_cast<double>(static_cast<std::int32_t>(seed >> 20))) / scale;
    if (x == 0) continue;
    const std::int32_t mark = temp_top();
    const Var* text = call_cell("str", {Arg(x), 20, decimals});
    const Var* back = call_cell("val", {std::string(text_of(text))});
    ASSERT_EQ(back->num, x);
    ASSERT_EQ(back->decimals, decimals);
    ASSERT_EQ(back->length, 20);
    POP_TEMPS(mark);
  }
}

TEST_F(Numbers, RoundingAndSigns) {
  check({{"int", {1e10}, "I -2147483648"},
         {"int", {kNan}, "I -2147483648"},
         {"num2int", {kNan}, "I 0"},
         {"round", {1.005, 2}, "N 1.01"},
         {"round", {kInf, 2}, "N inf"}});
}

TEST_F(Numbers, DescendAndTypes) {
  check({{"descend", {"a\x01"}, "C \x9F\xFF"},
         {"descend", {-2147483647 - 1}, "I -2147483648"},
         {"descend", {Nil{}}, "U"},
         {"valtype", {Memo{"x"}}, "C M"},
         {"valtype", {}, "C U"}});
  settings().intvar = true;
  EXPECT_EQ(call("valtype", {5}), "C I");
}

TEST_F(Numbers, ShortFunctionsAllocateOnlyTheirResult) {
  Var* number = TMP_NUM(1234.5, 2);
  Var* text = TMP_TEXT("  12.50");
  Var* day = TMP_DATE(719163);
  struct Row {
    const char* name;
    Var* argument;
    std::uint64_t most;  // a cell and its text
  };
  for (const Row& row : std::initializer_list<Row>{
           {"str", number, 2}, {"val", text, 1}, {"dtoc", day, 2}, {"upper", text, 2}}) {
    Var* argument = row.argument;
    const Function function = GET_FUNC(row.name);
    const auto before = memory_stats().operations;
    function(1, &argument);
    EXPECT_LE(memory_stats().operations - before, row.most) << row.name;
  }
}

}  // namespace
}  // namespace tarnel::testing
