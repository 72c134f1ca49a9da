#include "core/system_log.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/signals.h"

namespace tarnel {
namespace {

constexpr std::size_t kMostBytes = 32 * 1024;  // of a line
constexpr std::size_t kTimeBytes = 15;         // "Nov 26 01:45:00"

// The line, in room of its own: some are about memory that there isn't. Apart from the state, of which each run needs all.
char log_room[kMostBytes + 512];

struct SystemLog {
  const char* ident = program_invocation_short_name;
  int options = 0, facility = LOG_USER;
  int fd = -1;
  bool given_up = false;
  void (*writer)(int, std::string_view) = nullptr;
  time_t second = -1;   // whose text `clock` is
  char clock[26] = {};  // as asctime() writes it
  std::size_t length = 0;

  void append(std::string_view text) {
    const std::size_t n = std::min(text.size(), sizeof log_room - length);
    std::memcpy(log_room + length, text.data(), n);
    length += n;
  }
  void append_number(long number) {
    char digits[24];
    const char* const end = std::to_chars(digits, std::end(digits), number).ptr;
    append({digits, static_cast<std::size_t>(end - digits)});
  }
  std::string_view text() const { return {log_room, length}; }
} state;

bool connect_log() {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", system_log_socket());
  state.fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  return state.fd >= 0 &&
         connect(state.fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void close_log() {
  if (state.fd >= 0) close(state.fd);
  state.fd = -1;
}

bool send_line(std::string_view line) {
  for (Wait reader;;) {
    const ssize_t sent = send(state.fd, line.data(), line.size(), MSG_NOSIGNAL);
    if (sent >= 0) return true;
    if (errno != EINTR || !reader.goes_on()) return false;
  }
}

// Also to a log that was started anew since the last line.
bool deliver(std::string_view line) {
  if (state.fd >= 0 && send_line(line)) return true;
  close_log();
  if (connect_log() && send_line(line)) return true;
  close_log();
  return false;
}

void write_console(std::string_view line) {
  const int fd = open("/dev/console", O_WRONLY | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return;
  dprintf(fd, "%.*s\r\n", static_cast<int>(line.size()), line.data());
  close(fd);
}

std::string_view time_text() {
  const time_t now = time(nullptr);
  if (now != state.second) {
    tm parts = {};
    asctime_r(localtime_r(&now, &parts), state.clock);
    state.second = now;
  }
  return {state.clock + std::strlen("Thu "), kTimeBytes};
}

bool is_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < ' ' || byte == 0x7F;
}

void append_shown(std::string_view text) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  while (!text.empty() && state.length < kMostBytes) {
    const auto control = std::find_if(text.begin(), text.end(), is_control);
    const auto plain = static_cast<std::size_t>(control - text.begin());
    state.append(text.substr(0, std::min(plain, kMostBytes - state.length)));
    text.remove_prefix(plain);
    if (text.empty() || state.length >= kMostBytes) return;
    const auto byte = static_cast<unsigned char>(text.front());
    const char shown[] = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    state.append({shown, sizeof shown});
    text.remove_prefix(1);
  }
}

}  // namespace

void open_system_log(const char* ident, int options, int facility) {
  state.ident = ident;
  state.options = options;
  state.facility = facility;
}

void write_system_log(int priority, std::string_view text) {
  if (state.writer != nullptr) return state.writer(priority, text);
  if (state.given_up) return;
  const int error = errno;
  if ((priority & LOG_FACMASK) == 0) priority |= state.facility;
  state.length = 0;
  state.append("<");
  state.append_number(priority);
  state.append(">");
  state.append(time_text());
  state.append(" ");
  const std::size_t start = state.length;
  state.append(state.ident);
  if ((state.options & LOG_PID) != 0) {
    state.append("[");
    state.append_number(getpid());
    state.append("]");
  }
  state.append(": ");
  append_shown(text);
  if (!deliver(state.text())) {
    state.given_up = true;
    if ((state.options & LOG_CONS) != 0) write_console(state.text().substr(start));
  }
  errno = error;
}

void log_arguments(int priority, const char* format, va_list args) {
  if (state.given_up) return;
  if (std::strchr(format, '%') == nullptr) return write_system_log(priority, format);
  char text[4096];
  const int n = std::vsnprintf(text, sizeof text, format, args);
  if (n < 0) return;
  write_system_log(priority, {text, std::min(static_cast<std::size_t>(n), sizeof text - 1)});
}

void log_system(int priority, const char* format, ...) {
  va_list args;
  va_start(args, format);
  log_arguments(priority, format, args);
  va_end(args);
}

void set_system_log_writer(void (*writer)(int priority, std::string_view text)) {
  state.writer = writer;
}

const char*& system_log_socket() {
  static const char* path = "/dev/log";
  return path;
}

}  // namespace tarnel
