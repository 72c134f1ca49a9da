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
  X("devpos", devpos, "devpos(nRow, nCol): moves on the current device")                        \
  X("dispbegin", dispbegin, "dispbegin() -> nCount: holds the painting of the screen off")      \
  X("dispbox", dispbox,                                                                         \
    "dispbox([nTop], [nLeft], [nBottom], [nRight], [nKind | cFrame], [cColour]): draws a box")  \
  X("dispcount", dispcount, "dispcount() -> nCount: how often painting is held off")            \
  X("dispend", dispend, "dispend() -> nCount: ends one dispbegin(), the last shows the screen") \
  X("col", col, "col() -> nCol: column of the cursor")                                          \
  X("max_col", maxcol, "max_col() -> nCol: the same as maxcol()")                               \
  X("max_row", maxrow, "max_row() -> nRow: the same as maxrow()")                               \
  X("maxcol", maxcol, "maxcol() -> nCol: the last column of the screen")                        \
  X("maxrow", maxrow, "maxrow() -> nRow: the last row of the screen")                           \
  X("refresh", refresh, "refresh(): paints all of the screen anew")                             \
  X("restscreen", restscreen,                                                                   \
    "restscreen([nTop], [nLeft], [nBottom], [nRight], xSaved): shows what savescreen() saved")  \
  X("row", row, "row() -> nRow: row of the cursor")                                             \
  X("savescreen", savescreen,                                                                   \
    "savescreen([nTop], [nLeft], [nBottom], [nRight]) -> xSaved: a part of the screen")         \
  X("scroll", scroll,                                                                           \
    "scroll([nTop], [nLeft], [nBottom], [nRight], [nUp], [nLeft]): moves or blanks a part")     \
  X("setcursor", setcursor, "setcursor([nShape]) -> nOld: 0 hidden, 1 normal, 2 a block")       \
  X("setpos", setpos, "setpos(nRow, nCol): moves the cursor")

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
