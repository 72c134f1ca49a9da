// How a program is started, with or without a shell: what it inherits from this one, and what not.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace tarnel {

struct ProgramStart {
  std::vector<std::string>
      arguments;  // the program first, looked for in PATH unless it holds a '/'
  // Descriptors that become its standard ones, -1: those of this process. No other is inherited but what was
  // opened without close-on-exec.
  int input = -1, output = -1, errors = -1;
  bool own_group =
      false;  // so that it can be ended with all that it starts; it then can't read the terminal
};
// The system's number of what failed, else 0 and the process, which the caller waits for. What is written here waits
// no longer: it comes before what the program writes.
[[nodiscard]] int start_program(ProgramStart start, pid_t& process);
// Ends a program that has a group of its own, with all that it started: asks first, and half a second later doesn't.
// The status of its end, as the system has it.
int end_program(pid_t process);

// A pipe whose ends are closed at the latest with it.
class Pipe {
 public:
  Pipe() = default;
  ~Pipe() {
    close_end(read);
    close_end(write);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] bool open();  // false with errno set
  static void close_end(int& end);

  int read = -1, write = -1;
};

}  // namespace tarnel
