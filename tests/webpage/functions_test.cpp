// What pages call, and the limits that an administrator sets.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

class PageFunctions : public ::testing::Test, public Site {};

TEST_F(PageFunctions, FieldsAreFoundWithoutRegardToCase) {
  const std::string form = "Name=a&tag=1&TAG=2&tag=3&=x&none";
  const std::pair<std::string, std::string> cases[] = {
      {"tnform(aForm, 'NAME')", "a"},
      {"tnform(aForm, 'tag')[3] + ltrim(str(len(tnform(aForm, 'Tag'))))", "33"},
      {"'[' + tnform(aForm, 'other') + ']' + tnform(aForm, 'other', 'd')", "[]d"},
      {"valtype(tnform(aForm, 'other', 5)) + tnform(aForm, '')", "Nx"},
      {"tnform({1, {}, {2, 3}, {'a', 'b'}}, 'a')", "b"},
      {"tnquery('q') + tnquery('none', 'd')", "a b&d"},
      {"tnmethod()", "POST"},
      {"tncookie('a') + tncookie('A') + tncookie('b c')", "1d"}};
  for (const auto& [expression, value] : cases)
    EXPECT_EQ(run("?? " + expression,
                  "REQUEST_METHOD=post 'QUERY_STRING=Q=a+b%26' 'HTTP_COOKIE=a=1; b%20c=d'", form),
              kHeader + value)
        << expression;
}

TEST_F(PageFunctions, TheHeaderIsWhatThePageSaysAndNothingElse) {
  const std::pair<std::string, std::string> cases[] = {
      {"tnheader('X-A', '1')\ntnheader('x-a', '2')", kHeader.substr(0, 24) + "X-A: 2\n\n"},
      {"tnheader('content-TYPE', 'text/csv; charset=utf-8')\n?? 'a'",
       "Content-type: text/csv; charset=utf-8\n\na"},
      {"tnstatus(404)\n?? 'no'", "Status: 404 Not Found\n" + kHeader + "no"},
      {"tnstatus(299, 'Some words')", "Status: 299 Some words\n" + kHeader},
      {"tnredirect('/x?a=1')",
       "Status: 303 See Other\nContent-type: text/html\nLocation: /x?a=1\n\n"},
      {"tncookie('a', 'b;\r')\ntncookie('c', 'd', 1)",
       "Content-type: text/html\nSet-Cookie: a=b%3B%0D; Path=/; HttpOnly; SameSite=Lax\n"
       "Set-Cookie: c=d; Path=/; Max-Age=86400; HttpOnly; SameSite=Lax\n\n"}};
  for (const auto& [statements, answer] : cases) EXPECT_EQ(run(statements), answer) << statements;
  EXPECT_TRUE(holds(run("tncookie('a', 'b')", "HTTPS=on"), "; Secure\n"));
  for (const char* refused : {"tnheader('X:', '1')",
                              "tnheader('', '1')",
                              "tnheader('X-A', 'a' + chr(10) + 'Y: 1')",
                              "tnheader('X-A', 'a' + chr(13))",
                              "tnheader('X-A', chr(0))",
                              "tnheader('X-A', chr(127))",
                              "tnheader('Status', '200')",
                              "tnheader('CONTENT-LENGTH', '1')",
                              "tnstatus(99)",
                              "tnstatus(600)",
                              "tnstatus(200.5)",
                              "tnstatus(200, 'a' + chr(10))",
                              "tnredirect('')",
                              "tnredirect('/' + chr(10) + 'Y: 1')",
                              "tnredirect('/', 200)",
                              "qqout('x')\ntnheader('X-A', '1')",
                              "qqout('x')\ntnstatus(404)",
                              "qqout('x')\n&('tntoken()')",
                              "qqout('x')\ntncookie('a', 'b')",
                              "qqout('x')\ntnredirect('/')"}) {
    const std::string page = run(std::string(refused) + "\n?? 'on'");
    EXPECT_TRUE(holds(page, "<p>p.prg:")) << refused;
    EXPECT_TRUE(holds(page, ": Illegal value</p>")) << refused;
    EXPECT_FALSE(holds(page, "Y: 1")) << refused;
    EXPECT_FALSE(holds(page, "on\n")) << refused;
  }
}

TEST_F(PageFunctions, OnlyTheVisitorsOwnTokenIsGood) {
  const std::string ask = "?? ''\n?? tntoken()", check = "?? tncheck(aForm)";
  const std::string page = run(ask), mark = "Set-Cookie: tnvisitor=";
  const std::string cookie = page.substr(page.find(mark) + mark.size(), 32),
                    token = page.substr(page.size() - 64);
  struct stat secret;
  ASSERT_EQ(stat(path("data/.tnsecret").c_str(), &secret), 0);
  EXPECT_EQ(secret.st_mode & 07777, 0600U);
  EXPECT_EQ(secret.st_size, 64);
  const std::string mine = "HTTP_COOKIE=tnvisitor=" + cookie;
  EXPECT_EQ(run(ask, mine), kHeader + token) << "the same visitor has the same one";
  EXPECT_EQ(run(check, mine, "tntoken=" + token), kHeader + ".T.");
  const std::pair<std::string, std::string> refused[] = {
      {mine, "tntoken=" + std::string(64, '0')},
      {mine, "tntoken="},
      {mine, ""},
      {mine, "tntoken=" + token + "&tntoken=" + token},
      {"", "tntoken=" + token},
      {"HTTP_COOKIE=tnvisitor=" + std::string(32, 'a'), "tntoken=" + token},
      {"HTTP_COOKIE=tnvisitor=", "tntoken=" + token}};
  for (const auto& [environment, form] : refused)
    EXPECT_EQ(run(check, environment, form), kHeader + ".F.") << environment << form;
  chmod(path("data/.tnsecret").c_str(), 0644);
  EXPECT_TRUE(holds(run(ask), "file write error")) << "others know the secret";
}

TEST_F(PageFunctions, BodiesThatAreNoFormsAreRefused) {
  EXPECT_TRUE(run("?? 1", "'CONTENT_TYPE=Multipart/form-data; boundary=x'", "x")
                  .starts_with("Status: 415 Unsupported Media Type\n"));
  configure("body = 1");
  EXPECT_TRUE(run("?? 1", "CONTENT_LENGTH=1048577").starts_with("Status: 413 Content Too Large\n"));
  EXPECT_EQ(run("?? ltrim(str(len(aForm[1][2])))", "", "a=" + std::string(1048574, 'x')),
            kHeader + "1048574");
}

TEST_F(PageFunctions, NothingIsReadFromTheConsoleAndNoProgramStarted) {
  EXPECT_EQ(run("ACCEPT 'a?' TO x\nWAIT 'w?' TO y\nINPUT TO z\n?? '[' + x + y + z + ']', inkey(0)",
                "", "__quit()"),
            kHeader + "\na?\nw?\n[]          0");
  EXPECT_TRUE(holds(run("@ 1, 1 SAY 'x'"), "<p>p.prg:2: Illegal value</p>"));
  for (const char* starts : {"RUN echo ran", "exec({'echo', 'ran'})",
                             "SET ALTERNATE TO '|cat >ran'", "set(24, '|echo ran >ran')"}) {
    const std::string page = run(std::string(starts) + "\n?? 'on'");
    EXPECT_TRUE(holds(page, "<p>p.prg:2: command or filename not found</p>"));
    EXPECT_FALSE(std::filesystem::exists(path("data/ran")));
  }
  configure("allow_run = yes");
  EXPECT_EQ(run("RUN echo ran"), kHeader + "ran\n");
}

TEST_F(PageFunctions, TablesLieInTheFolderOfTheConfiguration) {
  const std::string make = "dbcreate('t', {{'A', 'C', 1, 0}})\n";
  EXPECT_EQ(run(make), kHeader);
  EXPECT_TRUE(std::filesystem::exists(path("data/t.dbf")));
  write("tables/keep", "");
  configure("data = ../tables # beside the documents\n");
  EXPECT_EQ(run(make), kHeader);
  EXPECT_TRUE(std::filesystem::exists(path("tables/t.dbf")));
  configure("data = " + path("nowhere"));
  EXPECT_EQ(run("?? 1"), kHeader + "         1") << "a page without tables";
  EXPECT_TRUE(run(make).starts_with("Status: 500")) << "a table has no place";
  for (const char* among : {"data = .", "data = sub", "data = .."}) {
    write("root/sub/keep", "");
    configure(among);
    EXPECT_TRUE(run(make).starts_with("Status: 500")) << among;
  }
  EXPECT_FALSE(std::filesystem::exists(path("root/t.dbf")));
}

TEST_F(PageFunctions, AConfigurationThatIsNotRightServesNothing) {
  for (const char* lines : {"datas = x", "seconds = x", "seconds = -1", "body = 33", "allow_run",
                            "show_errors = 1", "memory = 1 2", "log = local8"}) {
    configure(std::string("# a comment\n\n") + lines);
    const std::string page = run("?? 'on'");
    EXPECT_TRUE(page.starts_with("Status: 500 Internal Server Error\n")) << lines << page;
    EXPECT_FALSE(holds(page, "tnpage.conf"));
  }
  configure(std::string(70000, '#') + "\ndatas = x");
  EXPECT_TRUE(run("?? 'on'").starts_with("Status: 500")) << "it isn't read whole";
  std::filesystem::remove(path("bin/tnpage.conf"));
  std::filesystem::create_symlink("nowhere", path("bin/tnpage.conf"));
  EXPECT_TRUE(run("?? 'on'").starts_with("Status: 500")) << "a link that leads nowhere";
  std::filesystem::remove(path("bin/tnpage.conf"));
  write("bin/tnpage.conf", "", 0666);
  EXPECT_TRUE(run("?? 'on'").starts_with("Status: 500")) << "others may write it";
}

TEST_F(PageFunctions, TheLogHasAllAndThePageOnlyWhereItMay) {
  configure("log = stderr");
  std::string page = run("cSecret := 1\nUSE nosuch");
  EXPECT_FALSE(holds(page, "nosuch"));
  EXPECT_TRUE(holds(errors(), "tnpage: " + path("root/p.prg") + ":3: "));
  EXPECT_TRUE(holds(errors(), "nosuch"));
  run("throwerror('x', 1, 2, chr(27) + '[2J' + chr(10) + 'line')");
  EXPECT_TRUE(holds(errors(), ": ?[2J\ntnpage: line\n"));
  configure("log = stderr\nshow_errors = yes");
  page = run("cSecret := ) '<b>'");
  EXPECT_TRUE(holds(page, "<pre>" + path("root/p.prg") + ":2:12: error: "));
  EXPECT_TRUE(holds(page, "cSecret := ) &#39;&lt;b&gt;&#39;\n           ^\n"));
}

}  // namespace
}  // namespace tarnel::testing
