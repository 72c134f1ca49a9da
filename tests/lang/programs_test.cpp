// Programs with what they write beside them: tests/programs/NAME.prg and NAME.out, which holds standard output and
// errors as they come and, unless it is 0, the status. They run from their source and translated.
#include <gtest/gtest.h>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace {

namespace fs = std::filesystem;
using namespace tarnel::testing;
const fs::path kPrograms = fs::path(TARNEL_SOURCE_DIR) / "tests/programs";

// What a command writes in a folder of its own, where it finds all programs.
std::string output_beside_programs(const std::string& command) {
  const Folder folder;
  fs::copy(kPrograms, folder.path());
  return output_of("cd " + folder.path("") + " && (" + command +
                   ") 2>&1; s=$?; [ $s = 0 ] || echo status $s");
}

class Programs : public testing::TestWithParam<fs::path> {
 protected:
  static std::string expected() {
    return read_file(fs::path(GetParam()).replace_extension(".out"));
  }
};
constexpr const char* kArguments = " one 'two words'";

TEST_P(Programs, WriteWhatTheyShould) {
  EXPECT_EQ(output_beside_programs(std::string(TARNEL_CONSOLE) + " " +
                                   GetParam().filename().string() + kArguments),
            expected());
}

// The translator complains of the same, and writes nothing then; else the program was made of what it writes.
TEST_P(Programs, DoTheSameTranslated) {
  const std::string name = GetParam().stem().string();
  const std::string made = std::string(TRANSLATED_PROGRAMS) + "/" + name;
  EXPECT_EQ(output_beside_programs(std::string(TARNEL_TRANSLATOR) + " " + name + ".prg -o " + name +
                                   ".cpp && " + made + kArguments + " || (s=$?; [ -e " + made +
                                   " ] || ! [ -e " + name + ".cpp ]; exit $s)"),
            expected());
}

TEST(Translated, NothingIsWrittenUnlessAllIsGood) {
  const std::string tnc = std::string(TARNEL_TRANSLATOR) + " ";
  for (const auto& [files, told] :
       {std::pair{"nowhere.prg", "nowhere.prg: can't be read: No such file or directory\nold\n"},
        {"lists.prg faults.prg", "old\n"},
        {"empty.prg", "empty.prg: there is no procedure to begin with\nold\n"}}) {
    const std::string output =
        output_beside_programs("echo old > x.cpp; > empty.prg; " + tnc + files +
                               " -o x.cpp; s=$?; cat x.cpp; ls | grep '^new'; exit $s");
    EXPECT_TRUE(output.ends_with(std::string(told) + "status 2\n")) << output;
  }
  EXPECT_EQ(output_beside_programs("umask 027; " + tnc + "lists.prg -o y.cpp; stat -c %a y.cpp"),
            "640\n");
}

// Errors, breaks, loops, blocks and calls in any order: what the source does is what it should do.
TEST(Translated, RandomProgramsDoTheSame) {
  for (const std::string name : {"random_1", "random_2", "random_3"}) {
    const std::string in = std::string("cd ") + TRANSLATED_PROGRAMS + " && timeout 60 ";
    const std::string expected = output_of(in + TARNEL_CONSOLE + " " + name + ".prg 2>&1");
    EXPECT_GT(expected.size(), 1000u);
    EXPECT_EQ(output_of(in + "./" + name + " 2>&1"), expected) << name;
  }
}

TEST(Program, FindsWhatIsInstalledWithIt) {
  const Folder folder;
  for (const char* name : {"bin", "share/tarnel/include"})
    fs::create_directories(folder.path(name));
  fs::copy_file(TARNEL_CONSOLE, folder.path("bin/tnsh"));
  folder.write("share/tarnel/include/own.ch", "#define WORDS \"installed\"\n");
  folder.write("x.prg", "#include \"own.ch\"\n?? WORDS\n");
  EXPECT_EQ(output_of(folder.path("bin/tnsh") + " " + folder.path("x.prg")), "installed\n");
}

std::vector<fs::path> programs() {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(kPrograms))
    if (fs::exists(fs::path(entry.path()).replace_extension(".out")) &&
        entry.path().extension() == ".prg")
      found.push_back(entry.path());
  return found;
}

INSTANTIATE_TEST_SUITE_P(All, Programs, testing::ValuesIn(programs()),
                         [](const auto& test) { return test.param.stem().string(); });

}  // namespace
