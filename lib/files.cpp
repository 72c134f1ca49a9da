#include "lib/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "core/errors.h"
#include "core/output.h"
#include "core/settings.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

// Calls again as long as a signal breaks in.
template <typename Call>
auto retried(Call&& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

int open_path(const std::string& path, int flags, mode_t mode) {
  return retried([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); });
}

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

// A descriptor that is closed at the end of its scope.
struct Handle {
  explicit Handle(int descriptor) : fd(descriptor) {}
  ~Handle() {
    if (fd >= 0) ::close(fd);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  const int fd;
};

bool pump(int from, int to) {
  std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t n = retried([&] { return ::read(from, buffer.data(), buffer.size()); });
    if (n <= 0) return n == 0;
    if (!write_fully(to, {buffer.data(), static_cast<std::size_t>(n)})) return false;
  }
}

}  // namespace

int fileOpenSearch(std::string_view name, int flags, mode_t mode, const OpenSearch& how) {
  int fd = -1;
  std::string last;
  search(name, how.map_file, last, [&](const std::string& path) {
    fd = open_path(path, flags, mode);
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

std::string find_file(std::string_view name, bool (*accept)(const std::string& path)) {
  std::string last;
  return search(name, false, last, accept) ? last : std::string{};
}

std::FILE* streamOpen(std::string_view name, const char* mode) {
  std::FILE* stream = nullptr;
  std::string last;
  const std::string flags = std::string(mode) + 'e';
  search(name, false, last, [&](const std::string& path) {
    stream = std::fopen(path.c_str(), flags.c_str());
    return stream != nullptr;
  });
  if (stream == nullptr) file_warning(101, "file '" + std::string(name) + "'");
  return stream;
}

void streamClose(std::FILE* stream) {
  if (stream != nullptr && std::fclose(stream) != 0)
    file_warning(102, format_text("Close error (for %d)  ", -1));
}

int fileCreate(std::string_view name, mode_t mode, bool report) {
  const std::string path = pathJoin("", name);
  const int fd = open_path(path, O_RDWR | O_CREAT | O_TRUNC, mode);
  if (fd >= 0) {
    static_cast<void>(fchmod(fd, mode) == 0);  // not ours to change on some file systems
  } else if (report) {
    file_warning(105, "Create error for '" + path + "' (requested '" + std::string(name) + "') ");
  } else {
    set_dos_error(errno);
  }
  return fd;
}

bool fileClose(int handle) {
  if (::close(handle) == 0 || errno == EINTR) return true;  // closed either way on this system
  file_warning(102, format_text("Close error (for %d)  ", handle));
  return false;
}

std::int64_t fileRead(int handle, char* buffer, std::size_t n) {
  std::size_t done = 0;
  while (done < n) {
    const ssize_t got = retried([&] { return ::read(handle, buffer + done, n - done); });
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
  if (handle == STDOUT_FILENO) flush_output();
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n =
        retried([&] { return ::write(handle, bytes.data() + done, bytes.size() - done); });
    if (n < 0) {
      file_warning(104, "Write error");
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  return static_cast<std::int64_t>(done);
}

std::int64_t fileSeek(int handle, std::int64_t offset, int whence) {
  const auto position = ::lseek(handle, offset, whence);
  if (position < 0) set_dos_error(errno);
  return position;
}

bool fileErase(std::string_view name) {
  if (::unlink(pathJoin("", name).c_str()) == 0) return true;
  file_warning(106, "Erase error");
  return false;
}

int fileModeOf(std::string_view name) {
  const std::string path = fileNameMap(name);
  struct stat status;
  if (::stat(path.c_str(), &status) == 0) return static_cast<int>(status.st_mode & 07777);
  file_warning(107, "GET_NFIL_MODE: cannot get status for '" + path + "'");
  return -1;
}

int fileModeOfHandle(int handle) {
  struct stat status;
  if (::fstat(handle, &status) == 0) return static_cast<int>(status.st_mode & 07777);
  file_warning(107, format_text("GET_DFIL_MODE: cannot get status for '%d'", handle));
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
    const ssize_t n = retried([&] { return ::read(handle, buffer.data(), buffer.size()); });
    if (n < 0) return false;
    bytes.append(buffer.data(), static_cast<std::size_t>(n));
    if (n == 0 || bytes.size() >= limit) break;
  }
  bytes.resize(std::min(bytes.size(), limit));
  return true;
}

bool copy_file(const std::string& from, const std::string& to, bool append) {
  const Handle source(open_path(from, O_RDONLY, 0));
  struct stat status, target_status;
  if (source.fd < 0 || ::fstat(source.fd, &status) != 0) return false;
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return false;
  }
  // A file copied onto itself would be emptied first, and appended to itself would never end.
  if (::stat(to.c_str(), &target_status) == 0 && target_status.st_dev == status.st_dev &&
      target_status.st_ino == status.st_ino) {
    errno = EEXIST;
    return false;
  }
  const int flags = O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC);
  const Handle target(open_path(to, flags, status.st_mode & 0777));
  return target.fd >= 0 && pump(source.fd, target.fd);
}

}  // namespace tarnel
