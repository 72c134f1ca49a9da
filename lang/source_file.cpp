#include "lang/source_file.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/file_ops.h"
#include "core/open_files.h"

namespace tarnel {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr char kEndMark = '\x1A';  // where some systems end a text

constexpr std::string_view kTooLarge = "has more than 16 MiB";
constexpr std::string_view kTooMuch = "makes the program larger than 64 MiB";

bool refuse(std::string& fault, std::string_view words) {
  fault = words;
  return false;
}

bool system_refuses(std::string& fault) {
  return refuse(fault, std::string("can't be read: ") + std::strerror(errno));
}

bool is_program(const struct stat& status, std::string& fault) {
  if (S_ISDIR(status.st_mode)) return refuse(fault, "is a folder");
  if (S_ISFIFO(status.st_mode)) return refuse(fault, "is a pipe");
  if (!S_ISREG(status.st_mode)) return refuse(fault, "is a device");
  if (static_cast<std::size_t>(status.st_size) > kLargestSource) return refuse(fault, kTooLarge);
  return true;
}

bool same_state(const struct stat& a, const struct stat& b) {
  const auto same_time = [](const timespec& x, const timespec& y) {
    return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
  };
  return a.st_size == b.st_size && same_time(a.st_mtim, b.st_mtim) &&
         same_time(a.st_ctim, b.st_ctim);
}

}  // namespace

std::string open_to_strangers(const struct stat& file, const std::string& path) {
  const bool own_group = file.st_gid == file.st_uid;
  if ((file.st_mode & S_IWOTH) != 0 || ((file.st_mode & S_IWGRP) != 0 && !own_group))
    return "can be written by strangers";
  struct stat folder;
  const std::size_t slash = std::min(path.rfind('/'), path.size());
  if (file_ops().stat(path.substr(0, slash + 1).c_str(), &folder) != 0)
    return std::string("has a folder that can't be looked at: ") + std::strerror(errno);
  if (file.st_uid != 0 && file.st_uid != ::geteuid() && file.st_uid != folder.st_uid)
    return "belongs to a stranger: neither to root, nor to this account, nor to the owner of its "
           "folder";
  // Where everybody may put files and nobody may take another's away (the sticky bit) it stays what it is.
  if ((folder.st_mode & S_IWOTH) != 0 && (folder.st_mode & S_ISVTX) == 0)
    return "lies in a folder that strangers may write to";
  return {};
}

bool lies_below(std::string_view path, std::string_view folder) {
  if (folder.empty() || !path.starts_with(folder)) return false;
  path.remove_prefix(folder.size());
  return folder.ends_with('/') ? !path.empty() : path.starts_with('/');
}

bool SourceFiles::may_read(const struct stat& status, const std::string& path,
                           std::string& fault) const {
  if (!is_program(status, fault)) return false;
  if (!within_.empty()) fault = open_to_strangers(status, path);
  return within_.empty() || fault.empty();
}

// Looks before it opens: opening alone makes some devices act, and waits at a pipe.
bool SourceFiles::read_whole(const std::string& name, std::string& text, std::string& fault) const {
  struct stat status;
  if (file_ops().stat(name.c_str(), &status) != 0) return system_refuses(fault);
  if (!is_program(status, fault)) return false;
  const std::unique_ptr<char, decltype(&std::free)> real(
      within_.empty() ? nullptr : ::realpath(name.c_str(), nullptr), std::free);
  if (!within_.empty() && real == nullptr) return system_refuses(fault);
  if (real != nullptr && std::ranges::none_of(within_, [&](const std::string& folder) {
        return lies_below(real.get(), folder);
      }))
    return refuse(fault, "lies outside of the folders that may be read");
  const std::string path = real != nullptr ? real.get() : name;
  const File file(path.c_str(), O_RDONLY | O_NONBLOCK);
  if (!file.opened()) return system_refuses(fault);
  return read_from(file.fd(), path, text, fault);
}

// A file that is saved meanwhile is read once more, so that no half of it runs.
bool SourceFiles::read_from(int fd, const std::string& path, std::string& text,
                            std::string& fault) const {
  for (int tries = 0; tries < 2; ++tries) {
    struct stat before, after;
    if (file_ops().fstat(fd, &before) != 0) return system_refuses(fault);
    if (!may_read(before, path, fault)) return false;
    // One byte more than the file has: whether it grows is seen at the same time.
    text.resize(static_cast<std::size_t>(before.st_size) + 1);
    const std::int64_t length = read_some_at(fd, text.data(), text.size(), 0);
    if (length < 0 || file_ops().fstat(fd, &after) != 0) return system_refuses(fault);
    text.resize(static_cast<std::size_t>(length));
    if (text.size() > kLargestSource) return refuse(fault, kTooLarge);
    if (same_state(before, after) && length == before.st_size) return true;
  }
  return refuse(fault, "is changed while it is read");
}

std::int32_t SourceFiles::read(const std::string& name, std::string& fault) {
  const auto found = std::ranges::find(files_, name, [](const Held& h) { return h.file.name; });
  std::string text;
  if (found == files_.end() && !read_whole(name, text, fault)) return -1;
  const std::size_t size = found == files_.end() ? text.size() : found->file.text.size();
  if (total_ + size > kLargestProgram) {
    fault = kTooMuch;
    return -1;
  }
  if (found == files_.end()) return add(name, std::move(text));
  total_ += std::max(size, std::size_t{1});
  return static_cast<std::int32_t>(found - files_.begin());
}

std::int32_t SourceFiles::read_open(int fd, const std::string& name, std::string& fault) {
  std::string text;
  return read_from(fd, name, text, fault) ? add(name, std::move(text)) : -1;
}

std::int32_t SourceFiles::add(std::string name, std::string text) {
  const std::int32_t file = add_constant(std::move(name), {});
  Held& held = files_.back();
  held.text = std::move(text);
  held.file.text = held.text;
  if (held.file.text.starts_with(kUtf8Mark)) held.file.text.remove_prefix(kUtf8Mark.size());
  if (held.file.text.ends_with(kEndMark)) held.file.text.remove_suffix(1);
  total_ += std::max(held.file.text.size(), std::size_t{1});
  return file;
}

std::int32_t SourceFiles::add_constant(std::string name, std::string_view text) {
  files_.push_back({{std::move(name), text}, {}, {}});
  return static_cast<std::int32_t>(files_.size()) - 1;
}

std::string_view SourceFiles::line(std::int32_t file, std::int32_t number) const {
  if (file < 0 || static_cast<std::size_t>(file) >= files_.size() || number < 1) return {};
  const std::string_view text = held(file).file.text;
  std::vector<std::uint32_t>& lines = held(file).lines;
  if (lines.empty()) {
    lines.push_back(0);
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string_view::npos;)
      lines.push_back(static_cast<std::uint32_t>(++at));
  }
  if (static_cast<std::size_t>(number) > lines.size()) return {};
  std::string_view line = text.substr(lines[static_cast<std::size_t>(number) - 1]);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace tarnel
