// WAIT, ACCEPT and INPUT.
#pragma once

#include "core/modules.h"

namespace tarnel {

// May ACCEPT and INPUT read standard input where there is no screen? Not where a script or a form comes from there.
void let_accept_read_input(bool may);

#define PROMPT_BUILTINS(X)                                                                      \
  X("__accept", builtin_accept, "__accept([cPrompt]) -> cLine: ACCEPT, a line that is typed")   \
  X("__acceptst", acceptst, "__acceptst() -> cLine: the line that ACCEPT read last",            \
    "empty(__acceptst()) ==> .T.")                                                              \
  X("__input", builtin_input,                                                                   \
    "__input([cPrompt]) -> xValue: INPUT, the value of the expression that is typed, an empty " \
    "text where nothing is")                                                                    \
  X("__wait", builtin_wait, "__wait([cPrompt]) -> cKey: WAIT, the character of one key")

PROMPT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPromptBuiltins[] = {PROMPT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPromptsModule{
    .name = "teprompt", .subject = "Screen and keys", .functions = kPromptBuiltins};

}  // namespace tarnel
