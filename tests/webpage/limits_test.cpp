// Pages that take too long or want too much, also in the middle of a change.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>

#include "core/file_ops.h"
#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

using Clock = std::chrono::steady_clock;

bool comes(const std::string& path) {
  const auto end = Clock::now() + std::chrono::seconds(20);
  while (!std::filesystem::exists(path) && Clock::now() < end) usleep(10000);
  return std::filesystem::exists(path);
}

class Limits : public ::testing::Test, public Site {};

TEST_F(Limits, APageThatTakesTooLongEnds) {
  configure("seconds = 1\nlog = stderr");
  for (const char* loop :
       {"DO WHILE .T.\nENDDO", "FOR i := 1 TO 2 STEP 0.0000000001\nNEXT", "inkey(20)", "sleep(20)",
        "dbcreate('t', {{'A', 'C', 1, 0}})\nUSE t SHARED\nAPPEND BLANK\nSELECT 0\n"
        "USE t SHARED ALIAS again\nautorlock(dbserver(), 100)",
        "x := {|| 1}\nDO WHILE .T.\neval(x)\nENDDO",
        "RETURN\nEXIT PROCEDURE last\nDO WHILE .T.\nENDDO"}) {
    const std::string page = run(std::string("?? 'a'\n") + loop + "\n?? 'on'");
    EXPECT_TRUE(holds(page, ": the page took too long</p>")) << loop;
    EXPECT_TRUE(page.starts_with(kHeader + "a")) << loop << page;
  }
}

// All of them wait at once: for locks that this process holds, for a pipe that nobody writes to, for programs, of which
// none is left.
TEST_F(Limits, APageThatWaitsForOthersEnds) {
  write("data/make.prg",
        "dbcreate('t', {{'NAME', 'C', 20, 0}})\nUSE t\nAPPEND BLANK\n"
        "APPEND BLANK\nAPPEND BLANK\nINDEX ON name TO t1\nUSE\ndbcreate('memos', {{'TEXT', 'M', "
        "10, 0}})\n"
        "dbcreate('other', {{'NAME', 'C', 20, 0}})\nRETURN 0\n");
  EXPECT_EQ(console("make.prg"), "");
  write("data/.tnsecret", "", 0600);
  mkfifo(path("data/pipe").c_str(), 0600);
  const std::string table = "USE t SHARED\n", order = "USE t SHARED INDEX t1\n",
                    memo = "USE memos SHARED\nAPPEND BLANK\n",
                    older = "ov_set('lock40comp', .T.)\n" + table;
  const std::pair<std::string, std::string> waits[] = {
      {"", table},
      {"", "tntoken()"},
      {table, "APPEND BLANK"},
      {table, "GO BOTTOM"},
      {table, "rlock()"},
      {"USE other SHARED\n", "flock()"},
      {table + "GO 3\n", "autorlock(dbserver(), 100)"},
      {table + "GO 2\nrlock()\n", "REPLACE name WITH 'x'\nCOMMIT"},
      {memo, "REPLACE text WITH 'x'\nCOMMIT"},
      {order, "SEEK 'a'"},
      {older, "GO BOTTOM"},
      {"", "fopen('pipe')"},
      {"", "COPY FILE pipe TO piped"},
      {"", "run('sleep 30 & echo $! > pid1; wait')"},
      {"", "exec({'sh', '-c', 'trap \"\" TERM; echo $$ > pid2; sleep 30 & wait; sleep 30'})"},
      {"", "SET ALTERNATE TO '|echo $$ > pid3; sleep 30'\nSET ALTERNATE TO"}};
  configure("seconds = 1\nlog = stderr\nallow_run = yes");
  std::vector<std::future<std::string>> pages;
  for (std::size_t i = 0; i < std::size(waits); ++i) {
    const std::string number = std::to_string(i);
    write("root/p" + number + ".prg", "PROCEDURE main\n" + waits[i].first + "memowrit('ready" +
                                          number + "', '')\nDO WHILE !file('go')\nsleep(0.01)\n" +
                                          "ENDDO\n?? 'a'\n" + waits[i].second + "\n?? 'on'\n");
    pages.push_back(
        std::async(std::launch::async, [this, number] { return get("p" + number + ".prg"); }));
  }
  for (std::size_t i = 0; i < std::size(waits); ++i)
    EXPECT_TRUE(comes(path("data/ready" + std::to_string(i)))) << waits[i].first;
  const struct {
    const char* file;
    std::int64_t start, length;
  } locks[] = {{"t.dbf", 0, 2},
               {"other.dbf", 0, 2},
               {"t.dbf", 0x3FFFFC01, 0x3FF},
               {"memos.dbt", 0, 4},
               {".tnsecret", 0, 0}};
  std::vector<int> held;
  for (const auto& [file, start, length] : locks) {
    held.push_back(open(path(std::string("data/") + file).c_str(), O_RDWR));
    EXPECT_TRUE(lock_range(held.back(), F_WRLCK, start, length)) << file;
  }
  write("data/go", "");
  const auto start = Clock::now();
  for (std::size_t i = 0; i < std::size(waits); ++i) {
    const std::string page = pages[i].get();
    EXPECT_TRUE(holds(page, "\n\na\n<h1>")) << waits[i].second;
    EXPECT_TRUE(holds(page, ": the page took too long</p>")) << waits[i].second;
  }
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
  for (const int fd : held) close(fd);
  for (const char* name : {"data/pid1", "data/pid2", "data/pid3"}) {
    std::string pid, status, word;
    std::ifstream(path(name)) >> pid;
    EXPECT_NE(pid, "");
    std::ifstream in("/proc/" + pid + "/stat");
    EXPECT_TRUE(!(in >> pid >> word >> status) || status == "Z") << name << word;
  }
  for (const char* name : {"t", "memos"})
    EXPECT_TRUE(holds(console(std::string("-e '.check ") + name + "'"), ".dbf: good"));
}

// Its tables are closed before anything is told, and what is told isn't waited for.
TEST_F(Limits, APageWhoseReaderDoesNotReadKeepsItsRecords) {
  write("root/p.prg",
        "PROCEDURE main\ndbcreate('t', {{'NAME', 'C', 20, 0}})\nUSE t EXCLUSIVE\n"
        "INDEX ON name TO t1\nFOR i := 1 TO 100\nAPPEND BLANK\n"
        "REPLACE name WITH str(i * 7 % 100)\nNEXT\nDO WHILE .T.\n?? replicate('x', 1000)\nENDDO\n");
  configure("seconds = 1\nlog = stderr");
  const auto start = Clock::now();
  std::FILE* const unread = popen(("exec 2>" + path("errors") + "; DOCUMENT_ROOT=" + path("root") +
                                   " SCRIPT_FILENAME=" + path("root/p.prg") + " " + program() +
                                   " </dev/null; touch " + path("ended"))
                                      .c_str(),
                                  "r");
  EXPECT_TRUE(comes(path("ended")));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
  pclose(unread);
  EXPECT_TRUE(holds(errors(), "p.prg:10: the page took too long"));
  const std::string check = console("-e '.check t' -e 'use t' -e '? lastrec()'");
  EXPECT_TRUE(holds(check, "t.dbf: good"));
  EXPECT_TRUE(holds(check, "100"));
}

TEST_F(Limits, APageThatWantsTooMuchMemoryEnds) {
  configure("memory = 16");
  for (const char* greedy :
       {"x := 'a'\nDO WHILE .T.\nx += x\nENDDO", "x := replicate('a', 20000000)",
        "a := {}\nDO WHILE .T.\naadd(a, {1, 2, 3, 4, 5, 6, 7, 8, 9, "
        "'abcdefghijklmnopqrstuvwxyz'})\nENDDO",
        "x := array(65000, 100)"}) {
    const std::string page = run(std::string(greedy) + "\n?? 'on'");
    EXPECT_TRUE(holds(page, "Status: 500")) << greedy;
    EXPECT_TRUE(holds(page, ": no memory available</p>")) << greedy;
  }
  write("root/p.prg", "PROCEDURE main\nmain()\n");
  EXPECT_TRUE(holds(get("p.prg"), "<p>p.prg:2: ")) << "a recursion without end";
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
    EXPECT_TRUE(holds(page, ": the page took too long</p>")) << work;
    const std::string check = console("-e '.check t'");
    EXPECT_TRUE(check.find("t.dbf: good") != std::string::npos ||
                check.find("lacks changes of the table") != std::string::npos)
        << work << check;
    EXPECT_FALSE(holds(check, "t.dbf: record")) << work;
  }
}

}  // namespace
}  // namespace tarnel::testing
