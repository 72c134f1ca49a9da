// Requests, through the web server and by hand.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/e2e/web_server.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

std::string stored(const char* name) {
  std::ifstream file(std::string(TARNEL_SOURCE_DIR "/tests/e2e/") + name);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

class ThroughTheServer : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { server = new WebServer; }
  static void TearDownTestSuite() { delete server; }
  void SetUp() override { ASSERT_TRUE(server->running()) << "lighttpd did not start"; }
  static WebServer* server;
};
WebServer* ThroughTheServer::server = nullptr;

TEST_F(ThroughTheServer, TheRootLeadsToTheIndexPage) {
  const Response root = server->request("GET", "/");
  EXPECT_EQ(root.status, 301);
  EXPECT_TRUE(holds(root.headers, "/cgi-bin/example0"));
  const Response index = server->request("GET", "/cgi-bin/example0");
  EXPECT_EQ(index.status, 200);
  EXPECT_TRUE(holds(index.headers, "text/html"));
  EXPECT_EQ(index.body, stored("index.html"));
}

TEST_F(ThroughTheServer, UnknownPagesAnswerTheIndexPage) {
  for (const char* path : {"/cgi-bin/example0/nosuch", "/cgi-bin/example0?EXAMPLE1",
                           "/cgi-bin/example0/EXAMPLE1", "/cgi-bin/example0?example0"})
    EXPECT_EQ(server->request("GET", path).body, stored("index.html")) << path;
}

TEST_F(ThroughTheServer, HeadSendsNoBodyAndALargePostIsRead) {
  EXPECT_EQ(server->request("HEAD", "/cgi-bin/example0").body, "");
  const std::string body = "FIELD=" + std::string(100 * 1024, 'x') + "&B=2";
  const Response posted = server->request("POST", "/cgi-bin/example0", body);
  EXPECT_EQ(posted.status, 200);
  EXPECT_EQ(posted.body, stored("index.html"));
}

class EachServer : public ::testing::TestWithParam<Server> {};

TEST_P(EachServer, AnswersPagesAndFilesByItsSampleConfiguration) {
  const WebServer each(TARNEL_PROGRAM, GetParam());
  ASSERT_TRUE(each.running()) << "the server did not start";
  EXPECT_EQ(each.request("GET", "/cgi-bin/example0").body, stored("index.html"));
  const Response form = each.request("POST", "/cgi-bin/example0/example1", "NAME=100%25+A%26B");
  EXPECT_TRUE(holds(form.body, "NAME: \"100% A&B\"<BR>"));
  EXPECT_EQ(each.request("GET", "/test.html").status, 200);
  EXPECT_EQ(each.request("GET", "/").status / 100, 3);
}

TEST_P(EachServer, LetsNoScriptRunNoTableBeFetchedAndNoBodyBeEndless) {
  const WebServer each(TARNEL_PROGRAM, GetParam());
  ASSERT_TRUE(each.running()) << "the server did not start";
  for (const char* path : {"/cgi-bin/example0", "/cgi-bin/example0/example1", "/test.html"}) {
    const std::string headers = each.request("GET", path).headers;
    for (const char* header :
         {"text/html; charset=utf-8\r\n", "Content-Security-Policy: default-src",
          " script-src 'none';", "X-Content-Type-Options: nosniff"})
      EXPECT_TRUE(holds(headers + "\r\n", header)) << path << headers;
  }
  for (const char* path : {"/user.dbf", "/user.DBT", "/user1.idx"})
    EXPECT_EQ(each.request("GET", path).status, 403) << path;
  EXPECT_GE(each.request("GET", "/user.dbf/x").status, 403) << "a path behind the table";
  EXPECT_EQ(each.request("POST", "/cgi-bin/example0", "a=1", 32U << 20U).status, 413);
}
INSTANTIATE_TEST_SUITE_P(Samples, EachServer,
                         ::testing::Values(Server::kLighttpd, Server::kApache, Server::kNginx));

TEST(FailingPage, AnswersTheErrorLinesAndNothingOfThePage) {
  const WebServer server(FAILING_PROGRAM);
  ASSERT_TRUE(server.running()) << "lighttpd did not start";
  const Response page = server.request("GET", "/cgi-bin/example0");
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.body,
            "\nAn error has occurred.<BR>\n\nSubsystem:   BASE<BR>\n\nSubcode:     0<BR>\n"
            "\nDescription: data type mismatch;strings can only be concatenated to strings<BR>\n"
            "\nCall stack:<BR>\n\n [0] TARNELMAIN (9)<BR>\n");
}

std::string index_answer() {
  return "Content-type: text/html\n\n" + stored("index.html");
}

TEST(ByHand, EveryBodyAndLengthGivesAPage) {
  const std::string many_fields = [] {
    std::string all;
    for (int i = 0; i < 100000; ++i) all += "a=1&";
    return all;
  }();
  const struct {
    const char* length;
    std::string body;
  } cases[] = {{"", ""},
               {"abc", "a=1"},
               {"-5", "a=1"},
               {"99999999999999999999", "a=1&b=2"},
               {"3", "a=1&b=2"},
               {"10", "a=1&"},
               {"4", "a=%4"},
               {"2", "a%"},
               {"12", std::string("a=\0b&%00=c&&", 12)},
               {"400000", many_fields},
               {"52428802", "a=" + std::string(50U << 20U, 'y')}};
  for (const auto& c : cases) {
    int status = -1;
    const std::string answer = run_program(
        "QUERY_STRING=example0 CONTENT_LENGTH='" + std::string(c.length) + "'", c.body, &status);
    EXPECT_EQ(status, 0) << c.length;
    EXPECT_EQ(answer, index_answer()) << c.length;
  }
}

// The log's socket or the tables must not be taken for the body, nor a signal lose the page.
TEST(ByHand, ABodyThatCannotComeOrNeverComesHangsNothing) {
  const struct {
    const char* before;
    int status;
    std::string answer;
  } cases[] = {
      {"exec <&-", 0, index_answer()},
      {"exec <&- >&- 2>&-", 0, ""},
      {"mkfifo $$.fifo; exec 3<>$$.fifo <$$.fifo; rm $$.fifo; (sleep 0.3; kill -TERM $$) >&- &",
       143, ""},
      {"mkfifo $$.fifo; exec 3<>$$.fifo <$$.fifo; rm $$.fifo;"
       "(sleep 0.2; kill -INT $$; sleep 0.2; printf '&&&&' >&3) >&- &",
       0, index_answer()},
  };
  for (const auto& c : cases) {
    int status = -1;
    EXPECT_EQ(run_program("CONTENT_LENGTH=4", "", &status, TARNEL_PROGRAM, c.before), c.answer)
        << c.before;
    EXPECT_EQ(status, c.status) << c.before;
  }
}

TEST(ByHand, TheTerminalIsDumbAndDescribedWhereTheEnvironmentSays) {
  int status = -1;
  const std::string page =
      run_program("PATH_INFO=/example1 TERM=xterm OVTERM=vt100 OVTERMINFO=/types", "", &status);
  EXPECT_TRUE(holds(page, "\nTERM: \"dumb\"<BR>"));
  EXPECT_TRUE(holds(page, "\nTERMINFO: \"/types\"<BR>"));
}

TEST(ByHand, TheQueryStringWinsOverThePath) {
  int status = -1;
  EXPECT_EQ(run_program("QUERY_STRING=nosuch PATH_INFO=/example0/", "", &status), index_answer());
  EXPECT_EQ(run_program("", "", &status), index_answer());
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tarnel::testing
