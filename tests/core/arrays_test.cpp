// Arrays: modes of creation, resizing, access; what transcripts of the language can't reach.
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

class Arrays : public RuntimeTest {};

std::string shown(const Var* list) {
  std::string all;
  for (std::int32_t i = 1; i <= element_count(list); ++i)
    all += (i > 1 ? "," : "") + show(element(list, i));
  return all;
}

Var* three() {
  return cscrearr(NEW_TEMP(), 3, kCopyValues, {TMP_INT(1), TMP_INT(2), TMP_INT(3)});
}

TEST_F(Arrays, ModesDecideWhatElementsHold) {
  Var* nine = TMP_INT(9);
  EXPECT_EQ(shown(cscreara(three(), 2, kAllNil)), "U,U");
  EXPECT_EQ(shown(cscrearr(three(), 5, kKeep, {nine})), "I 1,I 2,I 3,I 9,U");
  EXPECT_EQ(shown(cscrearr(three(), 1, kKeep, {nine})), "I 1");
  EXPECT_EQ(shown(cscrearr(three(), 2, kCloneOne, {nine})), "I 9,I 9");
  EXPECT_EQ(shown(cscrearr(three(), 4, kCloneValues, {nine})), "I 9,U,U,U");
  EXPECT_EQ(shown(cscreara(three(), 4, 7)), "I 1,I 2,I 3,U");
  Var* many = cscrearr(NEW_TEMP(), 18, kCopyValues,
                       {nine, nine, nine, nine, nine, nine, nine, nine, nine, nine, nine, nine,
                        nine, nine, nine, nine, nine, nine});
  EXPECT_EQ(show(element(many, 18)), "I 9");
}

TEST_F(Arrays, SizesAreLimited) {
  EXPECT_EQ(element_count(cscreara(NEW_TEMP(), 65535, kAllNil)), 65535);
  EXPECT_EQ(cscreara(NEW_TEMP(), 65536, kAllNil), error_value());
  EXPECT_EQ(cscreara(NEW_TEMP(), -1, kAllNil), error_value());
  EXPECT_EQ(take_errors(),
            "409 dimension overflow, requested array size=65536; "
            "409 dimension overflow, requested array size=-1");
}

TEST_F(Arrays, FailedAccessGivesDifferentConstants) {
  Var* list = three();
  EXPECT_EQ(csgetarr(list, 4), error_value());
  EXPECT_EQ(csgetarv(list, TMP_INT(0)), nil_value());
  EXPECT_EQ(csgetarv(list, TMP_TEXT("x")), nil_value());
  EXPECT_EQ(csgetarr(TMP_INT(1), 1), error_value());
  EXPECT_EQ(csgetarv(TMP_INT(1), TMP_INT(1)), nil_value());
  EXPECT_EQ(csgetarv(list, nullptr), nil_value());
  EXPECT_EQ(take_errors(),
            "409 array index 4 not in limits (1..3) ; 409 array index 0 not in limits (1..3) ; "
            "404 array index required, cannot be 'C'; 404 array required, received var type 'I'; "
            "404 array required, cannot be 'I'; 407 DGET_ARR: null array index pointer");
}

TEST_F(Arrays, AnArrayMaySurviveBeingItsOwnElement) {
  Var* list = three();
  list->sclass = 'N';
  CPY_VAR(element(list, 1), list);
  EXPECT_EQ(list->shared->refs, 2U);
  CPY_VAR(element(list, 1), nil_value());  // opens the ring, so that nothing stays behind
}

}  // namespace
}  // namespace tarnel::testing
