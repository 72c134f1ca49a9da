#include "core/open_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "core/file_ops.h"
#include "core/signals.h"

namespace tarnel {
namespace {

struct Descriptor {
  int fd;
  dev_t device;
  ino_t inode;
  int kind;     // the flags by which descriptors of one file differ
  int users;    // 0: parked
  bool shared;  // further users may join

  bool is_of(const struct stat& status) const {
    return device == status.st_dev && inode == status.st_ino;
  }
  bool same_file(const Descriptor& other) const {
    return device == other.device && inode == other.inode;
  }
};

struct OpenFilesState {
  std::vector<Descriptor> descriptors;
} state;

constexpr int kind_of(int flags) {
  return flags & (O_ACCMODE | O_APPEND);
}

// A descriptor of the file that an open with these flags may have, null when there is none.
Descriptor* usable(const struct stat& status, int flags, Share share) {
  for (Descriptor& d : state.descriptors)
    if (d.is_of(status) && d.kind == kind_of(flags) &&
        (d.users == 0 || (d.shared && share == Share::kYes)))
      return &d;
  return nullptr;
}

// Makes it as if newly opened. False with errno set.
bool take_up(Descriptor& d, int flags, Share share) {
  if (d.users == 0 && file_ops().seek(d.fd, 0, SEEK_SET) != 0) return false;
  if ((flags & O_TRUNC) != 0 && !set_size(d.fd, 0)) return false;
  if (d.users++ == 0) d.shared = share == Share::kYes;
  return true;
}

bool any_in_use() {
  return std::any_of(state.descriptors.begin(), state.descriptors.end(),
                     [](const Descriptor& d) { return d.users > 0; });
}

// Enters a new descriptor. One of which nothing is known could cost somebody's locks: it counts as
// parked with a file of its own, and stays open.
bool enter(int fd, int flags, Share share) {
  struct stat status {};
  const bool known = file_ops().fstat(fd, &status) == 0;
  if (known && !S_ISREG(status.st_mode)) return true;
  const int reason = errno;
  std::erase_if(state.descriptors, [fd](const Descriptor& d) { return d.fd == fd; });
  if (known)
    state.descriptors.push_back(
        {fd, status.st_dev, status.st_ino, kind_of(flags), 1, share == Share::kYes});
  else if (any_in_use())
    state.descriptors.push_back({fd, 0, 0, -1, 0, false});
  else
    file_ops().close(fd);
  errno = reason;
  return known;
}

}  // namespace

int open_file(const char* path, int flags, mode_t mode, Share share) {
  struct stat status {};
  if (!state.descriptors.empty() && (flags & O_EXCL) == 0 && file_ops().stat(path, &status) == 0) {
    Descriptor* d = usable(status, flags, share);
    if (d != nullptr) return take_up(*d, flags, share) ? d->fd : -1;
  }
  Wait other_end;  // that of a pipe
  const int fd = retried([&] { return file_ops().open(path, flags | O_CLOEXEC, mode); },
                         [&] { return errno == EINTR && other_end.goes_on(); });
  return fd >= 0 && enter(fd, flags, share) ? fd : -1;
}

bool close_file(int fd) {
  const auto found = std::find_if(state.descriptors.begin(), state.descriptors.end(),
                                  [fd](const Descriptor& d) { return d.fd == fd; });
  // A close that a signal broke off has closed on this system.
  const auto close_now = [](int n) { return file_ops().close(n) == 0 || errno == EINTR; };
  if (found == state.descriptors.end()) return close_now(fd);
  if (found->users == 0) {
    errno = EBADF;
    return false;
  }
  if (--found->users > 0) return true;
  const Descriptor last = *found;
  if (std::any_of(state.descriptors.begin(), state.descriptors.end(),
                  [&](const Descriptor& d) { return d.users > 0 && d.same_file(last); }))
    return true;
  bool closed = true;
  std::erase_if(state.descriptors, [&](const Descriptor& d) {
    if (!d.same_file(last)) return false;
    if (!close_now(d.fd)) closed = false;
    return true;
  });
  return closed;
}

bool is_open_here(const struct stat& status) {
  return std::ranges::any_of(state.descriptors,
                             [&](const Descriptor& d) { return d.users > 0 && d.is_of(status); });
}

bool shared_otherwise(const struct stat& status, int flags) {
  return std::any_of(state.descriptors.begin(), state.descriptors.end(), [&](const Descriptor& d) {
    return d.shared && d.is_of(status) && d.kind != kind_of(flags);
  });
}

}  // namespace tarnel
