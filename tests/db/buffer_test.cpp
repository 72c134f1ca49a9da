// What the engine believes of the record in memory and of the header, while others write the file,
// calls fail and processes are killed.
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "core/file_ops.h"
#include "core/sequence.h"
#include "core/settings.h"
#include "core/symbols.h"
#include "db/dbfidx/method/methods.h"
#include "tests/db/table_test.h"
#include "tests/support/fail_nth.h"

namespace tarnel::testing {
namespace {

Var* break_out(std::int32_t, Var** argv, Var**) {
  break_sequence(argv[0]);
}

class Buffer : public TableTest {
 protected:
  void make(int records, Use use) {
    ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"c", "C", 4, 0}}) && open("t", Use::kExclusive));
    for (int i = 1; i <= records; ++i) run("dbappend(), n := " + std::to_string(i));
    if (use == Use::kExclusive) return;
    call("dbclosearea");
    ASSERT_TRUE(open("t", use));
  }
  static std::string code() { return take_errors().substr(0, 4); }
  static void replace_bytes(std::int64_t at, const std::string& bytes) {
    const int fd = ::open("t.dbf", O_WRONLY | O_CLOEXEC);
    EXPECT_TRUE(write_at(fd, bytes.data(), bytes.size(), at));
    // Left open: a close would drop the locks that the table has.
  }
};

TEST_F(Buffer, ShowsRecordsThatCameOrChangedElsewhere) {
  make(2, Use::kShared);
  run("dbgobottom(), dbskip()");  // on the phantom, record 3
  EXPECT_TRUE(elsewhere("dbappend(), n := 33, dbcommit()"));
  EXPECT_EQ(run("dbgoto(3), n"), "N 33");

  EXPECT_EQ(run("dbgoto(1), n"), "N 1");
  call("dbgoto", {integer(2)});
  EXPECT_TRUE(elsewhere("dbgoto(1), rlock(), n := 11, dbcommit()"));
  settings().multilocks = true;
  EXPECT_TRUE(yes("rlock", {integer(1)}));  // of a record that is not under the cursor
  EXPECT_EQ(run("dbgoto(1), c := 'mine', dbunlock(), n"), "N 11");
}

// A walk reads a run of records under one lock.
TEST_F(Buffer, WhatIsReadAheadIsBelievedForAMoment) {
  constexpr timespec kLonger = {0, 11'000'000};
  make(8, Use::kShared);
  const std::string walk =
      "dbgoto(1), n, dbskip(), n, dbskip(), n, dbskip(), n, dbskip(), n, dbskip(), n";
  EXPECT_EQ(run(walk), "N 6");
  EXPECT_TRUE(elsewhere("dbgoto(7), rlock(), n := 70, dbcommit()"));
  nanosleep(&kLonger, nullptr);
  EXPECT_EQ(run("dbskip(), n"), "N 70");
  int expected = 70;
  for (const char* look : {"rlock()", "flock()", "dbskip(0)"}) {
    EXPECT_EQ(run(walk + ", dbskip(), recno()"), "N 7") << look;
    EXPECT_TRUE(elsewhere("dbgoto(7), rlock(), n := n + 1, dbcommit()"));
    EXPECT_EQ(run(std::string(look) + ", n"), "N " + std::to_string(++expected)) << look;
    call("dbunlock");
  }
}

TEST_F(Buffer, StopsAtAHeaderThatIsNoLongerTheTables) {
  make(3, Use::kShared);
  const std::string good = read_file("t.dbf");
  for (const auto& [at, bytes] :
       {std::pair<std::int64_t, std::string>{8, le16(96)}, {10, le16(11)}, {4, le32(0x90000000)}}) {
    replace_bytes(at, bytes);
    const std::string bad = read_file("t.dbf");
    for (const char* use :
         {"dbappend()", "dbgoto(9)", "dbgoto(2), iif(rlock(), n := 5, .F.), dbunlock()"}) {
      run(use);
      EXPECT_EQ(code(), "103 ") << use;
    }
    EXPECT_EQ(read_file("t.dbf"), bad);
    replace_bytes(0, good);
    call("dbgotop");
  }
  EXPECT_TRUE(yes("dbappend"));
}

TEST_F(Buffer, UnreadableRecordsAreNotWritten) {
  for (const Use use : {Use::kShared, Use::kExclusive}) {
    make(3, Use::kShared);
    const std::string good = read_file("t.dbf");
    call("dbclosearea");
    ASSERT_TRUE(open("t", use));
    if (use == Use::kShared) yes("rlock", {integer(3)});
    ASSERT_EQ(::truncate("t.dbf", static_cast<off_t>(good.size()) - 4), 0);
    call("dbgoto", {integer(3)});
    // No scan takes its blanks for values either.
    const char* store = "c := 'lost', .F.";
    for (const char* action : {store, "dbdelete()", store, "dbdelete()", "dbsum('n')",
                               "dbaverage('n')", "dbeval({|| n})", "dblocate('n = 0')"}) {
      EXPECT_EQ(run(action), "L F") << action;
      EXPECT_EQ(code(), "103 ") << action;
    }
    call("dbgoto", {integer(3)});
    replace_bytes(0, good);
    EXPECT_EQ(get("n"), "N 3");
    run("c := 'safe', dbclosearea()");
    EXPECT_EQ(read_file("t.dbf").substr(good.size() - 10), "     3safe");
  }
}

TEST_F(Buffer, ChangesAreWrittenWhereverTheCursorWent) {
  make(4, Use::kExclusive);
  EXPECT_EQ(run("dbcreateindex('n', 'n'), dbgoto(3), c := 'here'"), "C here");
  Var* object[] = {table().object};
  di_indexgotop(1, object);
  EXPECT_EQ(run("n"), "N 1");
  EXPECT_EQ(run("dbgoto(3), c"), "C here");
}

// A handler that leaves by break unwinds the operation it was called in.
TEST_F(Buffer, ABreakLeavesNoLockBehind) {
  make(3, Use::kShared);
  static FileOps real;
  real = file_ops();
  Var* calm = call("errorblock");
  call("errorblock", {TMP_BLOCK(break_out)});
  const auto broken = [](auto body) { return in_sequence([&] { body(); }) != nullptr; };
  const auto lock = [](short refused) {
    static short type;
    type = refused;
    file_ops().lock = [](int fd, int command, struct flock* range) {
      return range->l_type == type && range->l_start < 2 ? (errno = EIO, -1)
                                                         : real.lock(fd, command, range);
    };
  };
  lock(F_UNLCK);
  EXPECT_TRUE(broken([] { call("dbgobottom"); }));
  lock(F_RDLCK);
  call("dbgoto", {integer(2)});
  EXPECT_TRUE(broken([] { get("n"); }));
  file_ops() = real;
  EXPECT_EQ(::truncate("t.dbf", 97 + 25), 0);
  call("dbgoto", {integer(3)});
  EXPECT_TRUE(broken([] { get("n"); }));
  EXPECT_TRUE(broken([] { yes("rlock"); }));
  EXPECT_EQ(table().locks.readers + table().locks.writers, 0);
  call("errorblock", {calm});
  EXPECT_TRUE(elsewhere("rlock(), n := 11, dbcommit()"));
  EXPECT_EQ(run("dbgotop(), n"), "N 11");
}

TEST_F(Buffer, ABreakWhileATableIsOpenedLeavesNothingHeld) {
  make(3, Use::kExclusive);
  call("dbclosearea");
  Var* calm = call("errorblock");
  call("errorblock", {TMP_BLOCK(break_out)});
  for (const Use use : {Use::kShared, Use::kExclusive})
    fail_each_call(
        {kIoError}, [] {},
        [&] {
          in_sequence([&] { open("t", use); });
          in_sequence([] { close_all_areas(); });
        },
        [](const Fault*) {
          close_all_areas();
          EXPECT_EQ(open_tables(), nullptr);
          EXPECT_TRUE(elsewhere("used()", Use::kExclusive));
        });
  call("errorblock", {calm});
}

// What a key of blanks would say of a record that could not be read.
TEST_F(Buffer, ABuildOverAnUnreadableRecordLeavesTheOrderDifferent) {
  make(3, Use::kExclusive);
  const std::string made =
      "dbcreateindex('n', 'n'), ordcondset('n > 2'), dbcreateindex('large', 'n')";
  const std::string opened = "dbsetindex('n') .and. dbsetindex('large')";
  ASSERT_EQ(run(made + ", dbclosearea()"), "L T");
  const std::string good = read_file("t.dbf");
  ASSERT_EQ(::truncate("t.dbf", static_cast<off_t>(good.size()) - 4), 0);
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run(opened), "L T");
  yes("dbreindex");
  EXPECT_EQ(code(), "103 ");
  call("dbclosearea");
  replace_bytes(0, good);
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run(opened), "L T");
  for (const int n : {1, 2})
    EXPECT_GT(count("dborderinfo", {integer(5002), nil_value(), integer(n)}), kIndexGood) << n;
  take_errors();
}

// Beyond the ranges of claim and file lock a record lock would drop them.
TEST_F(Buffer, TablesEndWhereRecordsCanStillBeLocked) {
  for (const bool scheme40 : {false, true}) {
    settings().lock40comp = scheme40;
    const std::int64_t limit = scheme40 ? 0x3FFFF7FF : 0x7FFFF7F6;
    make(0, Use::kExclusive);
    call("dbclosearea");
    const auto most = static_cast<std::int32_t>((limit - 97) / 10);
    ASSERT_EQ(::truncate("t.dbf", 97 + 10 * (std::int64_t{most} + 1)), 0);
    replace_bytes(4, le32(static_cast<unsigned>(most)));
    for (const Use use : {Use::kShared, Use::kExclusive}) {
      ASSERT_TRUE(open("t", use));
      EXPECT_FALSE(yes("dbappend"));
      EXPECT_EQ(code(), "327 ");
      EXPECT_EQ(count("lastrec"), most);
      call("dbclosearea");
      EXPECT_EQ(std::filesystem::file_size("t.dbf"), 97 + 10 * (std::uintmax_t(most) + 1));
    }
    replace_bytes(4, le32(static_cast<unsigned>(most) + 1));
    EXPECT_FALSE(open("t", Use::kShared));
    EXPECT_EQ(code(), "327 ");
    ASSERT_TRUE(open("t", Use::kExclusive));
    EXPECT_EQ(run("dbgobottom(), recno() = lastrec()"), "L T");
    EXPECT_EQ(count("lastrec"), most + 1);
    call("dbclosearea");
  }
}

TEST_F(Buffer, AFullDiskIsToldByCommit) {
  make(300, Use::kExclusive);
  // The order is shorter than the table.
  ASSERT_EQ(run("ordcondset('n < 10'), dbcreateindex('n', 'n'), dbcommit()"), "L T");
  EXPECT_TRUE(elsewhere([] {
    const rlim_t size = std::filesystem::file_size("t.dbf");
    const rlimit limit{size + 5, size + 5};
    setrlimit(RLIMIT_FSIZE, &limit);
    if (!yes("dbappend")) return false;  // held back
    put("n", integer(9));
    return !yes("dbcommit") && code() == "104 " && count("lastrec") == 300 &&
           count("recno") == 301 && yes("eof") && count("dborderinfo", {integer(5002)}) == 1 &&
           std::filesystem::file_size("t.dbf") == size;  // no part of a record stays
  }));
}

// The counter in the file moves when the first change becomes pending, so that an order that was
// closed at the time is seen to differ whatever becomes of the process.
TEST_F(Buffer, KilledWritersAreSeenByClosedOrders) {
  for (const Use use : {Use::kShared, Use::kExclusive}) {
    make(3, Use::kExclusive);
    ASSERT_EQ(run("dbcreateindex('n', 'n'), dbclosearea()"), "L T");
    ASSERT_TRUE(elsewhere([=] {
      const bool opened = open("t", use);
      run("dbgoto(2), rlock(), n := 9, dbgotop()");
      _exit(opened ? 0 : 1);
      return false;
    }));
    ASSERT_TRUE(open("t", Use::kShared));
    EXPECT_EQ(run("dbgoto(2), n"), "N 9");
    settings().developer = true;
    run("dbsetindex('n'), dbseek(9)");
    EXPECT_NE(take_errors().find("902 index may be corrupted"), std::string::npos);
    settings().developer = false;
    call("dbclosearea");
  }
}

}  // namespace
}  // namespace tarnel::testing
