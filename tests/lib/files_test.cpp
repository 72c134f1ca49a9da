#include "lib/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "lib/file_names.h"
#include "lib/set.h"
#include "tests/lib/call.h"
#include "tests/support/fail_nth.h"
#include "tests/support/files.h"

namespace tarnel::testing {
namespace {

namespace fs = std::filesystem;

// Works in an empty directory of its own.
class Files : public LibTest, protected CurrentFolder {
 protected:
  Files() {
    fs::create_directory("sub");
    reset_set();
  }
  ~Files() override { reset_set(); }

 private:
};

TEST_F(Files, NamesAreMappedToThisSystem) {
  ::setenv("C_OVDRIVE", "/u/db", 1);
  ::setenv("D_OVDRIVE", "/u/db/", 1);
  struct Row {
    const char *name, *expected;
  };
  const auto maps = [](std::initializer_list<Row> rows) {
    for (const Row& row : rows) EXPECT_EQ(fileNameMap(row.name), row.expected) << row.name;
  };
  maps({{"C:\\DATA\\X.DBF", "/u/db/DATA/X.DBF"},
        {"c:x", "/u/db/x"},
        {"D:x", "/u/db/x"},
        {"C:", "/u/db"},
        {"E:x", "E:x"},
        {"  a b ", "a b"},
        {"", ""}});
  settings().lowerfiles = true;
  settings().pathupper = true;
  maps({{"Dir\\File.DBF", "DIR/file.dbf"}});
  reset_set();
  settings().shortname = true;
  maps({{"verylongname.data", "verylong.dat"},
        {"dir/very long name.1234", "dir/verylong.1234"},
        {".profile_of_mine", ".profile_of_mine"},
        {"a.b.c", "a.b.c"},
        {"$;|x&.dbf", "x.dbf"}});
  EXPECT_EQ(take_errors(), "");
  reset_set();
  EXPECT_EQ(fileNameMap("C:abcdef", 9), "C:abcdef");
  EXPECT_EQ(take_errors(), "901 Drive C: substitution exceedes 9 chars");
  extensionMap("x", "longest");
  EXPECT_EQ(fileNameMap("a.x", 8), "a.x");
  EXPECT_EQ(take_errors(), "901 Mapping of extension exceeds 8 chars");
}

TEST_F(Files, ExtensionsAreTranslated) {
  EXPECT_EQ(call("ov_set", {"translext", "DBF", "data"}), "C ");
  EXPECT_EQ(fileNameMap("x.dbf"), "x.data");
  EXPECT_EQ(fileNameMap("x.DBF"), "x.data");
  EXPECT_EQ(fileNameMap("d.dbf/x"), "d.dbf/x");
  EXPECT_EQ(call("ov_set", {"translext", "dbf"}), "C dbf.data");
  EXPECT_EQ(call("ov_set", {"translext", "dbf", ""}), "C dbf.data");
  EXPECT_EQ(fileNameMap("x.dbf"), "x.dbf");
  for (int i = 0; i < 12; ++i) extensionMap(std::to_string(i), "z");
  EXPECT_EQ(extensionMap("8"), "8.z");
  EXPECT_EQ(extensionMap("9"), "") << "ten pairs are held";
}

TEST_F(Files, FullPathsAndExtensions) {
  fs::current_path("/tmp");
  EXPECT_EQ(fullPath("a/../b"), "/tmp/b");
  EXPECT_EQ(fullPath("/x//y/././z/../w"), "/x/y/w");
  EXPECT_EQ(fullPath("/../../x"), "/x");
  fs::current_path(path());
  std::string target = "old";
  EXPECT_TRUE(defaultExtension(target, " a ", ".txt", 500));
  EXPECT_EQ(target, "a.txt");
  EXPECT_TRUE(defaultExtension(target, "d.x/a", ".txt", 500));
  EXPECT_EQ(target, "d.x/a.txt");
  EXPECT_FALSE(defaultExtension(target, "abcd", ".txt", 8));
  EXPECT_EQ(target, "d.x/a.txt");
}

TEST_F(Files, OpeningSearchesDefaultThenPath) {
  write("sub/x.txt", "1");
  EXPECT_EQ(call("file", {"x.txt"}), "L F");
  call("set", {6, "nowhere; sub"});
  EXPECT_EQ(call("set", {6}), "C nowhere/;sub/");
  EXPECT_EQ(call("file", {"x.txt"}), "L T");
  EXPECT_EQ(call("file", {"./x.txt"}), "L F") << "a name with a directory isn't searched";
  EXPECT_EQ(call("file", {"sub"}), "L F") << "a directory is no file";
  std::string found;
  const int fd = fileOpenSearch("x.txt", O_RDONLY, 0, {.found_name = &found});
  ASSERT_GE(fd, 0);
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  fileClose(fd);
  EXPECT_EQ(found, fullPath("sub/x.txt"));
  EXPECT_EQ(fileOpenSearch("y.txt", O_RDONLY, 0), -1);
  EXPECT_EQ(take_errors(), "101 Open error for 'sub/y.txt' (requested 'y.txt') ");
  EXPECT_EQ(call("doserror", {0}), "I 2");
  EXPECT_EQ(call("doserror", {}), "I 0");
  call("set", {7, "sub"});
  write("sub/d.txt", "1");
  EXPECT_EQ(call("set", {7}), "C sub");
  EXPECT_EQ(call("file", {"d.txt"}), "L T");
  for (const char* mode : {"w", "a+", "r"}) {
    std::FILE* stream = streamOpen("s.txt", mode);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(*mode == 'r' ? std::fgetc(stream) : 'w', 'w');
    EXPECT_EQ(std::fputc(*mode, stream), *mode == 'r' ? EOF : *mode);
    streamClose(stream);
  }
  EXPECT_EQ(read("sub/s.txt"), "wa");
  EXPECT_EQ(streamOpen("zz", "r"), nullptr);
  EXPECT_EQ(take_errors(), "101 file 'zz'");
}

TEST_F(Files, WildCardsStandForTheirMatches) {
  for (const char* name : {"a1.x", "a2.x", "b.y"}) write(name, name);
  call("fclose", {call_cell("fcreate", {"made"})->i});
  EXPECT_EQ(call("fattrib", {"made"}), "I " + std::to_string(fileDefaultMode()));
  EXPECT_EQ(call("file", {"a?.x"}), "L T");
  EXPECT_EQ(call("file", {"c*"}), "L F");
  EXPECT_EQ(call("__copyfile", {"a*.x", "sub"}), "L T");
  EXPECT_EQ(read("sub/a2.x"), "a2.x");
  EXPECT_EQ(call("__copyfile", {"a*.x", "all", true}), "L T");
  EXPECT_EQ(read("all"), "a1.xa2.x");
  EXPECT_EQ(call("__copyfile", {"all", "all", true}),
            "L F !105 Create error for 'all' (requested 'all') ");
  EXPECT_EQ(read("all"), "a1.xa2.x");
  EXPECT_EQ(call("frename", {"[ab]*", "sub"}), "I 0");
  EXPECT_EQ(read("sub/b.y"), "b.y");
  EXPECT_EQ(call("frename", {"sub/a*", "none"}), "I -1 !105 RENAME: UNIX returned error 20  ");
  EXPECT_EQ(call("ferase", {"sub/*"}), "I 0");
  EXPECT_EQ(call("ferase", {"su*"}), "I -1 !106 ERASE: UNIX returned error 21  ");
}

// As if every other name than a file's own with a suffix lay in another file system.
int rename_elsewhere(const char* from, const char* to) {
  if (std::string_view(from).ends_with('~')) return ::rename(from, to);
  errno = EXDEV;
  return -1;
}

TEST_F(Files, EachCallThatFailsIsToldAndLeavesNoHalfFile) {
  static const std::string text(70000, 'x');
  const std::string swedish = TARNEL_SOURCE_DIR "/examples/swedish.lng";
  const auto truth = [](const char* name, const std::vector<Arg>& args) {
    return call_cell(name, args)->i != 0;
  };
  const auto write_by_handle = [&] {
    const int out = call_cell("fcreate", {"new"})->i;
    if (out < 0) return false;
    const bool written = call_cell("fwrite", {out, text})->i == static_cast<int>(text.size());
    const int failed = call_cell("ferror", {})->i;
    const bool closed = truth("fclose", {out});
    if (failed != 0) call("doserror", {failed});
    return written && closed;
  };
  struct Row {
    const char* name;
    std::function<bool()> operation;
    bool makes_copy;
    bool may_leave_part;
    int (*rename)(const char*, const char*) = ::rename;
  };
  const auto renames = [&] { return !truth("frename", {"source", "new"}); };
  const Row rows[] = {
      {"memowrit",
       [&] {
         return truth("memowrit", {"new", text});
       },
       true, false},
      {"memowrit over a file",
       [&] {
         return truth("memowrit", {"old", text});
       },
       false, false},
      {"handles", write_by_handle, true, true},
      {"memoread", [&] { return text_of(call_cell("memoread", {"source"})) == text; }, false,
       false},
      {"copy",
       [&] {
         return truth("__copyfile", {"source", "new"});
       },
       true, false},
      {"rename", renames, true, false},
      {"rename elsewhere", renames, true, false, rename_elsewhere},
      {"ferase", [&] { return !truth("ferase", {"old"}); }, false, false},
      {"loadlang",
       [&] {
         return truth("loadlang", {3, swedish});
       },
       false, false}};
  ASSERT_EQ(call("loadlang", {3, swedish}), "L T");
  call("setlang", {3});
  const FileOps system = file_ops();
  for (const Row& row : rows) {
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, row.name);
    bool done = false;
    file_ops().rename = row.rename;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kInterrupted, kNoDescriptors, kShortRead, kShortWrite},
        [&] {
          fs::remove("new");
          write("source", text);
          write("old", "old");
          set_dos_error(0);
        },
        [&] { done = row.operation(); },
        [&](const Fault* fault) {
          EXPECT_EQ(call_cell("ferror", {})->i, done ? 0 : fault->error);
          EXPECT_TRUE(done || (fault != nullptr && !harmless(*fault)));
          const std::string made = fs::exists("new") ? read("new") : "";
          EXPECT_TRUE(row.may_leave_part || made.empty() || made == text);
          EXPECT_TRUE(!done || !row.makes_copy || made == text);
          EXPECT_TRUE(made == text || read("source") == text) << "lost";
          const std::string old = fs::exists("old") ? read("old") : "old";
          EXPECT_TRUE(old == "old" || (done && old == text)) << "of " << old.size();
          take_errors();
          EXPECT_EQ(call("upper", {"\xe5"}), "C \xc5") << "the language in use stays";
        });
    EXPECT_GT(runs, 0);
  }
  file_ops() = system;
  call("setlang", {0});
}

TEST_F(Files, AFileThatIsWrittenAnewKeepsItsNamesAndRights) {
  const auto write_to = [](const char* name) { return call("memowrit", {name, "new"}); };
  write("own", "former text");
  ASSERT_EQ(::chmod("own", 0640), 0);
  fs::create_symlink("own", "link");
  fs::create_symlink("missing", "link to nothing");
  write("first", "former text");
  fs::create_hard_link("first", "second");
  for (const char* name : {"link", "link to nothing", "first", "/dev/null"})
    EXPECT_EQ(write_to(name), "L T") << name;
  EXPECT_EQ(read("own"), "new");
  EXPECT_EQ(call("fattrib", {"own"}), "I " + std::to_string(0640));
  EXPECT_TRUE(fs::is_symlink("link") && fs::is_symlink("link to nothing"));
  EXPECT_EQ(read("missing"), "new");
  EXPECT_EQ(read("second"), "new");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_NE(fs::status("/dev/null").permissions() & fs::perms::others_write, fs::perms::none);
  EXPECT_EQ(write_to("sub"), "L F") << "a directory";
  const int handle = call_cell("fopen", {"own"})->i;
  EXPECT_EQ(call("memowrit", {"own", "again"}), "L T");
  EXPECT_EQ(call("freadstr", {handle, 9}), "C again") << "who has it open sees it";
  call("fclose", {handle});
}

TEST_F(Files, DirectoriesAreListedSorted) {
  write("b.txt", "12345");
  write("a.txt", "");
  write(".hidden", "");
  write("sub/plain", "");
  EXPECT_EQ(call("directory", {"sub/*.*"}), "A 1") << "a name without a point counts too";
  fs::remove("sub/plain");
  Var* files = call_cell("directory", {"*.txt"});
  ASSERT_EQ(show(files), "A 2");
  Var* second = element(files, 2);
  EXPECT_EQ(show(element(second, 1)), "C b.txt");
  EXPECT_EQ(show(element(second, 2)), "N 5");
  EXPECT_EQ(element(second, 3)->type, 'D');
  EXPECT_EQ(show(call_cell("directory", {"", "DH"})), "A 6") << "with ., .., sub and .hidden";
  EXPECT_EQ(call("curdir", {}), "C " + fs::current_path().string());
  EXPECT_EQ(call("_setdir", {"sub"}), "L T");
  EXPECT_EQ(call("_setdir", {"none"}), "L F");
  EXPECT_EQ(call("directory", {}), "A 0");
}

}  // namespace
}  // namespace tarnel::testing
