// The one seam between the table engine and the system: a record of function pointers, so that a
// test can let the nth call fail. Reads and writes are positioned; the position of a descriptor is
// unused.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace tarnel {

struct FileOps {
  int (*open)(const char* path, int flags, mode_t mode);
  int (*close)(int fd);
  ssize_t (*pread)(int fd, void* buffer, size_t n, off_t at);
  ssize_t (*pwrite)(int fd, const void* buffer, size_t n, off_t at);
  int (*lock)(int fd, int command, struct flock* range);
  int (*fstat)(int fd, struct stat* status);
  int (*stat)(const char* path, struct stat* status);
  int (*truncate)(int fd, off_t size);
  int (*unlink)(const char* path);
  void (*sync)();
};
FileOps& file_ops();

// Opens close-on-exec, retrying on EINTR. The descriptor is above 0, or -1 with errno set.
int open_file(const char* path, int flags, mode_t mode = 0);

// Reads up to n bytes; fewer only at the end of the file. The number read, or -1 with errno set.
std::int64_t read_some_at(int fd, void* buffer, std::size_t n, std::int64_t at);
// Reads exactly n bytes; false when the file ends before them or on an error.
bool read_at(int fd, void* buffer, std::size_t n, std::int64_t at);
// Writes all n bytes in pieces of at most 64 KiB: one huge write would make later small ones slow.
bool write_at(int fd, const void* buffer, std::size_t n, std::int64_t at);

// The system's sync, at most every 10 seconds and only after a write.
void sync_now_and_then();

// POSIX range locks: type F_RDLCK, F_WRLCK or F_UNLCK; length 0 reaches to the end. False when the
// system or another process refuses.
enum class LockWait : bool { kNo, kYes };
bool lock_range(int fd, short type, std::int64_t start, std::int64_t length,
                LockWait wait = LockWait::kNo);
// Has no other process a lock in the range?
bool range_is_free(int fd, std::int64_t start, std::int64_t length);

}  // namespace tarnel
