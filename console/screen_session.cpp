#include "console/screen_session.h"

#include "console/session.h"
#include "core/runtime.h"
#include "term/curses/painter.h"

namespace tarnel {
namespace {

void close_screen() {
  close_terminal();
  write_kept_lines();
}

}  // namespace

// The hook stays: closing a closed screen does nothing.
SessionScreen::SessionScreen() {
  runtime_hooks().close_terminal = close_screen;
  fault_ = open_terminal();
}
SessionScreen::~SessionScreen() {
  close_screen();
}

}  // namespace tarnel
