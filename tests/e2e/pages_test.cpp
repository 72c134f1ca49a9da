// The pages on the demo tables, through the web server.
#include <gtest/gtest.h>

#include <filesystem>
#include <future>

#include "core/checks.h"
#include "tests/e2e/web_server.h"
#include "tests/support/log_sink.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

class Pages : public ::testing::Test {
 protected:
  Pages() : server_(fresh_tables()) {}

  // Fresh tables for each test, open to whatever account the server runs under.
  static std::string fresh_tables() {
    std::filesystem::remove_all(PAGES_TABLES);
    std::filesystem::create_directories(PAGES_TABLES);
    for (const auto& entry : std::filesystem::directory_iterator(MADE_TABLES))
      std::filesystem::copy(entry, PAGES_TABLES);
    return PAGES_PROGRAM;
  }
  std::string get(int page) { return server_.request("GET", link(page)).body; }
  std::string post(int page, const std::string& form) {
    return server_.request("POST", link(page), form).body;
  }
  static std::string link(int page) { return "/cgi-bin/example0/example" + std::to_string(page); }

  LogSink log_{PAGES_LOG};
  const WebServer server_;
};

constexpr const char* kFoundPage = "<HTML>\n<BODY>\nGreta  Lind<BR>\n</BODY>\n</HTML>\n";
constexpr const char* kNotFoundPage =
    "<HTML>\n<BODY>\n\nSorry, your account is not in our database...yet!  "
    "\nBut as long as you're here, why not <A HREF=\"#example2\">register</A>\n"
    "\n to take advantage of these <EM>great</EM> offers?</BODY>\n</HTML>\n";

std::string registration(const std::string& number, const std::string& name) {
  return "<HTML>\n<TITLE>Doro's Clip-O-Rama Registration</TITLE><BR>\n<BODY>\n"
         "Thank you for registering at Doro's Clip-O-Rama!<BR>\n"
         "Current directory is " PAGES_TABLES
         "<BR>\n"
         "You have been registered as user <EM>" +
         number + "</EM>.<BR>\nYour user information is:<BR>\nName: " + name +
         "<BR>\nThank you for registering at Doro's Clipper Web-O-Rama!<BR>\n</BODY>\n</HTML>\n";
}

TEST_F(Pages, RegistrationGivesTheNextNumberAndLookUpFindsIt) {
  EXPECT_EQ(post(3, "ACCOUNT=201"), kNotFoundPage);
  EXPECT_EQ(post(2, "FIRSTNAME=Greta&LASTNAME=+Lind+&lastname=ignored"),
            registration("     201", "Greta  Lind"));
  EXPECT_EQ(post(3, "ACCOUNT=++201"), kFoundPage);
  EXPECT_EQ(get(2), registration("     202", "  "));
  EXPECT_EQ(post(3, "account=201"), kNotFoundPage);
  EXPECT_EQ(post(3, "ACCOUNT=201201201201"), kNotFoundPage);
}

TEST_F(Pages, ThePicklistNumbersTheLinksInKeyOrder) {
  const std::string page = get(4);
  EXPECT_EQ(
      page.find("<HTML>\n<BODY>\n\nHere are the other fantastic Internet resources we offer!  \n"
                "Why not try one?\n<BR>  1 <A HREF=\"https://example.com/birds\">"
                "Birds seen from the harbour wall</A>\n\n<BR>  2 <A HREF="),
      0U)
      << page;
  EXPECT_TRUE(holds(page, "\n<BR> 25 <A HREF="));
  EXPECT_FALSE(holds(page, "\n<BR> 26 "));
  const std::string end =
      "\n<BR>\n<BR>\nOr go back to <A HREF=/test.html>Doro's Web-O-Rama!</A></BODY>\n</HTML>\n";
  EXPECT_EQ(page.substr(page.size() - end.size()), end);
}

TEST_F(Pages, TheBrowserShowsEveryRecordInRecordOrder) {
  const std::string page = get(6);
  EXPECT_EQ(
      page.find("<HTML>\n<BODY>\n\n<table>\n<caption>Example table-browser output</caption>\n"
                "<th>USERID</th>\n<th>FIRSTNAME</th>\n<th>MIDDLENAME</th>\n<th>LASTNAME</th>\n"
                "<th>BALANCE</th>\n<tr>\n<td>1</td>"),
      0U)
      << page.substr(0, 400);
  int rows = 0;
  for (std::size_t at = 0; (at = page.find("<tr>\n<td>", at)) != std::string::npos; ++at) ++rows;
  EXPECT_EQ(rows, 200);
  EXPECT_TRUE(holds(page, "\n<tr>END OF DATA</tr>\n</table></BODY>\n</HTML>\n"));
}

TEST_F(Pages, TheBrowserShowsEveryTypeOfField) {
  ASSERT_EQ(
      std::system("cd " PAGES_TABLES " && rm user.* && " TARNEL_CONSOLE
                  " -e \"dbcreate('user', {{'c', 'C', 5, 0}, {'n', 'N', 6, 2}, {'l', 'L', 1, 0},"
                  " {'d', 'D', 8, 0}, {'m', 'M', 10, 0}})\" -e \"dbusearea(.f., , 'user')\""
                  " -e 'dbappend()' -e 'c := \"<b>\"' -e 'n := -1.5' -e 'l := .t.'"
                  " -e 'd := {12/31/99}' -e 'm := \"long\"' > /dev/null"),
      0);
  EXPECT_TRUE(holds(get(6),
                    "<tr>\n<td><b></td>\n<td>-1.50</td>\n<td>y</td>\n<td>12/31/99</td>\n"
                    "<td>[type M?]</td>\n</tr>"));
}

TEST_F(Pages, AnOrderThatLacksAChangeIsLoggedOnceARequest) {
  EXPECT_EQ(get(3), kNotFoundPage);
  EXPECT_EQ(log_.lines(LOG_WARNING), "");
  ASSERT_EQ(std::system("cd " PAGES_TABLES " && " TARNEL_CONSOLE
                        " -e \"dbusearea(.f., , 'user', , .t.)\" -e 'rlock()' -e 'balance := 1'"
                        " > /dev/null"),
            0);
  EXPECT_TRUE(holds(get(3), "Description: index may be corrupted in area USER<BR>"));
  const std::string lines = log_.lines(LOG_WARNING),
                    warning = "tarnel: the order " PAGES_TABLES
                              "/user1.idx lacks changes of its table " PAGES_TABLES "/user.dbf\n";
  EXPECT_TRUE(lines.starts_with(warning + "tarnel: An error has occurred.\n")) << lines;
  EXPECT_EQ(lines.find(warning, 1), std::string::npos) << lines;
}

TEST_F(Pages, TheLogOfAFormHasAnEndAndNoControlBytes) {
  std::string form = "a=%1b[2J%0A<7>";
  for (int i = 1; i < 1000; ++i) form += "&a=1";
  post(3, form);
  const std::string lines = log_.lines(LOG_DEBUG);
  EXPECT_TRUE(holds(lines, "tarnel: form variable \"a\" is \"\\x1B[2J\\x0A<7>\"\n"));
  std::size_t logged = 0;
  for (std::size_t at = 0; (at = lines.find("form variable \"a\"", at)) != std::string::npos; ++at)
    ++logged;
  EXPECT_EQ(logged, 100U);
  EXPECT_TRUE(holds(lines, "tarnel: 900 more form variables aren't logged\n"));
}

TEST_F(Pages, ThePlannerEndsInTheErrorPageAtTheOrderThatNobodyBuilds) {
  const std::string page = get(5);
  EXPECT_EQ(page.find("<HTML>\n<TITLE>Waypath route planner[tm]</TITLE>\n<BODY>\n"
                      "<h1>Waypath Route Planner[tm]</h1>\nCurrent state: 0<BR>\n"
                      "\nAn error has occurred.<BR>\n"),
            0U)
      << page;
  EXPECT_TRUE(holds(page, "stop3"));
  EXPECT_TRUE(holds(page, " [0] STATE0 (44)<BR>"));
  EXPECT_FALSE(holds(page, "</HTML>"));
}

// Registrations at once: one that finds the table taken shows the error page, every other has its
// record.
TEST_F(Pages, EveryRegistrationThatIsConfirmedHasItsRecord) {
  constexpr int kBrowsers = 8, kEach = 50;
  std::vector<std::future<std::string>> browsers;
  for (int b = 0; b < kBrowsers; ++b)
    browsers.push_back(std::async(std::launch::async, [this, b] {
      std::string lines;
      for (int i = 0; i < kEach; ++i) {
        const std::string name = "B" + std::to_string(b) + "N" + std::to_string(i);
        const std::string page = post(2, "FIRSTNAME=" + name);
        const bool confirmed = page.find("You have been registered") != std::string::npos;
        const bool refused = page.find("An error has occurred.") != std::string::npos;
        lines += (confirmed ? "c" : refused ? "r" : "?") + name + "\n";
      }
      return lines;
    }));
  std::string reports;
  for (auto& browser : browsers) reports += browser.get();
  const std::string table = get(6);
  int confirmed = 0, lines = 0;
  for (std::size_t at = 0; at < reports.size(); at = reports.find('\n', at) + 1, ++lines) {
    const std::string name = reports.substr(at + 1, reports.find('\n', at) - at - 1);
    EXPECT_NE(reports[at], '?') << name;
    if (reports[at] != 'c') continue;
    ++confirmed;
    EXPECT_TRUE(holds(table, "<td>" + name + "</td>")) << name;
  }
  EXPECT_EQ(lines, kBrowsers * kEach);
  EXPECT_GT(confirmed, 0);
}

// Whatever write fails, the request ends with one report and claims nothing behind it.
TEST_F(Pages, AFullDiskGivesOneReportAndNoRegistration) {
  int reports = 0, registered = 0;
  // Of 512 bytes, to which files may grow; an order of three keys a page has more of them.
  constexpr int kMostBlocks = kChecked ? 256 : 64, kStep = kMostBlocks / 64;
  for (int blocks = 0; blocks <= kMostBlocks; blocks += kStep) {
    fresh_tables();
    int status = -1;
    const std::string page =
        run_program("PATH_INFO=/example2 CONTENT_LENGTH=13", "FIRSTNAME=Ada", &status,
                    PAGES_PROGRAM, "ulimit -f " + std::to_string(blocks));
    EXPECT_EQ(status, 0) << blocks;
    const bool confirmed = page.find("You have been registered") != std::string::npos;
    const std::string table = run_program("PATH_INFO=/example6", "", &status, PAGES_PROGRAM);
    EXPECT_EQ(table.find("<td>Ada</td>") != std::string::npos, confirmed) << blocks;
    const std::size_t report = page.find("An error has occurred.");
    EXPECT_EQ(report == std::string::npos, confirmed) << blocks << page;
    EXPECT_EQ(page.find("An error has occurred.", report + 1), std::string::npos) << page;
    EXPECT_EQ(page.find("</HTML>") != std::string::npos, confirmed) << page;
    (confirmed ? registered : reports) += 1;
  }
  EXPECT_GT(reports, 0);
  EXPECT_GT(registered, 0);
}

TEST_F(Pages, ABrowserFollowsTheLinksAndSubmitsTheForms) {
  const std::string command = "cd " BROWSER_MODULES " && cp " TARNEL_SOURCE_DIR
                              "/tests/browser/*.mjs . && node pages.mjs http://127.0.0.1:" +
                              std::to_string(server_.port());
  EXPECT_EQ(std::system(command.c_str()), 0);
}

}  // namespace
}  // namespace tarnel::testing
