#include "core/runtime.h"

#include <malloc.h>
#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <vector>

#include "core/descriptors.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/frame.h"
#include "core/memory.h"
#include "core/output.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/system_log.h"

namespace tarnel {
namespace {

struct RunState {
  RuntimeHooks hooks;
  std::size_t exit_steps = 0;  // steps of the exit road that have begun
  bool in_exit_road = false;
  bool exit_failed = false;
  bool usual_exit_errors = false;
  int exit_status = 0;
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

// What a sort or a long text takes for a while, and the next one takes again, stays with the process: the system would
// clear every page of it anew. Blocks from 4 MiB on are the system's at once.
void keep_freed_memory() {
  constexpr int kMebibyte = 1 << 20;
  mallopt(M_MMAP_THRESHOLD, 4 * kMebibyte);
  mallopt(M_TRIM_THRESHOLD, 16 * kMebibyte);
}

void call_hook(const char* name) {
  const Function hook = lookup_function(name);
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
  LINK_MODULES(program);
  call_hook("programini");
  run(state.hooks.setup);
  call_hook("cursesinit");
  run(state.hooks.open_terminal);
}

// --- The exit road.

void close_terminal() {
  run(state.hooks.close_terminal);
}

void exit_road_failed() {
  if (state.exit_failed) return;
  state.exit_failed = true;
  close_terminal();  // where the text could be read
  write_fully(STDERR_FILENO, "\r\nFATAL ERROR during QUIT, exiting\r\n\r\n");
}

void run_exit_procedures() {
  static_cast<void>(RUN_EXIT());
}
void close_areas() {
  run(state.hooks.close_areas);
}
// Before the sync, which can take long: a reader needn't wait for it.
void finish_output() {
  if (!write_gathered()) exit_road_failed();
}
void sync_tables() {
  if (state.table_written) file_ops().sync();
}
void close_files() {
  run(state.hooks.close_files);
}
constexpr void (*kExitRoad[])() = {run_exit_procedures, close_areas,   finish_output, sync_tables,
                                   close_files,         finish_output, close_terminal};
constexpr std::size_t kExitProcedures = 1;  // the steps begun while they run
constexpr std::size_t kTablesClosed = 2;

void walk_exit_road(std::size_t steps = std::size(kExitRoad)) {
  const Switched<bool> walking(state.in_exit_road, true);
  while (state.exit_steps < steps) kExitRoad[state.exit_steps++]();
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
  keep_freed_memory();
  open_missing_descriptors();
  adopt_terminal_names();
  start(program);
  install_signal_handlers();
  RUN_INIT(nil_value(), nil_value());
  std::vector<Var*> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(TMP_TEXT(argv[i]));
  CALL_VECTOR(GET_FUNC("main"), static_cast<std::int32_t>(arguments.size()), arguments.data());
  flush_output();
  QUIT_RUN();
}

void shutdown_runtime() {
  if (!is_quitting()) walk_exit_road();
}

static void walk_to_the_end() {
  ::signal(SIGINT, SIG_IGN);
  walk_exit_road();
  finish_output();
}

void QUIT_RUN(int status) {
  walk_to_the_end();
  _exit(state.exit_failed ? 1 : status);
}
void QUIT_RUN() {
  walk_to_the_end();
  _exit(state.exit_failed ? 1 : state.exit_status);
}

bool is_quitting() {
  return state.exit_steps > 0;
}

bool on_exit_road() {
  return state.in_exit_road;
}

UsualExitErrors::UsualExitErrors() : usual_(state.usual_exit_errors, true) {}

// A handler that ends the run leaves the guard behind, but not the procedures.
bool in_exit_procedure() {
  return state.in_exit_road && state.usual_exit_errors && state.exit_steps == kExitProcedures;
}

bool fails_on_exit_road(int code, std::string_view text) {
  if (!state.in_exit_road || in_exit_procedure()) return false;
  if (errors_in_progress() > 1 || waits_are_given_up())
    log_system(LOG_ERR, "error %d while the run ends: %.*s", code, static_cast<int>(text.size()),
               text.data());
  else
    exit_road_failed();
  if (state.exit_steps == kExitProcedures) QUIT_RUN();
  return true;
}

void pass_over_exit_procedures() {
  state.exit_steps = std::max(state.exit_steps, kExitProcedures);
}

void leave_tables() {
  pass_over_exit_procedures();
  walk_exit_road(kTablesClosed);
}

int exit_status() {
  return state.exit_status;
}
void set_exit_status(int status) {
  state.exit_status = status;
}

void note_table_write() {
  state.table_written = true;
}

// Both write the output first: a failure is an error that a program can still hear of.
Var* builtin_quit(std::int32_t argc, Var** argv) {
  flush_output();
  if (!arg_is(argc, argv, 0, "INF")) QUIT_RUN();
  QUIT_RUN(integer_of(argv[0]) & 255);
}

Var* builtin_shutdown(std::int32_t, Var**) {
  flush_output();
  shutdown_runtime();
  return nil_value();
}

}  // namespace tarnel
