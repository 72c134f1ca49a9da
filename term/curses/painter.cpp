#include "term/curses/painter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>
#include <vector>

#include "core/descriptors.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "lib/options.h"
#include "term/alert.h"
#include "term/character_map.h"
#include "term/curses/painted_cells.h"
#include "term/glyphs.h"
#include "term/key_decoder.h"
#include "term/screen.h"
#include "term/user_locale.h"
// Last: its macros have common words as names.
#include <term.h>
#undef columns
#undef lines

namespace tarnel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFunctionKeys = 63;

struct PainterState {
  int in = -1, out = -1;
  bool opened_tty = false;  // in or out is a descriptor of ours
  std::FILE *input = nullptr, *output = nullptr;
  SCREEN* screen = nullptr;
  termios found{};         // the line as it was
  std::string leave_text;  // what brings the terminal back where the library can't
  KeyDecoder decoder;
  int shape = -1;  // of the cursor, as the terminal has it
  std::size_t close_steps = 0;
  bool ended = true;  // the library gave the terminal back
} state;

const char* capability(const char* name) {
  const char* text = tigetstr(name);
  return text == reinterpret_cast<const char*>(-1) ? nullptr : text;
}

// --- Keys.

KeyDecoder::Milliseconds now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
      .count();
}

void learn_keys() {
  state.decoder.forget_all();
  for (const SpecialKey& key : special_keys())
    if (const char* bytes = capability(key.capability)) state.decoder.learn(bytes, key.code);
  for (int n = 1; n <= kFunctionKeys; ++n)
    if (const char* bytes = capability(("kf" + std::to_string(n)).c_str());
        bytes != nullptr && function_key(n) != kNoKey)
      state.decoder.learn(bytes, function_key(n));
}

// Reads what is there. False when a signal came first, or nothing did in time.
bool read_bytes(KeyDecoder::Milliseconds wait) {
  pollfd ready = {state.in, POLLIN, 0};
  if (poll(&ready, 1, static_cast<int>(wait)) <= 0) return false;
  char bytes[256];
  const ssize_t n = ::read(state.in, bytes, sizeof bytes);
  if (n < 0 && (errno == EINTR || errno == EAGAIN)) return false;
  if (n <= 0) QUIT_RUN(128 + SIGHUP);  // the terminal has gone
  state.decoder.add({bytes, static_cast<std::size_t>(n)}, now());
  return true;
}

int read_key(int milliseconds) {
  const auto end = now() + milliseconds;
  for (;;) {
    const auto delay = settings().escdelay * KeyDecoder::Milliseconds{100};
    if (const int key = state.decoder.next(now(), delay); key != kNoKey) return key;
    const auto left = std::max<KeyDecoder::Milliseconds>(end - now(), 0);
    const auto patience = state.decoder.patience(now(), delay);
    const auto wait = patience < 0 ? left : std::min(left, patience);
    if (!read_bytes(wait) && (wait == left || signal_waits())) return kNoKey;
  }
}

const std::string& key_bytes() {
  return state.decoder.last_bytes();
}

// --- Painting.

void paint_row(int row) {
  static std::vector<cchar_t> line;
  line.clear();
  for (int col = 0; col < screen_columns(); ++col) {
    const Cell& cell = cell_at(row, col);
    if (cell.character == 0) continue;  // belongs to the one before
    line.push_back(painted(cell));
    // What the terminal shows narrower than we do leaves a gap.
    if (shown_width(cell.character) == 2 && line.back().chars[0] == L'?')
      line.push_back(painted({U' ', cell.colour}));
  }
  mvadd_wchnstr(row, 0, line.data(), static_cast<int>(line.size()));
}

void paint_cursor() {
  const auto [row, col] = cursor_place();
  const bool inside = row >= 0 && row < screen_rows() && col >= 0 && col < screen_columns();
  const int shape = inside ? cursor_shape() : 0;
  if (inside) move(row, col);
  if (shape != state.shape) curs_set(shape);
  state.shape = shape;
}

void paint(bool anew) {
  const UserLocale locale;
  if (anew) clearok(curscr, TRUE);
  for (int row = 0; row < screen_rows(); ++row)
    if (take_row_changed(row) || anew) paint_row(row);
  paint_cursor();
  refresh();
}

void ring() {
  beep();
}

// --- The line and the size of the terminal.

// Bytes as they come, with the break key alone left to the terminal's driver.
void set_line_modes() {
  termios line = state.found;
  line.c_lflag = (line.c_lflag & ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN)) | ISIG;
  line.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL | INLCR | IGNCR | ISTRIP);
  const auto key = [](std::int32_t code, cc_t otherwise) {
    return code > 0 && code < 256 ? static_cast<cc_t>(code) : otherwise;
  };
  line.c_cc[VINTR] = key(settings().breakkey, state.found.c_cc[VINTR]);
  line.c_cc[VQUIT] = key(settings().debugkey, _POSIX_VDISABLE);
  line.c_cc[VSUSP] = _POSIX_VDISABLE;
  line.c_cc[VMIN] = 1;
  line.c_cc[VTIME] = 0;
  tcsetattr(state.in, TCSADRAIN, &line);
  def_prog_mode();
}

void take_size() {
  const UserLocale locale;
  winsize size{};
  if (ioctl(state.out, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
    resizeterm(size.ws_row, size.ws_col);
}

void resized() {
  take_size();
  resize_screen(LINES, COLS);
  show_screen();
}

// --- The screen library.

// The terminal that the environment names is known and can place the cursor.
bool description_fits(int fd, std::string& fault) {
  const char* name = std::getenv("TERM");
  const std::string shown = "terminal type '" + std::string(name != nullptr ? name : "") + "'";
  int status = 0;
  TERMINAL* const before = cur_term;
  const bool known = setupterm(nullptr, fd, &status) == OK && status == 1;
  if (!known)
    fault = shown + " is not known";
  else if (capability("cup") == nullptr)
    fault = shown + " can't place the cursor";
  if (known) {
    TERMINAL* const tested = cur_term;
    set_curterm(before);
    del_curterm(tested);
  }
  return fault.empty();
}

void note_leave_text() {
  state.leave_text.clear();
  for (const char* name : {"sgr0", "op", "cnorm", "rmkx", "rmcup"})
    if (const char* text = capability(name)) state.leave_text += text;
}

bool start_library() {
  const UserLocale locale;
  state.screen = newterm(nullptr, state.output, state.input);
  if (state.screen == nullptr) return false;
  state.ended = false;
  note_leave_text();
  noecho();
  keypad(stdscr, TRUE);
  learn_keys();
  init_cell_painting();
  state.shape = -1;
  set_line_modes();
  take_size();
  return true;
}

void end_library() {
  if (state.ended) return;
  const UserLocale locale;
  if (state.shape != 1) curs_set(1);
  endwin();
  state.shape = -1;
}

// --- Signals and options.

void give_back() {
  end_library();
  tcsetattr(state.in, TCSADRAIN, &state.found);
}
void take_again() {
  set_line_modes();
  take_size();
  resize_screen(LINES, COLS);
  reload_maps();
  repaint_screen();
}
constexpr ScreenDevice kDevice = {paint,     read_key,  key_bytes, ring, terminal_has_colours,
                                  give_back, take_again};
constexpr ScreenSignals kSignals = {give_back, take_again, resized};

bool another_terminal_fits() {
  std::string fault;
  return description_fits(state.out, fault);
}
void restart() {
  end_library();
  delscreen(state.screen);
  if (!start_library()) QUIT_RUN(1);  // it was tested just before
  resize_screen(LINES, COLS);
  reload_maps();
  repaint_screen();
}

void die(int number);

// Signals that end the process unless somebody says otherwise: of faults, after which nothing is safe but to give the
// terminal back, and of others, which take the exit road.
constexpr struct {
  int number;
  void (*handler)(int);
} kDeadly[] = {{SIGABRT, die},
               {SIGBUS, die},
               {SIGILL, die},
               {SIGSYS, die},
               {SIGTRAP, die},
               {SIGUSR1, end_by_signal},
               {SIGUSR2, end_by_signal},
               {SIGVTALRM, end_by_signal},
               {SIGPROF, end_by_signal},
               {SIGXCPU, end_by_signal}};
struct sigaction deadly_before[std::size(kDeadly)];

void die(int number) {
  for (std::size_t i = 0; i < std::size(kDeadly); ++i)
    sigaction(kDeadly[i].number, &deadly_before[i], nullptr);
  static_cast<void>(!::write(state.out, state.leave_text.data(), state.leave_text.size()));
  tcsetattr(state.in, TCSANOW, &state.found);
  raise(number);
}

void watch_deadly_signals(bool watch) {
  for (std::size_t i = 0; i < std::size(kDeadly); ++i) {
    const auto& [number, handler] = kDeadly[i];
    if (!watch) {
      sigaction(number, &deadly_before[i], nullptr);
      continue;
    }
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(number, nullptr, &deadly_before[i]);
    if (deadly_before[i].sa_handler == SIG_DFL) sigaction(number, &action, nullptr);
  }
}

void watch(bool on) {
  watch_screen_signals(on ? &kSignals : nullptr);
  watch_deadly_signals(on);
  set_interrupt_dialogue(on ? ask_about_interrupt : nullptr);
  set_terminal_hooks(on ? TerminalHooks{another_terminal_fits, restart, set_line_modes}
                        : TerminalHooks{});
}

// --- Closing, step by step.

void close_library() {
  end_library();
  state.ended = true;
}
// Where the step before was broken off.
void leave_without_library() {
  if (!state.ended) write_fully(state.out, state.leave_text);
}
void restore_line() {
  tcsetattr(state.in, TCSADRAIN, &state.found);
}
void stop_watching() {
  watch(false);
}
void drop_library() {
  detach_screen();
  if (state.screen != nullptr) delscreen(std::exchange(state.screen, nullptr));
  for (std::FILE** file : {&state.input, &state.output})
    if (*file != nullptr) std::fclose(std::exchange(*file, nullptr));
  if (state.opened_tty) ::close(std::max(state.in, state.out));
  state.opened_tty = false;
}
constexpr void (*kClosing[])() = {close_library, leave_without_library, restore_line, stop_watching,
                                  drop_library};

// Finds the descriptors of the terminal. False when there is none.
bool find_terminal() {
  const bool reads = isatty(STDIN_FILENO) != 0, writes = isatty(STDOUT_FILENO) != 0;
  int tty = -1;
  if (!reads || !writes) {
    tty = ::open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (tty < 0) return false;
  }
  state.opened_tty = tty >= 0;
  state.in = reads ? STDIN_FILENO : tty;
  state.out = writes ? STDOUT_FILENO : tty;
  return true;
}

std::FILE* stream_on(int fd, const char* mode) {
  const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
  return copy >= 0 ? fdopen(copy, mode) : nullptr;
}

std::string start_terminal() {
  std::string fault;
  if (!description_fits(state.out, fault)) return fault;
  if (tcgetattr(state.in, &state.found) != 0) return "the terminal's settings can't be read";
  state.input = stream_on(state.in, "r");
  state.output = stream_on(state.out, "w");
  if (state.input == nullptr || state.output == nullptr) return "the terminal can't be opened";
  watch(true);  // before the library, which takes the signals that nobody has
  if (!start_library()) return "the terminal can't be set up";
  return {};
}

}  // namespace

std::string open_terminal() {
  if (!find_terminal()) return "there is no terminal for a screen";
  state.close_steps = 0;
  if (std::string fault = start_terminal(); !fault.empty()) {
    state.close_steps = 3;  // nothing was written or set
    close_terminal();
    return fault;
  }
  attach_screen(kDevice, LINES, COLS);
  load_usual_maps();
  return {};
}

void close_terminal() {
  if (state.in < 0) return;
  while (state.close_steps < std::size(kClosing)) kClosing[state.close_steps++]();
}

}  // namespace tarnel
