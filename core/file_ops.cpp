#include "core/file_ops.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <string_view>

#include "core/runtime.h"
#include "core/signals.h"

namespace tarnel {
namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::time_t kSyncInterval = 10;  // seconds

struct WriteState {
  bool unsynced = false;
  std::time_t last_sync = 0;  // 0: no write yet
} state;

int system_open(const char* path, int flags, mode_t mode) {
  return ::open(path, flags, mode);
}
int system_lock(int fd, int command, struct flock* range) {
  return ::fcntl(fd, command, range);
}

void* system_map(int fd, size_t length) {
  return ::mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
}
void* system_remap(void* base, size_t length, size_t wanted) {
  return ::mremap(base, length, wanted, MREMAP_MAYMOVE);
}

}  // namespace

FileOps& file_ops() {
  static FileOps ops = {
      .open = system_open,
      .close = ::close,
      .read = ::read,
      .write = ::write,
      .seek = ::lseek,
      .pread = ::pread,
      .pwrite = ::pwrite,
      .lock = system_lock,
      .fstat = ::fstat,
      .stat = ::stat,
      .truncate = ::ftruncate,
      .chmod = ::chmod,
      .fchmod = ::fchmod,
      .fchown = ::fchown,
      .unlink = ::unlink,
      .rename = ::rename,
      .map = system_map,
      .remap = system_remap,
      .fsync = ::fsync,
      .sync = ::sync,
  };
  return ops;
}

std::int64_t read_some_at(int fd, void* buffer, std::size_t n, std::int64_t at) {
  std::size_t done = 0;
  while (done < n) {
    const ssize_t got = retried([&] {
      return file_ops().pread(fd, static_cast<char*>(buffer) + done, n - done,
                              at + static_cast<std::int64_t>(done));
    });
    if (got < 0) return -1;
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return static_cast<std::int64_t>(done);
}

bool read_at(int fd, void* buffer, std::size_t n, std::int64_t at) {
  return read_some_at(fd, buffer, n, at) == static_cast<std::int64_t>(n);
}

bool write_at(int fd, const void* buffer, std::size_t n, std::int64_t at) {
  note_table_write();
  state.unsynced = true;
  std::size_t done = 0;
  while (done < n) {
    const ssize_t put = retried([&] {
      return file_ops().pwrite(fd, static_cast<const char*>(buffer) + done,
                               std::min(n - done, kPiece), at + static_cast<std::int64_t>(done));
    });
    if (put == 0) errno = ENOSPC;
    if (put <= 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return true;
}

bool set_size(int fd, std::int64_t size) {
  return retried([&] { return file_ops().truncate(fd, size); }) == 0;
}

bool flush_to_disk(int fd) {
  return retried([&] { return file_ops().fsync(fd); }) == 0;
}

void flush_directory(const char* file) {
  const std::string_view path = file;
  const std::size_t slash = path.rfind('/');
  const std::string directory =
      slash == std::string_view::npos ? "." : std::string(path.substr(0, slash + 1));
  const int fd = file_ops().open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
  if (fd < 0) return;
  static_cast<void>(flush_to_disk(fd));
  file_ops().close(fd);
}

void sync_now_and_then() {
  if (!state.unsynced) return;
  const std::time_t now = std::time(nullptr);
  if (state.last_sync == 0) state.last_sync = now;
  if (now - state.last_sync <= kSyncInterval) return;
  file_ops().sync();
  state = {false, now};
}

bool lock_range(int fd, short type, std::int64_t start, std::int64_t length, LockWait wait) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = start;
  range.l_len = length;
  Wait others;
  const int command = wait == LockWait::kYes ? F_SETLKW : F_SETLK;
  return retried([&] { return file_ops().lock(fd, command, &range); },
                 [&] { return errno == EINTR && (wait == LockWait::kNo || others.goes_on()); }) >=
         0;
}

bool range_is_free(int fd, std::int64_t start, std::int64_t length) {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = start;
  range.l_len = length;
  return retried([&] { return file_ops().lock(fd, F_GETLK, &range); }) >= 0 &&
         range.l_type == F_UNLCK;
}

}  // namespace tarnel
