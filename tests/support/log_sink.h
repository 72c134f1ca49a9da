// Receives the lines that programs log. On a machine without a log daemon a benchmark has it stand in for one.
#pragma once

#include <sys/socket.h>
#include <sys/stat.h>
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

class LogSink {
 public:
  // Listens at `path` unless somebody does already.
  explicit LogSink(const char* path) : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    std::snprintf(address_.sun_path, sizeof address_.sun_path, "%s", path);
    const auto* name = reinterpret_cast<const sockaddr*>(&address_);
    if (connect(fd_, name, sizeof address_) == 0) return;
    unlink(path);
    if (bind(fd_, name, sizeof address_) != 0) return;
    chmod(path, 0666);
    thread_ = std::thread([this] { receive(); });
  }
  ~LogSink() {
    if (thread_.joinable()) {
      shutdown(fd_, SHUT_RD);
      thread_.join();
      unlink(address_.sun_path);
    }
    close(fd_);
  }
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;

  // What came and is on its way, of a priority and above; without priorities and times, a line for each.
  std::string lines(int lowest) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::lock_guard held(guard_);
    return text_[lowest];
  }

 private:
  void receive() {
    char line[40000];
    for (ssize_t n; (n = recv(fd_, line, sizeof line - 1, 0)) > 0;) {
      line[n] = '\0';
      const std::string text(line);  // "<135>Nov 26 01:45:00 ident: text"
      const std::size_t start = text.find('>') + 1;
      const std::lock_guard held(guard_);
      for (int p = LOG_PRI(std::atoi(line + 1)); p <= LOG_DEBUG; ++p)
        text_[p] += text.substr(start + sizeof "Nov 26 01:45:00") + "\n";
    }
  }

  const int fd_;
  sockaddr_un address_ = {AF_UNIX, {}};
  std::mutex guard_;
  std::string text_[LOG_DEBUG + 1];  // by priority, each with those above
  std::thread thread_;
};

}  // namespace tarnel::testing
