// Cells: assignment, release, fixed types, arrays, names.
#include "core/classes.h"
#include "core/symbols.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {
namespace {

class Cells : public RuntimeTest {};

Var* variable(char letter = 'U') {
  Var* v = NEW_TEMP();
  if (letter != 'U') FIX_VAR(v, letter);
  if (v->sclass == 'T') v->sclass = 'N';
  return v;
}

TEST_F(Cells, MemoTextBecomesCharacterOnAssignment) {
  Var* memo = TMP_TEXT("notes");
  memo->type = 'M';
  EXPECT_EQ(show(CPY_VAR(variable(), memo)), "C notes");
}

struct FixedCase {
  char declared;
  Var* (*value)();
  const char* shown;
  const char* error;
};

TEST_F(Cells, FixedTypesTakeCompatibleValuesAndRefuseOthers) {
  const FixedCase cases[] = {
      {'N', [] { return TMP_INT(3); }, "N 3", ""},
      {'I', [] { return TMP_NUM(2.9, 1); }, "I 2", ""},
      {'N', [] { return TMP_LOG(true); }, "L T", ""},
      {'C', [] { return TMP_INT(3); }, "C ",
       "332 attempt to assign I type to fixed type C variable"},
      {'D', [] { return TMP_TEXT("x"); }, "D 0",
       "332 attempt to assign C type to fixed type D variable"},
      {'A', [] { return TMP_NUM(1, 0); }, "A 0",
       "332 attempt to assign N type to fixed type A variable"},
  };
  for (const FixedCase& c : cases) {
    Var* v = variable(c.declared);
    CPY_VAR(v, c.value());
    EXPECT_EQ(show(v), c.shown) << c.declared;
    EXPECT_EQ(take_errors(), c.error) << c.declared;
  }
}

TEST_F(Cells, OnlyExactTemporariesPassAsArgumentsWithoutACopy) {
  Var* temp = TMP_INT(5);
  EXPECT_EQ(ARG_VAR(temp), temp);
  Var* literal = TMP_STR("literal");
  Var* passed = ARG_VAR(literal);
  EXPECT_NE(passed, literal);
  EXPECT_NE(passed->text, literal->text);
}

TEST_F(Cells, TypedAssignmentsRespectFixedNumbers) {
  Var* whole = variable('I');
  SET_NUM(whole, 2.9, 1);
  EXPECT_EQ(show(whole), "I 2");
  Var* number = variable('N');
  SET_INT(number, 7);
  EXPECT_EQ(show(number), "N 7.00");
  SET_NUM(variable(), -1e300, 0);
  EXPECT_EQ(show(SET_INT(variable('I'), truncate_to_int(1e300))), "I 2147483647");
}

TEST_F(Cells, OwnTextShrinksInPlace) {
  Var* v = TMP_TEXT("abcdef");
  SET_STR(v, v->text, 3);
  EXPECT_EQ(show(v), "C abc");
}

TEST_F(Cells, ArraysNestedWithoutMeasureAreClonedWithAnErrorAndReleasedWithoutRecursion) {
  Var* chain = variable();
  cscreara(chain, 0, kAllNil);
  for (int i = 0; i < 200000; ++i) {
    const std::int32_t mark = temp_top();
    CPY_VAR(chain, cscrearr(NEW_TEMP(), 1, kCopyValues, {chain}));
    POP_TEMPS(mark);
  }
  CLONE_VAR(variable(), chain);
  EXPECT_EQ(take_errors(), "409 array nested too deeply to be cloned");
  CPY_VAR(chain, nil_value());
}

std::string destroyed;
Var* axit(std::int32_t argc, Var** argv) {
  Procedure p("test", "axit", 1, argc);
  p.self(argv);
  destroyed += "x";
  for (int i = 0; i < 300; ++i) PUSH_VARSTACK(ADD_SYMBOL("xaxit"), NEW_VAR('N', 'U'));
  return p.end();
}
constexpr MethodEntry kMethods[] = {{"axit", axit}};
const ClassDescriptor& mortal_class() {
  static const ClassDescriptor descriptor("mortal", {}, kMethods);
  return descriptor;
}

TEST_F(Cells, DestructorRunsWhenTheLastReferenceIsDroppedButNotOnReassignment) {
  destroyed.clear();
  Var* holder = variable();
  std::int32_t mark = temp_top();
  CPY_VAR(holder, mortal_class().make());
  POP_TEMPS(mark);
  CPY_VAR(holder, int_zero());
  EXPECT_EQ(destroyed, "");
  mark = temp_top();
  mortal_class().make();
  POP_TEMPS(mark);
  EXPECT_EQ(destroyed, "x");
}

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

class Names : public RuntimeTest {};

TEST_F(Names, ManyNamesOfEachLengthStayApartWhileTheTableGrows) {
  std::vector<std::int32_t> indices;
  for (int i = 0; i < 500; ++i)
    indices.push_back(
        ADD_SYMBOL(std::string(static_cast<std::size_t>(1 + i % 9), 'q') + std::to_string(i)));
  for (int i = 0; i < 500; ++i) {
    if (i % 9 >= 6) continue;  // longer ones are cut to the same ten characters as others
    const std::string name =
        std::string(static_cast<std::size_t>(1 + i % 9), 'q') + std::to_string(i);
    EXPECT_EQ(FIND_SYMBOL(name), indices[static_cast<std::size_t>(i)]);
  }
}

TEST_F(Names, ForgottenIndicesAreUsedAgain) {
  const std::int32_t sym = ADD_SYMBOL("passing");
  FORGET_NAME("PASSING");
  EXPECT_EQ(FIND_SYMBOL("passing"), -1);
  EXPECT_EQ(ADD_SYMBOL("other"), sym);
}

std::int32_t undefined_name(const char* name) {
  const std::int32_t sym = ADD_SYMBOL(name);
  symbol_var(sym)->sclass = 'U';
  symbol_var(sym)->level = 0;
  return sym;
}

TEST_F(Names, ReleaseEmptiesOnlyVariablesOfTheLevel) {
  const std::int32_t sym = undefined_name("kept");
  Procedure outer("test", "outer", 1, 0);
  CPY_VAR(symbol_var(sym), TMP_INT(1));
  {
    Procedure inner("test", "inner", 1, 0);
    RELEASE_NAME("kept", false);
    EXPECT_EQ(show(symbol_var(sym)), "I 1");
    RELEASE_NAME("kept", true);
    EXPECT_TRUE(is_undefined(symbol_var(sym)));
    EXPECT_EQ(destroyed, "x");
    inner.end();
  }
  outer.end();
}

TEST_F(Names, ClearMemoryUnbindsAllAndLeavesTheStackInOrder) {
  const std::int32_t sym = undefined_name("cleared");
  Procedure outer("test", "outer", 1, 0);
  cscrearr(symbol_var(sym), 1, kCopyValues, {TMP_TEXT("outer")});
  CPY_VAR(element(symbol_var(sym), 1), mortal_class().make());
  POP_TEMPS(outer.frame().temp_mark);
  destroyed.clear();
  {
    Procedure inner("test", "inner", 1, 0);
    PUSH_VARSTACK(sym, NEW_VAR('N', 'U'));
    CPY_VAR(symbol_var(sym), TMP_TEXT("inner"));
    RELEASE_ALL(true);
    EXPECT_TRUE(is_undefined(symbol_var(sym)));
    inner.end();
  }
  EXPECT_TRUE(is_undefined(symbol_var(sym)));
  outer.end();
}

}  // namespace
}  // namespace tarnel::testing
