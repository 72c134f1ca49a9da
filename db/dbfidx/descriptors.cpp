// The sharing of file descriptors. POSIX drops every lock of a process on a file as soon as the
// process closes any descriptor of it, so a descriptor is closed only when the last user of its
// file has gone.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "core/errors.h"
#include "core/settings.h"
#include "db/dbfidx/dbfidx.h"
#include "db/file_ops.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

struct OpenFile {
  ino_t inode;
  dev_t device;
  int users = 0;  // 0: the entry is free
};

struct Descriptor {
  int fd = -1;  // -1: the entry is free
  std::size_t file = 0;
  int mode = 0;
};

struct DescriptorState {
  std::vector<OpenFile> files;
  std::vector<Descriptor> descriptors;
} state;

bool exists(const std::string& path, struct stat& status) {
  return file_ops().stat(path.c_str(), &status) == 0;
}

// The first file of that name: as it stands or in the DEFAULT directory, else along SET PATH. Only
// looked at, never opened: closing it again would cost the locks of an area that has it open.
std::string find_file(std::string_view name, struct stat& status) {
  std::string path = pathJoin("", name);
  if (exists(path, status)) return fullPath(path);
  const int reason = errno;
  if (path.find('/') == std::string::npos || !settings().default_dir.empty()) {
    const std::string mapped = fileNameMap(name);
    if (mapped.find('/') == std::string::npos)
      for (const std::string& directory : settings().path)
        if (path = pathJoin(directory, name); exists(path, status)) return fullPath(path);
  }
  errno = reason;
  return {};
}

std::size_t file_entry(const struct stat& status) {
  std::size_t free_entry = state.files.size();
  for (std::size_t i = 0; i < state.files.size(); ++i) {
    const OpenFile& file = state.files[i];
    if (file.users == 0)
      free_entry = std::min(free_entry, i);
    else if (file.device == status.st_dev && file.inode == status.st_ino)
      return i;
  }
  if (free_entry == state.files.size()) state.files.emplace_back();
  state.files[free_entry] = {status.st_ino, status.st_dev, 0};
  return free_entry;
}

Descriptor& descriptor_entry(std::size_t file, int mode) {
  Descriptor* free_entry = nullptr;
  bool other_mode = false;
  for (Descriptor& d : state.descriptors) {
    if (d.fd < 0) {
      free_entry = &d;
    } else if (d.file == file) {
      if (d.mode == mode) return d;
      other_mode = true;
    }
  }
  if (other_mode)
    RT_WARNING(
        902, "using an additional file descriptor;for already opened file;since open mode differs");
  return free_entry != nullptr ? *free_entry : state.descriptors.emplace_back();
}

}  // namespace

int dxOpen(std::string_view path, std::string* found, int mode) {
  struct stat status {};
  const std::string name = find_file(path, status);
  if (name.empty()) return -1;
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    return -1;
  }
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return -1;
  }
  const std::size_t file = file_entry(status);
  Descriptor& d = descriptor_entry(file, mode);
  if (d.fd < 0) {
    const int fd = open_file(name.c_str(), mode == 0 ? O_RDONLY : O_RDWR);
    if (fd < 0) return -1;
    d = {fd, file, mode};
  }
  ++state.files[file].users;
  if (found != nullptr) *found = name;
  return d.fd;
}

void dxClose(int fd) {
  const auto d = std::find_if(state.descriptors.begin(), state.descriptors.end(),
                              [fd](const Descriptor& entry) { return entry.fd == fd; });
  if (fd < 0 || d == state.descriptors.end()) {
    file_ops().close(fd);
    return;
  }
  const std::size_t file = d->file;
  if (--state.files[file].users > 0) return;
  for (Descriptor& entry : state.descriptors) {
    if (entry.fd < 0 || entry.file != file) continue;
    file_ops().close(entry.fd);
    entry = {};
  }
}

}  // namespace tarnel
