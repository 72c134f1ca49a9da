// The instrument that finds seams, for memory: the nth allocation fails, for every n. It replaces the global
// operator new, so one file of an executable may include it.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>

#include "core/checks.h"
#include "core/file_ops.h"
#include "core/memory.h"
#include "tests/support/test_runtime.h"

[[gnu::noinline]] void* operator new(std::size_t size) {
  for (;;) {
    if (!tarnel::allocation_fails())
      if (void* block = std::malloc(size != 0 ? size : 1); block != nullptr) return block;
    std::get_new_handler()();
  }
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return tarnel::allocation_fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace tarnel::testing {

enum Outcome { kGoesOn = 0, kEndsTheRun = 1, kWrong = 2, kNotReached = 3 };

// In a process of its own: prepare(), the operation with its nth allocation failing, and what is right
// afterwards. What the process wrote to its standard error comes back in `told`.
template <typename Prepare, typename Operation, typename Next>
int with_failing_allocation(std::uint64_t n, Prepare prepare, Operation operation, Next next,
                            std::string& told) {
  int ends[2];
  if (pipe(ends) != 0) return kWrong;
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    file_ops().sync = [] {};  // slow, and these files needn't outlive the machine
    prepare();
    take_errors();
    fail_allocation(n);
    operation();
    if (fail_allocation(0) > 0) _exit(kNotReached);
    std::string errors = take_errors();
    const bool raised = errors.find("301 ") != std::string::npos, right = next();
    errors += right ? "" : "; afterwards: " + take_errors();
    static_cast<void>(!write(STDERR_FILENO, errors.data(), errors.size()));
    _exit(raised && right ? kGoesOn : kWrong);
  }
  close(ends[1]);
  char text[1000];
  ssize_t got;
  for (told.clear(); (got = read(ends[0], text, sizeof text)) > 0;)
    told.append(text, static_cast<std::size_t>(got));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : kWrong;
}

// For every allocation of `operation`, after prepare() in the same process: when it fails, either error 301
// is raised and next() is right, or the run ends by the exit road and says why. Then check(), here. The
// number of allocations.
template <typename Prepare, typename Operation, typename Next, typename Check>
std::uint64_t fail_each_allocation(const std::string& name, Prepare prepare, Operation operation,
                                   Next next, Check check) {
  // Tables that grow by one at a time make ten times as many.
  for (std::uint64_t n = 1;; n += kChecked && n > 100 ? 7 : 1) {
    std::string told;
    const int outcome = with_failing_allocation(n, prepare, operation, next, told);
    if (outcome == kNotReached) return n - 1;
    // The last that it says: a sanitizer ends with status 1 too.
    const bool said =
        told.find("Not enough memory error") != std::string::npos && told.ends_with("\n\r\n\r");
    const ::testing::ScopedTrace trace(__FILE__, __LINE__,
                                       name + ", allocation " + std::to_string(n));
    EXPECT_TRUE(outcome == kGoesOn || (outcome == kEndsTheRun && said)) << outcome << " " << told;
    check();
    if (::testing::Test::HasFailure()) return n;
  }
}

}  // namespace tarnel::testing
