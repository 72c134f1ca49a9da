// Opening the files of tables: found along the search that all files have, shared among the areas.
#include <fcntl.h>

#include <cerrno>

#include "core/errors.h"
#include "core/open_files.h"
#include "db/dbfidx/dbfidx.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {

int dxOpen(std::string_view path, std::string* found, int mode) {
  struct stat status {};
  const std::string name = find_file(path, status);
  if (name.empty()) return -1;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return -1;
  }
  const int flags = mode == 0 ? O_RDONLY : O_RDWR;
  if (shared_otherwise(status, flags))
    RT_WARNING(
        902, "using an additional file descriptor;for already opened file;since open mode differs");
  const int fd = open_file(name.c_str(), flags, 0, Share::kYes);
  if (fd >= 0 && found != nullptr) *found = fullPath(name);
  return fd;
}

void dxClose(int fd) {
  close_file(fd);
}

}  // namespace tarnel
