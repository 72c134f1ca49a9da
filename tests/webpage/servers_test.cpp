// Pages behind each web server by its sample configuration, and the example application in a browser.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "tests/e2e/web_server.h"
#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

class Servers : public ::testing::TestWithParam<Server>, public Site {
 protected:
  // Whatever account a server runs pages under, it may write the tables.
  void SetUp() override {
    for (const char* folder : {"", "data"}) chmod(path(folder).c_str(), 0777);
  }
};

// As a browser writes it.
std::string address_of(const std::string& name) {
  std::string address = "/";
  for (const char c : name) address += c == '#' ? "%23" : c == ' ' ? "%20" : std::string(1, c);
  return address;
}

TEST_P(Servers, RunPagesAndGiveOutNothingElseOfThem) {
  const std::string secret = "<% cSecret := 1 %>";
  const std::vector<std::string> hidden = {"t.dbf",          "t.DBT",          "t.idx",
                                           "t.dbf.bak",      "t.mem",          "tnpage.conf",
                                           "inc.ch",         "inc.CH~",        "index.tnp~",
                                           "index.tnp.bak",  ".index.tnp.swp", "big.TNP",
                                           "big.Prg",        ".htaccess.prg~", "#index.tnp#",
                                           "index.tnp_old",  "index.tnp-",     "index.tnp (copy)",
                                           "index.tnpx",     ".hidden",        ".git/config",
                                           "sub/.env/x.html"};
  write("root/index.tnp", "index <%= 1 + 1 %>");
  write("root/sub/form.prg",
        "PROCEDURE main(aEnv, aForm)\n?? tnmethod(), tnform(aForm, 'a'), tnquery('q'), "
        "tncookie('c')\n"
        "? tnlookup(aEnv, 'DOCUMENT_ROOT')");
  for (const std::string& name : hidden) write("root/" + name, secret);
  for (const char* name : {"data/x.prg", "rootless/x.prg"}) write(name, secret);
  for (const char* name : {"plain.html", "a.chart.html", ".well-known/x.html"})
    write(std::string("root/") + name, "plain");
  write("root/open.tnp", secret, 0666);
  const WebServer server(program(), GetParam(), path("root"));
  ASSERT_TRUE(server.running()) << "the server did not start";
  EXPECT_EQ(server.request("GET", "/").body, "index 2");
  for (const char* given : {"/plain.html", "/a.chart.html", "/.well-known/x.html"})
    EXPECT_EQ(server.request("GET", given).body, "plain") << given;
  const Response form =
      server.request("POST", "/sub/form.prg?q=%41", "a=b+c", 0, "Cookie: c=d\r\n");
  EXPECT_EQ(form.body, "POST b c A d\n" + path("root"));
  EXPECT_EQ(form.status, 200);
  EXPECT_EQ(server.request("HEAD", "/index.tnp").body, "");
  EXPECT_EQ(server.request("GET", "/none.prg").status, 404);
  EXPECT_EQ(server.request("POST", "/index.tnp", "a=1", 9U << 20U).status, 413);
  std::vector<std::string> wanted_by_strangers = {"/open.tnp",
                                                  "/tarnel-page/index.tnp",
                                                  "/tarnel-page",
                                                  "/tarnel-page?/index.tnp",
                                                  "/../data/x.prg",
                                                  "/..%2fdata/x.prg",
                                                  "/sub/..%2f..%2fdata/x.prg",
                                                  "/sub/../../rootless/x.prg",
                                                  "/index.tnp%00.html",
                                                  "/index.tnp/../../data/x.prg",
                                                  "//data/x.prg",
                                                  "/index.tnp/x.dbf"};
  for (const std::string& name : hidden)
    for (const char* tail : {"", "/", "/x"}) wanted_by_strangers.push_back(address_of(name) + tail);
  for (const std::string& wanted : wanted_by_strangers) {
    const Response answer =
        server.request("GET", wanted, "", 0,
                       "Script-Filename: /data/x.prg\r\nProxy: x\r\nRedirect-Status: 200\r\n");
    EXPECT_GE(answer.status, 400) << wanted;
    EXPECT_FALSE(holds(answer.body, "cSecret")) << wanted;
    EXPECT_FALSE(holds(answer.body, path(""))) << wanted;
  }
}

TEST_P(Servers, TheAccountsWorkInABrowser) {
  std::filesystem::copy(TARNEL_SOURCE_DIR "/examples/app/pages", path("root"),
                        std::filesystem::copy_options::recursive);
  ASSERT_EQ(console(TARNEL_SOURCE_DIR "/examples/app/make.prg", "umask 0 && "), "");
  const WebServer server(program(), GetParam(), path("root"));
  ASSERT_TRUE(server.running()) << "the server did not start";
  const std::string command = "cd " BROWSER_MODULES " && cp " TARNEL_SOURCE_DIR
                              "/tests/browser/*.mjs . && node accounts.mjs http://127.0.0.1:" +
                              std::to_string(server.port());
  EXPECT_EQ(std::system(command.c_str()), 0);
  const std::string check = console("-e '.check account'");
  EXPECT_TRUE(holds(check, "account.dbf: good"));
}
INSTANTIATE_TEST_SUITE_P(Samples, Servers,
                         ::testing::Values(Server::kLighttpd, Server::kApache, Server::kNginx));

}  // namespace
}  // namespace tarnel::testing
