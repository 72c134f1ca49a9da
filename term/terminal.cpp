#include "term/terminal.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace tarnel {
namespace {

bool known = false;

}  // namespace

void open_terminal() {
  int status = 0;
  known = setupterm(nullptr, STDOUT_FILENO, &status) == OK && status == 1;
}

bool terminal_known() {
  return known;
}

}  // namespace tarnel
