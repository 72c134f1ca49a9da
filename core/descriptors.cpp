#include "core/descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "core/file_ops.h"
#include "core/signals.h"

namespace tarnel {
namespace {

// Calls until it is done, has failed, or a signal waits for its answer.
template <typename Call>
ssize_t insist(int fd, short event, Call call) {
  Wait other_end;
  return retried(call, [&] {
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
      pollfd ready = {fd, event, 0};
      if (poll(&ready, 1, -1) >= 0) return true;
    }
    return errno == EINTR && other_end.undisturbed();
  });
}

}  // namespace

void open_missing_descriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    // The lowest free number is this one.
    if (fcntl(fd, F_GETFD) < 0 && errno == EBADF && open("/dev/null", O_RDWR) < 0) return;
}

ssize_t read_some(int fd, void* buffer, std::size_t n) {
  for (;;) {
    const ssize_t got = insist(fd, POLLIN, [&] { return file_ops().read(fd, buffer, n); });
    if (got >= 0 || errno != EINTR) return got;
    look_at_signals();
    if (waits_are_given_up()) return got;
  }
}

ssize_t write_some(int fd, std::string_view bytes) {
  return insist(fd, POLLOUT, [&] { return file_ops().write(fd, bytes.data(), bytes.size()); });
}

bool write_fully(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = write_some(fd, bytes);
    if (n < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace tarnel
