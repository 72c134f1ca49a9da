// The files of a program, read once and kept as long as places in them are told.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnel {

constexpr std::size_t kLargestSource = std::size_t{16} << 20;   // bytes of one file
constexpr std::size_t kLargestProgram = std::size_t{64} << 20;  // bytes of all that is read

struct SourceFile {
  std::string name;       // as given, or as an include was found
  std::string_view text;  // without the mark of UTF-8 at its beginning and a control-Z at its end
};

// How strangers could change what a file holds, in words to stand behind its name; empty when they can't. Root, the
// account that runs and the owner of the folder are none, and a group that has the number of the owner is his own. The
// path is as realpath() gives it.
std::string open_to_strangers(const struct stat& file, const std::string& path);
// Does a path lie below a folder? Both as realpath() gives them.
bool lies_below(std::string_view path, std::string_view folder);

class SourceFiles {
 public:
  SourceFiles() = default;
  SourceFiles(const SourceFiles&) = delete;  // places and tokens point into its texts
  SourceFiles& operator=(const SourceFiles&) = delete;
  // Reads a file, of which the number comes back; -1 with words in `fault`, to stand behind its name, for one
  // that can't be read, is no regular file or is too large. A file that was read before is the same one; it
  // counts again, since the whole is what a program makes anyone go through.
  [[nodiscard]] std::int32_t read(const std::string& name, std::string& fault);
  // The same for a file that is open, which is read from its beginning. The name, its path as realpath() gives it, is
  // for reports, and includes of it are sought beside it.
  [[nodiscard]] std::int32_t read_open(int fd, const std::string& name, std::string& fault);
  // From now on only files below these folders are read, and none that strangers may write: see there. The folders
  // are given as realpath() does.
  void keep_within(std::vector<std::string> folders) { within_ = std::move(folders); }
  // A text that isn't in a file, under a name for reports.
  std::int32_t add(std::string name, std::string text);
  // One that outlives this.
  std::int32_t add_constant(std::string name, std::string_view text);

  const SourceFile& operator[](std::int32_t file) const { return held(file).file; }
  // A line without its line feed (and carriage return before it), empty when there is none.
  std::string_view line(std::int32_t file, std::int32_t number) const;

 private:
  struct Held {
    SourceFile file;
    std::string text;                          // where this keeps it
    mutable std::vector<std::uint32_t> lines;  // where they begin; made when one is asked for
  };
  bool read_whole(const std::string& name, std::string& text, std::string& fault) const;
  bool read_from(int fd, const std::string& path, std::string& text, std::string& fault) const;
  bool may_read(const struct stat& status, const std::string& path, std::string& fault) const;
  const Held& held(std::int32_t file) const { return files_[static_cast<std::size_t>(file)]; }

  std::deque<Held> files_;
  std::size_t total_ = 0;
  std::vector<std::string> within_;  // empty: anywhere
};

}  // namespace tarnel
