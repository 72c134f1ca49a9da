// The manual page tells of every command that the console has, and of no other.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace {

// What the pattern's group is, wherever it fits.
std::set<std::string> found(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::set<std::string> words;
  for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i)
    words.insert(i->str(1));
  return words;
}

TEST(Manual, NamesTheCommandsOfTheConsole) {
  const std::string page = tarnel::testing::read_file(TARNEL_SOURCE_DIR "/console/tnsh.1");
  const std::string help = tarnel::testing::output_of(TARNEL_CONSOLE " -e .help");
  const std::set<std::string> commands = found(help, R"(\n  (\.[a-z]+))");
  EXPECT_GT(commands.size(), 30U);
  EXPECT_EQ(found(page, R"re(\n\.TP\n\.[BIR]+ "?(\.[a-z]+))re"), commands);
}

}  // namespace
