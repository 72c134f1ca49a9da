// The example application, sent what no form of its own sends.
#include <gtest/gtest.h>

#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

class Accounts : public ::testing::Test, public Site {
 protected:
  void SetUp() override {
    std::filesystem::copy(TARNEL_SOURCE_DIR "/examples/app/pages", path("root"));
    ASSERT_EQ(console(TARNEL_SOURCE_DIR "/examples/app/make.prg"), "");
  }
};

TEST_F(Accounts, StoreWholeAccountsOfTheirNumberOrNothing) {
  const std::string rest = "&email=&balance=1&version=1", all = get("export.prg");
  for (const char* query : {"number=-1", "number=1.5", "number=1e3", "number=1%202", "number=abc",
                            "number=0", "number=6", "number=000000001", "number=%20"}) {
    const std::string page = post("edit.tnp", "name=Eve" + rest, query);
    EXPECT_TRUE(page.starts_with("Status: 404 ")) << query << page;
    EXPECT_FALSE(holds(page, "<form")) << query;
  }
  for (const std::string& name :
       std::vector<std::string>{"", "%20", "a%0Ab", "%09=1", repeat("a", 41), repeat("%C3%A9", 41)})
    EXPECT_TRUE(holds(post("edit.tnp", "name=" + name + rest), "A name has from 1 to 40 letters"))
        << name;
  EXPECT_EQ(get("export.prg"), all);
  for (const auto& [name, query] : {std::pair(repeat("%C3%A9", 40), ""), {"Bo", "number=2"}})
    EXPECT_TRUE(post("edit.tnp", "name=" + name + rest, query).starts_with("Status: 303 ")) << name;
  const std::string after = get("export.prg");
  EXPECT_TRUE(holds(after, "\n2,Bo,,1.00\n"));
  EXPECT_TRUE(holds(after, "\n6," + repeat("\u00e9", 40) + ",,1.00\n"));

  // The form that is out of date stays so, however often it is sent.
  const std::string late = post("edit.tnp", "name=Late" + rest, "number=2");
  EXPECT_TRUE(holds(late, "Somebody else has changed this"));
  EXPECT_TRUE(holds(late, "name=\"version\" value=\"1\""));
}

TEST_F(Accounts, ShowWhatIsTypedAndHideWhatIsAnothers) {
  EXPECT_TRUE(holds(get("edit.tnp"), "name=\"name\" value=\"\""));
  const std::string found = get("index.tnp", "QUERY_STRING=search=aDa");
  EXPECT_TRUE(holds(found, "value=\"aDa\""));
  EXPECT_TRUE(holds(found, "<td>Ada Berg</td>"));
}

// Other programs may have stored more than the pages do.
TEST_F(Accounts, GiveSpreadsheetsNoFormulas) {
  write("store.prg",
        "LOCAL aTexts := {chr(9) + '=1', chr(13) + '=1', '=1'}, i\n"
        "USE account EXCLUSIVE INDEX account1, account2\nSET ORDER TO 1\nFOR i := 1 TO 3\n"
        "SEEK str(i, 8)\nREPLACE name WITH aTexts[i], email WITH '@1'\nNEXT\n");
  ASSERT_EQ(console("../store.prg"), "");
  const std::string rows = get("export.prg");
  for (const char* row : {"1,'\t=1,'@1,", "2,\"'\r=1\",'@1,", "3,'=1,'@1,"})
    EXPECT_TRUE(holds(rows, row)) << row;
}

// The program that has the table ends with the folder of this test, after a minute at the latest.
TEST_F(Accounts, SayThatSomebodyHasThemForHimself) {
  write("hold.prg",
        "LOCAL n := 0\nUSE account EXCLUSIVE\nmemowrit('held', '')\n"
        "DO WHILE file('held') .and. n++ < 600\ninkey(.1)\nENDDO\n");
  console("../hold.prg >/dev/null 2>&1 & for i in $(seq 100); do [ -e held ] || sleep .05; done");
  ASSERT_TRUE(std::filesystem::exists(path("data/held")));
  for (const char* page : {"index.tnp", "edit.tnp", "export.prg"})
    EXPECT_TRUE(get(page).starts_with("Status: 503 ")) << page;
}

}  // namespace
}  // namespace tarnel::testing
