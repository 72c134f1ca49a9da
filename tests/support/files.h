// Whole files, and a folder of a test's own.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace tarnel::testing {

// Empty for a file that isn't there.
inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Over the bytes that are there, and cuts the rest: a file that is cut to nothing first reaches the disk as soon as
// it is closed, on file systems that care for those who replace a file so, and that takes a hundred times as long.
inline void write_file(const std::filesystem::path& path, std::string_view bytes) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  const auto size = static_cast<ssize_t>(bytes.size());
  const bool written =
      fd >= 0 && ::write(fd, bytes.data(), bytes.size()) == size && ::ftruncate(fd, size) == 0;
  const int error = errno;
  if (fd >= 0) ::close(fd);
  if (!written) throw std::system_error(error, std::generic_category(), path);
}

// An empty folder for temporary files that goes with what lies in it.
class Folder {
 public:
  Folder() {
    std::string name = std::filesystem::temp_directory_path() / "tarnel-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category());
    path_ = std::filesystem::canonical(name);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string path(std::string_view name) const { return path_ / name; }
  std::string read(std::string_view name) const { return read_file(path_ / name); }
  void write(std::string_view name, std::string_view text) const { write_file(path_ / name, text); }

 private:
  std::filesystem::path path_;
};

// The same as the current folder.
class CurrentFolder : public Folder {
 public:
  CurrentFolder() : former_(std::filesystem::current_path()) {
    std::filesystem::current_path(path());
  }
  ~CurrentFolder() { std::filesystem::current_path(former_); }

 private:
  std::filesystem::path former_;
};

}  // namespace tarnel::testing
