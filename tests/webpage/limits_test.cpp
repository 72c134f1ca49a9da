// Pages that take too long or want too much, also in the middle of a change.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

const std::string kHeader = "Content-type: text/html\n\n";

class Limits : public ::testing::Test, public Site {
 protected:
  std::string run(const std::string& statements) {
    write("root/p.prg", "PROCEDURE main(aEnv, aForm, oState)\n" + statements + "\n");
    return get("p.prg");
  }
  // What the console shows for lines, in the folder of the tables.
  std::string console(const std::string& arguments) const {
    std::string shown;
    std::FILE* const out = popen(
        ("cd " + path("data") + " && " TARNEL_CONSOLE " " + arguments + " 2>&1").c_str(), "r");
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, out)) > 0;)
      shown.append(buffer, n);
    pclose(out);
    return shown;
  }
};

TEST_F(Limits, APageThatTakesTooLongEnds) {
  configure("seconds = 1\nlog = stderr");
  for (const char* loop :
       {"DO WHILE .T.\nENDDO", "FOR i := 1 TO 2 STEP 0.0000000001\nNEXT", "inkey(20)", "sleep(20)",
        "dbcreate('t', {{'A', 'C', 1, 0}})\nUSE t SHARED\nAPPEND BLANK\nSELECT 0\n"
        "USE t SHARED ALIAS again\nautorlock(dbserver(), 100)",
        "x := {|| 1}\nDO WHILE .T.\neval(x)\nENDDO",
        "RETURN\nEXIT PROCEDURE last\nDO WHILE .T.\nENDDO"}) {
    const std::string page = run(std::string("?? 'a'\n") + loop + "\n?? 'on'");
    EXPECT_NE(page.find(": the page took too long</p>"), std::string::npos) << loop << page;
    EXPECT_TRUE(page.starts_with(kHeader + "a")) << loop << page;
  }
}

TEST_F(Limits, APageThatWantsTooMuchMemoryEnds) {
  configure("memory = 16");
  for (const char* greedy :
       {"x := 'a'\nDO WHILE .T.\nx += x\nENDDO", "x := replicate('a', 20000000)",
        "a := {}\nDO WHILE .T.\naadd(a, {1, 2, 3, 4, 5, 6, 7, 8, 9, "
        "'abcdefghijklmnopqrstuvwxyz'})\nENDDO",
        "x := array(65000, 100)"}) {
    const std::string page = run(std::string(greedy) + "\n?? 'on'");
    EXPECT_NE(page.find("Status: 500"), std::string::npos) << greedy << page;
    EXPECT_NE(page.find(": no memory available</p>"), std::string::npos) << greedy << page;
  }
  write("root/p.prg", "PROCEDURE main\nmain()\n");
  EXPECT_NE(get("p.prg").find("<p>p.prg:2: "), std::string::npos) << "a recursion without end";
}

// Records are whole; an order that lacks changes says so, in its file and in the log.
TEST_F(Limits, AChangeThatTheLimitMeetsIsWholeOrTold) {
  write("data/make.prg",
        "PROCEDURE main\ndbcreate('t', {{'NAME', 'C', 20, 0}, {'N', 'N', 8, 0}})\n"
        "USE t EXCLUSIVE\nINDEX ON name TO t1\nFOR i := 1 TO 20000\nAPPEND BLANK\n"
        "REPLACE name WITH str(i * 7919 % 30011, 8), n WITH i\nNEXT\nRETURN 0\n");
  EXPECT_EQ(console("make.prg"), "");
  std::filesystem::copy(path("data"), path("made"), std::filesystem::copy_options::recursive);
  configure("seconds = 1\nlog = stderr");
  const std::string shared = "USE t SHARED INDEX t1\n", alone = "USE t EXCLUSIVE INDEX t1\n";
  for (const std::string& work :
       {shared + "@APPEND BLANK\nREPLACE name WITH str(recno() * 7, 8)\n", alone + "@PACK\n",
        alone + "@REPLACE ALL name WITH str(n * 5 % 100000, 8)\n", alone + "@REINDEX\n",
        alone + "@SORT TO t2 ON name\n", alone + "@COPY TO t2\n", shared + "@csv := areacsv()\n",
        shared + "@INDEX ON name TO t2\n", shared + "@LOCATE FOR n < 0\n"}) {
    std::filesystem::remove_all(path("data"));
    std::filesystem::copy(path("made"), path("data"), std::filesystem::copy_options::recursive);
    std::string loop = work;
    loop.replace(loop.find('@'), 1, "DO WHILE .T.\n");
    const auto start = std::chrono::steady_clock::now();
    const std::string page = run(loop + "ENDDO\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(6)) << work;
    EXPECT_NE(page.find(": the page took too long</p>"), std::string::npos) << work << page;
    const std::string check = console("-e '.check t'");
    EXPECT_TRUE(check.find("t.dbf: good") != std::string::npos ||
                check.find("lacks changes of the table") != std::string::npos)
        << work << check;
    EXPECT_EQ(check.find("t.dbf: record"), std::string::npos) << work << check;
  }
}

}  // namespace
}  // namespace tarnel::testing
