// How tables are opened for a person who looks at a folder of files.
#pragma once

#include <string>

namespace tarnel {

// For the life of the guard, a memo file is found whatever the case of the letters of its name, and a table that is
// opened for reading only may lack it: what its memo fields hold can't be read then (414).
class ForgivingOpen {
 public:
  ForgivingOpen();
  ~ForgivingOpen();
  ForgivingOpen(const ForgivingOpen&) = delete;
  ForgivingOpen& operator=(const ForgivingOpen&) = delete;

  // The memo file that the last table asked for and did not find, empty for none.
  const std::string& missing_memo() const { return missing_memo_; }
  void miss(const std::string& memo_file) { missing_memo_ = memo_file; }

 private:
  std::string missing_memo_;
  ForgivingOpen* const former_;
};
// The innermost guard, or null.
ForgivingOpen* forgiving_open();

// True for a run that may change no table: all are opened for reading only, and making one fails as on a file
// system that is mounted so.
bool& tables_only_read();

}  // namespace tarnel
