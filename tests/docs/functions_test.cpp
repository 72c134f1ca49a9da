// docs/functions.md is written from the tables of the builtins. The page is made anew on each run,
// in the working directory; where the committed one differs, copy it: cp functions.md docs/.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/core_modules.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "macro/program_files.h"
#include "term/term_modules.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

namespace tarnel {
namespace {

using testing::Folder, testing::output_of, testing::read_file, testing::shell_word;

constexpr std::array kProgramModules = {&kProgramFilesModule};
constexpr auto kModules = join_modules(kProgramModules, kTermModules, kDbModules, kLibModules,
                                       kBorrowedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

// "- `name(x) -> y`: what it does"
std::string line_of(std::string_view usage) {
  const auto colon = std::min(usage.find(": "), usage.size());
  return "- `" + std::string(usage.substr(0, colon)) + "`" + std::string(usage.substr(colon)) +
         "\n";
}

// The order in which the page tells of the subjects.
constexpr std::string_view kSubjects[] = {
    "Texts",
    "Numbers",
    "Dates and times",
    "Values as texts",
    "Pages",
    "Characters",
    "Digests and chance",
    "Arrays",
    "Blocks, names and calls",
    "Tables",
    "Orders",
    "Sets of records",
    "Files",
    "Settings and languages",
    "Runs and the system",
    "Errors",
    "Screen and keys",
};

// The table that is open while an example is evaluated.
constexpr std::string_view kTable[] = {
    "dbcreate('towns', {{'name', 'C', 8, 0}, {'people', 'N', 6, 0}})",
    "dbusearea(.T., , 'towns', , .F.)",
    "rows := {{'Kiruna', 17}, {'Lund', 94}, {'Uppsala', 177}}",
    "aeval(rows, {|row| dbappend(), fieldput(1, row[1]), fieldput(2, row[2])})",
    "dbcreateindex('towns', 'name')",
};

// The functions of a subject by name, as the programs have them.
std::vector<FunctionEntry> functions_of(std::string_view subject) {
  std::vector<FunctionEntry> entries;
  const FunctionTable table = kFunctions.table();
  for (std::int32_t i = 1; i < table.count; ++i)
    for (const ModuleRecord* module : kModules)
      for (const FunctionEntry& entry : module->functions)
        if (entry.usage != nullptr && entry.usage == table.entries[i].usage &&
            module->subject == subject)
          entries.push_back(entry);
  return entries;
}

std::string functions_page() {
  std::string page =
      "# Functions\n\n"
      "One line a function, written from the tables of the builtins. `tnsh` shows the same line "
      "with\n"
      "`.help NAME`. The first letter of a parameter tells its type: a array, b block, c text, d "
      "date,\n"
      "l logical, n number, o object, x any. Brackets mark what may be left out.\n\n"
      "Below a function stands an example, with what the console shows for it (without the blanks "
      "in\n"
      "front). This table is open in each of them:\n\n";
  for (const std::string_view line : kTable) page += "    " + std::string(line) + "\n";
  for (const std::string_view subject : kSubjects) {
    page += "\n## " + std::string(subject) + "\n\n";
    for (const FunctionEntry& entry : functions_of(subject)) {
      page += line_of(entry.usage);
      if (entry.example != nullptr) page += "  `" + std::string(entry.example) + "`\n";
    }
  }
  return page;
}

TEST(FunctionsPage, IsTheOneInDocs) {
  const std::string page = functions_page();
  std::ofstream("functions.md", std::ios::binary) << page;
  EXPECT_TRUE(read_file(std::string(TARNEL_SOURCE_DIR) + "/docs/functions.md") == page)
      << "it differs from functions.md in the working directory";
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
      EXPECT_NE(std::ranges::find(kSubjects, module->subject), std::end(kSubjects)) << module->name;
    }
}

// Names of different functions that are one to the language: its names have ten letters.
TEST(FunctionsPage, NamesDifferInTheirFirstTenLetters) {
  std::map<std::string, std::string> seen;
  for (const ModuleRecord* module : kModules)
    for (const FunctionEntry& entry : module->functions) {
      if (entry.usage == nullptr) continue;
      const auto [at, fresh] =
          seen.emplace(std::string(entry.name).substr(0, kNameSize), entry.usage);
      EXPECT_TRUE(fresh) << entry.usage << "\n" << at->second;
    }
}

// --- Examples

namespace fs = std::filesystem;

// What the console shows, without blanks at its ends.
std::string shown_for(const fs::path& directory, const std::string& arguments) {
  std::string shown =
      output_of("cd " + directory.string() + " && TERM=dumb timeout 60 " TARNEL_CONSOLE " " +
                arguments + " < /dev/null 2>&1");
  shown.erase(shown.find_last_not_of(" \n") + 1);
  return shown.substr(std::min(shown.find_first_not_of(" \n"), shown.size()));
}

class Examples : public ::testing::Test {
 protected:
  Examples() {
    const fs::path table = scratch_.path("table");
    fs::create_directory(table);
    std::ofstream script(table / "script");
    for (const std::string_view line : kTable) script << line << '\n';
    script.close();
    shown_for(table, "script");
    fs::remove(table / "script");
  }

  // In a directory that has only the table.
  std::string evaluate(const std::string& expression) const {
    const fs::path room = scratch_.path("room");
    fs::remove_all(room);
    fs::copy(scratch_.path("table"), room);
    return shown_for(room, "-w towns.dbf -e " + shell_word(expression));
  }

 private:
  const Folder scratch_;
};

TEST_F(Examples, ShowWhatTheySay) {
  constexpr std::string_view kShows = " ==> ";
  for (const ModuleRecord* module : kModules)
    for (const FunctionEntry& entry : module->functions) {
      if (entry.example == nullptr) continue;
      const std::string example = std::string(entry.example) + " ";
      const std::size_t at = example.find(kShows);
      ASSERT_NE(at, example.npos) << example;
      // An example is one of the function only if it calls it.
      const std::string call =
          std::string(entry.usage).substr(0, std::string(entry.usage).find('(') + 1);
      EXPECT_NE(example.find(call), example.npos) << example;
      EXPECT_EQ(evaluate(example.substr(0, at)) + " ", example.substr(at + kShows.size()))
          << example;
    }
}

// What ends the run, needs somebody to answer or a screen, or tells of the caller's variables: a function that is
// added has an example.
constexpr std::string_view kWithoutExample[] = {
    "_deferror", "_displpriv", "_displpubl", "_displvar",  "_errcaller", "_procvar", "__mrelease",
    "__quit",    "__shutdown", "break",      "erralert",   "__accept",   "__input",  "__wait",
    "_enhanced", "_pop_tty",   "_push_tty",  "_standard",  "_unselecte", "alert",    "colorselec",
    "dispbox",   "refresh",    "restscreen", "savescreen", "scroll",
};

TEST_F(Examples, EveryFunctionHasOne) {
  for (const ModuleRecord* module : kModules)
    for (const FunctionEntry& entry : module->functions) {
      if (entry.usage == nullptr) continue;
      const bool excused =
          std::ranges::find(kWithoutExample, entry.name) != std::end(kWithoutExample);
      EXPECT_NE(entry.example != nullptr, excused) << entry.name;
    }
}

}  // namespace
}  // namespace tarnel
