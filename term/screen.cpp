#include "term/screen.h"

#include <algorithm>
#include <cassert>
#include <vector>

#include "core/error_object.h"
#include "core/output.h"
#include "lib/value_text.h"
#include "term/alert.h"
#include "term/character_map.h"
#include "term/colours.h"
#include "term/glyphs.h"

namespace tarnel {

// A saved part of the screen.
struct Window {
  Rect area;
  std::vector<Cell> cells;
};

namespace {

constexpr int kUsualRows = 25, kUsualColumns = 80;

struct ScreenState {
  const ScreenDevice* device = nullptr;
  int rows = kUsualRows, columns = kUsualColumns;
  std::vector<Cell> cells;
  std::vector<bool> changed;  // a row of cells since it was painted
  ScreenPlace cursor;
  int cursor_shape = 1;
  int holds = 0;
} state;

Cell& cell(int row, int col) {
  return state.cells[static_cast<std::size_t>(row) * static_cast<std::size_t>(state.columns) +
                     static_cast<std::size_t>(col)];
}
void note_change(int row) {
  state.changed[static_cast<std::size_t>(row)] = true;
}

Rect on_screen(Rect area) {
  return {std::max(area.top, 0), std::max(area.left, 0), std::min(area.bottom, state.rows - 1),
          std::min(area.right, state.columns - 1)};
}

// Half a wide character is none: where one end of a change cuts it the other half goes blank.
void mend_edges(int row, int left, int right) {
  if (left > 0 && left < state.columns && cell(row, left).character == 0)
    cell(row, left - 1).character = U' ';
  if (right + 1 < state.columns && cell(row, right + 1).character == 0)
    cell(row, right + 1).character = U' ';
}

// The same for the ends of what lies inside.
void cut_ends(int row, int left, int right) {
  if (cell(row, left).character == 0) cell(row, left).character = U' ';
  if (shown_width(cell(row, right).character) == 2) cell(row, right).character = U' ';
}

void put_character(char32_t c, int width, Colour colour) {
  auto& [row, col] = state.cursor;
  if (row < 0 || row >= state.rows || col < 0 || col + width > state.columns) return;
  mend_edges(row, col, col + width - 1);
  cell(row, col) = {c, colour};
  if (width == 2) cell(row, col + 1) = {0, colour};
  note_change(row);
}

void next_row() {
  state.cursor.col = 0;
  if (state.cursor.row < state.rows - 1) {
    ++state.cursor.row;
  } else {
    scroll_area(whole_screen(), 1, 0, current_colour());
    state.cursor.row = state.rows - 1;
  }
}

void put_wrapped(char32_t c, Colour colour) {
  const int width = shown_width(c);
  if (width == 0) return;
  if (state.cursor.col + width > state.columns) next_row();
  put_character(c, width, colour);
  state.cursor.col += width;
}

Window* copy_window(const Window* window) {
  return new Window(*window);
}

}  // namespace

void attach_screen(const ScreenDevice& device, int rows, int columns) {
  state = ScreenState();
  state.device = &device;
  state.rows = state.columns = 0;
  resize_screen(rows, columns);
  flush_output();  // what was written before stays outside
  set_output_device(put_console);
  set_screen_writer([](std::string_view text, std::string_view colour) {
    put_text(text, colour.empty() ? current_colour() : colour_of(colour));
  });
  set_alert_hook(ask_in_box);
}

void detach_screen() {
  set_output_device(nullptr);
  set_screen_writer(nullptr);
  set_alert_hook(nullptr);
  state = ScreenState();
}

void resize_screen(int rows, int columns) {
  rows = std::max(rows, 1);
  columns = std::max(columns, 1);
  std::vector<Cell> cells(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns),
                          Cell{U' ', current_colour()});
  for (int row = 0; row < std::min(rows, state.rows); ++row)
    for (int col = 0; col < std::min(columns, state.columns); ++col)
      cells[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
            static_cast<std::size_t>(col)] = cell(row, col);
  state.cells = std::move(cells);
  const int kept = std::min(columns, state.columns);
  state.rows = rows;
  state.columns = columns;
  state.changed.assign(static_cast<std::size_t>(rows), true);
  for (int row = 0; row < rows && kept > 0; ++row)
    if (shown_width(cell(row, kept - 1).character) == 2 &&
        (kept == columns || cell(row, kept).character != 0))
      cell(row, kept - 1).character = U' ';
}

bool screen_open() {
  return state.device != nullptr;
}
const ScreenDevice& screen_device() {
  assert(screen_open());
  return *state.device;
}
int screen_rows() {
  return state.rows;
}
int screen_columns() {
  return state.columns;
}
Rect whole_screen() {
  return {0, 0, state.rows - 1, state.columns - 1};
}
ScreenPlace cursor_place() {
  return state.cursor;
}
void move_cursor(ScreenPlace place) {
  state.cursor = place;
}
int cursor_shape() {
  return state.cursor_shape;
}
void set_cursor_shape(int shape) {
  state.cursor_shape = std::clamp(shape, 0, 2);
}

const Cell& cell_at(int row, int col) {
  assert(row >= 0 && row < state.rows && col >= 0 && col < state.columns);
  return cell(row, col);
}

bool take_row_changed(int row) {
  const auto at = static_cast<std::size_t>(row);
  const bool was = state.changed[at];
  state.changed[at] = false;
  return was;
}

void put_text(std::string_view text, Colour colour) {
  std::string mapped;
  for (CharacterReader reader(through_screen_map(text, mapped)); !reader.at_end();) {
    const char32_t c = reader.next();
    const int width = shown_width(c);
    if (width > 0) put_character(c, width, colour);
    state.cursor.col += width;
  }
}

void put_console(std::string_view text) {
  constexpr std::string_view kControls = "\n\r\a";
  std::string mapped;
  text = through_screen_map(text, mapped);
  const Colour colour = current_colour();
  for (;;) {
    const std::size_t end = std::min(text.find_first_of(kControls), text.size());
    for (CharacterReader reader(text.substr(0, end)); !reader.at_end();)
      put_wrapped(reader.next(), colour);
    if (end == text.size()) return;
    if (text[end] == '\n') next_row();
    if (text[end] == '\r') state.cursor.col = 0;
    if (text[end] == '\a') screen_device().ring();
    text.remove_prefix(end + 1);
  }
}

void fill_area(Rect area, Cell filling) {
  area = on_screen(area);
  for (int row = area.top; row <= area.bottom && area.width() > 0; ++row) {
    mend_edges(row, area.left, area.right);
    for (int col = area.left; col <= area.right; ++col) cell(row, col) = filling;
    note_change(row);
  }
}

void scroll_area(Rect area, int up, int left, Colour colour) {
  area = on_screen(area);
  const Cell blank{U' ', colour};
  if (area.height() < 1 || area.width() < 1) return;
  for (int row = area.top; row <= area.bottom; ++row) {
    mend_edges(row, area.left, area.right);
    cut_ends(row, area.left, area.right);
  }
  const auto moved = [&](int row, int col) {
    const bool inside =
        row >= area.top && row <= area.bottom && col >= area.left && col <= area.right;
    return inside ? cell(row, col) : blank;
  };
  // From the end that what moves goes to, so that nothing is read that was written.
  up = std::clamp(up, -area.height(), area.height());
  left = std::clamp(left, -area.width(), area.width());
  for (int i = 0; i < area.height(); ++i) {
    const int row = up >= 0 ? area.top + i : area.bottom - i;
    for (int k = 0; k < area.width(); ++k) {
      const int col = left >= 0 ? area.left + k : area.right - k;
      cell(row, col) = moved(row + up, col + left);
    }
    cut_ends(row, area.left, area.right);
    note_change(row);
  }
}

Window* save_area(Rect area) {
  area = on_screen(area);
  auto* window = new Window{area, {}};
  for (int row = area.top; row <= area.bottom; ++row)
    for (int col = area.left; col <= area.right; ++col) window->cells.push_back(cell(row, col));
  return window;
}

void show_window(const Window& window, ScreenPlace corner) {
  if (window.cells.empty()) return;
  const Rect target = {corner.row, corner.col, corner.row + window.area.height() - 1,
                       corner.col + window.area.width() - 1};
  const Rect shown = on_screen(target);
  for (int row = shown.top; row <= shown.bottom; ++row) {
    if (shown.width() < 1) return;
    mend_edges(row, shown.left, shown.right);
    const auto* from =
        window.cells.data() + static_cast<std::ptrdiff_t>(row - target.top) * window.area.width();
    for (int col = shown.left; col <= shown.right; ++col) cell(row, col) = from[col - target.left];
    cut_ends(row, shown.left, shown.right);
    note_change(row);
  }
}

ScreenPlace window_corner(const Window& window) {
  return {window.area.top, window.area.left};
}

void drop_window(Window* window) {
  delete window;
}

void show_screen() {
  if (screen_open() && state.holds == 0) state.device->paint(false);
}

void repaint_screen() {
  if (screen_open()) state.device->paint(true);
}

int change_holds(int added) {
  return state.holds = std::max(0, state.holds + added);
}

void own_windows() {
  set_window_hooks({copy_window, drop_window});
}

}  // namespace tarnel
