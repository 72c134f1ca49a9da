// Orders as a program uses them, with their files checked byte by byte.
#include "tests/db/die_at_each_call.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

using OrdersTest = TableTest;

TEST_F(OrdersTest, FileOfASmallOrderIsPinnedByItsBytes) {
  ASSERT_TRUE(create("t", {{"c", "C", 2, 0}}) && open("t", Use::kExclusive));
  ASSERT_EQ(
      run("aeval({'bb', 'aa'}, {|x| dbappend(), c := x}), dbcreateindex('i', 'c'), dbclosearea()"),
      "L T");
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

TEST_F(OrdersTest, AProcessMayDieAtEachCallOfARebuilding) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  run("aeval(array(200), {|| dbappend(), n := 200 - recno()}), dbcreateindex('n', 'n'), "
      "dbclosearea()");
  const auto opened = [] { return open("t", Use::kExclusive) && yes("dbsetindex", {text("n")}); };
  die_at_each_call([&] { opened(); }, [] { return run("dbreindex()") == "L T"; },
                   [&](int) {
                     ASSERT_TRUE(opened());
                     take_errors();  // of an order that lacks changes
                     EXPECT_EQ(run("ordkey()"), "C n");
                     EXPECT_EQ(run("dbreindex(), dbseek(0), recno()"), "N 200") << take_errors();
                     call("dbclosearea");
                   });
}

}  // namespace
}  // namespace tarnel::testing
