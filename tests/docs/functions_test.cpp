// docs/functions.md is written from the tables of the builtins. The page is made anew on each run,
// in the working directory; where the committed one differs, copy it: cp functions.md docs/.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "core/core_modules.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "term/term_modules.h"

namespace tarnel {
namespace {

constexpr auto kModules = join_modules(kTermModules, kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

// "- `name(x) -> y`: what it does"
std::string line_of(std::string_view usage) {
  const auto colon = std::min(usage.find(": "), usage.size());
  return "- `" + std::string(usage.substr(0, colon)) + "`" + std::string(usage.substr(colon)) +
         "\n";
}

std::string functions_page() {
  std::string page =
      "# Functions\n\n"
      "One line a function, written from the tables of the builtins. `tnsh` shows the same line "
      "with\n"
      "`.help NAME`. The first letter of a parameter tells its type: a array, b block, c text, d "
      "date,\n"
      "l logical, n number, o object, x any. Brackets mark what may be left out.\n\n";
  const FunctionTable table = kFunctions.table();
  for (std::int32_t i = 1; i < table.count; ++i)
    if (table.entries[i].usage != nullptr) page += line_of(table.entries[i].usage);
  return page;
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(FunctionsPage, IsTheOneInDocs) {
  const std::string page = functions_page();
  std::ofstream("functions.md", std::ios::binary) << page;
  EXPECT_EQ(read_file(std::string(TARNEL_SOURCE_DIR) + "/docs/functions.md"), page);
}

// Every usage line has the function's own name and says what it does.
TEST(FunctionsPage, UsageLinesBelongToTheirFunctions) {
  for (const ModuleRecord* module : kModules)
    for (const FunctionEntry& entry : module->functions) {
      if (entry.usage == nullptr) continue;
      const std::string_view usage = entry.usage;
      const std::string name{usage.substr(0, usage.find('('))};
      EXPECT_EQ(compare_names(name.c_str(), entry.name), 0) << name << ", " << entry.name;
      EXPECT_NE(usage.find(": "), usage.npos) << usage;
    }
}

}  // namespace
}  // namespace tarnel
