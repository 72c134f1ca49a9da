#include "console/output_target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "console/progress.h"
#include "console/session.h"
#include "console/shown_text.h"
#include "console/words.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/text.h"
#include "lib/streams.h"

namespace tarnel {
namespace {

struct TargetState {
  int usual = -1;  // a copy of descriptor 1 while that leads elsewhere
  pid_t reader = -1;
  enum class Once : char { kNo, kChosen, kNextLine } once = Once::kNo;
} state;

// A table that is open here must not become a list of its own records.
int open_target(const std::string& name) {
  struct stat status {};
  if (file_ops().stat(name.c_str(), &status) == 0 && is_open_here(status)) {
    errno = EBUSY;
    return -1;
  }
  return ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

// Leads descriptor 1 to a file, or to a command. False with errno set.
bool lead(std::string_view target) {
  const bool to_command = target.starts_with('|');
  const std::string name = to_command ? std::string() : take_file_name(target);
  const int fd = to_command ? open_pipe_to(target.substr(1), state.reader) : open_target(name);
  if (fd < 0) return false;
  flush_output();
  state.usual = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const bool led = state.usual >= 0 && dup2(fd, STDOUT_FILENO) >= 0;
  const int error = errno;
  ::close(fd);
  if (!led) {  // there would be no way back
    if (state.usual >= 0) ::close(std::exchange(state.usual, -1));
    if (state.reader > 0) wait_for_reader(std::exchange(state.reader, -1));
    errno = error;
    return false;
  }
  renew_output(to_command);
  guard_terminal();
  return true;
}

bool lead_or_complain(std::string_view target) {
  end_output();
  if (target.empty() || lead(target)) return true;
  complain(std::string(target) + ": " + system_words(errno));
  return false;
}

std::string for_terminal(std::string_view text) {
  return std::string(give_way_to(text)) + terminal_text(text);
}

}  // namespace

void end_output() {
  flush_output();
  if (state.usual < 0) return;
  dup2(state.usual, STDOUT_FILENO);
  ::close(std::exchange(state.usual, -1));
  renew_output(false);
  if (state.reader > 0) wait_for_reader(std::exchange(state.reader, -1));
  guard_terminal();
  state.once = TargetState::Once::kNo;
}

void guard_terminal() {
  set_output_filter(isatty(STDOUT_FILENO) != 0 ? for_terminal : nullptr);
}

bool output_command(std::string_view target) {
  lead_or_complain(target);
  return true;
}

bool once_command(std::string_view target) {
  if (target.empty())
    complain(".once needs the name of a file or a command");
  else if (lead_or_complain(target))
    state.once = TargetState::Once::kChosen;
  return true;
}

void end_of_line() {
  using enum TargetState::Once;
  if (state.once == kNextLine) end_output();
  if (state.once == kChosen) state.once = kNextLine;
}

}  // namespace tarnel
