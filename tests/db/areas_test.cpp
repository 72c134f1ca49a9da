// What transcripts do not reach of aliases, opening and creating.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

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
  std::string current() { return std::to_string(count("select")) + show(call("alias")); }
};

TEST_F(Areas, SomeAliasesAreRefused) {
  ASSERT_TRUE(open("one", Use::kShared));
  for (const char* alias : {"A", "m", "memvar", "field", "_field", "two words"}) {
    put_ivar(current_server(), "alias", text(alias));
    EXPECT_EQ(current(), "1C ONE") << alias;
  }
  put_ivar(current_server(), "alias", text("n"));
  EXPECT_EQ(current(), "1C N");
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
}

TEST_F(Areas, TablesAreFoundInTheDefaultDirectoryThenHereThenAlongThePath) {
  ASSERT_TRUE(open("one", Use::kExclusive) && yes("dbcreateindex", {text("one"), text("id")}));
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
    EXPECT_EQ(run("dbf()"), "C " + directory() + "/" + place + "one.dbf");
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
       "320 DBFIDX:CreateDB();numeric field size exceeds 20 chars;320 (Illegal value)"}};
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

}  // namespace
}  // namespace tarnel::testing
