#include "lib/replacement_file.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"

namespace tarnel {
namespace {

constexpr std::size_t kMostWaiting = 64 * 1024;
constexpr int kMostNames = 100;

ReplacementFile* unfinished = nullptr;

std::string directory_of(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

}  // namespace

std::string behind_links(const std::string& path) {
  char* real = ::realpath(path.c_str(), nullptr);
  std::string name = real != nullptr ? real : path;
  std::free(real);
  return name;
}

ReplacementFile::ReplacementFile(const std::string& target, std::string_view extension)
    : target_(behind_links(target)),
      extension_(extension),
      next_(std::exchange(unfinished, this)) {}

ReplacementFile::~ReplacementFile() {
  drop();
  for (ReplacementFile** link = &unfinished; *link != nullptr; link = &(*link)->next_)
    if (*link == this) {
      *link = next_;
      break;
    }
}

void ReplacementFile::drop() {
  if (!path_.empty()) file_ops().unlink(path_.c_str());
  path_.clear();
  if (fd_ >= 0) close_file(std::exchange(fd_, -1));
}

bool ReplacementFile::create(mode_t mode) {
  replaces_ = file_ops().stat(target_.c_str(), &former_) == 0;
  if (replaces_ && !S_ISREG(former_.st_mode)) {
    errno = S_ISDIR(former_.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  const std::string start =
      directory_of(target_) + format_text("new%05ld", static_cast<long>(getpid()));
  for (int i = 0; i < kMostNames && fd_ < 0; ++i) {
    const std::string name = start + (i > 0 ? "-" + std::to_string(i) : "") + extension_;
    struct stat status {};
    if (file_ops().stat(name.c_str(), &status) == 0) continue;
    fd_ = open_file(name.c_str(), O_RDWR | O_CREAT | O_EXCL, mode, Share::kYes);
    if (fd_ < 0 && errno == EEXIST) continue;
    path_ = name;  // it may be there even where it could not be opened
    if (fd_ < 0) return false;
  }
  if (fd_ < 0) {
    errno = EEXIST;
    return false;
  }
  copy_rights(mode);
  return file_ops().fstat(fd_, &status_) == 0;
}

// The owner first: a change of that may take rights away. A group that may not be kept gets no rights that
// were meant for another one.
void ReplacementFile::copy_rights(mode_t mode) {
  if (replaces_) {
    mode = former_.st_mode & 07777;
    if (file_ops().fchown(fd_, former_.st_uid, former_.st_gid) != 0 &&
        file_ops().fchown(fd_, static_cast<uid_t>(-1), former_.st_gid) != 0)
      mode &= ~static_cast<mode_t>(S_IRWXG) | (mode & S_IRWXO) << 3;
  }
  static_cast<void>(file_ops().fchmod(fd_, mode));  // not ours to change on some file systems
}

bool ReplacementFile::append(const void* bytes, std::size_t n) {
  const char* from = static_cast<const char*>(bytes);
  if (waiting_.size() + n > kMostWaiting && !flush(false)) return false;
  if (n < kMostWaiting) {
    waiting_.insert(waiting_.end(), from, from + n);
    return true;
  }
  if (fd_ < 0 || !write_at(fd_, from, n, static_cast<std::int64_t>(written_))) return false;
  written_ += n;
  return true;
}

bool ReplacementFile::put_front(const void* bytes, std::size_t n) {
  return flush(false) && write_at(fd_, bytes, n, 0);
}

bool ReplacementFile::flush(bool durable) {
  if (fd_ < 0) {  // removed while the run ended
    errno = EBADF;
    return false;
  }
  if (!waiting_.empty()) {
    if (!write_at(fd_, waiting_.data(), waiting_.size(), static_cast<std::int64_t>(written_)))
      return false;
    written_ += waiting_.size();
    waiting_.clear();
  }
  return !durable || flush_to_disk(fd_);
}

bool ReplacementFile::take_place() {
  if (file_ops().rename(path_.c_str(), target_.c_str()) != 0) return false;
  path_.clear();
  return true;
}

int ReplacementFile::release() {
  return std::exchange(fd_, -1);
}

void remove_unfinished_files() {
  for (ReplacementFile* file = unfinished; file != nullptr; file = file->next_) file->drop();
}

}  // namespace tarnel
