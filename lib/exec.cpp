#include "lib/exec.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/start_program.h"

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostOutput = std::size_t{64} << 20;  // bytes of each; more ends the program
// Milliseconds between looks at signals and the time, and at whether a program has ended that writes no more.
constexpr int kLookEvery = 100, kLookForEnd = 1;

// A program that runs, with what goes in and comes out. It is ended and waited for on every way out.
class Child {
 public:
  explicit Child(std::string_view input) : input_(input) {}
  ~Child() {
    if (process_ > 0 && !ended_) stop();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // 0, or the system's number.
  int start(const std::vector<std::string>& arguments);
  // Until both outputs have ended and the program too; false when a signal waits, the time is over or there is too
  // much output. No time: 0.
  [[nodiscard]] bool exchange(double seconds);
  // Ends all that it started and still runs. The status is its own when it has ended by itself.
  int stop();
  // REQUIRES: it has ended.
  int status() const { return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_); }

  std::string output, errors;

 private:
  bool read_into(std::string& text, int& end_of_pipe);
  void write_input();
  bool has_ended() {
    return ended_ || (ended_ = ::waitpid(process_, &status_, WNOHANG) == process_);
  }

  std::string_view input_;
  Pipe in_, out_, err_;
  pid_t process_ = -1;
  int status_ = 0;
  bool ended_ = false;
};

int Child::start(const std::vector<std::string>& arguments) {
  if (!in_.open() || !out_.open() || !err_.open()) return errno;
  const int failure = start_program({arguments, in_.read, out_.write, err_.write, true}, process_);
  Pipe::close_end(in_.read);
  Pipe::close_end(out_.write);
  Pipe::close_end(err_.write);
  for (const int fd : {in_.write, out_.read, err_.read}) fcntl(fd, F_SETFL, O_NONBLOCK);
  return failure;
}

// False when there is more than a text may be here.
bool Child::read_into(std::string& text, int& end_of_pipe) {
  char buffer[65536];
  const ssize_t n = ::read(end_of_pipe, buffer, sizeof buffer);
  if (n > 0)
    text.append(buffer, static_cast<std::size_t>(n));
  else if (n == 0 || (errno != EAGAIN && errno != EINTR))
    Pipe::close_end(end_of_pipe);
  return text.size() <= kMostOutput;
}

void Child::write_input() {
  const ssize_t n = input_.empty() ? 0 : ::write(in_.write, input_.data(), input_.size());
  if (n > 0) input_.remove_prefix(static_cast<std::size_t>(n));
  const bool broken = n < 0 && errno != EAGAIN && errno != EINTR;
  if (input_.empty() || broken) Pipe::close_end(in_.write);
}

bool Child::exchange(double seconds) {
  const auto until = Clock::now() + std::chrono::duration<double>(seconds);
  Wait wait;
  // One may close its outputs and go on: then the wait is for its end, looked at now and then.
  while (out_.read >= 0 || err_.read >= 0 || !has_ended()) {
    if (!wait.undisturbed() || (seconds > 0 && Clock::now() >= until)) return false;
    pollfd ends[] = {{in_.write, POLLOUT, 0}, {out_.read, POLLIN, 0}, {err_.read, POLLIN, 0}};
    const bool only_end = out_.read < 0 && err_.read < 0;
    if (::poll(ends, std::size(ends), only_end ? kLookForEnd : kLookEvery) < 0 && errno != EINTR)
      return false;
    if (ends[0].revents != 0) write_input();
    if (ends[1].revents != 0 && !read_into(output, out_.read)) return false;
    if (ends[2].revents != 0 && !read_into(errors, err_.read)) return false;
  }
  return true;
}

int Child::stop() {
  const bool by_itself = has_ended();
  const int status_of_end = end_program(process_);
  if (!by_itself) status_ = status_of_end;
  ended_ = true;
  return status();
}

// The texts of an array; false when it holds anything else, or nothing.
bool texts_of(const Var* array, std::vector<std::string>& texts) {
  for (std::int32_t i = 1; i <= element_count(array); ++i) {
    if (!is_text(element(array, i))) return false;
    texts.emplace_back(text_of(element(array, i)));
    if (texts.back().find('\0') != std::string::npos) return false;
  }
  return !texts.empty();
}

}  // namespace

Var* exec_function(std::int32_t argc, Var** argv) {
  std::vector<std::string> arguments;
  if (!arg_is(argc, argv, 0, "A") || !texts_of(argv[0], arguments))
    return RT_ERROR(312, "EXEC(): takes an array of texts");
  if (!settings().commands) return RT_REFUSED("EXEC(): this program starts no others");
  const std::string input(text_argument(argc, argv, 1));
  const double seconds = arg_is(argc, argv, 2, kNumber) ? number_of(argv[2]) : 0;
  int status = 0;
  std::string output, errors;
  {
    Child child(input);
    if (const int failure = child.start(arguments); failure != 0)
      return RT_ERROR(323, "EXEC(): " + arguments[0] + ": " + std::strerror(failure));
    status = child.exchange(seconds) ? child.status() : child.stop();
    output = std::move(child.output);
    errors = std::move(child.errors);
  }
  look_at_signals();
  const std::int32_t mark = temp_top();
  Var* result = NEW_TEMP();
  cscrearr(result, 3, kCopyValues, {TMP_INT(status), TMP_TEXT(output), TMP_TEXT(errors)});
  return keep_temp(mark, result);
}

}  // namespace tarnel
