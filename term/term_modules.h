// The modules of the terminal, in link order.
#pragma once

#include <array>

#include "core/modules.h"
#include "term/alert.h"
#include "term/character_map.h"
#include "term/colours.h"
#include "term/keyboard.h"
#include "term/prompts.h"
#include "term/screen_functions.h"
#include "term/terminal.h"
#include "term/tty_states.h"

namespace tarnel {

inline constexpr auto kTermModules = std::to_array<const ModuleRecord*>({
    &kAlertModule,
    &kColoursModule,
    &kKeyboardModule,
    &kMapsModule,
    &kPromptsModule,
    &kScreenModule,
    &kTerminalModule,
    &kTtyModule,
});

}  // namespace tarnel
