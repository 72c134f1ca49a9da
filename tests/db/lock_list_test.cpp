// Who holds what, as it is told to a person, and the test of a file system's locks.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "core/file_ops.h"
#include "core/settings.h"
#include "db/dbfidx/lock/lock_list.h"
#include "db/dbfidx/lock/lock_test.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

// Another process that has the table open and did something; it stays until the end of the guard.
class Holder {
 public:
  Holder(Use use, const std::function<void()>& act) {
    EXPECT_EQ(pipe(done_), 0);
    process_ = start_process([&] {
      close_all_areas();  // those of the other one
      const bool opened = open("t", use);
      act();
      static_cast<void>(!write(done_[1], opened ? "y" : "n", 1));
      pause();
    });
    char answer = 0;
    EXPECT_EQ(read(done_[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
  }
  ~Holder() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(done_[0]);
    close(done_[1]);
  }
  // What it holds on a table.
  std::string on(const DbfIdx& dbf) const {
    std::string text;
    for (const HeldLock& lock : locks_on(dbf))
      if (lock.process == process_) text += (lock.waits ? "waits for " : "") + lock.what + "; ";
    return text;
  }

 private:
  pid_t process_ = -1;
  int done_[2];
};

TEST_F(TableTest, LocksAreToldByProcessAndKind) {
  const struct {
    const char* what;
    Use use;
    std::function<void()> act;
  } cases[] = {
      {"open; ", Use::kShared, [] {}},
      {"record 2; open; ", Use::kShared, [] { run("dbgoto(2), rlock()"); }},
      {"record 3; open; ", Use::kReadOnly, [] { run("dbgoto(3), rlock()"); }},
      {"records 2 to 4; open; ", Use::kShared, [] { run("rlock(2), rlock(3), rlock(4)"); }},
      {"reads; open; ", Use::kShared, [] { readLock(table()); }},
      {"writes; open; ", Use::kShared, [] { writeLock(table()); }},
  };
  for (const bool older : {false, true}) {
    settings().lock40comp = older;
    settings().multilocks = true;
    ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
    run("aeval(array(5), {|| dbappend()})");
    EXPECT_EQ(locks_on(table()).at(0).what, "alone");
    call("dbclosearea");
    ASSERT_TRUE(open("t", Use::kShared));
    for (const auto& c : cases) {
      const Holder holder(c.use, c.act);
      std::string wanted = c.what;
      if (older && (wanted.starts_with("reads") || wanted.starts_with("writes")))
        wanted = "open; " + wanted.substr(0, wanted.find(' ') + 1);
      EXPECT_EQ(holder.on(table()), wanted) << older;
    }
    if (older) continue;  // there it can't be had beside this process
    {
      const Holder holder(Use::kShared, [] { run("flock()"); });
      EXPECT_EQ(holder.on(table()), "file; open; ");
    }
    ASSERT_TRUE(writeLock(table()));
    {
      const pid_t waiting = start_process([] {
        close_all_areas();
        open("t", Use::kShared);
      });
      std::string seen;
      for (int i = 0; i < 200 && seen.empty(); ++i, usleep(10000))
        for (const HeldLock& lock : locks_on(table()))
          if (lock.process == waiting && lock.waits) seen = lock.what;
      EXPECT_EQ(seen, "reads");
      unlockInternal(table());
      EXPECT_TRUE(ended_well(waiting));
    }
    call("dbclosearea");
  }
}

TEST_F(TableTest, LocksOfAFileSystemAreTried) {
  std::string lines;
  const TellLine tell = [&](const std::string& line) { lines += line + "\n"; };
  const LockTestResult good = test_locks(".", tell);
  EXPECT_EQ(good.failed, 0) << lines;
  EXPECT_GT(good.passed, 15);
  EXPECT_GT(good.own, 0);
  EXPECT_GT(good.handed_on, 0);
  EXPECT_EQ(test_locks("nowhere", tell).system_error, ENOENT);
  // A file system that keeps no locks but says it does, and one that has none.
  using Lock = int (*)(int, int, struct flock*);
  const Lock real = file_ops().lock;
  const Lock unseen = [](int, int command, struct flock* range) {
    if (command == F_GETLK) range->l_type = F_UNLCK;
    return 0;
  };
  const Lock refused = [](int, int, struct flock*) { return errno = ENOLCK, -1; };
  for (const Lock lock : {unseen, refused}) {
    file_ops().lock = lock;
    const LockTestResult bad = test_locks(".", tell);
    file_ops().lock = real;
    EXPECT_GE(bad.failed, 15) << lines;
  }
  EXPECT_TRUE(std::filesystem::is_empty(".")) << "its file goes again";
}

}  // namespace
}  // namespace tarnel::testing
