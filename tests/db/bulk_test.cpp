// Operations on whole sets of records: whatever fails or dies on the way, what was there stays or what was
// asked for is there, and no temporary file is left.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "core/sequence.h"
#include "core/switched.h"
#include "db/area.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/bulk/restructure.h"
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
    open_with_orders();
  }
  static void open_with_orders() {
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
  for (const Rewriting& rewriting : kRewritings) {
    const std::string expression = rewriting.expression;
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, expression);
    open_again();
    const Records before = records_of("t");
    ASSERT_EQ(run(expression), "L T") << take_errors();
    close_all_areas();
    const Records after = records_of("t");
    ASSERT_EQ(after.size(), rewriting.records);
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull}, [&] { open_again(); }, [&] { said = run(expression); },
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
    EXPECT_GT(runs, 30);
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

// Gives the open table its fields in another order, with or without the memos.
bool restructure(bool with_memos) {
  DbfIdx& dbf = dbf_of(current_server());
  const KeepObject keep(dbf.object);
  std::vector<dbf::Field> fields = {dbf.fields[1], dbf.fields[0]};
  if (with_memos) fields.push_back(dbf.fields[2]);
  Restructure next(dbf, fields);
  if (!next.begin()) return false;
  FieldPlan plan;
  for (const dbf::Field& field : next.fields())
    if (!plan.add(dbf, field_position(dbf, field.name) - 1, field)) return false;
  const MemoSink memos{&next, [](void* table, std::string_view text) {
                         return static_cast<Restructure*>(table)->add_memo(text);
                       }};
  RecordPieces pieces(dbf, "restructure");
  while (pieces.next())
    for (std::int32_t i = 0; i < pieces.count(); ++i)
      if (!plan.fill_from(dbf, pieces.data() + i * dbf.recordSize, pieces.first() + i,
                          next.blank_record(), memos, "restructure") ||
          !next.add())
        return false;
  return !pieces.failed() && next.finish();
}

TEST_F(Bulk, EachCallOfAnotherStructureMayFailOrBeTheLast) {
  for (const bool with_memos : {true, false}) {
    SCOPED_TRACE(with_memos);
    open_again();
    const Records before = records_of("t");
    ASSERT_TRUE(restructure(with_memos)) << take_errors();
    const Records after = records_of("t");
    EXPECT_EQ(std::filesystem::exists("t.dbt"), with_memos);
    ASSERT_EQ(after.size(), before.size());
    bool done = false;
    const int runs = fail_each_call(
        {kIoError, kDiskFull}, [&] { open_again(); }, [&] { done = restructure(with_memos); },
        [&](const Fault*) {
          EXPECT_EQ(done, take_errors().empty());
          EXPECT_EQ(std::vector<std::string>(), temporary_files());
          close_all_areas();
          const Records now = records_of("t");
          EXPECT_TRUE(now == after || (now == before && !done)) << now.size();
          expect_orders_agree_or_differ(now);
        });
    EXPECT_GT(runs, 20);
    for (int n = 1, finished = 0; finished == 0; ++n) {
      SCOPED_TRACE(n);
      put_back();
      finished = 1 - run_processes(1, [&](int) {
                   open_again();
                   const FailNth dying(kKill, n);
                   return restructure(with_memos) && !FailNth::struck();
                 });
      ASSERT_TRUE(open("t", n % 2 == 0 ? Use::kExclusive : Use::kShared)) << take_errors();
      const Records seen = records_of("t");
      EXPECT_TRUE(seen == before || seen == after);
      EXPECT_EQ(run("dbgobottom(), fcount() = 2 .or. len(fieldget(3)) = 1080"), "L T");
      call("dbclosearea");
      ASSERT_LT(n, 1000);
    }
  }
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

// Nor may one of a table in whose place another one has come be taken for whole.
TEST_F(Bulk, AnOrderOfAFormerTargetDiffers) {
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run("__dbcopy('u')"), "L T");
  ASSERT_TRUE(open("u", Use::kExclusive, "UU"));
  ASSERT_EQ(run("ordcondset('n > 0', {|| n > 0}), ordcreate('uo', , 'n'), dbcloseall()"), "L T");
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run("__dbsort('u', 'n/D'), dbcloseall()"), "L T");
  ASSERT_TRUE(open("u", Use::kExclusive, "UU"));
  EXPECT_TRUE(yes("dbsetindex", {text("uo")}));
  EXPECT_NE(count("dborderinfo", {integer(5002)}), 0);
}

// Whatever fails: the former target or the new one is there, and the source is as it was.
TEST_F(Bulk, EachCallOfACopyMayFail) {
  open_again();
  ASSERT_EQ(run("__dbcopy('old', , 'n < 40'), __dbcopy('s', {'who', 'note'}, 'n < 30')"), "L T");
  const std::string table = read_file("old.dbf"), memos = read_file("old.dbt");
  const Records before = records_of("old"), source = records_of("t");
  for (const std::string expression :
       {"__dbcopy('u', {'who', 'n', 'note'})", "__dbsort('u', {'who/D'})",
        "__dbtotal('u', 'n > 60', 'n')", "__dbjoin('s', 'u', , 'who == s->who')"}) {
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, expression);
    const auto prepare = [&] {
      close_all_areas();
      open_with_orders();
      write_file("u.dbf", table);
      write_file("u.dbt", memos);
      ASSERT_EQ(run("dbusearea(.T., , 's', , .T.), dbselectarea('T'), used()"), "L T");
    };
    prepare();
    ASSERT_EQ(run(expression), "L T") << take_errors();
    close_all_areas();
    const Records after = records_of("u");
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kNoLocks}, prepare, [&] { said = run(expression); },
        [&](const Fault* fault) {
          const std::string errors = take_errors();
          EXPECT_TRUE(said == "L T" || (fault != nullptr && !harmless(*fault)));
          EXPECT_EQ(said == "L T", errors.empty()) << errors;
          EXPECT_EQ(std::vector<std::string>(), temporary_files());
          EXPECT_EQ(run("dbgotop(), select()"), "I 1");
          close_all_areas();
          EXPECT_EQ(records_of("t"), source);
          const Records now = records_of("u");
          EXPECT_TRUE(said == "L T" ? now == after : now == before || now == after);
          ASSERT_TRUE(open("u", Use::kExclusive)) << take_errors();
        });
    EXPECT_GT(runs, 30);
  }
}

// What was there stays, and what is added is whole records of the source, from its first on.
TEST_F(Bulk, EachCallOfAnAppendMayFail) {
  open_again();
  ASSERT_EQ(run("__dbcopy('s', , 'n < 60')"), "L T");
  const Records added = records_of("s"), before = records_of("t");
  for (const bool shared : {true, false}) {
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kNoLocks},
        [&] {
          open_again();
          if (shared)
            run("dbclosearea(), dbusearea(.T., , 't', , .T.), dbsetindex('byn'), "
                "dbsetindex('bywho')");
        },
        [&] { said = run("__dbapp('s')"); },
        [&](const Fault*) {
          const std::string errors = take_errors();
          EXPECT_EQ(said == "L T", errors.empty()) << errors;
          EXPECT_TRUE(area_list() == nullptr || area_list()->next == nullptr);
          EXPECT_EQ(run("dbunlock()"), "L T");
          close_all_areas();
          take_errors();
          Records now = records_of("t");
          ASSERT_GE(now.size(), before.size());
          expect_orders_agree_or_differ(now);
          const Records new_ones(now.begin() + static_cast<std::ptrdiff_t>(before.size()),
                                 now.end());
          now.resize(before.size());
          EXPECT_EQ(now, before);
          ASSERT_LE(new_ones.size(), added.size());
          EXPECT_TRUE(std::equal(new_ones.begin(), new_ones.end(), added.begin()));
          EXPECT_TRUE(said != "L T" || new_ones.size() == added.size());
        });
    EXPECT_GT(runs, 30);
  }
}

TEST_F(Bulk, EachCallOfAnUpdateMayFail) {
  const auto prepare = [&](bool shared) {
    open_again();
    ASSERT_EQ(run("dbsetorder(0), __dbcopy('s', , 'n < 60'), dbsetorder(1), dbusearea(.T., , 's', "
                  ", .T.)"),
              "L T");
    run("dbselectarea('T')");
    if (shared)
      run("dbclosearea(), dbselectarea(1), dbusearea(.F., , 't', , .T.), dbsetindex('byn')");
  };
  for (const bool shared : {true, false}) {
    const std::string update = "__dbupdate('s', 'n', .T., {|| t->n := s->n + 500})";
    prepare(shared);
    const Records before = records_of("t");
    ASSERT_EQ(run(update), "L T") << take_errors();
    close_all_areas();
    const Records after = records_of("t");
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kNoLocks}, [&] { prepare(shared); }, [&] { said = run(update); },
        [&](const Fault*) {
          const std::string errors = take_errors();
          EXPECT_TRUE(said == "L T" || !errors.empty());
          close_all_areas();
          const bool told = !errors.empty() || !take_errors().empty();
          const Records now = records_of("t");
          ASSERT_EQ(now.size(), before.size());
          for (std::size_t i = 0; i < now.size(); ++i)
            EXPECT_TRUE(now[i] == after[i] || (told && now[i] == before[i])) << i;
          EXPECT_EQ(order_fault("byn.idx", "t.dbf", now, {1, 5}), "");
        });
    EXPECT_GT(runs, 30);
  }
}

// The handler of an error closes all tables, opens them again, or leaves by break, each in its turn.
TEST_F(Bulk, HandlersMayCloseReopenOrBreakAtEachFault) {
  static int turn;
  const auto handler = [](std::int32_t, Var**, Var**) {
    if (turn % 3 == 0) return call("break", {integer(1)});
    call("dbcloseall");
    if (turn % 3 == 1) open("t", Use::kShared);
    return nil_value();
  };
  open_again();
  ASSERT_EQ(run("__dbcopy('s', , 'n < 30')"), "L T");
  Var* former = call("errorblock");
  for (const std::string expression :
       {"__dbpack()", "__dbcopy('u', {'note', 'n'})", "__dbapp('s', {'n', 'note'})",
        "__dbsort('u', 'who')", "__dbtotal('u', 'n', 'n')", "__dbjoin('S', 'u', , 'n = s->n')",
        "__dbupdate('S', 'n', .T., {|| t->who := s->who})"}) {
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, expression);
    const std::int32_t mark = temp_top();
    fail_each_call(
        {kIoError},
        [&] {
          open_again();
          run("dbusearea(.T., , 's', 'S', .T.), dbselectarea('T')");
          ++turn;
          call("errorblock", {TMP_BLOCK(handler)});
        },
        [&] { in_sequence([&] { run(expression); }); },
        [&](const Fault*) {
          call("errorblock", {former});
          call("dbcloseall");
          take_errors();
          EXPECT_EQ(std::vector<std::string>(), temporary_files());
          const auto usable = [](int) {
            return open("t", Use::kExclusive) && run("dbcount() >= 8") == "L T";
          };
          EXPECT_EQ(run_processes(1, usable), 0);
          expect_orders_agree_or_differ(records_of("t"));
          POP_TEMPS(mark);
        });
  }
}

// Records that wait for their write have no keys yet.
TEST_F(Bulk, AnOrderThatAHandlerOpensGetsTheKeysOfWhatWaits) {
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run("__dbcopy('s', {'n', 'who', 'note'}), dbclosearea()"), "L T");
  std::string source = read_file("s.dbf");
  source.replace(129 + 22 * 4 + 12, 10, "       999");
  write_file("s.dbf", source);
  ASSERT_TRUE(open("t", Use::kExclusive));
  Var* former = call("errorblock");
  const auto handler = [](std::int32_t, Var**, Var**) { return call("dbsetindex", {text("byn")}); };
  call("errorblock", {TMP_BLOCK(handler)});
  EXPECT_EQ(run("__dbapp('s')"), "L F");
  call("errorblock", {former});
  EXPECT_EQ(run("dbcloseall()"), "L T");
  const Records records = records_of("t");
  EXPECT_EQ(records.size(), kRecords + 4U);
  EXPECT_EQ(order_fault("byn.idx", "t.dbf", records, {1, 5}), "");
  EXPECT_EQ(take_errors(), "");
}

struct Refused {
  const char *what, *expression, *error;
};
TEST_F(Bulk, WhatIsInUseOrNoTableIsRefusedAndStays) {
  ASSERT_TRUE(create("u", {{"n", "N", 5, 0}}) && create("r", {{"n", "N", 5, 0}}));
  write_file("w.dbf", "no table");
  ASSERT_EQ(::mkdir("dir.dbf", 0700), 0);
  ASSERT_EQ(::symlink("t.dbf", "link.dbf"), 0);
  ASSERT_TRUE(open("u", Use::kShared, "UU") && open("t", Use::kShared));
  const Refused rows[] = {
      {"onto itself", "__dbcopy('t')", "322"},
      {"onto itself through a link", "__dbcopy('link')", "322"},
      {"onto an open table", "__dbcopy('u')", "322"},
      {"the structure onto an open table", "__dbcopyst('u')", "322"},
      {"onto what is no table", "__dbcopy('w')", "322"},
      {"onto a directory", "__dbcopy('dir')", "322"},
      {"into no directory", "__dbcopy('nowhere/u')", "105"},
      {"from itself", "__dbapp('t')", "101"},
      {"from itself through a link", "__dbapp('link')", "101"},
      {"from what is no table", "__dbapp('w')", "101"},
      {"from a directory", "__dbapp('dir')", "101"},
      {"from nothing", "__dbapp('nowhere')", "101"},
  };
  const std::string table = read_file("t.dbf"), other = read_file("u.dbf");
  for (const auto& [what, expression, error] : rows) {
    EXPECT_EQ(run(expression), "L F") << what;
    const std::string errors = take_errors();
    EXPECT_TRUE(errors.starts_with(error) && errors.find("DBFIDX", 5) == std::string::npos)
        << what << errors;
    EXPECT_EQ(run("alias()"), "C T");
  }
  EXPECT_EQ(read_file("t.dbf") + read_file("u.dbf") + read_file("w.dbf"),
            table + other + "no table");
  EXPECT_EQ(run("__dbapp('r')"), "L T");
  // Another process has the table locked.
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t other_process = start_process([&] {
    const bool held = open("t", Use::kShared) && yes("flock");
    static_cast<void>(!::write(ready[1], held ? "y" : "n", 1));
    for (;;) ::pause();
  });
  char held = 0;
  ASSERT_EQ(::read(ready[0], &held, 1), 1);
  ASSERT_EQ(held, 'y');
  EXPECT_EQ(run("__dbapp('u')"), "L F");
  EXPECT_TRUE(take_errors().starts_with("325 "));
  ::kill(other_process, SIGKILL);
  ASSERT_FALSE(ended_well(other_process));
}

// A text is the former one or whole; of one that is read the records before the failure stay.
TEST_F(Bulk, EachCallOfATextMayFail) {
  open_again();
  ASSERT_EQ(run("__dbcopyde('s', , , 'n < 30')"), "L T");
  const std::string whole = read_file("s.txt"), former = "former";
  const Records before = records_of("t");
  const auto lines = static_cast<std::size_t>(std::count(whole.begin(), whole.end(), '\n'));
  for (const std::string expression : {"__dbcopyde('u', , , 'n < 30')", "__dbappgen('s')"}) {
    const ::testing::ScopedTrace trace(__FILE__, __LINE__, expression);
    std::string said;
    const int runs = fail_each_call(
        {kIoError, kDiskFull, kNoLocks, kNoDescriptors, kShortWrite},
        [&] {
          open_again();
          write_file("u.txt", former);
        },
        [&] { said = run(expression); },
        [&](const Fault*) {
          const std::string errors = take_errors();
          EXPECT_EQ(said == "L T", errors.empty()) << errors;
          EXPECT_EQ(std::vector<std::string>(), temporary_files());
          close_all_areas();
          take_errors();
          const std::string text = read_file("u.txt");
          EXPECT_TRUE(text == former || text == whole) << text;
          Records now = records_of("t");
          ASSERT_GE(now.size(), before.size());
          EXPECT_LE(now.size(), before.size() + lines);
          now.resize(before.size());
          EXPECT_EQ(now, before);
        });
    EXPECT_GT(runs, 20);
  }
}

TEST_F(Bulk, ABreakOrAQuitLeavesNoFileAndNoArea) {
  for (const char* expression : {"__dbcopy('u', , {|| iif(n = 30, break(1), .T.)})",
                                 "__dbapp('t2', , {|| iif(n = 30, break(1), .T.)})"}) {
    open_again();
    ASSERT_EQ(run("__dbcopy('t2')"), "L T");
    EXPECT_NE(in_sequence([&] { run(expression); }), nullptr);
    EXPECT_EQ(std::vector<std::string>(), temporary_files());
    EXPECT_EQ(run("alias()"), "C T");
    EXPECT_EQ(area_list()->next, nullptr);
    EXPECT_FALSE(std::filesystem::exists("u.dbf"));
  }
  put_back();
  run_processes(1, [](int) {
    return open("t", Use::kExclusive) &&
           run("__dbcopy('u', , {|| iif(n = 30, __quit(), .T.)})") == "";
  });
  EXPECT_EQ(std::vector<std::string>(), temporary_files());
  EXPECT_FALSE(std::filesystem::exists("u.dbf"));
}

TEST_F(Bulk, ProcessesThatAppendAtOnceLoseNothing) {
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run("__dbcopy('s'), dbclosearea()"), "L T");
  EXPECT_EQ(run_processes(3,
                          [](int) {
                            if (!open("t", Use::kShared) || !yes("dbsetindex", {text("byn")}))
                              return false;
                            for (int done = 0; done < 5;) {
                              if (run("__dbapp('s')") == "L T")
                                ++done;
                              else if (!take_errors().starts_with("325 "))
                                return false;
                            }
                            return true;
                          }),
            0);
  // Those of two processes may come in turn; none ends halfway and does some of them again.
  const Records records = records_of("t");
  Records sorted = records, expected;
  for (int i = 0; i < 16; ++i)
    expected.insert(expected.end(), records.begin(), records.begin() + kRecords);
  std::sort(sorted.begin(), sorted.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(sorted, expected);
  EXPECT_EQ(order_fault("byn.idx", "t.dbf", records, {1, 5}), "");
}

}  // namespace
}  // namespace tarnel::testing
