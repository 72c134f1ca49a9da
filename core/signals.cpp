#include "core/signals.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "core/errors.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"

namespace tarnel {
namespace {

constexpr std::size_t kSignalStack = 64 * 1024;

struct SignalState {
  volatile sig_atomic_t held = 0;   // nesting depth
  volatile sig_atomic_t noted = 0;  // an interrupt came while held
  void (*dialogue)() = nullptr;
  bool installed = false;
} state;

alignas(16) char signal_stack[kSignalStack];

void leave(int) {
  QUIT_RUN(1);
}

void handle(int number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART | SA_ONSTACK | SA_NODEFER;
  sigaction(number, &action, nullptr);
}

void on_interrupt(int) {
  if (state.held != 0) {
    state.noted = 1;
    return;
  }
  if (state.dialogue != nullptr) state.dialogue();
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
  write_fully(STDERR_FILENO, {text, static_cast<std::size_t>(n)});
  QUIT_RUN(1);
}

}  // namespace

void install_signal_handlers() {
  const stack_t stack = {signal_stack, 0, sizeof signal_stack};
  sigaltstack(&stack, nullptr);
  handle(SIGINT, on_interrupt);
  handle(SIGQUIT, on_quit);
  handle(SIGSEGV, on_segmentation);
  install_arithmetic();
  ::signal(SIGPIPE, SIG_IGN);
  state.installed = true;
}

void set_interrupt_dialogue(void (*dialogue)()) {
  state.dialogue = dialogue;
}

void HOLD_INTERRUPT() {
  if (state.held == 0 && !state.installed) handle(SIGINT, on_interrupt);
  state.held = state.held + 1;
}

void RELEASE_INTERRUPT() {
  if (state.held > 0) state.held = state.held - 1;
  if (state.held != 0) return;
  const bool noted = state.noted != 0;
  state.noted = 0;
  if (!state.installed) {
    ::signal(SIGINT, SIG_DFL);
    if (noted) raise(SIGINT);
    return;
  }
  if (noted && state.dialogue != nullptr) state.dialogue();
}

}  // namespace tarnel
