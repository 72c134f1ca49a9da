// Wall time of one request, spawn to exit, beside the floor program, interleaved; ratio of medians.
//   bench_request [rounds]
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/log_sink.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Run {
  double microseconds;
  long peak_kib;
};

Run run_once(const char* program, int sink) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, sink, STDOUT_FILENO);
  std::string name = program, query = "QUERY_STRING=example0";
  char* argv[] = {name.data(), nullptr};
  char* env[] = {query.data(), nullptr};
  const auto start = Clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, program, &actions, nullptr, argv, env) != 0) std::exit(1);
  int status = 0;
  rusage usage = {};
  wait4(pid, &status, 0, &usage);
  const std::chrono::duration<double, std::micro> elapsed = Clock::now() - start;
  posix_spawn_file_actions_destroy(&actions);
  if (status != 0) std::exit(1);
  return {elapsed.count(), usage.ru_maxrss};
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 1000;
  tarnel::testing::serve_log();
  const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
  std::vector<double> floor, request;
  long peak = 0;
  for (int i = 0; i < rounds; ++i) {
    floor.push_back(run_once(FLOOR_PROGRAM, sink).microseconds);
    const Run run = run_once(TARNEL_PROGRAM, sink);
    request.push_back(run.microseconds);
    peak = std::max(peak, run.peak_kib);
  }
  std::printf("floor   %8.1f us\nrequest %8.1f us\nratio   %8.2f\npeak    %8ld KiB\n",
              median(floor), median(request), median(request) / median(floor), peak);
}
