// Start-up, the one road by which a run ends, and the signals that can arrive during it.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/modules.h"
#include "core/switched.h"

namespace tarnel {

// What the layers above hand to start-up; a null member is passed over.
struct RuntimeHooks {
  void (*setup)() = nullptr;           // the executable's own, called after programini
  void (*open_terminal)() = nullptr;   // of a program that has a screen from the start
  void (*close_terminal)() = nullptr;  // gives it back, may be called again
  void (*tell_fatal)(std::string_view report) =
      nullptr;                      // of a fatal error, in place of standard error
  void (*close_areas)() = nullptr;  // closes all work areas
  void (*close_files)() = nullptr;  // alternate, extra and print files
};
RuntimeHooks& runtime_hooks();

// Runs the program: start-up in its order, then the procedure named "main" with the command-line
// arguments as texts, then the exit road. Never returns.
[[noreturn]] void START_RUNTIME(int argc, char** argv, const Program& program);
// Start-up without signals and main, for tools and tests.
void start_library(const Program& program);

// The exit road: EXIT procedures, tables closed, output written, screen given back, process ended.
// Each step begins at most once: whoever quits inside the road goes on behind the step that he broke
// off.
[[noreturn]] void QUIT_RUN(int status);
[[noreturn]] void QUIT_RUN();  // with exit_status(), as EXIT procedures leave it
// All of the exit road but the end of the process. After it a raise ends the run.
void shutdown_runtime();
// The shutdown has begun or is done.
bool is_quitting();
// A step of the exit road runs.
bool on_exit_road();
// To be asked by each raise. Inside the exit road, but for UsualExitErrors, no error reaches the error block: it is told
// once, and the run ends with status 1. An EXIT procedure is broken off; the closing of tables goes on, so that one
// that fails doesn't keep the others open. A road that an error handler walks, or on which waits were given up, only
// logs what fails, since the cause has been reported.
[[nodiscard]] bool fails_on_exit_road(int code, std::string_view text);
// While it lives what fails in an EXIT procedure reaches the error block, as in other procedures.
class UsualExitErrors {
 public:
  UsualExitErrors();

 private:
  Switched<bool> usual_;
};
// An EXIT procedure runs whose errors reach the error block.
bool in_exit_procedure();

// A run that an error ends has no EXIT procedures.
void pass_over_exit_procedures();
// The same, and its tables are closed now: for a run that tells why it ends, to a reader who may not listen.
void leave_tables();

// The status with which a run ends that nobody gives another: 0 until it is set.
int exit_status();
void set_exit_status(int status);

// Told by the table engine after each write to a table file; without one the exit road needs no
// sync.
void note_table_write();

// A nesting pair round code that may not be broken off by SIGINT.
void HOLD_INTERRUPT();
void RELEASE_INTERRUPT();
class InterruptHold {
 public:
  InterruptHold() { HOLD_INTERRUPT(); }
  ~InterruptHold() { RELEASE_INTERRUPT(); }
  InterruptHold(const InterruptHold&) = delete;
  InterruptHold& operator=(const InterruptHold&) = delete;
};

#define RUNTIME_BUILTINS(X)                                                                      \
  X("__quit", builtin_quit, "__quit([nStatus]): ends the run through the exit road")             \
  X("__shutdown", builtin_shutdown, "__shutdown(): closes tables and terminal; the run goes on") \
  X("pcount", pcount, "pcount() -> nCount: number of arguments passed to this procedure",        \
    "pcount() ==> 0")                                                                            \
  X("procfile", procfile, "procfile([nLevel]) -> cName: source module in the call chain",        \
    "procfile() ==> TNSH")                                                                       \
  X("procline", procline, "procline([nLevel]) -> nLine: source line in the call chain",          \
    "procline() ==> 1")                                                                          \
  X("procname", procname, "procname([nLevel]) -> cName: procedure in the call chain",            \
    "procname() ==> TNSH")

RUNTIME_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kRuntimeBuiltins[] = {RUNTIME_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kRuntimeModule{
    .name = "runtime", .subject = "Runs and the system", .functions = kRuntimeBuiltins};

}  // namespace tarnel
