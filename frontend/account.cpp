#include "frontend/account.h"

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "core/file_ops.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestAnswer = 4096;

// The file leads to the name almost everywhere, at a fraction of what a page costs.
std::string name_in_file(uid_t uid, const char* path) {
  std::FILE* file = std::fopen(path, "re");
  if (file == nullptr) return {};
  const passwd* entry;
  do entry = fgetpwent(file);
  while (entry != nullptr && entry->pw_uid != uid);
  std::fclose(file);
  return entry != nullptr ? entry->pw_name : std::string();
}

// Starts `program passwd NUMBER` with its output on a descriptor, and none of our environment. Its
// process, or -1.
pid_t start(const char* program, const std::string& number, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t usual;
  sigfillset(&usual);
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  char name[] = "getent", table[] = "passwd", path[] = "PATH=/usr/bin:/bin";
  std::string key = number;
  char* argv[] = {name, table, key.data(), nullptr};
  char* environment[] = {path, nullptr};
  pid_t child = -1;
  const int failure = posix_spawn(&child, program, &actions, &attributes, argv, environment);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return failure == 0 ? child : -1;
}

// What comes until the end, or nothing when that is too late.
std::string read_in_time(int fd, std::chrono::milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  std::string answer;
  while (answer.size() < kLongestAnswer) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    pollfd ready = {fd, POLLIN, 0};
    const int n = left.count() > 0 ? poll(&ready, 1, static_cast<int>(left.count())) : 0;
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return {};
    char buffer[512];
    const ssize_t got = retried([&] { return read(fd, buffer, sizeof buffer); });
    if (got <= 0) return answer;
    answer.append(buffer, static_cast<std::size_t>(got));
  }
  return {};
}

std::string name_from_service(const std::string& number, const AccountSources& sources) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {};
  pid_t child = -1;
  for (const char* program : sources.program)
    if (child < 0) child = start(program, number, ends[1]);
  close(ends[1]);
  std::string answer;
  if (child > 0) {
    answer = read_in_time(ends[0], sources.patience);
    kill(child, SIGKILL);  // it has answered, or is late
    retried([&] { return waitpid(child, nullptr, 0); });
  }
  close(ends[0]);
  const std::size_t colon = answer.find(':');
  return colon != std::string::npos ? answer.substr(0, colon) : std::string();
}

}  // namespace

std::string account_name(uid_t uid, const AccountSources& sources) {
  std::string name = name_in_file(uid, sources.file);
  const std::string number = std::to_string(uid);
  if (name.empty()) name = name_from_service(number, sources);
  return name.empty() ? number : name;
}

}  // namespace tarnel
