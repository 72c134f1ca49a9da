// The functions of the language that move, write and save on the screen.
#pragma once

#include "core/modules.h"
#include "term/screen.h"

namespace tarnel {

// Is a screen open? Without one error 320 tells who needs it.
[[nodiscard]] bool screen_wanted(const char* who);

// A frame of eight characters, clockwise from the upper left, and the ninth for its inside.
void draw_box(Rect area, std::u32string_view frame, Colour colour);
extern const std::u32string_view kSingleFrame, kDoubleFrame,
    kSingleBox;  // the last is blank inside

#define SCREEN_BUILTINS(X)                                                                      \
  X("devpos", devpos, "devpos(nRow, nCol): moves on the current device",                        \
    "{devpos(3, 5), row()}[2] ==> 3")                                                           \
  X("dispbegin", dispbegin, "dispbegin() -> nCount: holds the painting of the screen off",      \
    "{dispbegin(), dispend()}[1] ==> 1")                                                        \
  X("dispbox", dispbox,                                                                         \
    "dispbox([nTop], [nLeft], [nBottom], [nRight], [nKind | cFrame], [cColour]): draws a box")  \
  X("dispcount", dispcount, "dispcount() -> nCount: how often painting is held off",            \
    "{dispbegin(), dispcount()}[2] ==> 1")                                                      \
  X("dispend", dispend, "dispend() -> nCount: ends one dispbegin(), the last shows the screen", \
    "{dispbegin(), dispend()}[2] ==> 0")                                                        \
  X("col", col, "col() -> nCol: column of the cursor", "{setpos(3, 5), col()}[2] ==> 5")        \
  X("max_col", maxcol, "max_col() -> nCol: the same as maxcol()", "max_col() ==> 79")           \
  X("max_row", maxrow, "max_row() -> nRow: the same as maxrow()", "max_row() ==> 24")           \
  X("maxcol", maxcol, "maxcol() -> nCol: the last column of the screen", "maxcol() ==> 79")     \
  X("maxrow", maxrow, "maxrow() -> nRow: the last row of the screen", "maxrow() ==> 24")        \
  X("refresh", refresh, "refresh(): paints all of the screen anew")                             \
  X("restscreen", restscreen,                                                                   \
    "restscreen([nTop], [nLeft], [nBottom], [nRight], xSaved): shows what savescreen() saved")  \
  X("row", row, "row() -> nRow: row of the cursor", "{setpos(3, 5), row()}[2] ==> 3")           \
  X("savescreen", savescreen,                                                                   \
    "savescreen([nTop], [nLeft], [nBottom], [nRight]) -> xSaved: a part of the screen")         \
  X("scroll", scroll,                                                                           \
    "scroll([nTop], [nLeft], [nBottom], [nRight], [nUp], [nLeft]): moves or blanks a part")     \
  X("setcursor", setcursor, "setcursor([nShape]) -> nOld: 0 hidden, 1 normal, 2 a block",       \
    "{setcursor(0), setcursor()}[2] ==> 0")                                                     \
  X("setpos", setpos, "setpos(nRow, nCol): moves the cursor", "{setpos(3, 5), row()}[2] ==> 3")

SCREEN_BUILTINS(DECLARE_BUILTIN)
// INIT procedure: makes the layers below know of screen, windows and key buffer.
Var* terminit(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kScreenBuiltins[] = {SCREEN_BUILTINS(BUILTIN_ROW)};
inline constexpr FunctionEntry kScreenInit[] = {{"terminit", terminit, nullptr}};
inline constexpr ModuleRecord kScreenModule{.name = "teoutput",
                                            .subject = "Screen and keys",
                                            .functions = kScreenBuiltins,
                                            .init = kScreenInit};

}  // namespace tarnel
