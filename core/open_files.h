// The owner of the descriptors of regular files. POSIX drops every lock of a process on a file as soon
// as the process closes any descriptor of it. So whoever opens a file by its name opens and closes
// here: a descriptor whose user has gone stays open, parked, until its file has no user left, and the
// next open of that kind takes it up again. Files are told apart by device and inode, whatever names
// they have. Pipes, devices and directories have no locks; they are opened and closed as they come.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

namespace tarnel {

// Whoever uses positioned reads and writes only can share one descriptor with others that do.
enum class Share : bool { kNo, kYes };

// Opens close-on-exec. The descriptor, at its beginning, for close_file; -1 with errno set. It is above 2,
// which start-up sees to. A pipe waits for its other end, until a signal ends the wait.
[[nodiscard]] int open_file(const char* path, int flags, mode_t mode = 0, Share share = Share::kNo);
// Gives a use of a descriptor back. False, with errno set, when the system could not close or the
// descriptor is not in use; it is gone all the same.
bool close_file(int fd);
// Is the file in use here?
bool is_open_here(const struct stat& status);
// Is the file open for sharing with other flags than these?
bool shared_otherwise(const struct stat& status, int flags);

// A file that is closed at the end of its scope.
class File {
 public:
  File(const char* path, int flags, mode_t mode = 0) : fd_(open_file(path, flags, mode)) {}
  explicit File(int fd) : fd_(fd) {}
  ~File() {
    if (fd_ >= 0) close_file(fd_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool opened() const { return fd_ >= 0; }
  int fd() const { return fd_; }  // -1 when it could not be opened
  // Closes it now. False, with errno set, when what was written may be lost.
  bool close() {
    const int fd = fd_;
    fd_ = -1;
    return close_file(fd);
  }

 private:
  int fd_;
};

}  // namespace tarnel
