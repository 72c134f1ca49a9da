// The map in docs/architecture.md names every source file.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/files.h"

namespace tarnel {
namespace {

TEST(Map, NamesEveryFile) {
  const std::filesystem::path root = TARNEL_SOURCE_DIR;
  const std::string page = testing::read_file(root / "docs/architecture.md");
  int files = 0;
  for (const char* room :
       {"core", "macro", "lib", "term", "db", "frontend", "pages", "console", "lang", "webpage"})
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / room)) {
      const auto& path = entry.path();
      if (path.extension() != ".cpp" && path.extension() != ".h") continue;
      ++files;
      EXPECT_NE(page.find("`" + path.stem().string() + "`"), std::string::npos) << path;
    }
  EXPECT_GT(files, 100);
}

}  // namespace
}  // namespace tarnel
