// The terminal of a run: its description, looked up by the name in TERM. A request's terminal is of
// type "dumb": no screen is started for it, and not one byte is written.
#pragma once

#include "core/modules.h"

namespace tarnel {

// Whether the terminal's description is known; one that is not is as good as no terminal. Looked up
// at the first question, which a request hardly asks: the look-up costs a tenth of all else it does.
bool terminal_known();

#define TERMINAL_BUILTINS(X)                                                                      \
  X("termtype", termtype, "termtype() -> cType: the terminal's type, empty when it is not known", \
    "termtype() ==> dumb")

TERMINAL_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kTerminalBuiltins[] = {TERMINAL_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kTerminalModule{
    .name = "terminal", .subject = "Screen and keys", .functions = kTerminalBuiltins};

}  // namespace tarnel
