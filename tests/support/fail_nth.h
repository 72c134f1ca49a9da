// The instrument that finds seams: the nth call of the file operations fails, for every n.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <string>
#include <string_view>

#include "core/checks.h"
#include "core/file_ops.h"

namespace tarnel::testing {

// A kind of fault, and the calls that meet it in life, as letters of their family:
//   o open   c close   r read, pread   w write, pwrite   s seek   l lock   f fstat, stat
//   t truncate   m chmod, fchmod, fchown   u unlink   n rename   p map, remap   y fsync
// Giving a lock back never fails, nor does sync. A read or write cut short transfers half of its bytes.
struct Fault {
  const char* name;
  const char* calls;
  int error;             // 0: the call is cut short, below 0: the process dies before it
  bool lasting = false;  // all calls from the nth on fail, as on a full disk
};
inline constexpr Fault kIoError{"EIO", "ocrwslftmunpy", EIO},
    kDiskFull{"ENOSPC", "wt", ENOSPC, true}, kInterrupted{"EINTR", "orwlt", EINTR},
    kDeadlock{"EDEADLK", "l", EDEADLK}, kNoLocks{"ENOLCK", "l", ENOLCK},
    kNoDescriptors{"EMFILE", "o", EMFILE}, kShortRead{"short read", "r", 0},
    kShortWrite{"short write", "w", 0};
// As where the system takes writing away for a fault of the disk. Not among those below: nothing can be put in order then.
inline constexpr Fault kReadOnlyDisk{"EROFS", "wtmun", EROFS, true};
inline constexpr Fault kDeadDisk{"EIO for good", kIoError.calls, EIO, true};
// A file in whose place no other one may come.
inline constexpr Fault kBusyTarget{"EBUSY", "n", EBUSY, true};
inline constexpr Fault kKill{"kill", "ocrwslftmunpy", -1};  // not by fail_each_call()
inline constexpr Fault kFaults[] = {kIoError, kDiskFull,      kInterrupted, kDeadlock,
                                    kNoLocks, kNoDescriptors, kShortRead,   kShortWrite};
// Does an operation that meets the fault succeed all the same?
constexpr bool harmless(const Fault& fault) {
  return fault.error == EINTR || fault.error == 0;
}

struct FailNthState {
  FileOps real;
  Fault fault;
  int n = 0;
  int calls = 0;
  std::string where;
};

// While it lives, the nth call that can meet the fault does. One at a time.
class FailNth {
 public:
  FailNth(const Fault& fault, int n) {
    state = {file_ops(), fault, n, 0, {}};
    install();
  }
  ~FailNth() { file_ops() = state.real; }
  FailNth(const FailNth&) = delete;
  FailNth& operator=(const FailNth&) = delete;

  static int calls() { return state.calls; }  // that could have met it, so far
  static bool struck() { return state.calls >= state.n; }
  static const std::string& where() { return state.where; }  // "EIO at call 3, pwrite"

 private:
  static inline FailNthState state{};

  static bool strikes(const char* call, char family) {
    if (std::string_view(state.fault.calls).find(family) == std::string_view::npos) return false;
    const bool hit = ++state.calls == state.n || (state.fault.lasting && state.calls > state.n);
    if (state.calls == state.n)
      state.where =
          std::string(state.fault.name) + " at call " + std::to_string(state.n) + ", " + call;
    if (hit && state.fault.error < 0) ::_exit(1);
    if (hit) errno = state.fault.error;
    return hit;
  }
  template <typename... Arguments>
  static int status(int (*real)(Arguments...), const char* call, char family, Arguments... with) {
    return strikes(call, family) ? -1 : real(with...);
  }
  template <typename Bytes, typename... At>
  static ssize_t transfer(ssize_t (*real)(int, Bytes, size_t, At...), const char* call, char family,
                          int fd, Bytes bytes, size_t n, At... at) {
    if (!strikes(call, family)) return real(fd, bytes, n, at...);
    return state.fault.error != 0 ? -1
                                  : real(fd, bytes, std::max(n / 2, std::min(n, size_t{1})), at...);
  }

  static void install() {
    FileOps& ops = file_ops();
    ops.open = [](auto... with) { return status(state.real.open, "open", 'o', with...); };
    // What could not be closed is closed all the same.
    ops.close = [](int fd) {
      const int result = state.real.close(fd);
      return strikes("close", 'c') ? -1 : result;
    };
    ops.read = [](auto... with) { return transfer(state.real.read, "read", 'r', with...); };
    ops.write = [](auto... with) { return transfer(state.real.write, "write", 'w', with...); };
    ops.seek = [](int fd, off_t to, int whence) {
      return strikes("seek", 's') ? off_t{-1} : state.real.seek(fd, to, whence);
    };
    ops.pread = [](auto... with) { return transfer(state.real.pread, "pread", 'r', with...); };
    ops.pwrite = [](auto... with) { return transfer(state.real.pwrite, "pwrite", 'w', with...); };
    ops.lock = [](int fd, int command, struct flock* range) {
      return status(state.real.lock, "lock", range->l_type == F_UNLCK ? '-' : 'l', fd, command,
                    range);
    };
    ops.fstat = [](auto... with) { return status(state.real.fstat, "fstat", 'f', with...); };
    ops.stat = [](auto... with) { return status(state.real.stat, "stat", 'f', with...); };
    ops.truncate = [](auto... with) {
      return status(state.real.truncate, "truncate", 't', with...);
    };
    ops.chmod = [](auto... with) { return status(state.real.chmod, "chmod", 'm', with...); };
    ops.fchmod = [](auto... with) { return status(state.real.fchmod, "fchmod", 'm', with...); };
    ops.fchown = [](auto... with) { return status(state.real.fchown, "fchown", 'm', with...); };
    ops.fsync = [](int fd) { return status(state.real.fsync, "fsync", 'y', fd); };
    ops.unlink = [](auto... with) { return status(state.real.unlink, "unlink", 'u', with...); };
    ops.rename = [](auto... with) { return status(state.real.rename, "rename", 'n', with...); };
    ops.map = [](int fd, size_t n) {
      return strikes("map", 'p') ? MAP_FAILED : state.real.map(fd, n);
    };
    ops.remap = [](void* p, size_t n, size_t wanted) {
      return strikes("remap", 'p') ? MAP_FAILED : state.real.remap(p, n, wanted);
    };
  }
};

// For each fault and every call of `operation` that can meet it: prepare(), the operation with that call
// failing, then check(fault) under a trace that tells which. Ends with the first run that no fault meets,
// which is checked too, with a null pointer. The number of faulty runs.
template <typename Prepare, typename Operation, typename Check>
int fail_each_call(std::initializer_list<Fault> faults, Prepare prepare, Operation operation,
                   Check check) {
  constexpr int kEndless = 10000;
  int runs = 0;
  for (const Fault& fault : faults)
    // Pages of three keys make many more calls, which are mostly alike.
    for (int n = 1; n < kEndless; n += kChecked && n > 100 ? 5 : 1) {
      prepare();
      bool struck = false;
      {
        const FailNth failing(fault, n);
        operation();
        struck = FailNth::struck();
      }
      const ::testing::ScopedTrace trace(__FILE__, __LINE__,
                                         struck ? FailNth::where() : "no fault");
      check(struck ? &fault : nullptr);
      if (!struck) break;
      ++runs;
      if (::testing::Test::HasFatalFailure()) return runs;
    }
  return runs;
}

}  // namespace tarnel::testing
