// Scripts and commands that run on a screen.
#pragma once

#include <string>

namespace tarnel {

// The screen of the console, open while one lives. Error lines that nobody could read meanwhile are written
// when it closes. Where it can't be opened, fault() tells why and nothing was written.
class SessionScreen {
 public:
  SessionScreen();
  ~SessionScreen();
  SessionScreen(const SessionScreen&) = delete;
  SessionScreen& operator=(const SessionScreen&) = delete;
  const std::string& fault() const { return fault_; }

 private:
  std::string fault_;
};

}  // namespace tarnel
