#include "core/signals.h"

#include <signal.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <utility>

#include "core/descriptors.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/runtime.h"
#include "core/sequence.h"

namespace tarnel {

volatile std::sig_atomic_t detail::signal_noted = 0;

namespace {

constexpr std::size_t kSignalStack = 64 * 1024;
constexpr suseconds_t kTick = 50'000, kFirstWatch = 500'000, kWatch = 100'000;  // microseconds
constexpr int kTimeSignal = SIGVTALRM;
// Nanoseconds that work which has begun may still wait for others.
constexpr std::int64_t kGrace = 500'000'000;
constexpr int kSignalStatus = 128;  // of a run that a signal ended, and the signal's number

struct SignalState {
  int held = 0;                                  // nesting depth
  volatile std::sig_atomic_t interrupted = 0;    // SIGINT waits for its answer
  volatile std::sig_atomic_t ending_number = 0;  // SIGTERM or SIGHUP does
  volatile std::sig_atomic_t heeds_interrupt = 0;
  volatile std::sig_atomic_t time_over = 0;
  volatile std::sig_atomic_t ended = 0;  // a signal or the time has ended the run
  bool gave_up = false;                  // a wait
  bool grace_is_over = false;            // one that was in the middle of work
  void (*time_answer)() = nullptr;
  InterruptAnswer answer = InterruptAnswer::kPassOver;
  void (*dialogue)() = nullptr;
  const ScreenSignals* screen = nullptr;
  void (*volatile watcher)() = nullptr;
} state;

// The signals of a screen, each with whether it waits for its answer.
struct ScreenSignal {
  int number;
  volatile std::sig_atomic_t noted = 0;
  struct sigaction before = {};
};
ScreenSignal screen_signals[] = {{.number = SIGTSTP}, {.number = SIGCONT}, {.number = SIGWINCH}};
enum ScreenSignalIndex { kStop, kContinue, kResize };

alignas(16) char signal_stack[kSignalStack];

void leave(int) {
  QUIT_RUN(1);
}

void handle(int number, void (*handler)(int), int flags = SA_RESTART) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = flags | SA_ONSTACK | SA_NODEFER;
  sigaction(number, &action, nullptr);
}

// A call that blocks may begin between the last look and the signal, or be begun again by a library:
// until the signal is answered ticks break such calls off.
void set_ticks(suseconds_t period, suseconds_t first) {
  const itimerval timer = {{0, period}, {0, first}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

void on_tick(int) {
  if (state.watcher != nullptr && state.ended == 0)
    detail::signal_noted = 1;  // the watcher is called where signals are looked at
  else if (detail::signal_noted == 0 && state.ended == 0)
    set_ticks(0, 0);
}

void note_signal() {
  detail::signal_noted = 1;
  handle(SIGALRM, on_tick, 0);
  set_ticks(kTick, kTick);
}

void note_interrupt(int) {
  if (state.heeds_interrupt == 0) return;
  state.interrupted = 1;
  note_signal();
}

void note_screen_signal(int number) {
  for (ScreenSignal& signal : screen_signals)
    if (signal.number == number) signal.noted = 1;
  note_signal();
}

bool any_signal_waits() {
  for (const ScreenSignal& signal : screen_signals)
    if (signal.noted != 0) return true;
  return state.interrupted != 0 || state.ending_number != 0 || state.time_over != 0;
}

bool take_note(ScreenSignalIndex which) {
  const bool was = screen_signals[which].noted != 0;
  screen_signals[which].noted = 0;
  return was;
}

// Stops as the signal does where nobody handles it. Goes on when the process does.
void stop_here() {
  state.screen->give_back();
  struct sigaction usual = {}, ours = {};
  usual.sa_handler = SIG_DFL;
  sigaction(SIGTSTP, &usual, &ours);
  raise(SIGTSTP);
  sigaction(SIGTSTP, &ours, nullptr);
  take_note(kContinue);
  state.screen->take_again();
}

void answer_screen_signals() {
  if (state.screen != nullptr && take_note(kStop)) stop_here();
  if (state.screen != nullptr && take_note(kContinue)) state.screen->take_again();
  if (state.screen != nullptr && take_note(kResize)) state.screen->resized();
}

void update_heed() {
  state.heeds_interrupt = state.dialogue != nullptr || state.answer != InterruptAnswer::kPassOver;
}

void answer_interrupt() {
  if (state.dialogue != nullptr) return state.dialogue();
  if (state.answer == InterruptAnswer::kLeave) QUIT_RUN(kSignalStatus + SIGINT);
  if (state.answer != InterruptAnswer::kCancel || !inside_sequence()) return;
  RT_ERROR(335, "interrupted");
  break_sequence(nil_value());
}

void on_quit(int) {}  // a debugger's request; there is none

void on_arithmetic(int, siginfo_t* info, void*);

void install_arithmetic() {
  struct sigaction action = {};
  action.sa_sigaction = on_arithmetic;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGFPE, &action, nullptr);
}

void on_arithmetic(int, siginfo_t* info, void*) {
  handle(SIGFPE, leave);
  RT_ERROR(
      320,
      "FP (floating point) error,;probably while converting;\"Numeric\" to \"IntVar\" variable "
      "value");
  // A fault of the processor's would come again at the same instruction without end.
  if (info->si_code > 0) QUIT_RUN(1);
  install_arithmetic();
}

// Runs on a stack of its own, since an overrun stack is one way to get here.
void on_segmentation(int) {
  handle(SIGSEGV, leave);
  const Frame* f = current_frame();
  char text[200];
  const int n = std::snprintf(
      text, sizeof text,
      "\r\n\r\nSegmentation violation  on line %d of %s.\r\nProgram aborted. \r\n\r\n", f->line,
      f->module);
  if (runtime_hooks().close_terminal != nullptr) runtime_hooks().close_terminal();
  write_fully(STDERR_FILENO, {text, static_cast<std::size_t>(n)});
  QUIT_RUN(1);
}

}  // namespace

void install_signal_handlers() {
  const stack_t stack = {signal_stack, 0, sizeof signal_stack};
  sigaltstack(&stack, nullptr);
  handle(SIGINT, note_interrupt, 0);  // not restarted: a read that waits looks at what came
  handle(SIGTERM, end_by_signal, 0);
  struct sigaction inherited = {};
  sigaction(SIGHUP, nullptr, &inherited);
  if (inherited.sa_handler != SIG_IGN) handle(SIGHUP, end_by_signal, 0);  // nohup asks to go on
  handle(SIGQUIT, on_quit);
  handle(SIGSEGV, on_segmentation);
  install_arithmetic();
  ::signal(SIGPIPE, SIG_IGN);
}

void end_by_signal(int number) {
  state.ending_number = number;
  note_signal();
}

static timespec timespec_of(double seconds) {
  const double whole = std::floor(seconds);
  return {static_cast<time_t>(whole), static_cast<long>((seconds - whole) * 1e9)};
}

void set_time_limit(double seconds, void (*answer)(), double killed) {
  state.time_answer = answer;
  handle(
      kTimeSignal,
      [](int) {
        state.time_over = 1;
        note_signal();
      },
      0);
  for (const auto& [number, after] :
       {std::pair{kTimeSignal, seconds}, std::pair{SIGKILL, killed}}) {
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = number;
    timer_t timer = {};
    const itimerspec once = {{0, 0}, timespec_of(after)};
    if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0 ||
        timer_settime(timer, 0, &once, nullptr) != 0)
      RT_FATAL(320, "no timer for the limit of the run");
  }
}

void set_interrupt_answer(InterruptAnswer answer) {
  state.answer = answer;
  update_heed();
}

bool has_time_limit() {
  return state.time_answer != nullptr;
}

static bool interrupt_leaves() {
  if (state.interrupted == 0 || state.dialogue != nullptr) return false;
  return state.answer == InterruptAnswer::kLeave ||
         (state.answer == InterruptAnswer::kCancel && inside_sequence());
}

bool interrupt_cancels() {
  return state.time_over != 0 || (state.answer == InterruptAnswer::kCancel && interrupt_leaves());
}

bool take_interrupt() {
  const bool came = state.interrupted != 0;
  state.interrupted = 0;
  if (came) state.gave_up = state.grace_is_over = false;
  return came;
}

void set_interrupt_dialogue(void (*dialogue)()) {
  state.dialogue = dialogue;
  update_heed();
}

static void answer_time() {
  state.ended = 1;
  state.time_over = 0;
  state.time_answer();
}

// Of all signals the end of the time counts there.
static void answer_in_exit_procedure() {
  if (state.time_over != 0 && in_exit_procedure()) answer_time();
}

static void answer_all_signals() {
  if (on_exit_road()) return answer_in_exit_procedure();
  // A tick that comes when the signal is answered would break off the next call that blocks. Where the run ends they go
  // on: it may wait for others on its way.
  const bool leaves = state.answer == InterruptAnswer::kLeave && interrupt_leaves();
  if (state.ending_number != 0 || state.time_over != 0 || leaves)
    state.ended = 1;
  else if (state.watcher == nullptr && state.ended == 0)
    set_ticks(0, 0);
  detail::signal_noted = 0;  // first: one that comes now is looked at again
  if (const int number = state.ending_number; number != 0) {
    state.ending_number = 0;
    QUIT_RUN(kSignalStatus + number);
  }
  if (state.time_over != 0) answer_time();
  answer_screen_signals();
  if (take_interrupt()) answer_interrupt();
  if (state.watcher != nullptr) state.watcher();
}

void answer_signals() {
  if (state.held == 0) answer_all_signals();
}

// What begins to end the run, or breaks off what runs, is not to be waited for any longer. EXIT procedures are as
// others are.
static bool must_leave() {
  if (state.time_over != 0 || state.ending_number != 0) return true;
  if (is_quitting()) return state.ended != 0 && !in_exit_procedure();
  return interrupt_leaves();
}

static std::int64_t now() {
  timespec time = {};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// The dialogue comes back. It waits for a second interrupt, so the first must not be noted any longer.
static void ask_in_place() {
  if (state.dialogue == nullptr || !take_interrupt()) return;
  detail::signal_noted = 0;
  state.dialogue();
  if (any_signal_waits()) note_signal();
}

bool Wait::goes_on() {
  const int reason = std::exchange(errno, EINTR);
  if (must_leave()) {
    const bool has_begun = state.held > 0 || is_quitting();
    if (begin_ == 0) begin_ = now();
    if (has_begun && now() - begin_ >= kGrace) state.grace_is_over = true;
    if (!has_begun || state.grace_is_over) {
      state.gave_up = true;
      return false;
    }
  } else if (state.held == 0 && !is_quitting()) {
    answer_screen_signals();
    ask_in_place();
  }
  errno = reason;
  return true;
}

void pause_run(double seconds) {
  timespec left = timespec_of(seconds);
  Wait wait;
  while (nanosleep(&left, &left) != 0 && wait.undisturbed()) {
  }
  look_at_signals();
}

void answer_given_up_wait() {
  if (state.gave_up && !is_quitting()) answer_all_signals();
}

bool waits_are_given_up() {
  return state.gave_up;
}

RunWatch::RunWatch(void (*watcher)()) : outermost_(state.watcher == nullptr) {
  if (!outermost_) return;
  state.watcher = watcher;
  handle(SIGALRM, on_tick, 0);
  set_ticks(kWatch, kFirstWatch);
}
// A tick that came late would break off the next call that blocks, and nobody could say why.
RunWatch::~RunWatch() {
  if (!outermost_) return;
  state.watcher = nullptr;
  set_ticks(0, 0);
  detail::signal_noted = 0;
  if (any_signal_waits()) note_signal();
}

void watch_screen_signals(const ScreenSignals* answers) {
  for (ScreenSignal& signal : screen_signals) {
    signal.noted = 0;
    if (answers == nullptr && state.screen != nullptr)
      sigaction(signal.number, &signal.before, nullptr);
    if (answers == nullptr || state.screen != nullptr) continue;
    sigaction(signal.number, nullptr, &signal.before);
    if (signal.before.sa_handler != SIG_IGN) handle(signal.number, note_screen_signal, 0);
  }
  state.screen = answers;
}

bool signal_waits() {
  return detail::signal_noted != 0 && (state.held == 0 || on_exit_road());
}

void HOLD_INTERRUPT() {
  ++state.held;
}

// Other answers than a dialogue can leave the procedure: they wait for the next look.
void RELEASE_INTERRUPT() {
  if (state.held > 0) --state.held;
  if (state.held == 0) ask_in_place();
}

}  // namespace tarnel
