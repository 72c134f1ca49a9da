// The dot commands that open and close tables for a person, who looks before he changes anything and locks
// nobody out meanwhile.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnel {

enum class OpenFor : char { kReading, kWriting, kAlone, kFilling };

// Opens a table in a new area, which becomes current: shared and for reading only, to write, or exclusively;
// `kFilling` is the last for a table that was just made, of which no order can be, whatever a former one left. The
// name may lack ".dbf" and may be in other letters than the file. False after a complaint; the former area is
// current then.
bool open_for_person(const std::string& name, std::string_view alias, OpenFor use);
// A table that is open, and current, for the life of the guard, unless it is closed before.
class OpenForLook {
 public:
  explicit OpenForLook(const std::string& name, std::string_view alias = "",
                       OpenFor use = OpenFor::kReading);
  ~OpenForLook() noexcept(false);
  OpenForLook(const OpenForLook&) = delete;
  OpenForLook& operator=(const OpenForLook&) = delete;
  bool opened() const { return opened_; }

 private:
  const std::int32_t former_;  // the number of the area that was current, 0 none
  const bool opened_;
};
// May a file be made or changed? A complaint that names it otherwise.
bool may_write(const std::string& file);

// Each gets the rest of its line and answers true: the session goes on.
bool open_command(std::string_view arguments);   // [-w|-x] FILE [ALIAS]
bool close_command(std::string_view arguments);  // [ALIAS|all]

}  // namespace tarnel
