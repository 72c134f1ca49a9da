// Pages behind each web server by its sample configuration, and the example application in a browser.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "tests/e2e/web_server.h"
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

TEST_P(Servers, RunPagesAndGiveOutNothingElseOfThem) {
  const std::string secret = "<% cSecret := 1 %>";
  write("root/index.tnp", "index <%= 1 + 1 %>");
  write("root/sub/form.prg",
        "PROCEDURE main(aEnv, aForm)\n?? tnmethod(), tnform(aForm, 'a'), tnquery('q'), "
        "tncookie('c')\n"
        "? tnlookup(aEnv, 'DOCUMENT_ROOT')");
  for (const char* name :
       {"root/t.dbf", "root/t.DBT", "root/t.idx", "root/t.mem", "root/tnpage.conf", "root/inc.ch",
        "root/index.tnp~", "root/index.tnp.bak", "root/.index.tnp.swp", "root/big.TNP",
        "root/.htaccess.prg~", "data/x.prg", "rootless/x.prg"})
    write(name, secret);
  write("root/open.tnp", secret, 0666);
  write("root/plain.html", "plain");
  const WebServer server(program(), GetParam(), path("root"));
  ASSERT_TRUE(server.running()) << "the server did not start";
  EXPECT_EQ(server.request("GET", "/").body, "index 2");
  EXPECT_EQ(server.request("GET", "/plain.html").body, "plain");
  const Response form =
      server.request("POST", "/sub/form.prg?q=%41", "a=b+c", 0, "Cookie: c=d\r\n");
  EXPECT_EQ(form.body, "POST b c A d\n" + path("root"));
  EXPECT_EQ(form.status, 200);
  EXPECT_EQ(server.request("HEAD", "/index.tnp").body, "");
  EXPECT_EQ(server.request("GET", "/none.prg").status, 404);
  EXPECT_EQ(server.request("POST", "/index.tnp", "a=1", 9U << 20U).status, 413);
  for (const char* wanted : {"/t.dbf",
                             "/t.DBT",
                             "/t.idx",
                             "/t.mem",
                             "/tnpage.conf",
                             "/inc.ch",
                             "/index.tnp~",
                             "/index.tnp.bak",
                             "/.index.tnp.swp",
                             "/big.TNP",
                             "/.htaccess.prg~",
                             "/open.tnp",
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
                             "/index.tnp/x.dbf"}) {
    const Response answer =
        server.request("GET", wanted, "", 0,
                       "Script-Filename: /data/x.prg\r\nProxy: x\r\nRedirect-Status: 200\r\n");
    EXPECT_GE(answer.status, 400) << wanted;
    EXPECT_EQ(answer.body.find("cSecret"), std::string::npos) << wanted << answer.body;
    EXPECT_EQ(answer.body.find(path("")), std::string::npos) << wanted << answer.body;
  }
}

TEST_P(Servers, TheAccountsWorkInABrowser) {
  std::filesystem::copy(TARNEL_SOURCE_DIR "/examples/app/pages", path("root"),
                        std::filesystem::copy_options::recursive);
  ASSERT_EQ(
      std::system(("cd " + path("data") +
                   " && umask 0 && " TARNEL_CONSOLE " " TARNEL_SOURCE_DIR "/examples/app/make.prg")
                      .c_str()),
      0);
  const WebServer server(program(), GetParam(), path("root"));
  ASSERT_TRUE(server.running()) << "the server did not start";
  const std::string command =
      "cd " BROWSER_MODULES " && cp " TARNEL_SOURCE_DIR
      "/tests/browser/accounts.mjs . && node accounts.mjs http://127.0.0.1:" +
      std::to_string(server.port());
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(
      std::system(
          ("cd " + path("data") + " && " TARNEL_CONSOLE " -e '.check account' >/dev/null").c_str()),
      0)
      << "the table and its orders are whole";
}
INSTANTIATE_TEST_SUITE_P(Samples, Servers,
                         ::testing::Values(Server::kLighttpd, Server::kApache, Server::kNginx));

}  // namespace
}  // namespace tarnel::testing
