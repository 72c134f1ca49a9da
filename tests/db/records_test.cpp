// The cursor, the record buffer and the fields, as the front functions show them.
#include "core/classes.h"
#include "core/symbols.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Records : public TableTest {
 protected:
  void fill(Use use, int n) {
    ASSERT_TRUE(create("t", {{"code", "C", 6, 0}, {"n", "N", 8, 2}}));
    ASSERT_TRUE(open("t", use));
    for (int i = 1; i <= n; ++i) {
      ASSERT_TRUE(yes("dbappend"));
      put("n", number(i));
    }
    call("dbgotop");
  }
  std::string where() {
    return std::string(yes("bof") ? "b" : "-") + (yes("eof") ? "e" : "-") +
           std::to_string(count("recno"));
  }
};

TEST_F(Records, EndStatesOfTheCursor) {
  fill(Use::kExclusive, 0);
  EXPECT_EQ(where(), "be1");
  call("dbskip");
  EXPECT_EQ(where(), "be1");
  for (int i = 0; i < 3; ++i) call("dbappend");
  struct {
    const char* function;
    int argument;
    const char* state;
  } const steps[] = {{"dbgoto", 1, "--1"},  {"dbskip", -1, "b-1"}, {"dbskip", 2, "--3"},
                     {"dbskip", 1, "-e4"},  {"dbskip", 5, "-e4"},  {"dbskip", -1, "--3"},
                     {"dbskip", -7, "b-1"}, {"dbgoto", 0, "be4"},  {"dbgoto", 9, "be4"},
                     {"dbgoto", 2, "--2"},  {"dbgoto", -5, "be4"}};
  for (const auto& s : steps) {
    call(s.function, {integer(s.argument)});
    EXPECT_EQ(where(), s.state) << s.function << " " << s.argument;
  }
  EXPECT_EQ(take_errors(), "");
}

TEST_F(Records, SkipTellsTheRecordsMoved) {
  fill(Use::kExclusive, 3);
  EXPECT_EQ(count("dbskip", {integer(2)}), 2);
  EXPECT_EQ(count("dbskip", {integer(0)}), 0);
  EXPECT_EQ(count("dbskip", {integer(2)}), 1);
  EXPECT_EQ(count("dbskip", {integer(2)}), 0);
  EXPECT_EQ(count("dbskip", {integer(-2)}), -2);
  EXPECT_EQ(count("dbskip", {integer(2147483647)}), 2);
  EXPECT_EQ(count("dbskip", {integer(-2147483647 - 1)}), -4);
}

TEST_F(Records, DeletedRecordsAreSteppedOver) {
  fill(Use::kExclusive, 5);
  for (const int n : {1, 3, 5}) {
    call("dbgoto", {integer(n)});
    EXPECT_TRUE(yes("dbdelete"));
  }
  settings().deleted = true;
  call("dbgotop");
  EXPECT_EQ(where(), "--2");
  EXPECT_EQ(count("dbskip"), 1);
  EXPECT_EQ(where(), "--4");
  call("dbskip");
  EXPECT_EQ(where(), "-e6");
  call("dbgobottom");
  EXPECT_EQ(where(), "--4");
  call("dbskip", {integer(-5)});
  EXPECT_EQ(where(), "b-2");
  for (const int n : {2, 4}) {
    call("dbgoto", {integer(n)});
    call("dbdelete");
  }
  call("dbgotop");
  EXPECT_EQ(where(), "be6");
  settings().deleted = false;
  call("dbgotop");
  EXPECT_TRUE(yes("dbrecall"));
  EXPECT_FALSE(yes("deleted"));
}

TEST_F(Records, FieldCellShowsTheRecordUnderTheCursor) {
  fill(Use::kExclusive, 2);
  put("code", text("one"));
  Var* cell = call("fieldget", {text("code")});
  EXPECT_EQ(show(cell), "C one   ");
  call("dbskip");
  put("code", text("two"));
  EXPECT_EQ(get("code"), "C two   ");
  EXPECT_EQ(show(cell), "C two   ");
  EXPECT_EQ(show(call("fieldget", {integer(2)})), "N 2.00");
  EXPECT_EQ(show(call("fieldget", {integer(3)})), "U");
  EXPECT_EQ(show(call("fieldget", {text("nosuch")})), "U");
}

TEST_F(Records, RefusedStoresSayWhy) {
  fill(Use::kExclusive, 1);
  put("n", text("x"));
  EXPECT_EQ(take_errors(),
            "201 DBFIDX:FieldPut();type mismatch: 'N' <> 'C';201 (data type mismatch)");
  call("dbskip");
  put("n", number(1));
  EXPECT_EQ(
      take_errors(),
      "334 DBFIDX:FieldPut();attempt to replace FIELD on EOF;area T;334 (Record wanted but eof)");
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kReadOnly));
  put("n", number(5));
  EXPECT_EQ(take_errors(),
            "104 DBFIDX:FieldPut();attempt to replace FIELD in read-only database;area T;"
            "104 (file write error)");
  EXPECT_FALSE(yes("dbappend"));
  EXPECT_EQ(take_errors(),
            "104 DBFIDX:FieldPut();DBF is opened READ-ONLY in area T;104 (file write error)");
  EXPECT_EQ(get("n"), "N 1.00");
  EXPECT_TRUE(yes("dbcommit"));
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kShared));
  put_ivar(current_server(), "concurrenc", integer(0));
  put("n", number(5));
  EXPECT_EQ(take_errors(),
            "325 DBFIDX:FieldPut();attempt to replace FIELD without lock;record 1;area T;"
            "325 (DBF file or record not locked)");
  EXPECT_FALSE(yes("dbdelete"));
}

TEST_F(Records, AutomaticLockWritesAndLetsGo) {
  fill(Use::kExclusive, 1);
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kShared));
  put("n", number(7));
  EXPECT_EQ(table().locks.records.count(), 0);
  EXPECT_FALSE(table().buffer.changed());
  EXPECT_EQ(get("n"), "N 7.00");
  EXPECT_TRUE(yes("dbdelete"));
  EXPECT_TRUE(yes("deleted"));
  EXPECT_EQ(table().locks.records.count(), 0);
  EXPECT_EQ(take_errors(), "");
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

TEST_F(Records, StructureIsToldByEveryFunction) {
  ASSERT_TRUE(create("t", {{"wide", "C", 300, 0}, {"amount", "N", 8, 2}}));
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(count("fcount"), 2);
  EXPECT_EQ(show(call("fieldname", {integer(2)})), "C AMOUNT");
  EXPECT_EQ(show(call("field", {integer(3)})), "C ");
  EXPECT_EQ(count("fieldpos", {text("Amount")}), 2);
  EXPECT_EQ(count("fieldpos", {text("none")}), 0);
  EXPECT_EQ(show(call("dbfieldinfo", {integer(2), text("wide")})), "C C");
  EXPECT_EQ(show(call("dbfieldinfo", {integer(3), text("wide")})), "I 44");
  EXPECT_EQ(show(call("dbfieldinfo", {integer(4), integer(1)})), "I 1");
  EXPECT_EQ(show(call("dbfieldinfo", {integer(1), integer(9)})), "C ");
  const Var* rows = call("dbstruct");
  EXPECT_EQ(show(element(element(rows, 1), 3)), "I 300");
  EXPECT_EQ(show(element(element(rows, 1), 4)), "I 0");
  Var* names = call("array", {integer(1)});
  EXPECT_EQ(count("afields", {names}), 1);
  EXPECT_EQ(show(element(names, 1)), "C WIDE");
  EXPECT_EQ(count("header"), 97);
  EXPECT_EQ(count("recsize"), 309);
  EXPECT_EQ(show(call("dbf")), "C " + directory() + "/t.dbf");
  EXPECT_EQ(show(call("lupdate")), show(call("date")));
  EXPECT_EQ(show(call("dbinfo", {integer(102)})), "C 4.40");
  EXPECT_EQ(show(call("dbrecordinfo", {integer(3)})), "I 309");
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
