// What expressions as text can't reach of the operators: result cells, literal forms, allocation.
#include "core/operators.h"
#include "core/memory.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

class Operators : public RuntimeTest {};

Var* var_of(Var* temp, char sclass = 'N') {
  temp->sclass = sclass;
  return temp;
}

using Binary = Var* (*)(Var*, Var*, bool);
constexpr Binary kArithmetic[] = {csuaddu, csusubu, csumulu, csudivu, csumodu, csupowu};

TEST_F(Operators, ResultsGoToTemporariesAndNeverToVariables) {
  for (const Binary op : kArithmetic) {
    Var* left = var_of(TMP_NUM(8, 0));
    Var* right = var_of(TMP_NUM(3, 0));
    EXPECT_NE(op(left, right, false), left);
    EXPECT_EQ(left->num, 8);
    EXPECT_EQ(op(left, right, true), left);
    EXPECT_EQ(right->num, 3);
    Var* temp = TMP_NUM(2, 0);
    EXPECT_EQ(op(temp, right, false), temp);
    temp = TMP_NUM(2, 0);
    EXPECT_EQ(op(var_of(TMP_NUM(9, 0)), temp, false), temp);
  }
}

TEST_F(Operators, NumericOperatorsOnTemporariesAllocateNothing) {
  Var* right = var_of(TMP_NUM(3, 0));
  Var* temp = TMP_NUM(1, 0);
  const std::uint64_t before = memory_stats().operations;
  for (int i = 0; i < 100; ++i) {
    for (const Binary op : kArithmetic) op(temp, right, false);
    csnaddu(1.5, 1, temp, false);
    csusubn(temp, 1, 0, false);
    csnmulu(2, 0, temp, false);
    csminusu(temp);
    csultu(temp, right);
    csngtu(3, temp);
  }
  EXPECT_EQ(memory_stats().operations, before);
}

TEST_F(Operators, ConcatenationGrowsItsOwnBufferAlsoWithItself) {
  Var* text = var_of(TMP_TEXT("ab"));
  csuaddc(text, "cd", true);
  csuaddu(text, text, true);
  EXPECT_EQ(show(text), "C abcdabcd");
  csusubu(var_of(TMP_TEXT("x ")), TMP_TEXT("y"), true);
  Var* padded = var_of(TMP_TEXT("a "));
  csusubu(padded, padded, true);
  EXPECT_EQ(show(padded), "C aa  ");
  Var* borrowed = var_of(TMP_STR("lit"), 'n');
  csuaddc(borrowed, "eral", true);
  EXPECT_EQ(show(borrowed), "C literal");
  EXPECT_EQ(borrowed->sclass, 'N');
}

TEST_F(Operators, FixedTypesAreKeptByCompoundAssignment) {
  Var* whole = NEW_TEMP();
  FIX_VAR(whole, 'I');
  SET_INT(whole, 5);
  EXPECT_EQ(show(csnaddu(1.9, 1, whole, true)), "I 6");
  EXPECT_EQ(show(csupown(whole, 2, true)), "I 36");
  Var* number = NEW_TEMP();
  FIX_VAR(number, 'N');
  EXPECT_EQ(csuaddu(number, TMP_DATE(10), true), error_value());
  EXPECT_EQ(take_errors(), "332 attempt to assign D type to fixed type N variable");
}

TEST_F(Operators, LiteralFormsFollowTheirOwnRules) {
  Var* seven = var_of(TMP_INT(7));
  Var* half = var_of(TMP_NUM(0.5, 1));
  const auto row = [](Var* got, const char* shown, const char* error = "") {
    EXPECT_EQ(show(got), shown);
    EXPECT_EQ(take_errors(), error) << shown;
  };
  row(csnaddu(1, 0, seven, false), "I 8");
  row(csnaddu(1.25, 2, seven, false), "N 8.25");
  row(csnaddu(1, -1, half, false), "N 1.50");
  row(csnaddu(2.9, 1, TMP_DATE(10), false), "D 12");
  row(csusubn(TMP_DATE(10), 3, 0, false), "D 7");
  row(csusubn(TMP_TEXT("x"), 3, 0, false), "E",
      "202 numerics can only be subtracted from dates or numerics");
  row(csnmulu(3, 0, seven, false), "I 21");
  row(csnmulu(1.5, 1, half, false), "N 0.75");
  row(csudivn(seven, 2, false), "N 3.50");
  row(csudivn(seven, 0, false), "N 0");
  row(csumodn(seven, 4, false), "N 3.00");
  row(csumodn(seven, 0, false), "N 0", "205 attempted division by zero");
  row(csumodn(TMP_TEXT("x"), 4, false), "N 0", "202 only numerics can be moduloed");
  row(csupown(seven, 2, false), "N 49.00");
  // An integer cell cuts the literal before it is compared.
  row(csnequu(7.9, seven), "L T");
  row(csngtu(7.9, seven), "L F");
  row(csnltu(6.9, seven), "L T");
  row(csngequ(0.5, half), "L T");
  row(csnlequ(0.6, half), "L F");
  row(csnequ(1, nil_value()), "L T");
  row(csnequu(1, nil_value()), "L F");
  row(csngtu(1, TMP_TEXT("x")), "E", "201 in less than '<' operation");
  row(csngequ(1, TMP_TEXT("x")), "E", "201 in less than or equal '<=' operation");
  row(csuequc(TMP_TEXT("abc"), "ab"), "L T");
  row(cscequu("ab", TMP_TEXT("abc")), "L F");
  row(csceequu("ab", TMP_TEXT("ab")), "L T");
  row(csuneqc(nil_value(), "x"), "L T");
  row(cscgtu("b", TMP_TEXT("a")), "L T");
  row(cscgtu("b", nil_value()), "E", "201 in less than '<' operation");
  row(csucontc(TMP_TEXT("ell"), "hello"), "L T");
  row(cscaddu("x", TMP_INT(1)), "E", "201 strings can only be concatenated to strings");
}

TEST_F(Operators, ConstantsAreNotStepped) {
  for (const auto step : {csincu, csdecu, csuinc, csudec}) EXPECT_EQ(step(int_one()), int_one());
  EXPECT_EQ(int_one()->i, 1);
}

TEST_F(Operators, IntegersWrapAndNeverTrap) {
  EXPECT_EQ(show(csuaddu(TMP_INT(INT32_MAX), TMP_INT(1), false)), "I -2147483648");
  EXPECT_EQ(show(csumulu(TMP_INT(INT32_MIN), TMP_INT(-1), false)), "I -2147483648");
  EXPECT_EQ(show(csumodu(TMP_INT(INT32_MIN), TMP_INT(-1), false)), "I 0");
  EXPECT_EQ(show(csminusu(TMP_INT(INT32_MIN))), "I -2147483648");
  EXPECT_EQ(show(csuaddu(TMP_DATE(1), TMP_NUM(1e300, 0), false)), "D -2147483648");
}

TEST_F(Operators, TextsCompareUnderACollation) {
  unsigned char weights[256] = {};
  for (int i = 0; i < 256; ++i) weights[i] = static_cast<unsigned char>(i == 'b' ? 'a' : i);
  set_collation(weights);
  EXPECT_EQ(nastrcmp("abc", "aac", 3, 3), 0);
  EXPECT_EQ(show(csceequu("abc", TMP_TEXT("aac"))), "L T");
  set_collation(nullptr);
}

}  // namespace
}  // namespace tarnel::testing
