#include "lib/set.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "core/output.h"
#include "lib/streams.h"
#include "tests/lib/call.h"
#include "tests/support/files.h"

namespace tarnel::testing {
namespace {

class Set : public LibTest {};

// Output of qout is copied to the alternate, extra and print files, which may be commands.
class Streams : public LibTest, protected CurrentFolder {
 protected:
  Streams() {
    saved_ = dup(STDOUT_FILENO);
    std::signal(SIGPIPE, SIG_IGN);
    flush_output();
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  }
  ~Streams() override {
    reset_set();
    flush_output();
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }
  Arg path(const std::string& prefix, const char* name) const {
    return prefix + CurrentFolder::path(name);
  }

 private:
  int saved_;
};

TEST_F(Streams, AResetGivesEverySettingAndOptionItsFirstValue) {
  constexpr int kSettings = 41;
  const char* const options[] = {"developer", "typeahead", "upperfiles", "pathupper",
                                 "memcompat", "shortname", "zerobyte",   "lock40comp",
                                 "intvar",    "debugkey",  "breakkey",   "escdelay"};
  const auto all = [&] {
    std::vector<std::string> values;
    for (int n = 1; n <= kSettings; ++n) values.push_back(call("set", {n}));
    for (const char* option : options) values.push_back(call("ov_set", {option}));
    values.push_back(call("ov_set", {"translext", "dbf"}));
    values.push_back(std::to_string(error_threshold()));
    return values;
  };
  const std::vector<std::string> first = all();
  for (int pass = 0; pass < 2;
       ++pass)  // a file that copies output is opened before it is switched on
    for (int n = 1; n <= kSettings; ++n)
      if (const std::string& old = first[static_cast<std::size_t>(n) - 1]; old[0] == 'L')
        call("set", {n, old == "L F"});
      else
        old[0] == 'I' ? call("set", {n, 7}) : call("set", {n, n == 4 ? "yyyy.mm.dd" : "print"});
  for (const char* option : options) call("ov_set", {option, 9});
  call("ov_set", {"translext", "dbf", "data"});
  const std::vector<std::string> changed = all();
  int different = 0;
  for (std::size_t i = 0; i < first.size(); ++i) different += changed[i] != first[i] ? 1 : 0;
  EXPECT_GE(different,
            static_cast<int>(first.size()) - 2);  // SET 38 has no other value; two flags share one
  take_errors();
  reset_set();
  EXPECT_EQ(all(), first);
  EXPECT_EQ(take_errors(), "");
}

TEST_F(Streams, PrintFileTakesDevoutOnDevicePrint) {
  call("set", {24, path(">", "spool")});
  EXPECT_EQ(call("ov_set", {"printfilename"}), "C >" + CurrentFolder::path("spool"));
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

TEST_F(Set, CommandsOfTheShellNeedTheProgramsLeave) {
  EXPECT_EQ(call("run", {"exit 3"}), "I -1 !321 RUN: this program starts no others");
  settings().commands = true;
  EXPECT_EQ(call("run", {"exit 3"}), "I 3");
}

}  // namespace
}  // namespace tarnel::testing
