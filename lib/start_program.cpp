#include "lib/start_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include "core/output.h"

namespace tarnel {

int start_program(ProgramStart start, pid_t& process) {
  std::vector<char*> argv;
  for (std::string& argument : start.arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const auto& [from, to] : {std::pair{start.input, STDIN_FILENO},
                                 {start.output, STDOUT_FILENO},
                                 {start.errors, STDERR_FILENO}})
    if (from >= 0) posix_spawn_file_actions_adddup2(&actions, from, to);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t usual;
  sigemptyset(&usual);
  sigaddset(&usual, SIGPIPE);  // ignored here, but the program may count on it
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setflags(
      &attributes,
      static_cast<short>(POSIX_SPAWN_SETSIGDEF | (start.own_group ? POSIX_SPAWN_SETPGROUP : 0)));
  if (start.output < 0) begin_output();
  flush_output();
  const int failure = posix_spawnp(&process, argv[0], &actions, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) process = -1;
  return failure;
}

int end_program(pid_t process) {
  constexpr int kLooks = 50;
  constexpr timespec kPause = {0, 10'000'000};
  int status = 0;
  bool ended = false;
  ::kill(-process, SIGTERM);
  for (int i = 0; i < kLooks; ++i) {
    if (!ended) ended = ::waitpid(process, &status, WNOHANG) != 0;
    if (ended && ::kill(-process, 0) != 0) return status;  // the last of them
    nanosleep(&kPause, nullptr);
  }
  ::kill(-process, SIGKILL);
  while (!ended) ended = ::waitpid(process, &status, 0) == process || errno != EINTR;
  return status;
}

bool Pipe::open() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  read = ends[0];
  write = ends[1];
  return true;
}

void Pipe::close_end(int& end) {
  if (end >= 0) ::close(std::exchange(end, -1));
}

}  // namespace tarnel
