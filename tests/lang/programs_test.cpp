// Programs with what they write beside them: tests/programs/NAME.prg and NAME.out, which holds standard output and
// errors as they come and, unless it is 0, the status.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>

namespace {

namespace fs = std::filesystem;
const fs::path kPrograms = fs::path(TARNEL_SOURCE_DIR) / "tests/programs";

std::string file_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string output_of(const std::string& command) {
  std::FILE* const pipe = popen(command.c_str(), "r");
  std::string output;
  std::array<char, 4096> piece;
  for (std::size_t n; (n = fread(piece.data(), 1, piece.size(), pipe)) > 0;)
    output.append(piece.data(), n);
  pclose(pipe);
  return output;
}

// Each in a folder of its own, where it finds the other programs beside it.
class Programs : public testing::TestWithParam<fs::path> {};

TEST_P(Programs, WriteWhatTheyShould) {
  const fs::path folder = fs::temp_directory_path() / ("programs_" + std::to_string(getpid()));
  fs::remove_all(folder);
  fs::copy(kPrograms, folder);
  const std::string command = "cd " + folder.string() + " && " + TARNEL_CONSOLE + " " +
                              GetParam().filename().string() + " one 'two words' 2>&1; s=$?; " +
                              "[ $s = 0 ] || echo status $s";
  EXPECT_EQ(output_of(command), file_text(fs::path(GetParam()).replace_extension(".out")));
  fs::remove_all(folder);
}

TEST(Program, FindsWhatIsInstalledWithIt) {
  const fs::path folder = fs::temp_directory_path() / ("installed_" + std::to_string(getpid()));
  fs::create_directories(folder / "bin");
  fs::create_directories(folder / "share/tarnel/include");
  fs::copy_file(TARNEL_CONSOLE, folder / "bin/tnsh");
  std::ofstream(folder / "share/tarnel/include/own.ch") << "#define WORDS \"installed\"\n";
  std::ofstream(folder / "x.prg") << "#include \"own.ch\"\n?? WORDS\n";
  EXPECT_EQ(output_of(folder.string() + "/bin/tnsh " + folder.string() + "/x.prg"), "installed\n");
  fs::remove_all(folder);
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
