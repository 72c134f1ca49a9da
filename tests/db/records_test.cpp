// The record buffer and the fields, where transcripts do not reach.
#include "core/symbols.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Records : public TableTest {
 protected:
  void fill(Use use, int n) {
    ASSERT_TRUE(create("t", {{"code", "C", 6, 0}, {"n", "N", 8, 2}}) && open("t", use));
    for (int i = 1; i <= n; ++i) {
      ASSERT_TRUE(yes("dbappend"));
      put("n", number(i));
    }
    call("dbgotop");
  }
};

TEST_F(Records, FieldCellShowsTheRecordUnderTheCursorWhileTheTableIsOpen) {
  fill(Use::kExclusive, 2);
  put("code", text("one"));
  Var* cell = call("fieldget", {text("code")});
  EXPECT_EQ(show(cell), "C one   ");
  EXPECT_EQ(run("dbskip(), code := 'two', code"), "C two   ");
  EXPECT_EQ(show(cell), "C two   ");
  // A handler closes it under a store.
  call("errorblock", {TMP_BLOCK([](std::int32_t, Var**, Var**) -> Var* {
         close_all_areas();
         return nil_value();
       })});
  put("n", text("refused"));
  EXPECT_EQ(show(cell), "U");
}

TEST_F(Records, ExclusiveRunsOfRecordsSurviveAnyOrderOfAccess) {
  // More than the window of 64 KiB holds, with jumps back into what is not yet written.
  fill(Use::kExclusive, 0);
  constexpr int kRecords = 9000;
  for (int i = 1; i <= kRecords; ++i) {
    const std::int32_t mark = temp_top();
    call("dbappend");
    put("n", number(i));
    if (i % 1000 == 0) {
      const std::string here = std::to_string(i), back = std::to_string(i / 2);
      const std::string there = "dbgoto(" + back + "), n", again = "dbgoto(" + here + "), n";
      EXPECT_EQ(run(there), "N " + back + ".00");
      run("n := -" + here);
      EXPECT_EQ(run(again), "N " + here + ".00");
      run("n := " + back + ", " + there + " := " + back + ", " + again + " := " + here);
    }
    POP_TEMPS(mark);
  }
  call("dbclosearea");
  EXPECT_EQ(read_file("t.dbf").size(), 97u + 15u * kRecords);
  ASSERT_TRUE(open("t", Use::kShared));
  for (int i = 1; i <= kRecords; ++i, call("dbskip"))
    if (number_of(RESOLVE_NAME(ADD_SYMBOL("n"))) != i) FAIL() << "record " << i;
  EXPECT_TRUE(yes("eof"));
}

TEST(TableHeader, ChangeCounterStepsOverUnusedLookingValues) {
  TableHeader header;
  header.adopt(dbf::new_header({}, {2000, 1, 1}));
  const auto count = [&](int changes) {
    for (int i = 0; i < changes; ++i) header.add_change();
    header.apply_changes();
    return header.counter();
  };
  EXPECT_EQ(count(249), 250);
  EXPECT_EQ(count(9), 5);  // wraps to 3, and 2 more
  EXPECT_EQ(count(0), 5);
  EXPECT_EQ(count(256), 7);  // 256 changes are not none
}

}  // namespace
}  // namespace tarnel::testing
