#include "lib/set.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "core/output.h"
#include "lib/streams.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Set : public LibTest {};

TEST_F(Set, EachSettingGivesItsOldValue) {
  check({
      {"set", {1, "on"}, "L F"},
      {"set", {1, "maybe"}, "L T"},
      {"set", {1, 0}, "L T"},
      {"set", {1, false}, "L T"},
      {"set", {1}, "L F"},
      {"set", {3, 4}, "I 2"},
      {"set", {3, true}, "I 4"},
      {"set", {3, false}, "I 1"},
      {"set", {3, 99}, "I 0"},
      {"set", {3, -7}, "I 15"},
      {"set", {3, "x"}, "I 0"},
      {"set", {5}, "I 1900"},
      {"set", {37, false}, "L T"},
      {"set", {37}, "L F"},
      {"set", {0}, "U"},
      {"set", {4, "dd.mm.yyyy"}, "C MM/DD/YY"},
      {"set", {4, "d"}, "C DD.MM.YY"},
      {"set", {4}, "C DD.MM.YY"},
      {"set", {18, true}, "L F"},
      {"set", {18}, "L F"},
  });
}

TEST_F(Set, PathsAreCutAtTheDelimiters) {
  call("set", {6, "a; b/ ,c,,"});
  EXPECT_EQ(call("set", {6}), "C a/;b/;c/");
  EXPECT_EQ(call("ov_set", {"pathdelims", ":"}), "C ;;,,");
  call("set", {6, "/usr/x:y;z"});
  EXPECT_EQ(call("set", {6}), "C /usr/x/;y;z/");
  call("set", {6, ""});
  EXPECT_EQ(call("set", {6}), "C ");
  call("set", {7, "dir"});
  EXPECT_EQ(settings().default_dir, "dir/");
}

TEST_F(Set, OptionsAreFoundByThreeLetters) {
  check({
      {"ov_set", {" Developer ", true}, "L F"},
      {"ov_set", {"developer", false}, "L T"},
      {"ov_set", {"escdelay", 100}, "I 10"},
      {"ov_set", {"escdelay"}, "I 100"},
      {"ov_set", {"breakkey", 3}, "I 0"},
      {"ov_set", {"breakkey", "x"}, "L F !312 expected numeric for 2.nd argument"},
      {"ov_set", {"breakkey", 1, 2}, "L F !311 expected only 2 arguments, 1:'expc' 2:'expn'"},
      {"ov_set", {"printfilename"}, "C "},
      {"ov_set", {"nonsense"}, "L F"},
      {"ov_set", {"developers"}, "L F"},
      {"ov_set", {5}, "L F"},
      {"ov_set", {"setenvir", "TARNEL_TEST", "one"}, "C "},
      {"ov_set", {"setenvir", "TARNEL_TEST", "longer"}, "C one"},
      {"getenv", {"TARNEL_TEST"}, "C longer"},
      {"getenv", {"TARNEL_NONE", "usual"}, "C usual"},
      {"ov_set", {"setenvir", "A=B", "x"}, "C  !301 Unable to extend environment for new variable"},
      {"ov_set", {"setenvir"}, "L F !312 expected character for 2.nd argument"},
      {"ov_set", {"setlanguage"}, "I 0"},
  });
}

// Output of qout is copied to the alternate, extra and print files, which may be commands.
class Streams : public LibTest {
 protected:
  Streams() {
    char name[] = "/tmp/tarnel_streams_XXXXXX";
    directory_ = mkdtemp(name);
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(directory_);
    saved_ = dup(STDOUT_FILENO);
    std::signal(SIGPIPE, SIG_IGN);
    flush_output();
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  }
  ~Streams() override {
    close_streams();
    flush_output();
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(directory_);
  }
  std::string read(const std::string& name) const {
    std::ifstream in(directory_ + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  Arg path(const std::string& prefix, const char* name) const {
    return prefix + directory_ + "/" + name;
  }
  std::string directory_;

 private:
  std::filesystem::path before_;
  int saved_;
};

TEST_F(Streams, AlternateFileCopiesWhileItIsOn) {
  call("set", {19, path("", "alt")});
  call("qout", {"unseen"});
  call("set", {18, true});
  call("qout", {"one", 2});
  call("qqout", {"!", true});
  call("set", {17, false});
  call("qout", {"console off"});
  EXPECT_EQ(read("alt.txt"), "\none          2! .T.\nconsole off");
  call("set", {19, path(">>", "alt.txt")});
  call("qout", {"more"});
  call("set", {19, path("", "alt"), true});
  call("qout", {"again"});
  EXPECT_EQ(read("alt.txt"), "\none          2! .T.\nconsole off\nmore\nagain");
  call("set", {19, ""});
  EXPECT_EQ(call("set", {18}), "L F");
}

TEST_F(Streams, PrintFileTakesDevoutOnDevicePrint) {
  call("set", {24, path(">", "spool")});
  EXPECT_EQ(call("ov_set", {"printfilename"}), "C >" + directory_ + "/spool");
  call("set", {20, "PRINT"});
  check({{"devout", {1234.5}, "U"},
         {"devout", {Nil{}}, "U"},
         {"devout", {Memo{"not shown"}}, "U"},
         {"dispout", {"screen"}, "U"},
         {"devout", {}, "U !403 SAY/DevOut(): expression argument needed"},
         {"dispout", {}, "U !403 DispOut(): expression argument needed"}});
  EXPECT_EQ(read("spool.txt"), "      1234.50NIL");
}

TEST_F(Streams, PipesAreCommandsOfTheShell) {
  call("set", {22, "| tr a-z A-Z | sed \"s/$/ 'end'/\" > out; echo done >>out"});
  call("set", {21, true});
  call("qqout", {"through"});
  EXPECT_EQ(call("set", {22, ""}).substr(0, 6), "C | tr");
  EXPECT_EQ(read("out"), "THROUGH 'end'done\n") << "closing waits for the command";
  EXPECT_EQ(take_errors(), "");
  EXPECT_EQ(call("set", {22, "| "}), "C  !101 file '|'");
  call("set", {22, "|exec true"});
  call("set", {21, true});
  for (int i = 0; i < 1000 && take_errors() != "104 Write error"; ++i, usleep(1000))
    call("qqout", {"nobody reads"});
  EXPECT_EQ(call("set", {21}) + call("set", {22}), "L FC ") << "a reader that went away ends both";
}

TEST_F(Streams, AFileThatCannotBeOpenedTurnsTheSettingOff) {
  call("set", {19, path("", "alt")});
  call("set", {18, true});
  EXPECT_EQ(call("set", {19, path("", "no/dir")}).substr(0, 2), "C ");
  EXPECT_EQ(call("set", {18}), "L F");
  EXPECT_EQ(call("set", {19}), "C ");
  call("qout", {"goes on"});
}

}  // namespace
}  // namespace tarnel::testing
