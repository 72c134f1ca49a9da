// The named options: ov_set(name, [value ...]).
#pragma once

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// What a program with a screen does for changes that concern its terminal. Null while there is none.
struct TerminalHooks {
  bool (*test)() = nullptr;  // could a screen be opened on the terminal that the environment names
  void (*restart)() = nullptr;     // starts the screen anew on it
  void (*line_modes)() = nullptr;  // sets the terminal's line for another break or debug key
};
void set_terminal_hooks(const TerminalHooks& hooks);

// The option `developer` has another value: notices are told or not from now on.
void follow_developer();

#define OPTION_BUILTINS(X)                                                                       \
  X("ov_set", ov_set, "ov_set(cOption, [xValue], ...) -> xOld: reads or changes a named option", \
    "ov_set('developer') ==> .F.")

OPTION_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kOptionBuiltins[] = {OPTION_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kOptionsModule{
    .name = "ovset", .subject = "Settings and languages", .functions = kOptionBuiltins};

}  // namespace tarnel
