// Work areas, aliases, selection, opening and creating.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "core/memvars.h"
#include "core/symbols.h"
#include "db/dbfidx/order/index_control.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Areas : public TableTest {
 protected:
  void SetUp() override {
    for (const char* file : {"one", "two", "tenletters"})
      ASSERT_TRUE(create(file, {{"id", "N", 4, 0}}));
  }
  std::int32_t select(const char* alias) { return count("select", {text(alias)}); }
  std::string current() { return std::to_string(count("select")) + show(call("alias")); }
};

TEST_F(Areas, OpeningTakesTheLowestFreeArea) {
  ASSERT_TRUE(open("one", Use::kShared));
  ASSERT_TRUE(open("two", Use::kShared));
  EXPECT_EQ(current(), "2C TWO");
  call("dbselectarea", {text("one")});
  call("dbclosearea");
  ASSERT_TRUE(open("tenletters", Use::kShared));
  EXPECT_EQ(current(), "1C TENLETTERS");
}

TEST_F(Areas, OpeningWithoutNewReplacesTheTable) {
  ASSERT_TRUE(open("one", Use::kShared));
  ASSERT_TRUE(yes("dbusearea", {false_value(), nil_value(), text("two")}));
  EXPECT_EQ(current(), "1C TWO");
  EXPECT_EQ(select("one"), 0);
}

TEST_F(Areas, AliasesAreMadeUnique) {
  ASSERT_TRUE(open("one", Use::kShared));
  ASSERT_TRUE(open("one", Use::kShared));
  EXPECT_EQ(current(), "2C ONE_1");
  EXPECT_EQ(take_errors(), "");
  ASSERT_TRUE(open("tenletters", Use::kShared));
  ASSERT_TRUE(open("tenletters", Use::kShared, "tenletters"));
  EXPECT_EQ(show(call("alias")), "C TENLETTE_1");
  EXPECT_EQ(
      take_errors(),
      "901 Duplicate alias detected;alias automatically changed;from TENLETTERS;to TENLETTE_1");
}

TEST_F(Areas, LettersAndNumbersNameAreas) {
  ASSERT_TRUE(open("one", Use::kShared));
  ASSERT_TRUE(open("two", Use::kShared));
  EXPECT_EQ(select("A"), 1);
  EXPECT_EQ(select("M"), 2);
  EXPECT_EQ(select("b->id"), 2);
  EXPECT_EQ(select("1"), 1);
  EXPECT_EQ(select("C"), 0);
  EXPECT_EQ(show(call("alias", {integer(1)})), "C ONE");
  call("dbselectarea", {integer(7)});
  EXPECT_EQ(current(), "7C ");
  call("dbselectarea", {integer(0)});
  EXPECT_EQ(current(), "3C ");
  call("dbselectarea", {integer(70000)});
  EXPECT_EQ(take_errors(), "320 Cannot select working area 70000");
  EXPECT_EQ(current(), "3C ");
}

TEST_F(Areas, SomeAliasesAreRefused) {
  ASSERT_TRUE(open("one", Use::kShared));
  for (const char* alias : {"A", "m", "memvar", "field", "_field", "two words"}) {
    put_ivar(current_server(), "alias", text(alias));
    EXPECT_EQ(current(), "1C ONE") << alias;
  }
  put_ivar(current_server(), "alias", text("n"));
  EXPECT_EQ(current(), "1C N");
}

TEST_F(Areas, FrontFunctionsWithoutATable) {
  for (const char* function :
       {"bof", "eof", "deleted", "flock", "found", "used", "dbappend", "rlock"})
    EXPECT_FALSE(yes(function)) << function;
  for (const char* function : {"fcount", "recno", "lastrec", "reccount", "indexord", "recsize"})
    EXPECT_EQ(count(function), 0) << function;
  EXPECT_EQ(show(call("alias")), "C ");
  EXPECT_EQ(show(call("indexext")), "C .idx");
  EXPECT_EQ(take_errors(), "");
  for (const char* function : {"dbskip", "dbgotop", "dbgobottom", "dbseek", "fieldget"}) {
    call(function);
    EXPECT_EQ(take_errors(), format_text("322 in work area %d", std::max(1, count("select"))))
        << function;
  }
}

TEST_F(Areas, OpenFailuresAreNumberedAndSetNeterr) {
  const auto fails = [](const char* file) {
    EXPECT_FALSE(open(file, Use::kShared));
    EXPECT_TRUE(yes("neterr"));
    return take_errors();
  };
  EXPECT_EQ(fails("missing"), "101 DBFIDX:Init();missing;101 (file open error)");
  std::filesystem::create_directory("dir.dbf");
  EXPECT_EQ(fails("dir"), "101 DBFIDX:Init();dir;101 (file open error)");
  write_file("short.dbf", "\3\1\1\1");
  EXPECT_EQ(fails("short"),
            "103 DBFIDX:Init();header of " + directory() + "/short.dbf;103 (file read error)");
  EXPECT_EQ(fails(std::string(300, 'x').c_str()).substr(0, 3), "101");
  call("dbusearea", {true_value(), text("nosuch"), text("one")});
  EXPECT_EQ(take_errors(), "320 Driver 'NOSUCHNEW' not found");
  call("dbusearea");
  EXPECT_EQ(take_errors(), "312 in DBUSEAREA()");
}

TEST_F(Areas, TablesAreFoundInTheDefaultDirectoryThenHereThenAlongThePath) {
  ASSERT_TRUE(open("one", Use::kExclusive));
  ASSERT_TRUE(yes("dbcreateindex", {text("one"), text("id")}));
  call("dbclosearea");
  for (const char* name : {"default", "path"}) {
    std::filesystem::create_directory(name);
    for (const char* file : {"/one.dbf", "/one.idx"})
      std::filesystem::copy(file + 1, name + std::string(file));
  }
  settings().default_dir = "default/";
  settings().path = {directory() + "/none/", directory() + "/path/"};
  for (const char* place : {"default/", "", "path/"}) {
    ASSERT_TRUE(open("one", Use::kShared)) << place;
    EXPECT_EQ(show(call("dbf")), "C " + directory() + "/" + place + "one.dbf");
    EXPECT_TRUE(yes("ordlistadd", {text("one")}));
    EXPECT_EQ(table().orders[1]->fileName, directory() + "/" + place + "one.idx");
    call("dbclosearea");
    std::filesystem::remove(std::string(place) + "one.dbf");
    std::filesystem::remove(std::string(place) + "one.idx");
  }
  EXPECT_FALSE(open("one", Use::kShared));
}

TEST_F(Areas, CreateChecksEveryRowBeforeItWrites) {
  struct {
    FieldRow row;
    const char* error;
  } const cases[] = {
      {{"x", "Q", 3, 0}, "317 DBFIDX:CreateDB();unknown field type 'Q';317 (Illegal type)"},
      {{"x", "", 3, 0}, "313 DBFIDX:CreateDB();empty name;313 (Wrong argument value)"},
      {{"twelveletter", "C", 3, 0}, "313 DBFIDX:CreateDB();empty name;313 (Wrong argument value)"},
      {{"x", "C", -1, 0}, "313 DBFIDX:CreateDB();empty name;313 (Wrong argument value)"},
      {{"x", "C", 65536, 0},
       "320 DBFIDX:CreateDB();character field exceeds 64Kb;320 (Illegal value)"},
      {{"x", "C", 65535, 0}, "320 DBFIDX:CreateDB();record size exceeds 64Kb;320 (Illegal value)"},
      {{"x", "N", 21, 0},
       "320 DBFIDX:CreateDB();numeric field size exceeds 20 chars;320 (Illegal value)"},
      {{"x", "F", 20, 19},
       "320 DBFIDX:CreateDB();numeric field size exceeds 20 chars;320 (Illegal value)"},
  };
  for (const auto& c : cases) {
    EXPECT_FALSE(create("new", {{"ok", "C", 2, 0}, c.row}));
    EXPECT_EQ(take_errors(), c.error);
  }
  EXPECT_FALSE(std::filesystem::exists("new.dbf"));
}

TEST_F(Areas, CreateRefusesATableInUse) {
  ASSERT_TRUE(open("one", Use::kShared));
  const std::string before = read_file("one.dbf");
  EXPECT_FALSE(create("one", {{"other", "C", 2, 0}}));
  EXPECT_EQ(take_errors(),
            "322 DBFIDX:CreateDB();database '" + directory() +
                "/one.dbf' exists;but cannot use it exclusively;322 (No database opened)");
  EXPECT_EQ(read_file("one.dbf"), before);
  call("dbclosearea");
  EXPECT_TRUE(create("one", {{"other", "C", 2, 0}}));
}

TEST_F(Areas, ModeDigitsAreOctal) {
  ASSERT_TRUE(
      yes("dbcreate", {text("m"), structure({{"a", "C", 1, 0}}), nil_value(), integer(604)}));
  struct stat status {};
  ASSERT_EQ(stat("m.dbf", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0604u);
}

TEST_F(Areas, FieldsOfTwoTablesShareAName) {
  for (const char* file : {"one", "two"}) {
    ASSERT_TRUE(open(file, Use::kExclusive));
    call("dbappend");
    put("id", integer(count("select") * 10));
  }
  EXPECT_EQ(get("id"), "N 20");
  EXPECT_EQ(show(GET_ALIAS_FIELD_TEXT("one", "id")), "N 10");
  call("dbclosearea");
  EXPECT_EQ(get("id"), "U");
  call("dbselectarea", {integer(1)});
  EXPECT_EQ(get("id"), "N 10");
  EXPECT_EQ(take_errors(), "");
}

TEST_F(Areas, DriversAreListedOnce) {
  EXPECT_EQ(show(element(call("rddlist"), 1)), "C DBFIDX");
  call("annnewrdd", {text("DbfIdx")});
  EXPECT_EQ(element_count(call("rddlist")), 1);
  EXPECT_EQ(show(call("rddsetdefa", {text(" other ")})), "C DBFIDX");
  EXPECT_EQ(show(call("dbsetdrive", {text("")})), "C OTHER");
  EXPECT_EQ(show(call("rddsetdefa")), "C DBFIDX");
}

}  // namespace
}  // namespace tarnel::testing
