#include "db/dbfidx/lock/lock_test.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "db/dbfidx/format/format_dbt.h"
#include "db/dbfidx/lock/lock_ranges.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatience = 5000;  // milliseconds, for what should come at once
constexpr int kRounds = 200;     // of what is timed

struct Kind {
  const char* name;
  std::int64_t start, length;
};
constexpr std::int64_t kClaim = kDbfTop - kClaimSpan;
constexpr Kind kKinds[] = {
    {"internal lock", kInternalAt, kInternalLength},
    {"record lock", 1000, 50},
    {"record lock at the end of a table", kFileLockAt + kFileLockLength - 50, 50},
    {"file lock", kFileLockAt, kFileLockLength},
    {"claim, shared", kClaim + kFirstSlot, 1},
    {"claim, exclusive", kClaim, kClaimLength},
    {"claim on an order, shared", kFirstSlot, 1},
    {"claim on an order, exclusive", 0, kClaimLength},
    {"next block of a memo file", 0, dbt::kNextFreeSize},
    {"lock40comp: claim, shared", kClaim40At, 1},
    {"lock40comp: claim, exclusive", kClaim40At, kClaim40Length},
    {"lock40comp: gate", kGate40, 1},
    {"lock40comp: reader", kReader40, 1},
    {"lock40comp: writer", kGate40, 0},
};

// --- The other process: it does what it is told by one letter and answers by one.

struct Order {
  char
      what;  // r, w: take; R, W: wait for it; u: give back; q: who holds it; g: read a byte; p: write one
  char byte;
  std::int64_t start, length;
};

char obey(int fd, const Order& order) {
  char byte = 0;
  switch (order.what) {
    case 'r':
    case 'w':
      return lock_range(fd, order.what == 'r' ? F_RDLCK : F_WRLCK, order.start, order.length) ? 'y'
                                                                                              : 'n';
    case 'W':
      return lock_range(fd, F_WRLCK, order.start, order.length, LockWait::kYes) ? 'y' : 'n';
    case 'u':
      return lock_range(fd, F_UNLCK, order.start, order.length) ? 'y' : 'n';
    case 'q':
      return range_is_free(fd, order.start, order.length) ? 'n' : 'y';
    case 'g':
      return read_at(fd, &byte, 1, order.start) ? byte : '?';
    case 'p':
      return write_at(fd, &order.byte, 1, order.start) ? 'y' : 'n';
    default:
      return '?';
  }
}

class OtherProcess {
 public:
  explicit OtherProcess(const std::string& path) {
    int orders[2], answers[2];
    if (::pipe(orders) != 0) return;
    if (::pipe(answers) != 0) {
      ::close(orders[0]);
      ::close(orders[1]);
      return;
    }
    process_ = ::fork();
    if (process_ == 0) serve(path, orders, answers);
    ::close(orders[0]);
    ::close(answers[1]);
    to_ = orders[1];
    from_ = answers[0];
  }
  ~OtherProcess() {
    end();
    if (to_ >= 0) ::close(to_);
    if (from_ >= 0) ::close(from_);
  }
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  bool started() const { return process_ > 0; }
  void tell(char what, std::int64_t start, std::int64_t length, char byte = 0) {
    const Order order{what, byte, start, length};
    static_cast<void>(!::write(to_, &order, sizeof order));
  }
  // '-' when none comes.
  char answer(int milliseconds = kPatience) {
    pollfd wanted{from_, POLLIN, 0};
    char byte = '-';
    if (::poll(&wanted, 1, milliseconds) != 1 || ::read(from_, &byte, 1) != 1) return '-';
    return byte;
  }
  char ask(char what, std::int64_t start, std::int64_t length, char byte = 0) {
    tell(what, start, length, byte);
    return answer();
  }
  // Dies with all that it holds.
  void end() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    ::waitpid(std::exchange(process_, -1), nullptr, 0);
  }

 private:
  [[noreturn]] static void serve(const std::string& path, const int* orders, const int* answers) {
    ::close(orders[1]);
    ::close(answers[0]);
    const int fd = file_ops().open(path.c_str(), O_RDWR | O_CLOEXEC, 0);
    for (Order order; ::read(orders[0], &order, sizeof order) == sizeof order;) {
      const char answer = fd < 0 ? '?' : obey(fd, order);
      if (::write(answers[1], &answer, 1) != 1) break;
    }
    ::_exit(0);
  }

  pid_t process_ = -1;
  int to_ = -1, from_ = -1;
};

// A file that goes again.
class Scratch {
 public:
  explicit Scratch(const std::string& directory)
      : path_(directory + format_text("/locktest.%ld", static_cast<long>(getpid()))),
        fd_(open_file(path_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600)) {}
  ~Scratch() {
    if (fd_ < 0) return;
    file_ops().unlink(path_.c_str());
    close_file(fd_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  int fd() const { return fd_; }
  const std::string& path() const { return path_; }

 private:
  const std::string path_;
  const int fd_;
};

class LockTest {
 public:
  LockTest(const Scratch& file, const TellLine& tell) : file_(file), fd_(file.fd()), tell_(tell) {}

  LockTestResult run() {
    for (const Kind& kind : kKinds) note(kind.name, try_kind(kind));
    note("neighbours don't meet", try_neighbours());
    note("a lock that is waited for", try_wait());
    note("what one wrote under a lock is there for the next", try_contents());
    note("the locks of a process that dies", try_death());
    if (result_.failed == 0) measure();
    return result_;
  }

 private:
  void note(const char* name, const char* fault) {
    (fault == nullptr ? result_.passed : result_.failed) += 1;
    tell_(fault == nullptr ? std::string("good: ") + name
                           : std::string("FAILS: ") + name + ": " + fault);
  }
  bool take(short type, const Kind& kind) { return lock_range(fd_, type, kind.start, kind.length); }
  void give_back(const Kind& kind) { take(F_UNLCK, kind); }

  // What is wrong, null when nothing; so below.
  const char* try_kind(const Kind& kind) {
    OtherProcess other(file_.path());
    const auto ask = [&](char what) { return other.ask(what, kind.start, kind.length); };
    if (!other.started()) return "no second process";
    if (!take(F_WRLCK, kind)) return "refused where nobody has it";
    if (ask('w') != 'n' || ask('r') != 'n') return "two have it";
    if (ask('q') != 'y') return "not seen by another";
    if (!take(F_RDLCK, kind)) return "can't be made a shared one";
    if (ask('w') != 'n') return "exclusive beside a shared one";
    if (ask('r') != 'y') return "two can't share it";
    if (take(F_WRLCK, kind)) return "exclusive beside another's shared one";
    if (range_is_free(fd_, kind.start, kind.length)) return "another's is not seen";
    give_back(kind);
    if (ask('w') != 'y') return "not free when it was given back";
    if (ask('u') != 'y' || !take(F_WRLCK, kind)) return "not free when another gave it back";
    give_back(kind);
    return nullptr;
  }

  const char* try_neighbours() {
    OtherProcess other(file_.path());
    const Kind first{"", 1000, 50};
    if (!take(F_WRLCK, first)) return "refused";
    const bool both = other.ask('w', 950, 50) == 'y' && other.ask('w', 1050, 50) == 'y';
    give_back(first);
    return both ? nullptr : "refused";
  }

  const char* try_wait() {
    OtherProcess other(file_.path());
    const Kind& kind = kKinds[0];
    if (!take(F_WRLCK, kind)) return "refused";
    other.tell('W', kind.start, kind.length);
    if (other.answer(100) != '-') return "given while another had it";
    give_back(kind);
    return other.answer() == 'y' ? nullptr : "never comes";
  }

  const char* try_contents() {
    OtherProcess other(file_.path());
    const Kind& kind = kKinds[0];
    for (char byte = 'a'; byte <= 'z'; ++byte) {
      char seen = 0;
      if (!take(F_WRLCK, kind) || !write_at(fd_, &byte, 1, 100)) return "can't be written";
      give_back(kind);
      if (other.ask('W', kind.start, kind.length) != 'y') return "never comes";
      if (other.ask('g', 100, 1) != byte) return "another reads old bytes";
      other.ask('p', 100, 1, static_cast<char>(byte - 'a' + 'A'));
      other.ask('u', kind.start, kind.length);
      if (!take(F_RDLCK, kind) || !read_at(fd_, &seen, 1, 100) || seen != byte - 'a' + 'A')
        return "old bytes are read";
      give_back(kind);
    }
    return nullptr;
  }

  const char* try_death() {
    OtherProcess other(file_.path());
    const Kind& kind = kKinds[1];
    if (other.ask('w', kind.start, kind.length) != 'y' || take(F_WRLCK, kind)) return "no lock";
    other.end();
    const bool free = take(F_WRLCK, kind);
    give_back(kind);
    return free ? nullptr : "stay";
  }

  static double since(Clock::time_point start, int times) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / times;
  }
  void measure() {
    const Kind& kind = kKinds[0];
    auto start = Clock::now();
    for (int i = 0; i < kRounds; ++i) {
      take(F_WRLCK, kind);
      give_back(kind);
    }
    result_.own = since(start, kRounds);
    OtherProcess other(file_.path());
    double total = 0;
    for (int i = 0; i < kRounds / 10; ++i) {
      take(F_WRLCK, kind);
      other.tell('W', kind.start, kind.length);
      other.answer(5);  // it waits by now
      start = Clock::now();
      give_back(kind);
      if (other.answer() != 'y') return;
      total += since(start, 1);
      other.ask('u', kind.start, kind.length);
    }
    result_.handed_on = total / (kRounds / 10);
  }

  const Scratch& file_;
  const int fd_;
  const TellLine& tell_;
  LockTestResult result_;
};

}  // namespace

LockTestResult test_locks(const std::string& directory, const TellLine& tell) {
  const Scratch file(directory);
  LockTestResult result;
  if (file.fd() < 0) {
    result.system_error = errno;
    return result;
  }
  return LockTest(file, tell).run();
}

}  // namespace tarnel
