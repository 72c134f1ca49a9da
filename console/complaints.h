// What the console tells on standard error: complaints, which make the run fail, and plain lines. In a script
// the place stands before the first complaint of a line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/switched.h"

namespace tarnel {

// Writes a line about a fault; the run then ends with status 1.
void complain(std::string_view text);
// Writes a line that is no fault. While a screen hides what is written there it is kept.
void tell(std::string_view text);
// The same for what the program itself writes to standard error: lines or parts of them.
void write_for_reader(std::string_view text);
// Writes what was kept.
void write_kept_lines();
// How often the run has complained.
int complaints();

// For its life lines are those of a script, and count anew.
class InScript {
 public:
  explicit InScript(const char* name);
  ~InScript();
  InScript(const InScript&) = delete;
  InScript& operator=(const InScript&) = delete;

 private:
  const char* const outer_name_;
  const std::int32_t outer_line_;
};
// Another line of the script or the session begins: its number.
std::int32_t next_line();

// One line that runs. Of complaints that are the same three are shown; when the line has run, how many more
// there were.
class RunningLine {
 public:
  RunningLine();
  ~RunningLine();
  RunningLine(const RunningLine&) = delete;
  RunningLine& operator=(const RunningLine&) = delete;

  // A complaint, behind the place where the line stands in a script.
  void show(std::string_view text);
  // FILE:LINE: of a script, once; nothing elsewhere.
  void show_place();

 private:
  std::vector<std::pair<std::string, int>> seen_;
  bool place_shown_ = false;
  RunningLine* const outer_;
};

// While one lives complaints go to a text, which holds the last of them, and are no faults.
class MessagesTo {
 public:
  explicit MessagesTo(std::string& text);

 private:
  const Switched<std::string*> former_;
};

// The line of a text in which a byte stands, and below it a caret under that byte, as far as they fit. Control
// characters but for tabs show as '?'.
std::string with_caret(std::string_view text, std::size_t at);
// Shows that, where a person reads it or a script ran it.
void show_caret(std::string_view text, std::size_t at);

}  // namespace tarnel
