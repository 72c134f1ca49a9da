// Orders as a program uses them, with their files checked byte by byte.
#include "core/blocks.h"
#include "db/dbfidx/order/index_control.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_test.h"
#include "tests/support/fail_nth.h"

namespace tarnel::testing {
namespace {

bool index_on(const char* file, const char* key, bool unique = false) {
  return yes("dbcreateindex", {text(file), text(key), nil_value(), logical(unique)});
}
// Names of the records in the order under the cursor, from the first to the last.
std::string names() {
  std::string all;
  for (call("dbgotop"); !yes("eof"); call("dbskip")) {
    const std::string_view name = text_of(call("fieldget", {text("name")}));
    all += std::string(name.substr(0, name.find(' '))) + " ";
  }
  return all;
}

class OrdersTest : public TableTest {
 protected:
  void make() {
    ASSERT_TRUE(create("t", {{"name", "C", 10, 0}, {"n", "N", 8, 2}}));
    ASSERT_TRUE(open("t", Use::kExclusive));
    run("aeval({{'delta', 4}, {'alpha', 1}, {'charlie', 3}, {'bravo', 2}, {'alpine', 1.5}},"
        " {|a| dbappend(), fieldput(1, a[1]), fieldput(2, a[2])})");
  }
  // Closes the table and walks the order's file.
  IdxFile check(const char* file) {
    call("dbclosearea");
    IdxFile idx = check_idx(std::string(file) + ".idx");
    EXPECT_EQ(idx.fault, "") << file;
    return idx;
  }
};

TEST_F(OrdersTest, FileOfASmallOrderIsPinnedByItsBytes) {
  ASSERT_TRUE(create("t", {{"c", "C", 2, 0}}) && open("t", Use::kExclusive));
  for (const char* c : {"bb", "aa"}) call("dbappend"), put("c", text(c));
  ASSERT_TRUE(index_on("i", "c"));
  call("dbclosearea");
  const std::string idx = read_file("i.idx"), dbf = read_file("t.dbf");
  ASSERT_EQ(idx.size(), 2048U);
  std::string header = std::string("Q\0\0\2", 4) + le32(2) + le32(3) + le32(0) + le32(4) +
                       std::string("C\0", 2) + le16(512) + le32(4) + le32(40) + "c";
  header.resize(1024);
  std::string extension = std::string("Q") + dbf[31] + std::string(4, '\0') + "t.dbf";
  extension.resize(512);
  const std::string entries = le32(0) + le32(2) + std::string("aa\0", 3) + '\0' + le32(0) +
                              le32(1) + std::string("bb\0", 3) + '\0' + le32(0);
  std::string page = le32(2) + le32(0) + le32(0) + entries;
  page.resize(512);
  EXPECT_EQ(idx.substr(0, 1024), header);
  EXPECT_EQ(idx.substr(1024, 512), extension);
  EXPECT_EQ(idx.substr(1536), page);
}

TEST_F(OrdersTest, ChangedKeysFollowTheirRecordsInAllOrders) {
  for (const Use use : {Use::kExclusive, Use::kShared}) {
    make();
    ASSERT_TRUE(index_on("one", "name", true) && yes("ordcondset", {text("n > 2")}) &&
                index_on("some", "name"));
    ASSERT_TRUE(index_on("all", "name"));
    call("dbclosearea");
    ASSERT_TRUE(open("t", use));
    for (const char* file : {"all", "one", "some"}) ASSERT_TRUE(yes("dbsetindex", {text(file)}));
    ASSERT_TRUE(yes("dbseek", {text("bravo")}));
    run("rlock(), name := 'zulu', n := 7");
    EXPECT_EQ(names(), "alpha alpine charlie delta zulu ");
    run("dbappend(), name := 'alpha', n := 1");
    ASSERT_TRUE(yes("dbseek", {text("delta")}));
    run("rlock(), n := 0, dbsetorder(2)");
    EXPECT_EQ(names(), "alpha alpine charlie delta zulu ");
    call("dbsetorder", {integer(3)});
    EXPECT_EQ(names(), "charlie zulu ");
    EXPECT_EQ(take_errors(), "");
    for (const char* file : {"all", "one", "some"}) check(file);
    EXPECT_EQ(check_idx("all.idx").keys.size(), 6U);
  }
}

TEST_F(OrdersTest, CreationIsRefused) {
  make();
  struct Row {
    std::string key, filter, error;
  };
  for (const Row& row : {
           Row{"trim(name)", "", "index key length error"},
           {"name + space(228)", "", ""},
           {"name + space(229)", "", "index key length error"},
           {"name" + std::string(414, ' ') + "+''", "", "index expression length error"},
           {"name", "n > 0" + std::string(194, ' '), ""},
           {"name", "n > 0" + std::string(195, ' '), "index FOR expression length error"},
           {"{1}", "", "unsupported index key type"},
       }) {
    if (!row.filter.empty()) call("ordcondset", {text(row.filter)});
    EXPECT_EQ(index_on("x", row.key.c_str()), row.error.empty()) << row.error;
    const std::string errors = take_errors();
    EXPECT_NE(errors.find(row.error), std::string::npos) << errors;
    call("ordlistclear");
    EXPECT_EQ(read_file("x.idx").empty(), !row.error.empty()) << row.error;
    std::remove("x.idx");
  }
  yes("ordcreate", {nil_value(), nil_value(), text("name")});
  EXPECT_NE(take_errors().find("index name expected"), std::string::npos);
}

TEST_F(OrdersTest, AProcessMayDieAtEachCallOfARebuilding) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  run("aeval(array(200), {|| dbappend(), n := 200 - recno()}), dbcreateindex('n', 'n'), "
      "dbclosearea()");
  int finished = 0;
  for (int n = 1; finished == 0; ++n) {
    SCOPED_TRACE(n);
    finished = 1 - run_processes(1, [&](int) {
                 open("t", Use::kExclusive);
                 call("dbsetindex", {text("n")});
                 const FailNth dying(kKill, n);
                 return run("dbreindex()") == "L T" && !FailNth::struck();
               });
    ASSERT_TRUE(open("t", Use::kExclusive) && yes("dbsetindex", {text("n")})) << take_errors();
    take_errors();  // of an order that lacks changes
    EXPECT_EQ(run("ordkey()"), "C n");
    EXPECT_EQ(run("dbreindex(), dbseek(0), recno()"), "N 200") << take_errors();
    call("dbclosearea");
    ASSERT_LT(n, 1000);
  }
}

TEST_F(OrdersTest, SeventeenthOrderIsRefused) {
  make();
  ASSERT_TRUE(index_on("i", "name"));
  call("ordlistclear");
  const std::string bytes = read_file("i.idx");
  for (int i = 1; i <= 17; ++i) {
    const std::string file = "i" + std::to_string(i);
    write_file(file + ".idx", bytes);
    EXPECT_EQ(yes("ordlistadd", {text(file)}), i <= 16) << i;
    EXPECT_EQ(yes("neterr"), i > 16) << i;
  }
}

TEST_F(OrdersTest, SeekEvalStopsAtTheFirstKeyTheBlockWants) {
  make();
  ASSERT_TRUE(index_on("byname", "name"));
  call("dbgotop");
  Var* argv[] = {current_server(), ogmakecb("n == 3")};
  EXPECT_TRUE(truth_of(call_member(argv[0], "gotop", server_slot("gotop"))));
  EXPECT_TRUE(truth_of(csdometh("seekeval", server_slot("seekeval"), 0, 2, argv)));
  EXPECT_EQ(count("recno"), 3);
  argv[1] = ogmakecb(".f.");
  EXPECT_FALSE(truth_of(csdometh("seekeval", server_slot("seekeval"), 0, 2, argv)));
  EXPECT_TRUE(yes("eof"));
}

}  // namespace
}  // namespace tarnel::testing
