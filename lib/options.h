// The named options: ov_set(name, [value ...]).
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// What a program with a screen does for a changed terminal type. Null, as in ours: there is no screen.
struct TerminalHooks {
  bool (*test)(const char* terminal) = nullptr;  // is the terminal known
  void (*restart)() = nullptr;                   // starts the screen anew
};
void set_terminal_hooks(const TerminalHooks& hooks);

#define OPTION_BUILTINS(X) \
  X("ov_set", ov_set, "ov_set(cOption, [xValue], ...) -> xOld: reads or changes a named option")

OPTION_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kOptionBuiltins[] = {OPTION_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kOptionsModule{.name = "ovset", .functions = kOptionBuiltins};

}  // namespace tarnel
