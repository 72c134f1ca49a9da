// The stack of saved line settings of the terminal.
#pragma once

#include "core/modules.h"

namespace tarnel {

// Saves the settings of a descriptor's line; without a terminal there an empty state, whose return does nothing.
void push_tty(int fd);
// Sets what was saved last. Error 416 when nothing is.
void pop_tty();

#define TTY_BUILTINS(X)                                                                         \
  X("_pop_tty", pop_tty_state, "_pop_tty(): gives the terminal's line its saved settings back") \
  X("_push_tty", push_tty_state, "_push_tty(): saves the settings of the terminal's line")

TTY_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kTtyBuiltins[] = {TTY_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kTtyModule{
    .name = "tettystk", .subject = "Screen and keys", .functions = kTtyBuiltins};

}  // namespace tarnel
