#include "term/terminal.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace tarnel {

bool terminal_known() {
  static const bool known = [] {
    int status = 0;
    return setupterm(nullptr, STDOUT_FILENO, &status) == OK && status == 1;
  }();
  return known;
}

}  // namespace tarnel
