#include "lib/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "core/descriptors.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/file_names.h"
#include "lib/replacement_file.h"

namespace tarnel {
namespace {

// Notes the system's number, then warns.
void file_warning(int code, const std::string& text) {
  set_dos_error(errno);
  RT_WARNING(code, text);
}

// The names that a search tries, in order, until `attempt` accepts one. Result: accepted; `last` is
// the name tried last.
template <typename Attempt>
bool search(std::string_view name, bool map_file, std::string& last, Attempt&& attempt) {
  const auto tried = [&](std::string path) {
    last = std::move(path);
    return attempt(last);
  };
  const std::string mapped = fileNameMap(name);
  const bool has_directory = mapped.find('/') != mapped.npos;
  if (!has_directory && !settings().default_dir.empty() && tried(settings().default_dir + mapped))
    return true;
  if (tried(mapped)) return true;
  if (has_directory) return false;
  if (map_file)
    for (const char* variable : {"SCRMAP", "TERMINFO"})
      if (const char* directory = std::getenv(variable); directory != nullptr && *directory != 0)
        if (tried(pathJoin(directory, mapped))) return true;
  for (const std::string& directory : settings().path)
    if (tried(pathJoin(directory, mapped))) return true;
  return map_file && tried(pathJoin("/usr/lib/terminfo", mapped));
}

bool pump(int from, int to) {
  std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t n = read_some(from, buffer.data(), buffer.size());
    if (n <= 0) return n == 0;
    if (!write_fully(to, {buffer.data(), static_cast<std::size_t>(n)})) return false;
  }
}

void create_warning(const std::string& path, std::string_view name, bool report) {
  if (report)
    file_warning(105, "Create error for '" + path + "' (requested '" + std::string(name) + "') ");
  else
    set_dos_error(errno);
}

// Is there nothing, or a file that loses nothing when another one takes its name?
bool may_be_replaced(const std::string& path) {
  struct stat status;
  std::error_code ignored;
  if (file_ops().stat(path.c_str(), &status) != 0)
    return errno == ENOENT && !std::filesystem::is_symlink(path, ignored);  // a link to nothing
  return S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_uid == ::geteuid() &&
         ::access(path.c_str(), W_OK) == 0 && !is_open_here(status);
}

bool took_place(ReplacementFile& file) {
  if (file.take_place()) return true;
  file_warning(104, "Write error");
  return false;
}

// --- A stream of the system's library over a descriptor that has its owner here.

int descriptor_of(void* cookie) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}
ssize_t stream_read(void* cookie, char* buffer, std::size_t n) {
  return read_some(descriptor_of(cookie), buffer, n);
}
ssize_t stream_write(void* cookie, const char* buffer, std::size_t n) {
  return std::max(write_some(descriptor_of(cookie), {buffer, n}), ssize_t{0});
}
int stream_seek(void* cookie, off64_t* offset, int whence) {
  *offset = file_ops().seek(descriptor_of(cookie), *offset, whence);
  return *offset < 0 ? -1 : 0;
}
int stream_close(void* cookie) {
  return close_file(descriptor_of(cookie)) ? 0 : -1;
}

// The flags of open() for a mode of fopen().
int open_flags(std::string_view mode) {
  const int access = mode.find('+') != mode.npos ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
  return access | (mode[0] == 'r' ? 0 : O_CREAT | (mode[0] == 'a' ? O_APPEND : O_TRUNC));
}

}  // namespace

bool texts_given(std::int32_t n, std::int32_t argc, Var* const* argv) {
  bool given = true;
  for (std::int32_t i = 0; i < n; ++i) given = given && arg_is(argc, argv, i, kText);
  set_dos_error(given ? 0 : EINVAL);
  return given;
}

int fileOpenSearch(std::string_view name, int flags, mode_t mode, const OpenSearch& how) {
  int fd = -1;
  std::string last;
  search(name, how.map_file, last, [&](const std::string& path) {
    fd = open_file(path.c_str(), flags, mode);
    return fd >= 0;
  });
  const int reason = errno;
  if (how.found_name != nullptr)
    *how.found_name = fullPath(std::string_view(last).substr(0, kFoundNameLimit));
  if (fd < 0) {
    errno = reason;
    set_dos_error(reason);
    if (how.report)
      RT_WARNING(101, "Open error for '" + last + "' (requested '" + std::string(name) + "') ");
    errno = reason;
  }
  return fd;
}

std::string find_file(std::string_view name, struct stat& status) {
  std::string last;
  int reason = ENOENT;
  const auto is_file = [&](const std::string& path) {
    const bool there = file_ops().stat(path.c_str(), &status) == 0;
    if (there && !S_ISDIR(status.st_mode)) return true;
    if (there || errno != ENOENT) reason = there ? EISDIR : errno;
    return false;
  };
  if (search(name, false, last, is_file)) return last;
  errno = reason;
  return {};
}

std::FILE* streamOpen(std::string_view name, const char* mode) {
  const int fd = fileOpenSearch(name, open_flags(mode), 0666, {.report = false});
  std::FILE* stream = nullptr;
  if (fd >= 0)
    stream = ::fopencookie(reinterpret_cast<void*>(std::intptr_t{fd}), mode,
                           {stream_read, stream_write, stream_seek, stream_close});
  if (stream == nullptr) file_warning(101, "file '" + std::string(name) + "'");
  if (stream == nullptr && fd >= 0) close_file(fd);
  return stream;
}

void streamClose(std::FILE* stream) {
  if (stream != nullptr && std::fclose(stream) != 0)
    file_warning(102, format_text("Close error (for %d)  ", -1));
}

// The rights of a file that was written anew. Those of a device stay, whoever writes to it.
static void give_rights(int fd, mode_t mode) {
  struct stat status;
  if (file_ops().fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
    static_cast<void>(file_ops().fchmod(fd, mode) == 0);  // not ours to change on some file systems
}

int fileCreate(std::string_view name, mode_t mode, bool report) {
  const std::string path = pathJoin("", name);
  const int fd = open_file(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, mode);
  if (fd >= 0) {
    give_rights(fd, mode);
  } else {
    create_warning(path, name, report);
  }
  return fd;
}

bool fileReplace(std::string_view name, std::string_view bytes, bool report) {
  const std::string path = pathJoin("", name);
  if (may_be_replaced(path)) {
    ReplacementFile file(path, ".ovtx");
    if (file.create(fileDefaultMode())) {
      const bool written = file.append(bytes.data(), bytes.size()) && file.flush(false);
      if (!written) file_warning(104, "Write error");
      return written && fileClose(file.release()) && took_place(file);
    }
    // A disk that is full has room enough to lose the former file.
    if (errno != EACCES && errno != EPERM && errno != EROFS && errno != ENOENT) {
      create_warning(path, name, report);
      return false;
    }
  }
  const int handle = fileCreate(name, fileDefaultMode(), report);
  if (handle < 0) return false;
  const bool written = fileWrite(handle, bytes) == static_cast<std::int64_t>(bytes.size());
  return fileClose(handle) && written;
}

bool fileClose(int handle) {
  if (close_file(handle)) return true;
  file_warning(102, format_text("Close error (for %d)  ", handle));
  return false;
}

std::int64_t fileRead(int handle, char* buffer, std::size_t n) {
  std::size_t done = 0;
  while (done < n) {
    const ssize_t got = read_some(handle, buffer + done, n - done);
    if (got < 0) {
      set_dos_error(errno);
      return -1;
    }
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t fileWrite(int handle, std::string_view bytes) {
  if (handle == STDOUT_FILENO) {
    if (!bytes.empty()) begin_output();
    flush_output();
  }
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write_some(handle, bytes.substr(done));
    if (n < 0) {
      file_warning(104, "Write error");
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t fileSeek(int handle, std::int64_t offset, int whence) {
  const auto position = file_ops().seek(handle, offset, whence);
  if (position < 0) set_dos_error(errno);
  return position;
}

bool fileErase(std::string_view name) {
  if (file_ops().unlink(pathJoin("", name).c_str()) == 0) return true;
  file_warning(106, "Erase error");
  return false;
}

int fileModeOf(std::string_view name) {
  const std::string path = fileNameMap(name);
  struct stat status;
  if (file_ops().stat(path.c_str(), &status) == 0) return static_cast<int>(status.st_mode & 07777);
  file_warning(107, "GET_NFIL_MODE: cannot get status for '" + path + "'");
  return -1;
}

mode_t fileDefaultMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

bool read_handle(int handle, std::string& bytes, std::size_t limit) {
  std::array<char, 65536> buffer;
  bytes.clear();
  for (;;) {
    const ssize_t n = read_some(handle, buffer.data(), buffer.size());
    if (n < 0) return false;
    bytes.append(buffer.data(), static_cast<std::size_t>(n));
    if (n == 0 || bytes.size() >= limit) break;
  }
  bytes.resize(std::min(bytes.size(), limit));
  return true;
}

bool copy_file(const std::string& from, const std::string& to, bool append) {
  const File source(from.c_str(), O_RDONLY);
  struct stat status, former;
  if (!source.opened() || file_ops().fstat(source.fd(), &status) != 0) return false;
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return false;
  }
  const bool there = file_ops().stat(to.c_str(), &former) == 0;
  const bool existed = there || errno != ENOENT;
  // A file copied onto itself would be emptied first, and appended to itself would never end.
  if (there && former.st_dev == status.st_dev && former.st_ino == status.st_ino) {
    errno = EEXIST;
    return false;
  }
  const int flags = O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC);
  File target(to.c_str(), flags, status.st_mode & 0777);
  if (!target.opened()) return false;
  bool copied = pump(source.fd(), target.fd());
  const int reason = errno;
  if (!target.close() && copied) return false;
  // Half a file under a new name could be taken for a whole one.
  if (!copied && !existed) file_ops().unlink(to.c_str());
  errno = reason;
  return copied;
}

}  // namespace tarnel
