// Boxes that ask the user: a text and a row of options; and the box of an interrupt.
#pragma once

#include <string_view>

#include "core/modules.h"

namespace tarnel {

// Shows a text, lines parted by ';', with options below it in a box, and waits for the choice. The first item
// of the colour text is the box, the second the option chosen; NIL is the standard one, W+/BG and W+/R
// stand for it where errors are told. Result: the option's number from 1, 0 for Esc. What the box hid is
// shown again. REQUIRES: screen_open().
std::int32_t ask_in_box(std::string_view message, Var* options, Var* colour);

// Asks by a box whether an interrupt is meant: a second one within 5 seconds ends the run. Nothing is asked
// where SET CANCEL is off. REQUIRES: screen_open().
void ask_about_interrupt();

#define ALERT_BUILTINS(X) \
  X("alert", alert, "alert(cMessage, [aOptions], [cColour]) -> nChoice: asks in a box, 0 for none")

ALERT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kAlertBuiltins[] = {ALERT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kAlertModule{
    .name = "tealert", .subject = "Screen and keys", .functions = kAlertBuiltins};

}  // namespace tarnel
