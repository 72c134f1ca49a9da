// A program on a terminal whose picture a test reads back: tmux plays the terminal.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace tarnel::testing {

class OnTerminal : public ::testing::Test, protected Folder {
 protected:
  static constexpr auto kPatience = std::chrono::seconds(10);  // on a busy machine

  ~OnTerminal() override { tmux("kill-server"); }

  // Runs shell commands in the test's directory on a terminal of that size.
  void start(const std::string& commands, int columns = 70, int rows = 10) {
    write("run.sh", "cd " + path("") + "\nexport HOME=. LC_ALL=C.UTF-8 TERM=tmux-256color\n" +
                        commands + "\necho over; exec sleep 1000\n");
    tmux("kill-server");
    ++server_;  // the one before may still be ending
    tmux("-f /dev/null -u new-session -d -x " + std::to_string(columns) + " -y " +
         std::to_string(rows) + " 'exec bash " + path("run.sh") + "'");
    tmux("set-option -g status off");
    tmux("set-option -s escape-time 0");
  }
  void type(const std::string& keys) { tmux("send-keys " + keys); }
  // The lines of the terminal, without blanks at their ends.
  std::string picture(const char* options = "") {
    return tmux(std::string("capture-pane -p ") + options);
  }
  std::string ask(const std::string& format) { return tmux("display-message -p '" + format + "'"); }

  // The picture as soon as it holds a text and stays as it is; a failure when it never does. What is
  // painted at once may come to the terminal in pieces, and the text need not be in the last of them.
  std::string wait_for(const std::string& text) {
    std::string shown, before;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end) {
      before = std::exchange(shown, picture());
      if (shown == before && shown.find(text) != std::string::npos) return shown;
      usleep(10'000);
    }
    ADD_FAILURE() << "no '" << text << "' in\n" << shown;
    return shown;
  }
  std::string press(const std::string& keys, const std::string& text) {
    type(keys);
    return wait_for(text);
  }
  // Ends the wait as soon as a condition holds.
  template <typename Condition>
  bool becomes(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end) {
      if (condition()) return true;
      usleep(10'000);
    }
    return false;
  }
  std::string tmux(const std::string& command) {
    return output_of("env -u TMUX tmux -S " + path("socket") + std::to_string(server_) + " " +
                     command + " 2>&1");
  }

  int server_ = 0;
};

}  // namespace tarnel::testing
