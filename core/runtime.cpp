#include "core/runtime.h"

#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "core/errors.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/output.h"
#include "core/settings.h"
#include "core/signals.h"

namespace tarnel {
namespace {

struct RunState {
  RuntimeHooks hooks;
  bool quitting = false;  // set once, stays
  bool in_exit_road = false;
  bool table_written = false;
} state;

// OVTERM=x and OVTERMINFO=x stand as TERM=x and TERMINFO=x in their own right.
void adopt_terminal_names() {
  std::vector<char*> found;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
    if (std::strncmp(*entry, "OVTERM=", 7) == 0 || std::strncmp(*entry, "OVTERMINFO=", 11) == 0)
      found.push_back(*entry + 2);
  for (char* entry : found) putenv(entry);
}

void out_of_memory() {
  write_fully(STDERR_FILENO, "\n\r\n\rNot enough memory error\n\r\n\r\n\r");
  QUIT_RUN(1);
}

void call_hook(const char* name) {
  const Callable hook = lookup_function(name);
  if (hook == nullptr) return;
  const std::int32_t mark = temp_top();
  CALL_VECTOR(hook, 0, nullptr);
  POP_TEMPS(mark);
}

void run(void (*hook)()) {
  if (hook != nullptr) hook();
}

void start(const Program& program) {
  std::set_new_handler(out_of_memory);
  reset_settings();
  init_stacks();
  init_symbols();
  init_constants();
  base_frame()->result = nil_value();
  LINK_MODULES(program);
  call_hook("programini");
  run(state.hooks.setup);
  call_hook("cursesinit");
  run(state.hooks.open_terminal);
}

}  // namespace

RuntimeHooks& runtime_hooks() {
  return state.hooks;
}

void start_library(const Program& program) {
  start(program);
  RUN_INIT(nil_value(), nil_value());
}

void START_RUNTIME(int argc, char** argv, const Program& program) {
  adopt_terminal_names();
  start(program);
  install_signal_handlers();
  RUN_INIT(nil_value(), nil_value());
  std::vector<Var*> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(TMP_TEXT(argv[i]));
  CALL_VECTOR(GET_FUNC("main"), static_cast<std::int32_t>(arguments.size()), arguments.data());
  QUIT_RUN();
}

void shutdown_runtime() {
  if (state.quitting) return;
  state.quitting = true;
  state.in_exit_road = true;
  RUN_EXIT();
  run(state.hooks.close_areas);
  if (state.table_written) sync();
  run(state.hooks.close_files);
  flush_output();
  run(state.hooks.close_terminal);
  state.in_exit_road = false;
}

void QUIT_RUN(int status) {
  ::signal(SIGINT, SIG_IGN);
  if (state.in_exit_road) _exit(status);  // an EXIT procedure that quits doesn't run them again
  shutdown_runtime();
  flush_output();
  _exit(status);
}

bool is_quitting() {
  return state.quitting;
}

void check_exit_road() {
  if (!state.in_exit_road) return;
  flush_output();
  write_fully(STDERR_FILENO, "\r\nFATAL ERROR during QUIT, exiting\r\n\r\n");
  _exit(1);
}

void note_table_write() {
  state.table_written = true;
}

Var* builtin_quit(std::int32_t argc, Var** argv) {
  QUIT_RUN(arg_is(argc, argv, 0, "INF") ? integer_of(argv[0]) & 255 : 0);
}

Var* builtin_shutdown(std::int32_t, Var**) {
  shutdown_runtime();
  return nil_value();
}

}  // namespace tarnel
