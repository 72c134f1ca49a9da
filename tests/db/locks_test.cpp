// Locks between areas of one process and between real processes, in both lock schemes.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "core/classes.h"
#include "core/file_ops.h"
#include "core/switched.h"
#include "core/symbols.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

// Runs with the parameter as the lock40comp setting.
class Locks : public TableTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    settings().lock40comp = GetParam();
    ASSERT_TRUE(create("t", {{"n", "N", 10, 0}, {"who", "C", 20, 0}}));
  }
  void fill(int n) {
    ASSERT_TRUE(open("t", Use::kExclusive));
    for (int i = 0; i < n; ++i) ASSERT_EQ(run("dbappend(), n := 0"), "N 0");
    call("dbclosearea");
  }
  // In the older scheme a file lock covers the claims too: while one is held, nobody else can open.
  bool open_beside_file_locks() {
    bool opened = open("t", Use::kShared);
    for (int i = 0; !opened && GetParam() && i < 20000; ++i) {
      usleep(200);
      opened = open("t", Use::kShared);
    }
    return opened;
  }
  std::int32_t n() { return integer_of(RESOLVE_NAME(ADD_SYMBOL("n"))); }
};
INSTANTIATE_TEST_SUITE_P(BothSchemes, Locks, ::testing::Bool(), [](const auto& scheme) {
  return scheme.param ? std::string("Lock40comp") : std::string("Default");
});

TEST_P(Locks, ClaimsOfOtherProcessesDecideAboutAnOpen) {
  const auto creates = [] { return create("t", {{"x", "C", 1, 0}}); };
  ASSERT_TRUE(open("t", Use::kShared));
  EXPECT_EQ(count("dbinfo", {integer(1000)}), 0);  // holders besides the asking one
  EXPECT_TRUE(elsewhere("dbinfo(1000) = 1"));
  EXPECT_FALSE(elsewhere("used()", Use::kExclusive));
  call("dbclosearea");
  // A new table over an old one waits for nobody: not even those that only read it.
  const std::string before = read_file("t.dbf");
  ASSERT_TRUE(open("t", Use::kReadOnly));
  EXPECT_FALSE(elsewhere(creates));
  EXPECT_EQ(read_file("t.dbf"), before);
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_FALSE(elsewhere("used()"));
  EXPECT_FALSE(elsewhere(creates));
  call("dbclosearea");
  EXPECT_TRUE(elsewhere("used()", Use::kExclusive));
}

// POSIX drops them all when any descriptor of the file is closed.
TEST_P(Locks, FileFunctionsOnAnOpenTableLeaveItsLocks) {
  fill(3);
  ASSERT_EQ(link("t.dbf", "linked"), 0);
  ASSERT_TRUE(open("t", Use::kShared) && yes("rlock", {integer(2)}));
  const struct {
    const char *use, *gives;
  } uses[] = {{"len(memoread('t.dbf'))", "I 190"},
              {"len(memoread('linked'))", "I 190"},
              {"fclose(fopen('t.dbf', 0))", "L T"},
              {"fclose(fopen('t.dbf', 1))", "L T"},
              {"fclose(fopen('t.dbf', 2))", "L T"},
              {"__copyfile('t.dbf', 'backup')", "L T"},
              {"__copyfile('backup', 't.dbf')", "L T"},
              {"memowrit('t.dbf', memoread('backup'))", "L T"},
              {"loadlang(1, 't.dbf')", "L F"},
              {"set(19, 't.dbf', .t.), set(19, '')", "C t.dbf"},
              {"dbcreate('t', {{'x', 'C', 1, 0}})", "L F"}};
  // First it forgets what the process knows of the areas it came from.
  const auto stranger = [&](const char* open_as) {
    return elsewhere([&] {
      return run(std::string("dbcloseall(), dbusearea(.T., , 't', , ") + open_as) == "L T";
    });
  };
  for (const auto& [use, gives] : uses) {
    EXPECT_EQ(run(use), gives) << use;
    EXPECT_FALSE(stranger(".T.) .and. rlock(2)")) << use;
    EXPECT_FALSE(stranger(".F.)")) << use;
  }
  take_errors();
  call("dbclosearea");
  EXPECT_TRUE(stranger(".F.)")) << "the last user closes";
}

TEST_P(Locks, SecondAreaOfOneProcessCannotTakeWhatTheFirstHolds) {
  fill(3);
  ASSERT_TRUE(open("t", Use::kShared) && open("t", Use::kShared));
  EXPECT_EQ(table().dbfFd, dbf_of(area_by_number(1)->server()).dbfFd) << "one descriptor for both";
  EXPECT_EQ(run("rlock()"), "L T");
  EXPECT_EQ(run("dbselectarea(1), rlock() .or. flock()"), "L F");
  EXPECT_EQ(run("rlock(2)"), "L T");
  EXPECT_FALSE(open("t", Use::kExclusive));
  call("dbselectarea", {integer(2)});
  call("dbclosearea");  // leaves the descriptor, and with it the lock of the first area
  EXPECT_FALSE(elsewhere("rlock(2)"));
  EXPECT_FALSE(elsewhere("flock()"));
  EXPECT_TRUE(elsewhere("rlock(3)"));
  run("dbselectarea(1), dbunlock()");
  EXPECT_TRUE(elsewhere("rlock(2)"));
  take_errors();
}

TEST_P(Locks, InternalLockSurvivesAnOperationOfAnotherAreaOnTheSameFile) {
  fill(1);
  ASSERT_TRUE(open("t", Use::kShared));
  DbfIdx& first = table();
  ASSERT_TRUE(open("t", Use::kShared) && writeLock(first));
  call("dbcommit");
  EXPECT_FALSE(elsewhere([] {
    alarm(1);  // the other process must still wait
    return open("t", Use::kShared);
  }));
  unlockInternal(first);
  EXPECT_TRUE(elsewhere("used()"));
}

TEST_P(Locks, ListOfLocksGrowsAndShrinks) {
  fill(40);
  settings().multilocks = true;
  ASSERT_TRUE(open("t", Use::kShared));
  for (int i = 17; i >= 1; --i) {
    ASSERT_TRUE(yes("rlock", {integer(i)}));
    ASSERT_TRUE(yes("rlock", {integer(i)}));  // held already: counts once
  }
  EXPECT_EQ(table().locks.records.count(), 17);
  EXPECT_EQ(table().locks.records.capacity(), 32);
  EXPECT_EQ(show(element(call("dbrlocklist"), 5)), "I 5");
  for (int i = 17; i > 15; --i) call("dbunlock", {integer(i)});
  EXPECT_EQ(table().locks.records.capacity(), 16);
  ASSERT_TRUE(yes("dbunlock"));
  EXPECT_EQ(table().locks.records.count(), 0);
}

TEST_P(Locks, WithoutMultilocksALockDropsTheOthers) {
  fill(3);
  ASSERT_TRUE(open("t", Use::kShared));
  EXPECT_EQ(run("rlock(), rlock(3, 2), len(dbrlocklist()) * 10 + dbrlocklist()[1]"), "I 13");
  EXPECT_EQ(run("dbappend(), len(dbrlocklist()) * 10 + dbrlocklist()[1]"), "I 14");
  EXPECT_EQ(run("dbappend(.F.), len(dbrlocklist())"), "I 2");
}

TEST_P(Locks, LockShowsTheLatestState) {
  fill(1);
  ASSERT_TRUE(open("t", Use::kShared));
  EXPECT_EQ(n(), 0);
  EXPECT_TRUE(elsewhere("rlock(), n := 5, dbappend()"));
  EXPECT_EQ(n(), 0);
  EXPECT_FALSE(yes("dbinfo", {integer(32)}) && n() != 0);
  EXPECT_EQ(run("rlock(), n * 10 + lastrec()"), "N 52");
  EXPECT_EQ(run("dbserver():rlockverify()"), "L T");
  call("dbunlock");
  EXPECT_TRUE(elsewhere("rlock(), n := 6, dbappend()"));
  EXPECT_EQ(run("dbserver():rlockverify()"), "L F");
  EXPECT_EQ(run("dbskip(0), dbserver():rlockverify()"), "L T");
}

TEST_P(Locks, ExclusiveAndReadOnlyTables) {
  fill(1);
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(run("rlock(), len(dbrlocklist())"), "I 0");
  call("dbclosearea");
  ASSERT_TRUE(open("t", Use::kReadOnly));
  EXPECT_TRUE(elsewhere("rlock()", Use::kReadOnly));
  EXPECT_EQ(run("dbcommit()"), "L T");
}

TEST_P(Locks, EightProcessesAppendEveryRecordWhole) {
  constexpr int kProcesses = 8, kEach = 10000;
  int pipe_ends[2];
  ASSERT_EQ(pipe(pipe_ends), 0);
  const auto beside = [&](const std::function<void()>& act) {
    return start_process([&] {
      close(pipe_ends[1]);
      fcntl(pipe_ends[0], F_SETFL, O_NONBLOCK);
      if (!open_beside_file_locks()) _exit(2);
      for (char c; read(pipe_ends[0], &c, 1) != 0;) act();
    });
  };
  // A reader all along: the count never goes down and every record read is whole.
  std::int32_t seen = 0;
  const pid_t reader = beside([&] {
    const std::int32_t mark = temp_top(), now = count("lastrec");
    if (now < seen) _exit(3);
    seen = now;
    call("dbgoto", {integer(seen)});
    const std::string who(text_of(RESOLVE_NAME(ADD_SYMBOL("who"))));
    if (who.find_first_not_of(who.front()) != std::string::npos) _exit(4);
    POP_TEMPS(mark);
  });
  // And one that holds the file lock at random moments.
  const pid_t locker = beside([] {
    if (yes("flock")) usleep(300);
    call("dbunlock");
    usleep(500);
  });
  close(pipe_ends[0]);
  const int failed = run_processes(kProcesses, [&](int index) {
    close(pipe_ends[1]);
    if (!open_beside_file_locks()) return false;
    const std::string who(20, static_cast<char>('a' + index));
    for (int i = 0; i < kEach; ++i) {
      const std::int32_t mark = temp_top();
      while (!yes("dbappend")) usleep(100);  // the file lock of another
      put("n", integer(i));
      put("who", text(who));
      POP_TEMPS(mark);
    }
    return true;
  });
  close(pipe_ends[1]);
  EXPECT_EQ(failed, 0);
  EXPECT_TRUE(ended_well(reader));
  EXPECT_TRUE(ended_well(locker));
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(count("lastrec"), kProcesses * kEach);
  EXPECT_EQ(read_file("t.dbf").size(), 97u + 31u * kProcesses * kEach);
  int next[kProcesses] = {};
  for (int r = 1; r <= kProcesses * kEach; ++r, call("dbskip")) {
    const std::int32_t mark = temp_top();
    const std::string who(text_of(RESOLVE_NAME(ADD_SYMBOL("who"))));
    const int process = who[0] - 'a';
    ASSERT_TRUE(process >= 0 && process < kProcesses && who == std::string(20, who[0])) << r << who;
    ASSERT_EQ(n(), next[process]++) << r;
    POP_TEMPS(mark);
  }
  EXPECT_EQ(*std::min_element(std::begin(next), std::end(next)), kEach);
}

TEST_P(Locks, SharedOpensAtTheSameMomentDoNotHinderEachOther) {
  fill(1);
  const auto opens = [](int) {
    for (int i = 0; i < 200; ++i)
      if (!open("t", Use::kShared) || !yes("dbclosearea")) return false;
    return true;
  };
  EXPECT_EQ(run_processes(8, opens), 0);
}

TEST_P(Locks, EightProcessesRaiseOneCounter) {
  constexpr int kProcesses = 8, kEach = 5000;
  fill(1);
  const int failed = run_processes(kProcesses, [&](int) {
    if (!open("t", Use::kShared)) return false;
    for (int i = 0; i < kEach; ++i) {
      const std::int32_t mark = temp_top();
      while (!yes("rlock", {integer(1)})) usleep(20);
      put("n", integer(n() + 1));
      if (!yes("dbunlock")) return false;
      POP_TEMPS(mark);
    }
    return true;
  });
  EXPECT_EQ(failed, 0);
  ASSERT_TRUE(open("t", Use::kShared));
  EXPECT_EQ(n(), kProcesses * kEach);
}

// --- The ranges as literals: every running process shares them, so they never move.

// The locks on a file that another process sees, in their order.
std::string ranges(const std::string& path) {
  int report[2];
  EXPECT_EQ(pipe(report), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    std::string seen;
    for (off_t at = 0;;) {
      struct flock range {};
      range.l_type = F_WRLCK;
      range.l_start = at;
      if (fcntl(fd, F_GETLK, &range) != 0 || range.l_type == F_UNLCK) break;
      seen += format_text("%s %llx+%llx ", range.l_type == F_RDLCK ? "R" : "W",
                          static_cast<unsigned long long>(range.l_start),
                          static_cast<unsigned long long>(range.l_len));
      if (range.l_len == 0) break;
      at = range.l_start + range.l_len;
    }
    // Not by way of the tables: to close them would wait for the locks that are looked at.
    _exit(write(report[1], seen.data(), seen.size()) < 0 ? 1 : 0);
  }
  close(report[1]);
  char text[512];
  const ssize_t n = read(report[0], text, sizeof text);
  close(report[0]);
  EXPECT_TRUE(ended_well(pid));
  return {text, static_cast<std::size_t>(std::max<ssize_t>(n, 0))};
}

TEST_F(TableTest, LocksLieWhereEveryProcessLooksForThem) {
  const auto look = [] { return ranges("t.dbf"); };
  const auto with = [](bool (*place)(DbfIdx&)) {
    const bool held = place(table());
    const std::string seen = ranges("t.dbf");
    unlockInternal(table());
    return held ? seen : "not held";
  };
  const auto after = [&](const char* function) {
    return yes(function) ? ranges("t.dbf") : std::string("refused");
  };
  const auto of_order = [] {
    return yes("dbsetindex", {text("o")}) ? ranges("o.idx") : std::string("refused");
  };
  const struct {
    const char* what;
    Use use;
    std::function<std::string()> act;
    const char *standard, *older;
  } cases[] = {
      {"shared", Use::kShared, look, "R 7ffffbfc+1 ", "W 3ffff7ff+1 "},
      {"exclusive", Use::kExclusive, look, "R 7ffffbf6+407 ", "W 3ffff7ff+400 "},
      {"read-only", Use::kReadOnly, look, "R 7ffffbfc+1 ", "R 3ffff7ff+1 "},
      {"reader", Use::kShared, [&] { return with(readLock); }, "R 0+2 R 7ffffbfc+1 ",
       "W 3ffff7ff+1 W 3ffffc01+1 "},
      {"writer", Use::kShared, [&] { return with(writeLock); }, "W 0+2 R 7ffffbfc+1 ",
       "W 3ffff7ff+1 W 3ffffc00+0 "},
      {"record", Use::kShared, [&] { return after("rlock"); }, "W 6b+a R 7ffffbfc+1 ",
       "W 6b+a W 3ffff7ff+1 "},
      {"record, read-only", Use::kReadOnly, [&] { return after("rlock"); }, "R 6b+a R 7ffffbfc+1 ",
       "R 6b+a R 3ffff7ff+1 "},
      {"new record", Use::kShared, [&] { return after("dbappend"); }, "W 7f+a R 7ffffbfc+1 ",
       "W 7f+a W 3ffff7ff+1 "},
      // Under the older scheme it covers the claim, and ends where an internal lock was given back.
      {"file", Use::kShared, [&] { return after("flock"); }, "W 20+7ffff7d6 R 7ffffbfc+1 ",
       "W 20+3ffffbe0 "},
      {"order", Use::kShared, of_order, "R 6+1 ", "R 6+1 "},
      {"exclusive order", Use::kExclusive, of_order, "R 0+407 ", "R 0+407 "}};
  for (const bool older : {false, true}) {
    settings().lock40comp = older;
    ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"c", "C", 4, 0}}) && open("t", Use::kExclusive));
    ASSERT_EQ(run("aeval(array(3), {|| dbappend()}), dbcreateindex('o', 'n'), dbclosearea()"),
              "L T");
    for (const auto& c : cases) {
      ASSERT_TRUE(open("t", c.use)) << c.what;
      call("dbgoto", {integer(2)});
      EXPECT_EQ(c.act(), older ? c.older : c.standard) << c.what;
      call("dbclosearea");
      EXPECT_EQ(ranges("t.dbf") + ranges("o.idx"), "") << c.what;
    }
  }
}

TEST_F(TableTest, ABlockOfAMemoFileIsTakenUnderTheLockOfItsFirstBytes) {
  static std::string seen;
  static decltype(FileOps::pwrite) real;
  real = file_ops().pwrite;
  for (const bool older : {false, true}) {
    settings().lock40comp = older;
    ASSERT_TRUE(create("u", {{"m", "M", 10, 0}}) && open("u", Use::kShared) && yes("dbappend"));
    const Switched<decltype(real)> looking(
        file_ops().pwrite, [](int fd, const void* bytes, std::size_t n, off_t at) {
          if (n == 4 && at == 0) seen += ranges("u.dbt");  // the word of the next free block
          return real(fd, bytes, n, at);
        });
    put("m", text("a memo"));
    EXPECT_EQ(std::exchange(seen, {}), "W 0+4 ");
    EXPECT_EQ(ranges("u.dbt"), "");
    call("dbclosearea");
  }
}

}  // namespace
}  // namespace tarnel::testing
