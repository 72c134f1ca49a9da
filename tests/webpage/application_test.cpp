// The example application, sent what no form of its own sends.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

class Accounts : public ::testing::Test, public Site {
 protected:
  void SetUp() override {
    std::filesystem::copy(TARNEL_SOURCE_DIR "/examples/app/pages", path("root"));
    console(TARNEL_SOURCE_DIR "/examples/app/make.prg");
  }
  // Runs a program in the folder of the tables; `behind` is shell text, such as " &".
  void console(const std::string& file, const std::string& behind = "") const {
    const std::string command =
        "cd " + path("data") + " && { " TARNEL_CONSOLE " " + file + behind + "\n}";
    ASSERT_EQ(std::system(command.c_str()), 0);
  }
};

std::string times(int count, const std::string& text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

TEST_F(Accounts, StoreWholeAccountsOfTheirNumberOrNothing) {
  const std::string rest = "&email=&balance=1&version=1", all = get("export.prg");
  for (const char* query : {"number=-1", "number=1.5", "number=1e3", "number=1%202", "number=abc",
                            "number=0", "number=6", "number=000000001", "number=%20"}) {
    const std::string page = post("edit.tnp", "name=Eve" + rest, query);
    EXPECT_TRUE(page.starts_with("Status: 404 ")) << query << page;
    EXPECT_EQ(page.find("<form"), std::string::npos) << query;
  }
  for (const std::string& name : {times(0, ""), times(1, "%20"), times(1, "a%0Ab"),
                                  times(1, "%09=1"), times(41, "a"), times(41, "%C3%A9")})
    EXPECT_NE(post("edit.tnp", "name=" + name + rest).find("A name has from 1 to 40 letters"),
              std::string::npos)
        << name;
  EXPECT_EQ(get("export.prg"), all);
  for (const auto& [name, query] : {std::pair(times(40, "%C3%A9"), ""), {"Bo", "number=2"}})
    EXPECT_TRUE(post("edit.tnp", "name=" + name + rest, query).starts_with("Status: 303 ")) << name;
  const std::string after = get("export.prg");
  EXPECT_NE(after.find("\n2,Bo,,1.00\n"), std::string::npos) << after;
  EXPECT_NE(after.find("\n6," + times(40, "\u00e9") + ",,1.00\n"), std::string::npos) << after;

  // The form that is out of date stays so, however often it is sent.
  const std::string late = post("edit.tnp", "name=Late" + rest, "number=2");
  EXPECT_NE(late.find("Somebody else has changed this"), std::string::npos);
  EXPECT_NE(late.find("name=\"version\" value=\"1\""), std::string::npos) << late;
}

TEST_F(Accounts, ShowWhatIsTypedAndHideWhatIsAnothers) {
  EXPECT_NE(get("edit.tnp").find("name=\"name\" value=\"\""), std::string::npos);
  const std::string found = get("index.tnp", "QUERY_STRING=search=aDa");
  EXPECT_NE(found.find("value=\"aDa\""), std::string::npos);
  EXPECT_NE(found.find("<td>Ada Berg</td>"), std::string::npos);
}

// Other programs may have stored more than the pages do.
TEST_F(Accounts, GiveSpreadsheetsNoFormulas) {
  write("store.prg",
        "LOCAL aTexts := {chr(9) + '=1', chr(13) + '=1', '=1'}, i\n"
        "USE account EXCLUSIVE INDEX account1, account2\nSET ORDER TO 1\nFOR i := 1 TO 3\n"
        "SEEK str(i, 8)\nREPLACE name WITH aTexts[i], email WITH '@1'\nNEXT\n");
  console("../store.prg");
  const std::string rows = get("export.prg");
  for (const char* row : {"1,'\t=1,'@1,", "2,\"'\r=1\",'@1,", "3,'=1,'@1,"})
    EXPECT_NE(rows.find(row), std::string::npos) << row << rows;
}

// The program that has the table ends with the folder of this test, after a minute at the latest.
TEST_F(Accounts, SayThatSomebodyHasThemForHimself) {
  write("hold.prg",
        "LOCAL n := 0\nUSE account EXCLUSIVE\nmemowrit('held', '')\n"
        "DO WHILE file('held') .and. n++ < 600\ninkey(.1)\nENDDO\n");
  console("../hold.prg >/dev/null &", " for i in $(seq 100); do [ -e held ] || sleep .05; done");
  ASSERT_TRUE(std::filesystem::exists(path("data/held")));
  for (const char* page : {"index.tnp", "edit.tnp", "export.prg"})
    EXPECT_TRUE(get(page).starts_with("Status: 503 ")) << page;
}

}  // namespace
}  // namespace tarnel::testing
