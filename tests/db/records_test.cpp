// The record buffer and the fields, where transcripts do not reach.
#include "core/classes.h"
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

TEST_F(Records, FieldCellShowsTheRecordUnderTheCursor) {
  fill(Use::kExclusive, 2);
  put("code", text("one"));
  Var* cell = call("fieldget", {text("code")});
  EXPECT_EQ(show(cell), "C one   ");
  EXPECT_EQ(run("dbskip(), code := 'two', code"), "C two   ");
  EXPECT_EQ(show(cell), "C two   ");
  EXPECT_EQ(run("fieldget(2)"), "N 2.00");
  EXPECT_EQ(run("fieldget('nosuch')"), "U");
}

TEST_F(Records, WithoutAutomaticLocksAStoreIsRefused) {
  fill(Use::kExclusive, 1);
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kShared));
  put_ivar(current_server(), "concurrenc", integer(0));
  put("n", number(5));
  EXPECT_EQ(take_errors(),
            "325 DBFIDX:FieldPut();attempt to replace FIELD without lock;record 1;area T;"
            "325 (DBF file or record not locked)");
  EXPECT_FALSE(yes("dbdelete"));
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
      call("dbgoto", {integer(i / 2)});
      EXPECT_EQ(get("n"), format_text("N %d.00", i / 2));
      put("n", number(-i));
      call("dbgoto", {integer(i)});
      EXPECT_EQ(get("n"), format_text("N %d.00", i));
      put("n", number(i / 2));
      call("dbgoto", {integer(i / 2)});
      put("n", number(i / 2));
      call("dbgoto", {integer(i)});
      put("n", number(i));
    }
    POP_TEMPS(mark);
  }
  call("dbclosearea");
  EXPECT_EQ(read_file("t.dbf").size(), 97u + 15u * kRecords);
  ASSERT_TRUE(open("t", Use::kShared));
  for (int i = 1; i <= kRecords; ++i, call("dbskip"))
    if (number_of(RESOLVE_NAME(ADD_SYMBOL("n"))) != i) FAIL() << "record " << i;
  EXPECT_TRUE(yes("eof"));
  EXPECT_EQ(take_errors(), "");
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

TEST_F(Records, FieldsAreMembersOfTheDriverObject) {
  fill(Use::kExclusive, 1);
  EXPECT_EQ(show(get_ivar(current_server(), "n")), "N 1.00");
  put_ivar(current_server(), "n", number(4));
  EXPECT_EQ(get("n"), "N 4.00");
  EXPECT_EQ(take_errors(), "");
  get_ivar(current_server(), "nosuch");
  EXPECT_EQ(take_errors(), "306 DBFIDX:FieldGet();database " + directory() +
                               "/t.dbf has no field named nosuch;306 (cannot find that field)");
  send(current_server(), "rollback");
  EXPECT_EQ(take_errors(), "343 Class 'dbfidx' does not define method 'rollback'");
}

TEST_F(Records, HandlerThatClosesTheTableLeavesNothingDangling) {
  fill(Use::kExclusive, 3);
  Var* cell = call("fieldget", {text("code")});
  call("errorblock", {TMP_BLOCK([](std::int32_t, Var**, Var**) -> Var* {
         close_all_areas();
         return nil_value();
       })});
  put("n", text("refused"));
  EXPECT_EQ(show(cell), "U");
  EXPECT_FALSE(yes("used"));
}

}  // namespace
}  // namespace tarnel::testing
