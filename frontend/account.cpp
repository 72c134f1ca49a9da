#include "frontend/account.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "core/file_ops.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestAnswer = 4096;
constexpr std::size_t kLongestLine = 4096;  // of the file; what is needed stands at its beginning

// The name in a line "name:password:number:..." with that number. Notes and references to a name service are none.
std::string_view name_in_line(std::string_view line, uid_t uid) {
  const std::size_t name = line.find(':');
  const std::size_t password = name != line.npos ? line.find(':', name + 1) : line.npos;
  if (password == line.npos || std::strchr("#+-", line.front()) != nullptr) return {};
  const char* const end = line.data() + line.size();
  uid_t number = 0;
  const auto [at, error] = std::from_chars(line.data() + password + 1, end, number);
  const bool found = error == std::errc() && at != end && *at == ':' && number == uid;
  return found ? line.substr(0, name) : std::string_view();
}

// The file leads to the name almost everywhere, at a fraction of what a page costs. Not part of its caller, whose calls
// would lie a page deeper on the stack.
[[gnu::noinline]] std::string name_in_file(uid_t uid, const char* path) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  char buffer[kLongestLine];
  std::size_t held = 0;  // bytes of a line whose end is still to come
  std::string name;
  for (bool more = true, in_rest = false; more && name.empty();) {
    const ssize_t n = retried([&] { return read(fd, buffer + held, sizeof buffer - held); });
    more = n > 0;
    std::string_view text(buffer, held + (more ? static_cast<std::size_t>(n) : 0));
    while (!text.empty() && name.empty()) {
      const std::size_t end = text.find('\n');
      if (end == text.npos && more && text.size() < sizeof buffer) break;
      if (!in_rest) name = name_in_line(text.substr(0, end), uid);
      in_rest = end == text.npos;
      text.remove_prefix(in_rest ? text.size() : end + 1);
    }
    held = text.size();
    std::memmove(buffer, text.data(), held);
  }
  close(fd);
  return name;
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
