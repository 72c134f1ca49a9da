// Colours of the screen: five slots, set by a text such as "W/N, N/W,,, N/W".
#pragma once

#include <string>
#include <string_view>

#include "core/modules.h"
#include "term/screen.h"

namespace tarnel {

// What output is written in: the slot that is selected.
Colour current_colour();
Colour slot_colour(int slot);  // an empty one is as slot 0
constexpr int kStandardSlot = 0, kEnhancedSlot = 1, kColourSlots = 5;

// The colour of the first item of a text; the current one where the text has none or a wrong one, which is
// notice 329.
Colour colour_of(std::string_view text);
// The colour of item n, from 0, in the same way.
Colour colour_of_item(std::string_view text, int n);

// Sets the slots as a text says and selects the first. Items that are empty or wrong keep their slots.
void set_colours(std::string_view text);

#define COLOUR_BUILTINS(X)                                                                      \
  X("_enhanced", slot_enhanced, "_enhanced(): selects the colour of entry fields for output")   \
  X("_standard", slot_standard, "_standard(): selects the standard colour for output")          \
  X("_unselecte", slot_unselected, "_unselecte(): selects the colour of unselected fields")     \
  X("colorselec", colorselec, "colorselec(nSlot): selects a colour for output, 0 the standard") \
  X("setcol2get", setcol2get,                                                                   \
    "setcol2get([cColour]) -> cColour: the colour of entry fields in a text",                   \
    "setcol2get('w/n,r/b') ==> R/B")                                                            \
  X("setcolor", setcolor, "setcolor([cColour]) -> cOld: reads or changes the colours",          \
    "{setcolor('w+/b'), left(setcolor(), 4)}[2] ==> W+/B")

COLOUR_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kColourBuiltins[] = {COLOUR_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kColoursModule{
    .name = "tecolrbx", .subject = "Screen and keys", .functions = kColourBuiltins};

}  // namespace tarnel
