#include "term/screen_functions.h"

#include <algorithm>
#include <string>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/set.h"
#include "lib/streams.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/keyboard.h"

namespace tarnel {

const std::u32string_view kSingleFrame = U"┌─┐│┘─└│", kDoubleFrame = U"╔═╗║╝═╚║",
                          kSingleBox = U"┌─┐│┘─└│ ";

namespace {

constexpr std::size_t kFrameCharacters = 8;
constexpr int kFarthest = 1'000'000;  // rows and columns: a cursor can go on counting from there

int far_as(std::int32_t n) {
  return std::clamp(n, -kFarthest, kFarthest);
}

// Arguments 0 to 3 as an area inside the screen; what is missing reaches to its edge.
Rect area_argument(std::int32_t argc, Var** argv) {
  const Rect all = whole_screen();
  return {std::max(0, int_argument(argc, argv, 0, 0)), std::max(0, int_argument(argc, argv, 1, 0)),
          std::min(all.bottom, int_argument(argc, argv, 2, all.bottom)),
          std::min(all.right, int_argument(argc, argv, 3, all.right))};
}

bool two_numbers(std::int32_t argc, Var** argv) {
  return arg_is(argc, argv, 0, kNumeric) && arg_is(argc, argv, 1, kNumeric);
}

// False, with an error, when a given end lies before a given beginning.
bool in_order(std::int32_t argc, Var** argv, std::int32_t first) {
  if (!arg_is(argc, argv, first, kNumeric) || !arg_is(argc, argv, first + 2, kNumeric)) return true;
  const int begin = integer_of(argv[first]), end = integer_of(argv[first + 2]);
  if (begin <= end) return true;
  RT_ERROR(313,
           format_text("SCROLL wrong par%d (%d) vs. par%d (%d)", first + 1, begin, first + 3, end));
  return false;
}

// The print file has no position to go back to: line feeds and blanks lead on to the place.
void move_print_file(int to_row, int to_col) {
  constexpr int kMostFeeds = 10'000;  // a place that lies farther is a mistake, not a page
  const PrintPlace at = print_place();
  std::string way(static_cast<std::size_t>(std::clamp(to_row - at.row, 0, kMostFeeds)), '\n');
  const int from = way.empty() ? at.col : 0;
  way.append(static_cast<std::size_t>(std::clamp(to_col + settings().margin - from, 0, kMostFeeds)),
             ' ');
  write_print_file(way);
}

}  // namespace

bool screen_wanted(const char* who) {
  if (!screen_open()) RT_ERROR(320, std::string(who) + ": screen capability required");
  return screen_open();
}

void draw_box(Rect area, std::u32string_view frame, Colour colour) {
  if (area.height() < 1 || area.width() < 1) return;
  const auto part = [&](std::size_t i) {
    return Cell{i < frame.size() ? frame[i] : frame[0], colour};
  };
  const auto [top, left, bottom, right] = area;
  fill_area({top, left, top, right}, part(1));
  fill_area({bottom, left, bottom, right}, part(5));
  fill_area({top, right, bottom, right}, part(3));
  fill_area({top, left, bottom, left}, part(7));
  fill_area({top, right, top, right}, part(2));
  fill_area({bottom, right, bottom, right}, part(4));
  fill_area({bottom, left, bottom, left}, part(6));
  fill_area({top, left, top, left}, part(0));
  if (frame.size() > kFrameCharacters)
    fill_area({top + 1, left + 1, bottom - 1, right - 1}, part(kFrameCharacters));
}

Var* dispbox(std::int32_t argc, Var** argv) {
  if (!screen_wanted("DRAW BOX")) return nil_value();
  std::u32string frame(kSingleFrame);
  if (arg_is(argc, argv, 4, kText)) {
    // A frame is drawn of characters that take one column each.
    const std::u32string given = decode_text(text_of(argv[4])).substr(0, kFrameCharacters + 1);
    if (!given.empty()) frame = given;
    for (char32_t& c : frame)
      if (shown_width(c) != 1) c = U' ';
  } else if (int_argument(argc, argv, 4, 1) == 2) {
    frame = kDoubleFrame;
  }
  const Rect area = area_argument(argc, argv);
  if (area.height() < 1 || area.width() < 1) return nil_value();
  draw_box(area, frame,
           arg_is(argc, argv, 5, kText) ? colour_of(text_of(argv[5])) : current_colour());
  move_cursor({area.top + 1, area.left + 1});
  return nil_value();
}

Var* dispbegin(std::int32_t, Var**) {
  return TMP_INT(change_holds(1));
}
Var* dispend(std::int32_t, Var**) {
  const int left = change_holds(-1);
  show_screen();
  return TMP_INT(left);
}
Var* dispcount(std::int32_t, Var**) {
  return TMP_INT(change_holds(0));
}
Var* refresh(std::int32_t, Var**) {
  if (!screen_wanted("Refresh()")) return error_value();
  repaint_screen();
  return nil_value();
}

Var* row(std::int32_t, Var**) {
  return TMP_INT(cursor_place().row);
}
Var* col(std::int32_t, Var**) {
  return TMP_INT(cursor_place().col);
}
Var* maxrow(std::int32_t, Var**) {
  return TMP_INT(screen_rows() - 1);
}
Var* maxcol(std::int32_t, Var**) {
  return TMP_INT(screen_columns() - 1);
}

Var* setpos(std::int32_t argc, Var** argv) {
  if (!two_numbers(argc, argv)) {
    RT_ERROR(403, "SetPos: row and column needed");
    return nil_value();
  }
  move_cursor({far_as(integer_of(argv[0])), far_as(integer_of(argv[1]))});
  return nil_value();
}

Var* devpos(std::int32_t argc, Var** argv) {
  if (!two_numbers(argc, argv))
    RT_ERROR(403, "SAY/DevPos: row and column needed");
  else if (settings().device == "PRINT" && print_file_open())
    move_print_file(far_as(integer_of(argv[0])), far_as(integer_of(argv[1])));
  else
    return setpos(argc, argv);
  return nil_value();
}

Var* setcursor(std::int32_t argc, Var** argv) {
  Var* old = TMP_INT(cursor_shape());
  if (arg_is(argc, argv, 0, kNumeric)) {
    set_cursor_shape(integer_of(argv[0]));
    settings().cursor = cursor_shape() != 0;
  }
  return old;
}

Var* scroll(std::int32_t argc, Var** argv) {
  if (!screen_wanted("SCROLL")) return error_value();
  if (!in_order(argc, argv, 0) || !in_order(argc, argv, 1)) return error_value();
  const Rect area = area_argument(argc, argv);
  const int up = int_argument(argc, argv, 4, 0), left = int_argument(argc, argv, 5, 0);
  if (up == 0 && left == 0)
    fill_area(area, {U' ', current_colour()});
  else
    scroll_area(area, up, left, current_colour());
  return nil_value();
}

Var* savescreen(std::int32_t argc, Var** argv) {
  if (!screen_wanted("SAVE SCREEN")) return error_value();
  return TMP_WIN(save_area(area_argument(argc, argv)));
}

Var* restscreen(std::int32_t argc, Var** argv) {
  if (!screen_wanted("RESTORE SCREEN")) return error_value();
  const std::int32_t last = argc - 1;  // alone, or behind the coordinates
  if (last < 0 || !arg_is(argc, argv, last, "S") || argv[last]->window == nullptr)
    return RT_ERROR(312, "RESTORE SCREEN");
  const Window& window = *argv[last]->window;
  const ScreenPlace was = window_corner(window);
  show_window(window, {far_as(last > 0 ? int_argument(argc, argv, 0, was.row) : was.row),
                       far_as(last > 1 ? int_argument(argc, argv, 1, was.col) : was.col)});
  return nil_value();
}

Var* terminit(std::int32_t, Var**) {
  own_windows();
  set_key_buffer_hook(shrink_key_buffer);
  return true_value();
}

}  // namespace tarnel
