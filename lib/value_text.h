// Default texts of values, and the output functions that write them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"
#include "lib/number_text.h"

namespace tarnel {

// Text of any value for `?`, qout and messages. A text is given as it lies in the cell, anything
// else is written to the buffer. Error 203 and the empty text for an unknown type letter.
std::string_view varToText(const Var* value, NumberBuffer& buffer);

// Notices about a picture that could not be followed to the letter; 0 is none.
enum PictureNotice {
  kNoNotice = 0,
  kManyPoints = 1,
  kCommaBehindPoint = 2,
  kNumberCut = 3,
  kNumberStarred = 4,
};
// Warning 333 with the notice's text, which shows only with the developer option.
void pictureNotice(int code);

// Default text of a value as transform, devout and dispout use it; a number goes through the mask,
// which is rewritten where it could not be followed. Result: a notice, or -1 for a type that can't
// be shown, with an empty text.
int varDefaultText(const Var* value, std::string& mask, std::string& result);

// Where screen output goes while a screen is open; null: the page. An empty colour
// is the current one.
void set_screen_writer(void (*writer)(std::string_view text, std::string_view colour));

#define VALUE_TEXT_BUILTINS(X)                                                                   \
  X("devout", devout, "devout(xValue, [cColour]): writes a value to the current device",         \
    "devout('text') ==> textNIL")                                                                \
  X("dispout", dispout, "dispout(xValue, [cColour]): writes a value to the screen",              \
    "dispout('text') ==> textNIL")                                                               \
  X("outerr", outerr, "outerr(...): the values with blanks between them, to standard error",     \
    "outerr('a') ==> aNIL")                                                                      \
  X("outstd", outstd,                                                                            \
    "outstd(...): the values with blanks between them, to standard output whatever SET CONSOLE " \
    "and the files that copy it say",                                                            \
    "outstd('a', .T.) ==> a .T.NIL")                                                             \
  X("qout", qout, "qout(...): a line feed, then the values with blanks between them",            \
    "qout('a', .T.) ==> a .T.NIL")                                                               \
  X("qqout", qqout, "qqout(...): the values with blanks between them, on the current line",      \
    "qqout('a', .T.) ==> a .T.NIL")

VALUE_TEXT_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kValueTextBuiltins[] = {VALUE_TEXT_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kValueTextModule{
    .name = "valtext", .subject = "Values as texts", .functions = kValueTextBuiltins};

}  // namespace tarnel
