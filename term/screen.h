// The screen: an array of cells, which is all there is to know about it. A device, as far as one is
// attached, paints the cells on a terminal at flush points and reads its keys; nothing else here knows of
// terminals. Without a device the positions and counts go on, and there are no cells.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

// Marks of a cell beside its two colours.
enum Mark : std::uint8_t { kBold = 1, kDim = 2, kBlink = 4, kUnderline = 8, kInvisible = 16 };

// Colours are numbered 0 to 7 by their parts: blue 1, green 2, red 4.
struct Colour {
  std::uint8_t front = 7, back = 0, marks = 0;
  bool operator==(const Colour&) const = default;
};

// The right half of a wide character has the character 0.
struct Cell {
  char32_t character = U' ';
  Colour colour;
  bool operator==(const Cell&) const = default;
};

struct ScreenPlace {
  int row = 0, col = 0;
};
// Rows and columns of it, both ends included; it is empty where an end lies before its beginning.
struct Rect {
  int top = 0, left = 0, bottom = 0, right = 0;
  int height() const { return bottom - top + 1; }
  int width() const { return right - left + 1; }
};

struct ScreenDevice {
  // Makes the terminal show the cells: those of rows that changed, or all anew.
  void (*paint)(bool anew);
  // The next key; waits up to a number of milliseconds. kNoKey when none came or a signal did.
  int (*read_key)(int milliseconds);
  const std::string& (*key_bytes)();  // of the key read last
  void (*ring)();
  bool (*colours)();
  // Around a child process that uses the terminal.
  void (*give_back)();
  void (*take_again)();
};

// Cells of the given size, blank in the standard colour; 1 x 1 at least. The cursor is in the corner.
void attach_screen(const ScreenDevice& device, int rows, int columns);
void detach_screen();
// Another size: cells stay where they are, are cut or added blank.
void resize_screen(int rows, int columns);
bool screen_open();
const ScreenDevice& screen_device();  // REQUIRES: screen_open()

int screen_rows();  // 25 without a screen
int screen_columns();
Rect whole_screen();
ScreenPlace cursor_place();
void move_cursor(ScreenPlace place);  // anywhere: what lies outside shows nothing
int cursor_shape();                   // 0 hidden, 1 normal, 2 a block
void set_cursor_shape(int shape);

// --- What is on the screen. REQUIRES for all: screen_open().
const Cell& cell_at(int row, int col);  // REQUIRES: it is inside
bool take_row_changed(int row);         // since the last call
// Writes a text at the cursor, which goes behind it, off the right margin too; what lies outside is cut.
void put_text(std::string_view text, Colour colour);
// Writes console output in the current colour: wraps at the margin, line feeds at the bottom scroll.
void put_console(std::string_view text);
void fill_area(Rect area, Cell cell);
// Moves what an area holds up and left, or down and right for numbers below 0, and blanks what becomes free.
void scroll_area(Rect area, int up, int left, Colour colour);
// Saves the part of an area that is on the screen. Ownership passes to the caller; a cell of type S.
Window* save_area(Rect area);
void show_window(const Window& window, ScreenPlace corner);
ScreenPlace window_corner(const Window& window);
void drop_window(Window* window);

// --- Painting.
void show_screen();           // brings the terminal up to date, unless painting is held off
void repaint_screen();        // all of it, in any case
int change_holds(int added);  // counts the reasons to hold painting off; the new count, not below 0

// How window cells are copied and freed; set once at start.
void own_windows();

}  // namespace tarnel
