// A file that is written beside the one whose place it takes when it is whole. Until then, and after
// whatever goes wrong on the way, the former file is there untouched, or no file where there was none.
//
//   ReplacementFile file(path, ".ovdb");
//   if (!file.create(mode)) ...                  errno tells why
//   ... file.append(), file.put_front() ...
//   if (!file.flush(true) || !file.take_place()) ...
//
// Its temporary name is "new", the number of the process and the extension; another one is found when
// that is in use, perhaps by what a process left that was killed. The file is removed again on every way
// out: the end of the scope, a break, the end of the run.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnel {

class ReplacementFile {
 public:
  // The place is that of the file a symbolic link leads to.
  ReplacementFile(const std::string& target, std::string_view extension);
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  // Creates the file with the mode, and as far as allowed the owner and group, of the one that it is to
  // replace; without one with `mode`. False with errno set.
  [[nodiscard]] bool create(mode_t mode);
  int fd() const { return fd_; }  // -1 without a file
  std::uint64_t inode() const { return status_.st_ino; }
  std::uint64_t device() const { return status_.st_dev; }
  // Where it will lie, and where it lies.
  const std::string& target() const { return target_; }
  const std::string& path() const { return path_; }
  bool replaces() const { return replaces_; }  // is there a file whose place it takes?

  // Adds bytes at the end, some of which wait in memory. False with errno set, here and below.
  [[nodiscard]] bool append(const void* bytes, std::size_t n);
  // Overwrites the beginning. REQUIRES: so much was appended.
  [[nodiscard]] bool put_front(const void* bytes, std::size_t n);
  std::uint64_t size() const { return written_ + waiting_.size(); }
  // Writes what waits, and, durable, sees to it that it is on the disk.
  [[nodiscard]] bool flush(bool durable);
  [[nodiscard]] bool take_place();
  // Leaves the file under its temporary name, for who finishes the work of a pair.
  void leave() { path_.clear(); }
  // Hands the open descriptor over to the caller, who closes it.
  int release();

 private:
  friend void remove_unfinished_files();
  void copy_rights(mode_t mode);
  void drop();

  std::string target_, extension_;
  std::string path_;  // empty: nothing to remove
  int fd_ = -1;
  bool replaces_ = false;
  struct stat status_ {};  // of the new file
  struct stat former_ {};  // of the one that it replaces
  std::uint64_t written_ = 0;
  std::vector<char> waiting_;
  ReplacementFile* next_;  // in the list of all
};

// The file that a path leads to through symbolic links; the path itself where there is none.
std::string behind_links(const std::string& path);

// Removes all that are still under work: the run ends, and nobody will come back to them.
void remove_unfinished_files();

}  // namespace tarnel
