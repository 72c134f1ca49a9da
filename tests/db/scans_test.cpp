// What scans, filters and relations leave behind when code of the language leaves them by break.
#include "core/arrays.h"
#include "core/sequence.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Scans : public TableTest {};

TEST_F(Scans, ABreakLeavesSelectionLocksAndRelationsAsTheyWere) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && create("u", {{"n", "N", 5, 0}}));
  ASSERT_TRUE(open("u", Use::kShared) && open("t", Use::kShared));
  run("aeval({1, 2, 3}, {|x| dbappend(), fieldput(1, x)}), dbunlock()");
  // Each selects the other area and breaks when it comes to the second record.
  const std::string leave = "iif(n = 2, {dbselectarea('u'), break(1)}[1], n > 0)";
  const std::string block = "{|| " + leave + "}", quoted = "\"" + leave + "\"";
  const std::string whole[] = {
      "dbeval(" + block + ")",
      "dbeval({|| .T.}, " + quoted + ")",
      "dbeval({|| .T.}, , " + block + ", -1)",
      "dblocate({|| !" + leave + "})",
      "dbinfo(34, " + block + "), dbgotop(), dbcontinue()",
      "dbcount(" + quoted + ")",
      "dbsum(" + quoted + ")",
      "dbaverage({" + block + "})",
      "dbreplace('n', {|| iif(" + leave + ", n, 0)})",
      "dbdelete(" + block + ")",
      "dbserver():getarrfields(1, " + block + ")",
      "dbsetfilter(" + quoted + "), dbskip()",
      "dbgoto(2), dbsetfilter(" + block + ")",
      "dbsetrelation('u', " + block + "), dbgoto(2)",
  };
  for (const std::string& expressions : whole) {
    SCOPED_TRACE(expressions);
    call("dbgotop");
    EXPECT_NE(in_sequence([&] { run(expressions); }), nullptr);
    EXPECT_EQ(run("alias()"), "C T");
    const DbfIdx& dbf = table();
    EXPECT_EQ(dbf.locks.readers + dbf.locks.writers + dbf.locks.records.count(), 0);
    EXPECT_FALSE(dbf.buffer.changed() || dbf.relations.running || dbf.progress != nullptr);
    run("dbclearfilter(), dbclearrelation()");
    EXPECT_EQ(run("dbsum('n')[1]"), "N 6");
  }
  EXPECT_EQ(take_errors(), "");
}

// The key of an order is code that runs while the lock of a change is held.
TEST_F(Scans, ABreakInAKeyLeavesNoRecordLockedOrChanged) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"m", "N", 5, 0}}) && open("t", Use::kExclusive));
  run("aeval({1, 2, 3}, {|x| dbappend(), fieldput(1, x), fieldput(2, x)})");
  ASSERT_EQ(run("dbcreateindex('i', 'iif(set(9), break(1), n)'), dbclosearea()"), "L T");
  ASSERT_TRUE(open("t", Use::kShared) && yes("dbsetindex", {text("i")}));
  run("dbsetorder(0)");
  for (const char* change : {"fieldput(1, 9)", "dbdelete()", "dbdelete(, , 1)", "dbreplace('n', 9, , , 1)",
                             "dbreplace({'m', 'n'}, {9, {|| break(1)}}, , , 1)"}) {
    SCOPED_TRACE(change);
    run("dbgotop()");
    const bool own = std::string_view(change).find("{||") != std::string_view::npos;
    EXPECT_NE(in_sequence([&] { run((own ? "" : "set(9, .T.), ") + std::string(change)); }), nullptr);
    run("set(9, .F.)");
    EXPECT_EQ(table().locks.records.count() + table().locks.writers, 0);
    EXPECT_FALSE(table().buffer.changed());
  }
  EXPECT_EQ(run("dbgotop(), m"), "N 1");
  EXPECT_EQ(take_errors(), "");
}

TEST_F(Scans, ProcessesThatMoveRecordsInTheOrderTheyScanChangeEachOnce) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  EXPECT_EQ(run("aeval(array(100), {|| dbappend()}), dbcreateindex('i', 'n'), dbclosearea()"), "L T");
  EXPECT_EQ(run_processes(4,
                          [](int) {
                            return open("t", Use::kShared) && yes("dbsetindex", {text("i")}) &&
                                   run("dbreplace('n', {|| n + 1}), dbreplace('n', {|| n + 2})") ==
                                       "L T";
                          }),
            0);
  ASSERT_TRUE(open("t", Use::kExclusive) && yes("dbsetindex", {text("i")}));
  EXPECT_EQ(run("dbsum('n', 'n = 12')[1]"), "N 1200");
  EXPECT_EQ(count("dborderinfo", {integer(5002)}), 0);
  EXPECT_EQ(take_errors(), "");
}

TEST_F(Scans, ResultsEndAtTheLongestArray) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  for (std::int32_t i = 0; i <= kMaxElements; ++i) call("dbappend");
  EXPECT_EQ(run("len(dbserver():getarrfields('n', 65535))"), "I 1");
  EXPECT_EQ(run("dbgotop(), len(dbserver():getarrfields('n', 65535))"), "I 65535");
  EXPECT_EQ(take_errors(), "");
  EXPECT_EQ(run("dbserver():getarrfields('n')"), "L F");
  EXPECT_NE(take_errors().find("array size=65536"), std::string::npos);
}

}  // namespace
}  // namespace tarnel::testing
