// The one seam between the runtime and the system's files: a record of function pointers, so that a
// test can let the nth call fail, and the few operations that everybody builds on.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace tarnel {

// Each member is the system call of its name.
struct FileOps {
  int (*open)(const char* path, int flags, mode_t mode);
  int (*close)(int fd);
  ssize_t (*read)(int fd, void* buffer, size_t n);
  ssize_t (*write)(int fd, const void* buffer, size_t n);
  off_t (*seek)(int fd, off_t offset, int whence);
  ssize_t (*pread)(int fd, void* buffer, size_t n, off_t at);
  ssize_t (*pwrite)(int fd, const void* buffer, size_t n, off_t at);
  int (*lock)(int fd, int command, struct flock* range);
  int (*fstat)(int fd, struct stat* status);
  int (*stat)(const char* path, struct stat* status);
  int (*truncate)(int fd, off_t size);
  int (*chmod)(const char* path, mode_t mode);
  int (*fchmod)(int fd, mode_t mode);
  int (*fchown)(int fd, uid_t owner, gid_t group);
  int (*unlink)(const char* path);
  int (*rename)(const char* from, const char* to);
  void* (*map)(int fd, size_t length);  // shared, for reading; MAP_FAILED on an error
  void* (*remap)(void* base, size_t length, size_t wanted);
  int (*fsync)(int fd);
  void (*sync)();
};
FileOps& file_ops();

// Calls again as long as a signal breaks in and `again` agrees.
template <typename Call, typename Again>
auto retried(Call call, Again again) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || !again()) return result;
  }
}
template <typename Call>
auto retried(Call call) {
  return retried(call, [] { return errno == EINTR; });
}

// Reads up to n bytes from a place; fewer only at the end of the file. The number read, or -1 with
// errno set. The position of the descriptor stays.
std::int64_t read_some_at(int fd, void* buffer, std::size_t n, std::int64_t at);
// Reads exactly n bytes; false when the file ends before them or on an error.
bool read_at(int fd, void* buffer, std::size_t n, std::int64_t at);
// Writes all n bytes of a table file in pieces of at most 64 KiB: one huge write would make later
// small ones slow. False with errno set.
bool write_at(int fd, const void* buffer, std::size_t n, std::int64_t at);

// Cuts a file, or lengthens it by zeros. False with errno set.
[[nodiscard]] bool set_size(int fd, std::int64_t size);

// What was written to the file is on its disk. False with errno set: nobody knows.
[[nodiscard]] bool flush_to_disk(int fd);
// The same for the names in the directory of a file; a file system that can't flush a directory needs no
// telling.
void flush_directory(const char* file);

// The system's sync, at most every 10 seconds and only after a write of a table file.
void sync_now_and_then();

// POSIX range locks: type F_RDLCK, F_WRLCK or F_UNLCK; length 0 reaches to the end. False when the
// system or another process refuses, or when a signal ends the wait (core/signals.h).
enum class LockWait : bool { kNo, kYes };
bool lock_range(int fd, short type, std::int64_t start, std::int64_t length,
                LockWait wait = LockWait::kNo);
// Has no other process a lock in the range?
bool range_is_free(int fd, std::int64_t start, std::int64_t length);

}  // namespace tarnel
