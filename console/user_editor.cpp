#include "console/user_editor.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "console/words.h"
#include "core/descriptors.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/signals.h"
#include "lib/files.h"
#include "term/screen.h"

namespace tarnel {
namespace {

constexpr std::size_t kLargestText = 64 << 20;

}  // namespace

// A pipe without a writer would keep the open waiting.
std::string read_file(const std::string& name, std::string& text) {
  const File file(name.c_str(), O_RDONLY | O_NONBLOCK);
  struct stat status {};
  if (!file.opened() || fstat(file.fd(), &status) != 0) return system_words(errno);
  if (!S_ISREG(status.st_mode)) return "is no regular file";
  for (ssize_t n = 1; n > 0;) {
    const std::size_t size = text.size();
    text.resize(size + (1 << 20));
    n = read_some(file.fd(), text.data() + size, 1 << 20);
    if (n < 0) return system_words(errno);
    text.resize(size + static_cast<std::size_t>(n));
  }
  return {};
}

PrivateFile::PrivateFile(const std::string& name) {
  const char* directory = std::getenv("TMPDIR");
  path_ = std::string(directory != nullptr && *directory != 0 ? directory : "/tmp") + "/" + name +
          ".XXXXXX";
  fd_ = mkostemp(path_.data(), O_CLOEXEC);
}

PrivateFile::~PrivateFile() {
  if (fd_ < 0) return;
  ::close(fd_);
  ::unlink(path_.c_str());
}

bool PrivateFile::write(std::string_view text) {
  return fd_ >= 0 && write_fully(fd_, text);
}

std::optional<std::string> PrivateFile::read() {
  const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  std::string text;
  const bool good = fd >= 0 && read_handle(fd, text, kLargestText);
  if (fd >= 0) ::close(fd);
  return good ? std::optional<std::string>(text) : std::nullopt;
}

bool run_user_editor(const std::string& path) {
  std::string shell = "sh", option = "-c", command = "${VISUAL:-${EDITOR:-vi}} \"$1\"", name = path;
  char* argv[] = {shell.data(), option.data(), command.data(), shell.data(), name.data(), nullptr};
  flush_output();
  const bool on_screen = screen_open();
  if (on_screen) screen_device().give_back();
  pid_t child = -1;
  int status = -1;
  if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv, environ) == 0)
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  take_interrupt();  // it was meant for the editor
  if (on_screen) screen_device().take_again();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tarnel
