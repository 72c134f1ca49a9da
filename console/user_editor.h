// Texts that the user's editor changes, and files as a whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarnel {

// All of a file; "" or what is wrong with it.
std::string read_file(const std::string& name, std::string& text);

// A file that only its user can read, gone at the end of the scope.
class PrivateFile {
 public:
  explicit PrivateFile(const std::string& name);  // how its own begins
  ~PrivateFile();
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  const std::string& path() const { return path_; }
  [[nodiscard]] bool write(std::string_view text);
  // Editors may have replaced the file. None when it can't be read.
  std::optional<std::string> read();

 private:
  std::string path_;
  int fd_ = -1;
};

// Runs VISUAL, EDITOR or vi on a file; a screen gives the terminal back meanwhile. False when it failed.
[[nodiscard]] bool run_user_editor(const std::string& path);

}  // namespace tarnel
