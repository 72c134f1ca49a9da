// A receiver of log lines for machines without a log daemon. There every line of a request would go to
// the machine's console, which is a hundred times slower than all else that a request does.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace tarnel::testing {

// The warnings that came, and worse.
struct LoggedWarnings {
  bool served = false;
  std::mutex guard;
  std::string text;
};
inline LoggedWarnings& logged_warnings() {
  static auto* warnings = new LoggedWarnings;  // outlives the thread that fills it
  return *warnings;
}

// Takes /dev/log if nobody has it and we may; lasts to the end of the process.
inline void serve_log() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "/dev/log");
  const auto* name = reinterpret_cast<const sockaddr*>(&address);
  if (connect(fd, name, sizeof address) == 0) {  // a daemon is there
    close(fd);
    return;
  }
  unlink(address.sun_path);
  if (bind(fd, name, sizeof address) != 0) {
    close(fd);
    return;
  }
  std::atexit([] { unlink("/dev/log"); });
  logged_warnings().served = true;
  std::thread([fd] {
    char line[4096];
    for (ssize_t n; (n = recv(fd, line, sizeof line - 1, 0)) >= 0;) {
      line[n] = '\0';
      if (n == 0 || LOG_PRI(std::atoi(line + 1)) > LOG_WARNING) continue;
      const std::lock_guard held(logged_warnings().guard);
      logged_warnings().text.append(line).append("\n");
    }
  }).detach();
}

// How many warnings hold a text, after those that are on their way.
inline int count_warnings(const std::string& text) {
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const std::lock_guard held(logged_warnings().guard);
  int n = 0;
  for (std::size_t at = 0; (at = logged_warnings().text.find(text, at)) != std::string::npos; ++at)
    ++n;
  return n;
}

}  // namespace tarnel::testing
