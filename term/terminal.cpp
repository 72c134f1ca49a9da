#include "term/terminal.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

#include <cstdlib>

namespace tarnel {

bool terminal_known() {
  static const bool known = [] {
    int status = 0;
    return setupterm(nullptr, STDOUT_FILENO, &status) == OK && status == 1;
  }();
  return known;
}

Var* termtype(std::int32_t, Var**) {
  const char* name = std::getenv("TERM");
  return name != nullptr && terminal_known() ? TMP_TEXT(name) : empty_text();
}

}  // namespace tarnel
