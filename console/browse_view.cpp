// The picture of a browser:
//   row 0            alias, order, filter and scope, how the table is open, "*" on a deleted record
//   row 1            names of the columns
//   rows 2 ...       records: number and mark at the left, then the columns
//   last but one     the whole text of the current cell
//   last             keys, or a message
#include <algorithm>

#include "console/browser.h"
#include "core/classes.h"
#include "term/colours.h"
#include "term/glyphs.h"

namespace tarnel {
namespace {

constexpr int kLeastRows = 5, kLeastColumns = 20, kHeadRows = 2, kFootRows = 2;
constexpr int kLeastNumberWidth = 6;
constexpr const char* kKeys =
    "?=help  Enter=edit  Ins=append  Del=mark  /=seek  o=order  F=filter  Esc=leave";

// A text in a number of columns; one that is cut ends in dots.
void put_field(std::string_view text, int width, bool right, Colour colour) {
  if (width < 1) return;
  const int all = shown_width(text);
  const std::string_view part = all > width ? fitting(text, width - 1) : text;
  const std::string gap(
      static_cast<std::size_t>(std::max(0, width - shown_width(part) - (all > width ? 1 : 0))),
      ' ');
  if (right) put_text(gap, colour);
  put_text(part, colour);
  if (all > width) put_text("\xe2\x80\xa6", colour);
  if (!right) put_text(gap, colour);
}

void put_line(int row, std::string_view text, Colour colour) {
  move_cursor({row, 0});
  put_field(text, screen_columns(), false, colour);
}

bool stands_right(const BrowseColumn& column) {
  return column.type == 'N' || column.type == 'F' || column.type == 'I';
}

int number_width(const Browser& browser) {
  return std::max(kLeastNumberWidth,
                  static_cast<int>(std::to_string(browser.table.record_count()).size()));
}

// The columns in the order in which they are shown, with where each begins; the last may be cut.
struct PlacedColumn {
  int index, left, width;
};
std::vector<PlacedColumn> placed(const Browser& browser) {
  std::vector<PlacedColumn> places;
  const auto& columns = browser.table.columns();
  int left = number_width(browser) + 3;
  const auto add = [&](int i) {
    const int room = screen_columns() - left;
    if (room < 1) return false;
    const int width = columns[static_cast<std::size_t>(i)].width;
    if (width > room && !places.empty() && i != browser.column) return false;
    places.push_back({i, left, std::min(width, room)});
    left += width + 1;
    return true;
  };
  const int count = static_cast<int>(columns.size());
  for (int i = 0; i < browser.fixed && i < count; ++i) add(i);
  for (int i = std::max(browser.first_column, browser.fixed); i < count && add(i);) ++i;
  return places;
}

bool shows_column(const Browser& browser, int column) {
  const auto places = placed(browser);
  const auto found = std::ranges::find(places, column, &PlacedColumn::index);
  return found != places.end() &&
         (found->width == browser.table.columns()[static_cast<std::size_t>(column)].width ||
          browser.first_column == column);
}

void scroll_to_column(Browser& browser) {
  browser.fixed = std::min(browser.fixed, static_cast<int>(browser.table.columns().size()) - 1);
  browser.first_column = std::max(browser.first_column, browser.fixed);
  if (browser.column >= browser.fixed)
    browser.first_column = std::min(browser.first_column, browser.column);
  while (browser.column >= browser.fixed && !shows_column(browser, browser.column) &&
         browser.first_column < browser.column)
    ++browser.first_column;
}

void draw_title(const Browser& browser, const std::string& alias) {
  const BrowseTable& table = browser.table;
  const BrowseRow* row = browser.current_row();
  std::string title = alias;
  if (const std::string order = table.order_name(); !order.empty()) title += "  order " + order;
  if (const std::string filter = table.text_of_filter(); !filter.empty())
    title += "  filter " + one_line(filter);
  title += browser.read_only ? "  read-only" : table.is_exclusive() ? "  exclusive" : "  shared";
  if (row != nullptr && row->deleted) title += "  *";
  put_line(0, title, slot_colour(kEnhancedSlot));
}

void draw_names(const Browser& browser, const std::vector<PlacedColumn>& places, Colour plain) {
  put_line(1, "", plain);
  move_cursor({1, 0});
  put_field("record", number_width(browser), true, plain);
  for (const PlacedColumn& place : places) {
    const BrowseColumn& column = browser.table.columns()[static_cast<std::size_t>(place.index)];
    Colour colour = plain;
    if (place.index == browser.column) colour.marks |= kBold;
    move_cursor({1, place.left});
    put_field(column.name, place.width, stands_right(column), colour);
  }
}

void draw_record(const Browser& browser, int n, const std::vector<PlacedColumn>& places,
                 Colour plain) {
  const BrowseRow& row = browser.table.rows()[static_cast<std::size_t>(n)];
  put_line(kHeadRows + n, "", plain);
  move_cursor({kHeadRows + n, 0});
  put_field(std::to_string(row.record), number_width(browser), true, plain);
  const char second = row.record == browser.refused ? '!' : row.locked ? 'L' : ' ';
  put_text(std::string{row.deleted ? '*' : ' ', second}, plain);
  for (const PlacedColumn& place : places) {
    const auto index = static_cast<std::size_t>(place.index);
    const bool current = n == browser.row && place.index == browser.column;
    move_cursor({kHeadRows + n, place.left});
    put_field(row.cells[index], place.width, stands_right(browser.table.columns()[index]),
              current ? slot_colour(kEnhancedSlot) : plain);
  }
}

}  // namespace

int browse_height() {
  return std::max(1, screen_rows() - kHeadRows - kFootRows);
}

bool browse_fits() {
  return screen_rows() >= kLeastRows && screen_columns() >= kLeastColumns;
}

void draw_browser(Browser& browser) {
  const TempsMark mark;
  const Colour plain = slot_colour(kStandardSlot);
  fill_area(whole_screen(), {U' ', plain});
  set_cursor_shape(0);
  if (!browse_fits()) return put_line(0, "window too small", plain);
  scroll_to_column(browser);
  const auto places = placed(browser);
  draw_title(browser, std::string(text_of(get_ivar(browser.table.server(), "alias"))));
  draw_names(browser, places, plain);
  for (int n = 0; n < static_cast<int>(browser.table.rows().size()) && n < browse_height(); ++n)
    draw_record(browser, n, places, plain);
  if (const BrowseRow* row = browser.current_row(); row != nullptr)
    put_line(screen_rows() - 2, row->cells[static_cast<std::size_t>(browser.column)], plain);
  else
    put_line(kHeadRows, "no records", plain);
  put_line(screen_rows() - 1, browser.message.empty() ? kKeys : browser.message,
           slot_colour(kEnhancedSlot));
}

void show_message(std::string_view text) {
  put_line(screen_rows() - 1, text, slot_colour(kEnhancedSlot));
  show_screen();
}

ShownColumns shown_columns(const Browser& browser) {
  const auto places = placed(browser);
  return places.empty() ? ShownColumns{0, 0}
                        : ShownColumns{places.front().index, places.back().index};
}

bool go_current(Browser& browser) {
  const BrowseRow* row = browser.current_row();
  if (row == nullptr) return false;
  const std::int32_t wanted = row->record;
  return browser.table.go(wanted) && browser.table.record() == wanted;
}

void read_again(Browser& browser) {
  const BrowseRow* row = browser.current_row();
  const std::int32_t record = row != nullptr ? row->record : 0;
  browser.table.fill(browse_height());
  if (const int at = browser.table.row_of(record); at >= 0) browser.row = at;
  browser.row =
      std::clamp(browser.row, 0, std::max(0, static_cast<int>(browser.table.rows().size()) - 1));
}

void show_record(Browser& browser, std::int32_t record) {
  browser.table.fill_around(record, browser.row, browse_height());
  if (const int at = browser.table.row_of(record); at >= 0) browser.row = at;
  browser.row =
      std::clamp(browser.row, 0, std::max(0, static_cast<int>(browser.table.rows().size()) - 1));
}

}  // namespace tarnel
