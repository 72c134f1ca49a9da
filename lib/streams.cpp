#include "lib/streams.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "core/descriptors.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/files.h"
#include "lib/start_program.h"

namespace tarnel {
namespace {

constexpr std::size_t kStreamNameLimit = 500;

struct OpenStream {
  int fd = -1;
  pid_t reader = -1;  // the command at the other end of a pipe
  std::string name;
  PrintPlace place{0, 0};
};

struct StreamState {
  std::array<OpenStream, 3> streams;
} state;

OpenStream& stream_of(Stream stream) {
  return state.streams[static_cast<std::size_t>(stream)];
}

void close_stream(OpenStream& stream) {
  if (stream.fd >= 0) close_file(stream.fd);
  if (stream.reader > 0) wait_for_reader(stream.reader);
  stream = {};
}

// Starts a shell on the command, with a descriptor as its standard input, or that of this process for -1. Result: 0 or
// the system's number. Where the time is limited nobody sits at a terminal: there it has a group of its own.
int start_shell(std::string_view command, int input, pid_t& child) {
  return start_program({.arguments = {"/bin/sh", "-c", "--", std::string(command)},
                        .input = input,
                        .own_group = has_time_limit()},
                       child);
}

// Waits for a process to end, until a signal asks for something: false. What runs for longer than it may is ended.
bool wait_for(pid_t child, int* status) {
  Wait wait;
  const pid_t ended = retried([&] { return waitpid(child, status, 0); },
                              [&] { return errno == EINTR && wait.undisturbed(); });
  if (ended < 0 && errno == EINTR && has_time_limit()) {
    end_program(child);
    errno = EINTR;
  }
  return ended >= 0;
}

// Opens a plain file; a missing one is created. A failure has been reported.
bool open_file_stream(std::string_view name, bool append, OpenStream& stream) {
  std::string full;
  if (!defaultExtension(full, name, ".txt", kStreamNameLimit)) {
    RT_WARNING(101, "file '" + std::string(name.substr(0, kStreamNameLimit)) + "'");
    return false;
  }
  stream.fd = fileOpenSearch(full, O_RDWR | O_CREAT | (append ? O_APPEND : O_TRUNC), 0666);
  return stream.fd >= 0;
}

void write_stream(Stream which, std::string_view text) {
  OpenStream& stream = stream_of(which);
  if (stream.fd < 0 || text.empty()) return;
  if (write_fully(stream.fd, text)) {
    const std::size_t line = text.rfind('\n') + 1;  // 0 without a line feed
    stream.place.row += static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    stream.place.col = (line == 0 ? stream.place.col : 0) + static_cast<int>(text.size() - line);
    return;
  }
  set_dos_error(errno);
  close_stream(stream);  // first, since the report is output too
  route_output();
  RT_WARNING(104, "Write error");
}

}  // namespace

int open_pipe_to(std::string_view command, pid_t& reader) {
  Pipe pipe;
  errno = ENOENT;
  if (trim_left(command).empty() || !pipe.open()) return -1;
  if (const int failure = start_shell(command, pipe.read, reader); failure != 0) {
    errno = failure;
    return -1;
  }
  return std::exchange(pipe.write, -1);
}

int run_command(std::string_view command, int& status) {
  pid_t child = -1;
  if (trim_left(command).empty()) return ENOENT;
  if (const int failure = start_shell(command, -1, child); failure != 0) return failure;
  int ended = 0;
  if (!wait_for(child, &ended)) return errno;
  status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
  return 0;
}

void wait_for_reader(pid_t reader) {
  wait_for(reader, nullptr);
}

void open_stream(Stream which, std::string_view name, bool append) {
  OpenStream& stream = stream_of(which);
  close_stream(stream);
  name = trim_blanks(name.substr(0, name.find('\0')));
  if (!name.empty()) {
    const std::string kept{name};
    bool opened = false;
    if (name[0] == '|' && !settings().pipes) {
      RT_REFUSED("a pipe: this program starts no others");
    } else if (name[0] == '|') {
      stream.fd = open_pipe_to(name.substr(1), stream.reader);
      opened = stream.fd >= 0;
      if (!opened) {
        set_dos_error(errno);
        RT_WARNING(101, "file '" + kept + "'");
      }
    } else {
      if (name[0] == '>') {
        append = name.substr(0, 2) == ">>";
        name.remove_prefix(append ? 2 : 1);
      }
      opened = open_file_stream(name, append, stream);
    }
    if (opened) stream.name = kept;
    if (runtime_hooks().close_files == nullptr) runtime_hooks().close_files = close_streams;
  }
  route_output();
}

const std::string& stream_name(Stream stream) {
  return stream_of(stream).name;
}
bool stream_open(Stream stream) {
  return stream_of(stream).fd >= 0;
}

bool& stream_setting(Stream stream) {
  Settings& s = settings();
  return stream == Stream::kAlternate ? s.alternate
         : stream == Stream::kExtra   ? s.extra
                                      : s.printer;
}

void copy_output(std::string_view text) {
  const Settings& s = settings();
  if (s.alternate) write_stream(Stream::kAlternate, text);
  if (s.extra) write_stream(Stream::kExtra, text);
  if (s.printer) write_stream(Stream::kPrint, text);
}

void route_output() {
  for (const Stream stream : {Stream::kAlternate, Stream::kExtra, Stream::kPrint})
    if (!stream_open(stream)) stream_setting(stream) = false;
  const Settings& s = settings();
  set_output_tee(s.alternate || s.extra || s.printer ? copy_output : nullptr);
}

void write_print_file(std::string_view text) {
  write_stream(Stream::kPrint, text);
}

PrintPlace print_place() {
  return stream_of(Stream::kPrint).place;
}

void close_streams() {
  for (OpenStream& stream : state.streams) close_stream(stream);
  route_output();
}

}  // namespace tarnel
