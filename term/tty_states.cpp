#include "term/tty_states.h"

#include <termios.h>
#include <unistd.h>

#include <optional>
#include <vector>

#include "core/errors.h"

namespace tarnel {
namespace {

struct SavedState {
  int fd;
  std::optional<termios> line;  // none where there is no terminal
};
std::vector<SavedState> saved;

}  // namespace

void push_tty(int fd) {
  termios line;
  saved.push_back({fd, std::nullopt});
  if (tcgetattr(fd, &line) == 0) saved.back().line = line;
}

void pop_tty() {
  if (saved.empty()) {
    RT_INTERNAL(416, "_pop_tty: nothing to pop");
    return;
  }
  const SavedState last = saved.back();
  saved.pop_back();
  if (last.line) tcsetattr(last.fd, TCSADRAIN, &*last.line);
}

Var* push_tty_state(std::int32_t, Var**) {
  push_tty(STDIN_FILENO);
  return nil_value();
}
Var* pop_tty_state(std::int32_t, Var**) {
  pop_tty();
  return nil_value();
}

}  // namespace tarnel
