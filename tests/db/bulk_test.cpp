// Operations on whole sets of records: whatever fails or dies on the way, what was there stays or what was
// asked for is there, and no temporary file is left.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "core/switched.h"
#include "tests/db/table_files.h"
#include "tests/db/table_test.h"
#include "tests/support/fail_nth.h"

namespace tarnel::testing {
namespace {

constexpr int kRecords = 12;
const char* const kFiles[] = {"t.dbf", "t.dbt", "byn.idx", "bywho.idx", "some.idx"};
using Records = std::vector<std::string>;

// A table with memos, some of them deleted, and three orders.
class Bulk : public TableTest {
 protected:
  // Flushing to the disk takes most of the time of a test that does it a thousand times.
  Bulk() : fsync_(file_ops().fsync, [](int) { return 0; }) {}

  void SetUp() override {
    ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"who", "C", 6, 0}, {"note", "M", 10, 0}}));
    ASSERT_TRUE(open("t", Use::kExclusive));
    for (int i = 1; i <= kRecords; ++i) {
      call("dbappend");
      put("n", integer(10 * i));
      put("who", text("w" + std::to_string(i)));
      put("note", text(std::string(static_cast<std::size_t>(90 * i), static_cast<char>('a' + i))));
      if (i % 3 == 2) call("dbdelete");
    }
    run("ordcreate('bywho', , 'who'), ordcreate('byn', , 'n')");
    ASSERT_EQ(run("ordcondset('n > 50', {|| n > 50}), ordcreate('some', , 'n')"), "L T");
    call("dbclosearea");
    for (const char* file : kFiles) saved_.push_back(read_file(file));
  }
  void put_back() {
    close_all_areas();
    remove_temporary();
    for (std::size_t i = 0; i < saved_.size(); ++i) write_file(kFiles[i], saved_[i]);
  }
  void open_again() {
    put_back();
    ASSERT_TRUE(open("t", Use::kExclusive));
    ASSERT_EQ(run("dbsetindex('byn'), dbsetindex('bywho'), dbsetindex('some')"), "L T");
    take_errors();
  }
  static std::vector<std::string> temporary_files() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("."))
      if (entry.path().filename().string().starts_with("new"))
        names.push_back(entry.path().filename().string());
    return names;
  }
  static void remove_temporary() {
    for (const std::string& name : temporary_files()) ::unlink(name.c_str());
  }
  static void expect_orders_agree_or_differ(const Records& records) {
    EXPECT_EQ(order_fault("byn.idx", "t.dbf", records, {1, 5}), "");
    EXPECT_EQ(order_fault("bywho.idx", "t.dbf", records, {6, 6}), "");
    EXPECT_EQ(
        order_fault("some.idx", "t.dbf", records, {1, 5},
                    [](const std::string& r) { return std::atoi(r.substr(1, 5).c_str()) > 50; }),
        "");
  }

 private:
  const Switched<int (*)(int)> fsync_;
  std::vector<std::string> saved_;
};

struct Rewriting {
  const char* expression;
  std::size_t records;
};
constexpr Rewriting kRewritings[] = {{"__dbpack()", 8}, {"__dbzap()", 0}};

TEST_F(Bulk, EachCallOfARewritingMayFail) {
  for (const auto& [expression, records] : kRewritings) {
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, expression);
    open_again();
    const Records before = records_of("t");
    ASSERT_EQ(run(expression), "L T") << take_errors();
    close_all_areas();
    const Records after = records_of("t");
    ASSERT_EQ(after.size(), records);
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kNoLocks, kShortWrite}, [&] { open_again(); },
        [&] { said = run(expression); },
        [&](const Fault* fault) {
          const std::string errors = take_errors();
          EXPECT_TRUE(said == "L T" || (fault != nullptr && !harmless(*fault)));
          EXPECT_EQ(said == "L T", errors.empty()) << errors;
          EXPECT_EQ(std::vector<std::string>(), temporary_files());
          close_all_areas();
          const Records now = records_of("t");
          EXPECT_TRUE(now == after || (now == before && said != "L T")) << now.size();
          expect_orders_agree_or_differ(now);
          ASSERT_TRUE(open("t", Use::kExclusive)) << take_errors();
          EXPECT_EQ(run(expression), "L T") << take_errors();
        });
    EXPECT_GT(runs, 40);
  }
}

TEST_F(Bulk, AProcessMayDieAtEachCallOfAPack) {
  open_again();
  const Records before = records_of("t");
  ASSERT_EQ(run("__dbpack()"), "L T");
  close_all_areas();
  const Records after = records_of("t");
  int finished = 0;
  for (int n = 1; finished == 0; ++n) {
    SCOPED_TRACE(n);
    put_back();
    finished = 1 - run_processes(1, [&](int) {
                 open_again();
                 const FailNth dying(kKill, n);
                 return run("__dbpack()") == "L T" && !FailNth::struck();
               });
    // Whoever comes first, whatever for.
    const Use use = n % 3 == 0 ? Use::kExclusive : n % 3 == 1 ? Use::kShared : Use::kReadOnly;
    ASSERT_TRUE(open("t", use)) << take_errors();
    const Records seen = records_of("t");
    EXPECT_TRUE(seen == before || seen == after);
    expect_orders_agree_or_differ(seen);
    EXPECT_EQ(run("dbgobottom(), len(note) / 90 * 10 = n"), "L T");
    call("dbclosearea");
    ASSERT_TRUE(open("t", Use::kExclusive)) << take_errors();
    EXPECT_EQ(run("__dbpack(), dbcount()"), "I 8") << take_errors();
    call("dbclosearea");
    EXPECT_EQ(records_of("t"), after);
    ASSERT_LT(n, 1000);
  }
  EXPECT_EQ(take_errors(), "");
}

// After a failure of the power a new name must not lead to a file without contents.
TEST_F(Bulk, APackIsOnTheDiskBeforeItHasTheName) {
  static std::string calls;
  const Switched<int (*)(int)> fsync(file_ops().fsync, [](int) { return calls += 'f', 0; });
  static const auto real = file_ops().rename;
  const Switched<int (*)(const char*, const char*)> renaming(
      file_ops().rename,
      [](const char* from, const char* to) { return calls += 'r', real(from, to); });
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(run("__dbpack()"), "L T");
  EXPECT_EQ(calls, "ffrfrf");
}

TEST_F(Bulk, APackKeepsModeAndLinks) {
  ASSERT_EQ(::mkdir("real", 0700), 0);
  for (const char* file : {"t.dbf", "t.dbt"}) {
    std::filesystem::rename(file, std::string("real/") + file);
    std::filesystem::create_symlink(std::string("real/") + file, file);
    ::chmod(file, file[4] == 'f' ? 0640 : 0604);
  }
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(run("__dbpack(), lastrec()"), "N 8") << take_errors();
  call("dbclosearea");
  EXPECT_TRUE(std::filesystem::is_symlink("t.dbf") && std::filesystem::is_symlink("t.dbt"));
  struct stat status {};
  ASSERT_EQ(::stat("real/t.dbf", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
  ASSERT_EQ(::stat("real/t.dbt", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0604U);
  ASSERT_TRUE(open("t", Use::kShared));
  EXPECT_EQ(run("lastrec(), dbgobottom(), len(note)"), "I 1080");
}

// An order that wasn't open may hold the counter that a new table would begin with.
TEST_F(Bulk, AnOrderThatMissedARewritingDiffers) {
  for (const auto& [expression, records] : kRewritings) {
    put_back();
    ASSERT_TRUE(open("t", Use::kExclusive));
    EXPECT_EQ(run(expression), "L T");
    call("dbclosearea");
    ASSERT_TRUE(open("t", Use::kExclusive) && yes("dbsetindex", {text("some")}));
    EXPECT_NE(count("dborderinfo", {integer(5002)}), 0) << expression;
    take_errors();
  }
}

}  // namespace
}  // namespace tarnel::testing
