// Pages that are files: which file runs, what stands in front of it, what becomes of one that fails.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/texts.h"
#include "tests/webpage/site.h"

namespace tarnel::testing {
namespace {

constexpr const char* kHello = "? 'hello'\n";

std::string refusal(const std::string& words) {
  return "Status: " + words + "\n" + kHeader + "<!DOCTYPE html>\n<title>" + words +
         "</title>\n<h1>" + words + "</h1>\n";
}
const std::string kForbidden = refusal("403 Forbidden"), kAbsent = refusal("404 Not Found");

class PageFiles : public ::testing::Test, public Site {};

TEST_F(PageFiles, APageGetsTheRequestAndWritesBehindTheHeader) {
  write("root/a.prg",
        "PROCEDURE main(aEnv, aForm, oState)\n"
        "? tnlookup(aEnv, 'QUERY_STRING'), len(aForm), aForm[2][2], valtype(oState)\n");
  EXPECT_EQ(get("a.prg", "QUERY_STRING=x=1", "a=1&b=%41+c"), kHeader + "\nx=1          2 A c O");
  write("root/quiet.prg", "x := 1\n");
  EXPECT_EQ(get("quiet.prg"), kHeader);
  write("root/quit.prg", "?? 'a'\nQUIT\n");
  EXPECT_EQ(get("quit.prg"), kHeader + "a");
  write("root/quit.prg", "QUIT\n");
  EXPECT_EQ(get("quit.prg"), kHeader);
  write("root/handle.prg", "fwrite(1, 'x')\nqqout('', 'y')\n");
  EXPECT_EQ(get("handle.prg"), kHeader + "x y");
}

TEST_F(PageFiles, OnlyWhatTheServerNamesBelowItsRootRuns) {
  write("root/a.prg", kHello);
  write("root/sub/b.prg", kHello);
  write("root/plain.txt", kHello);
  write("root/writable.prg", kHello, 0666);
  write("root/group.prg", kHello, 0664);
  write("rootless/a.prg", kHello);
  write("data/a.prg", kHello);
  std::filesystem::create_directory(path("root/folder.prg"));
  std::filesystem::create_symlink(path("root/sub/b.prg"), path("root/inside.prg"));
  std::filesystem::create_symlink(path("data/a.prg"), path("root/outside.prg"));
  std::filesystem::create_symlink("/dev/zero", path("root/zero.prg"));
  std::filesystem::create_symlink("loop.prg", path("root/loop.prg"));
  mkfifo(path("root/pipe.prg").c_str(), 0644);
  const std::string hello = kHeader + "\nhello", root = "DOCUMENT_ROOT=" + path("root") + " ",
                    itself = root + "SCRIPT_FILENAME=" + program() + " ",
                    translated = itself + "PATH_TRANSLATED=" + path("root/a.prg") + " ";
  const bool own_group = getuid() == getgid();
  const std::pair<std::string, std::string> cases[] = {
      {root + "SCRIPT_FILENAME=" + path("root/a.prg"), hello},
      {root + "SCRIPT_FILENAME=" + path("root//./sub/../a.prg"), hello},
      {root + "SCRIPT_FILENAME=" + path("root/sub/b.prg"), hello},
      {root + "SCRIPT_FILENAME=" + path("root/inside.prg"), hello},
      {"DOCUMENT_ROOT=" + path("root/") + " SCRIPT_FILENAME=" + path("root/a.prg"), hello},
      {root + "SCRIPT_FILENAME=" + path("root/group.prg"), own_group ? hello : kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/no.prg"), kAbsent},
      {root + "SCRIPT_FILENAME=" + path("root/a.prg/no.prg"), kAbsent},
      {root + "SCRIPT_FILENAME=" + path("root/outside.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/../data/a.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("rootless/a.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/plain.txt"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/writable.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/folder.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/zero.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/loop.prg"), kForbidden},
      {root + "SCRIPT_FILENAME=" + path("root/pipe.prg"), kForbidden},
      {"SCRIPT_FILENAME=" + path("root/a.prg"), kForbidden},
      {"DOCUMENT_ROOT= SCRIPT_FILENAME=" + path("root/a.prg"), kForbidden},
      {"DOCUMENT_ROOT=/none SCRIPT_FILENAME=" + path("root/a.prg"), kForbidden},
      {root, kForbidden},
      {root + "PATH_TRANSLATED=" + path("root/a.prg"), kForbidden},
      {root + "HTTP_SCRIPT_FILENAME=" + path("root/a.prg"), kForbidden},
      // The program itself: only where the server has passed a request on.
      {translated, kForbidden},
      {translated + "REDIRECT_STATUS=200", kForbidden},
      {translated + "HTTP_REDIRECT_STATUS=200 HTTP_REDIRECT_URL=/a.prg", kForbidden},
      {translated + "REDIRECT_STATUS=200 REDIRECT_URL=/a.prg", hello},
      {itself + "REDIRECT_STATUS=200 REDIRECT_URL=/a.prg", kForbidden}};
  for (const auto& [environment, expected] : cases)
    EXPECT_EQ(answer(environment), expected) << environment;
  EXPECT_EQ(answer(root + "SCRIPT_FILENAME=" + path("root/no.prg") + " " + program() + " " +
                   path("root/a.prg")),
            kAbsent)
      << "arguments are a stranger's";
}

// 0 is the account that runs here. Only root may give files away; whoever else runs this tries what it can.
TEST_F(PageFiles, WhatStrangersCouldChangeIsRefused) {
  const auto give = [&](const char* name, uid_t owner) {
    return geteuid() != 0 ? owner == 0 : chown(path(name).c_str(), owner, 0) == 0;
  };
  constexpr uid_t kOne = 65533, kOther = 65534;
  const struct {
    uid_t folder, file;
    int mode;  // of the folder
    const char* told;
  } cases[] = {{0, 0, 0755, ""},
               {kOne, kOne, 0755, ""},
               {kOne, 0, 0755, ""},
               {0, 0, 0775, ""},
               {0, 0, 01777, ""},
               {0, kOne, 0755, "belongs to a stranger"},
               {kOne, kOther, 0755, "belongs to a stranger"},
               {0, kOther, 01777, "belongs to a stranger"},
               {0, 0, 0777, "lies in a folder that strangers may write to"},
               {kOne, kOne, 0757, "lies in a folder that strangers may write to"}};
  const struct {
    const char *folder, *file, *page;
  } places[] = {{"root/sub", "root/sub/a.prg", "sub/a.prg"},
                {"root/inc", "root/inc/a.ch", "including.prg"},
                {"bin", "bin/tnpage.conf", "plain.prg"}};
  write("root/sub/a.prg", kHello);
  write("root/inc/a.ch", kHello);
  write("root/including.prg", "#include \"inc/a.ch\"\n");
  write("root/plain.prg", kHello);
  configure("log = stderr\nshow_errors = yes");
  for (const auto& [folder, file, page] : places) {
    for (const auto& [folder_owner, owner, mode, told] : cases) {
      if (!give(folder, folder_owner) || !give(file, owner)) {
        EXPECT_NE(geteuid(), 0u);
        continue;
      }
      EXPECT_EQ(chmod(path(folder).c_str(), static_cast<mode_t>(mode)), 0);
      const std::string answered = get(page);
      EXPECT_EQ(answered == kHeader + "\nhello", *told == 0)
          << file << folder_owner << owner << mode;
      // A configuration that is refused says nothing of where the log is.
      const std::string all = answered + (folder == places[2].folder ? told : errors());
      EXPECT_TRUE(holds(all, told)) << file << mode;
    }
    EXPECT_EQ(chmod(path(folder).c_str(), 0755), 0);
    EXPECT_TRUE(give(folder, 0) && give(file, 0));
  }
}

TEST_F(PageFiles, IncludesStayBelowTheRoot) {
  write("root/inc/hello.ch", "#define HELLO 'hello'\n");
  write("root/a.prg", "#include \"inc/hello.ch\"\n?? HELLO\n");
  EXPECT_EQ(get("a.prg"), kHeader + "hello");
  write("data/secret.ch", "?? 'secret'\n");
  std::filesystem::create_symlink(path("data/secret.ch"), path("root/link.ch"));
  write("root/open.ch", "?? 'secret'\n", 0666);
  for (const std::string& name : std::vector<std::string>{
           "../data/secret.ch", "/etc/passwd", "link.ch", "open.ch", path("data/secret.ch")}) {
    write("root/a.prg", "#include \"" + name + "\"\n?? 'on'\n");
    const std::string page = get("a.prg");
    EXPECT_TRUE(page.starts_with("Status: 500 Internal Server Error\n" + kHeader)) << page;
    EXPECT_TRUE(holds(page, "<p>a.prg:1: "));
    for (const char* not_told : {"secret'", "root:", "/data", "/etc", "'on'"})
      EXPECT_FALSE(holds(page, not_told));
  }
}

TEST_F(PageFiles, StrangersSeeThePlaceAndThePlainWordsOfAnError) {
  write("root/a.prg", "cSecret := 'secret'\nUSE nosuch\n");
  std::string page = get("a.prg");
  EXPECT_EQ(page.find(refusal("500 Internal Server Error") + "<p>a.prg:2: file open error</p>\n"),
            0U)
      << page;
  EXPECT_FALSE(holds(page, "nosuch"));
  write("root/a.prg", "? 'begun'\n\nx := 1 + {}\n? 'never'\n");
  EXPECT_EQ(get("a.prg"), kHeader +
                              "\nbegun\n<h1>The page ends in an error</h1>\n"
                              "<p>a.prg:3: data type mismatch</p>\n");
  for (const char* fault :
       {"x := ) secret(", "x := 1 'secret'", "#define S \"secret\"\nx := S S"}) {
    write("root/a.prg", std::string("? 'begun'\n") + fault + "\n");
    const std::string place = std::string("<p>a.prg:") + (fault[0] == '#' ? '3' : '2');
    EXPECT_EQ(get("a.prg"), refusal("500 Internal Server Error") + place +
                                ": something isn&#39;t expected here</p>\n");
  }
  for (const auto& [statement, words] :
       {std::pair{"main()", "calls are nested too deeply"},
        {"x := &('1 +')", "an expression isn&#39;t understood"},
        {"x := nosuch = 5", "a name or value that can&#39;t be used"}}) {
    write("root/a.prg", std::string("PROCEDURE main\nLOCAL x\n") + statement + "\n");
    EXPECT_EQ(get("a.prg"),
              refusal("500 Internal Server Error") + "<p>a.prg:3: " + words + "</p>\n");
  }
  write("root/a.prg", "errorblock({|e| 1 + {}})\nx := 1 + {}\n");
  EXPECT_TRUE(get("a.prg").starts_with(refusal("500 Internal Server Error") + "<p>a.prg:1: "));
  write("root/a.prg", "?? 'begun'\nRETURN\nINIT PROCEDURE no\nRETURN .F.\n");
  EXPECT_EQ(get("a.prg"), refusal("500 Internal Server Error") +
                              "<p>a.prg: an INIT procedure wants the page to end</p>\n");
  write("root/a.prg", "tnheader('Content-type', 'text/csv')\n?? 'begun'\nx := 1 + {}\n");
  EXPECT_EQ(get("a.prg"),
            "Content-type: text/csv\n\nbegun\nThe page ends in an error\n"
            "a.prg:3: data type mismatch\n");
}

}  // namespace
}  // namespace tarnel::testing
