#include "lib/extend.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "lib/array_functions.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Extend : public LibTest {
 protected:
  static Var* array_of(std::initializer_list<Arg> values) {
    Var* array = NEW_TEMP();
    cscreara(array, static_cast<std::int32_t>(values.size()), kAllNil);
    std::int32_t i = 1;
    for (const Arg& value : values) CPY_VAR(element(array, i++), cell_of(value));
    return array;
  }
  static std::string elements_of(Var* array) {
    std::string text;
    for (std::int32_t i = 1; i <= element_count(array); ++i) text += show(element(array, i)) + ";";
    return text;
  }
};

TEST_F(Extend, ParametersTellTheirTypesAndValues) {
  Var* inner = array_of({"deep", 7});
  Var* outer = array_of({1, 2});
  CPY_VAR(element(outer, 2), inner);
  Var* argv[] = {TMP_TEXT("text"), TMP_NUM(2.5, 1), TMP_DATE(5), cell_of(Memo{"m"}), outer};
  EXPECT_EQ(PARINFO(0), 0);
  const ExtendCall call(5, argv);
  EXPECT_EQ(PARINFO(0), 5);
  EXPECT_EQ(PARINFO(1), kParCharacter);
  EXPECT_EQ(PARINFO(4), kParMemo);
  EXPECT_EQ(PARINFO(4) & kParCharacter, kParCharacter);
  EXPECT_EQ(PARINFO(6), kParMissing);
  EXPECT_EQ(PARINFO(-1), kParMissing);
  EXPECT_EQ(PARINFA(5, {0}), 2);
  EXPECT_EQ(PARINFA(5, {2, 0}), 2);
  EXPECT_EQ(PARINFA(5, {2, -1, 9}) & ~kParByReference, kParArray);
  EXPECT_EQ(PARINFA(5, {3}), kParMissing);
  EXPECT_STREQ(PAR_TEXT(5, {2, 1}), "deep");
  EXPECT_EQ(PAR_LEN(1), 4);
  EXPECT_EQ(PAR_LEN(2), 0);
  EXPECT_EQ(PAR_NUM(5, {2, 2}), 7);
  EXPECT_EQ(PAR_NUM(2), 2.5);
  EXPECT_TRUE(PAR_LOG(2));
  EXPECT_EQ(PAR_DATE(3), 5);
  EXPECT_EQ(PAR_TEXT(9), no_parameter_text());
  EXPECT_EQ(PAR_TEXT(5, {9}), no_element_text());
  EXPECT_EQ(PAR_TEXT(2), no_text());
}

TEST_F(Extend, TextsThatLieElsewhereAreTakenOver) {
  char buffer[] = "borrowed";
  Var* argv[] = {TMP_STR(buffer)};
  ASSERT_EQ(argv[0]->sclass, 't');
  const ExtendCall call(1, argv);
  const char* text = PAR_TEXT(1);
  buffer[0] = 'B';
  EXPECT_STREQ(text, "borrowed");
}

TEST_F(Extend, WalksEndAtTheTenthLevel) {
  Var* array = array_of({"bottom"});
  for (int i = 0; i < 12; ++i) {
    Var* around = array_of({0});
    CPY_VAR(element(around, 1), array);
    array = around;
  }
  const ExtendCall call(1, &array);
  EXPECT_EQ(PARINFA(1, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}) & kParArray, kParArray);
}

// Their decimals tell equal ones apart.
TEST_F(Extend, ManyNumbersAreSortedAsFewAre) {
  constexpr double kHuge = std::numeric_limits<double>::infinity();
  constexpr double kValues[] = {0, -0.0, 1, -1, 0.1, -0.1, 5e-324, -1e308, 1e308, -kHuge, kHuge, 7};
  for (const std::int32_t count : {100, 3000}) {
    Var* array = cscreara(NEW_TEMP(), count, kAllNil);
    std::vector<std::pair<double, int>> sorted;
    unsigned random = 1;
    for (std::int32_t i = 1; i <= count; ++i) {
      random = random * 1103515245 + 12345;
      const unsigned choice = random >> 16;
      const bool common = choice % 3 == 0;
      const double value = common ? kValues[choice / 3 % std::size(kValues)] : choice % 700 - 350.0;
      if (common)
        SET_NUM(element(array, i), value, i % 10);
      else
        SET_INT(element(array, i), static_cast<std::int32_t>(value));
      sorted.emplace_back(value, common ? i % 10 : 0);
    }
    std::ranges::stable_sort(sorted, {}, &std::pair<double, int>::first);
    asort(1, &array);
    for (std::int32_t i = 1; i <= count; ++i) {
      const auto& [value, decimals] = sorted[static_cast<std::size_t>(i - 1)];
      ASSERT_EQ(number_of(element(array, i)), value) << i;
      ASSERT_EQ(element(array, i)->decimals, decimals) << i;
    }
  }
}

TEST_F(Extend, SortingKeepsElementsWhateverTheBlockSays) {
  Var* array = array_of({3, "b", 1, "a", Date{9}, 2, true});
  asort(1, &array);
  EXPECT_EQ(elements_of(array), "C a;C b;I 1;I 2;I 3;D 9;L T;");
  Var* part[] = {array_of({5, 4, 3, 2, 1}), TMP_INT(2), TMP_INT(3)};
  asort(3, part);
  EXPECT_EQ(elements_of(part[0]), "I 5;I 2;I 3;I 4;I 1;");
  EXPECT_EQ(show(atail(1, part)), "I 1");

  const auto always = [](std::int32_t, Var**, Var**) { return true_value(); };
  const auto shrinks = [](std::int32_t argc, Var** argv, Var**) {
    static_cast<void>(argc);
    return logical(argv[0]->i > argv[1]->i);
  };
  Var* odd[] = {array_of({1, 2, 3, 4, 5}), nil_value(), nil_value(), TMP_BLOCK(always)};
  asort(4, odd);
  EXPECT_EQ(element_count(odd[0]), 5);
  Var* down[] = {array_of({1, 3, 2}), nil_value(), nil_value(), TMP_BLOCK(shrinks)};
  asort(4, down);
  EXPECT_EQ(elements_of(down[0]), "I 3;I 2;I 1;");
  Var* none[] = {nil_value(), TMP_INT(-2147483647), TMP_INT(2147483647)};
  EXPECT_EQ(show(asort(1, none)), "U");
  none[0] = array_of({2, 1});
  asort(3, none);
  EXPECT_EQ(elements_of(none[0]), "I 1;I 2;");
}

}  // namespace
}  // namespace tarnel::testing
