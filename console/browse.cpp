#include "console/browse.h"

#include <unistd.h>

#include <algorithm>
#include <memory>

#include "console/browser.h"
#include "console/screen_session.h"
#include "console/session.h"
#include "core/classes.h"
#include "core/sequence.h"
#include "core/text.h"
#include "db/area.h"
#include "db/info_codes.h"
#include "term/colours.h"
#include "term/keyboard.h"

namespace tarnel {
namespace {

constexpr int kIdleTime = 2000;  // milliseconds, then the window is read anew
constexpr int kSizeTime = 100;   // within which another size of the screen is noticed

// --- Moves.

void down(Browser& b) {
  if (b.row + 1 < static_cast<int>(b.table.rows().size()))
    ++b.row;
  else
    b.table.scroll(1, browse_height());
}
void up(Browser& b) {
  if (b.row > 0)
    --b.row;
  else
    b.table.scroll(-1, browse_height());
}
void page_down(Browser& b) {
  if (!b.table.scroll(browse_height(), browse_height()))
    b.row = static_cast<int>(b.table.rows().size()) - 1;
}
void page_up(Browser& b) {
  if (!b.table.scroll(-browse_height(), browse_height())) b.row = 0;
}
void top(Browser& b) {
  b.table.top(browse_height());
  b.row = 0;
}
void bottom(Browser& b) {
  b.table.bottom(browse_height());
  b.row = static_cast<int>(b.table.rows().size()) - 1;
}
int last_column(const Browser& b) {
  return static_cast<int>(b.table.columns().size()) - 1;
}
void left(Browser& b) {
  b.column = std::max(0, b.column - 1);
}
void right(Browser& b) {
  b.column = std::min(last_column(b), b.column + 1);
}
void first_shown(Browser& b) {
  b.column = shown_columns(b).first;
}
void last_shown(Browser& b) {
  b.column = shown_columns(b).last;
}
void first_of_all(Browser& b) {
  b.column = 0;
}
void last_of_all(Browser& b) {
  b.column = last_column(b);
}

// --- The rest.

void fix_columns(Browser& b) {
  b.fixed = b.fixed == 0 ? std::min(b.column + 1, last_column(b)) : 0;
  b.first_column = 0;
  b.message = b.fixed == 0 ? "no column is fixed" : std::to_string(b.fixed) + " columns are fixed";
}
void tell_cell(Browser& b) {
  if (const BrowseRow* row = b.current_row(); row != nullptr)
    b.message = row->cells[static_cast<std::size_t>(b.column)];
}
void refresh_all(Browser& b) {
  b.refused = 0;
  b.table.call("refresh");
}

struct BrowseKey {
  int key;
  void (*run)(Browser&);
  const char* help;  // of the first key for it
};
void help(Browser& b);

constexpr BrowseKey kKeys[] = {
    {kKeyUp, up, "Up, Down      one record"},
    {kKeyDown, down, nullptr},
    {kKeyPageUp, page_up, "PgUp, PgDn    one window"},
    {kKeyPageDown, page_down, nullptr},
    {kKeyCtrlPageUp, top, "Ctrl-PgUp     first record, Ctrl-PgDn the last"},
    {kKeyCtrlPageDown, bottom, nullptr},
    {kKeyLeft, left, "Left, Right   one column"},
    {kKeyRight, right, nullptr},
    {kKeyHome, first_shown, "Home, End     first and last column that is shown"},
    {kKeyEnd, last_shown, nullptr},
    {kKeyCtrlHome, first_of_all, "Ctrl-Home     first column, Ctrl-End the last"},
    {kKeyCtrlEnd, last_of_all, nullptr},
    {'f', fix_columns, "f             columns up to the current one stay"},
    {'g', go_to_number, "g             goes to a record number"},
    {'/', seek_typed, "/             seeks by the order, or locates in the column"},
    {'n', search_next, "n             the next one with that text in the column"},
    {'o', choose_next_order, "o, F2         next order, list of orders"},
    {kKeyF2, choose_order, nullptr},
    {'F', ask_filter, "F             filter"},
    {'s', ask_scope, "s             keys from and to"},
    {kKeyEnter, edit_cell, "Enter, F4     edits the field, shows a memo"},
    {kKeyLineFeed, edit_cell, nullptr},
    {kKeyF4, edit_cell, nullptr},
    {kKeyInsert, append_record, "Ins           appends a record"},
    {kKeyDelete, mark_record, "Del           marks the record as deleted, or recalls it"},
    {'l', lock_or_unlock, "l             locks the record, or unlocks it"},
    {'=', evaluate, "=             evaluates an expression on the record"},
    {'t', tell_cell, "t             shows the whole text of the field"},
    {'r', refresh_all, "r             reads all anew"},
    {'?', help, "?, F1         this list"},
    {kKeyF1, help, nullptr},
};

void help(Browser&) {
  std::string text;
  for (const BrowseKey& row : kKeys)
    if (row.help != nullptr) text += std::string(row.help) + "\n";
  show_text_box(text + "Esc, q        leaves");
}

// Gives the table's filter, order and locks back, and the screen, whatever ends the browser.
class BrowseGuard {
 public:
  explicit BrowseGuard(Browser& browser)
      : browser_(browser),
        window_(save_area(whole_screen()), drop_window),
        cursor_(cursor_place()),
        shape_(cursor_shape()),
        order_(browser.table.order()),
        filter_text_(text_of(get_ivar(browser.table.server(), "filter"))),
        messages_(browser.message) {
    const TempsMark mark;
    CPY_VAR(filter_, browser.table.call("info", TMP_INT(info::kFilterBlock)));
    browser.filter = filter_text_;
  }
  ~BrowseGuard() {
    const TempsMark mark;
    give_locks_up(browser_);
    if (browser_.table.is_open()) restore_table();
    DEL_VAR(filter_);
    if (!screen_open()) return;
    show_window(*window_, window_corner(*window_));
    move_cursor(cursor_);
    set_cursor_shape(shape_);
  }
  BrowseGuard(const BrowseGuard&) = delete;
  BrowseGuard& operator=(const BrowseGuard&) = delete;

 private:
  void restore_table() {
    const BrowseTable& table = browser_.table;
    const std::int32_t record =
        browser_.current_row() != nullptr ? browser_.current_row()->record : table.record();
    if (text_of(get_ivar(table.server(), "filter")) != filter_text_)
      is_block(filter_) ? table.call("setfilter", filter_, TMP_TEXT(filter_text_))
                        : table.call("clearfilter");
    if (table.order() != order_) table.call("setorder", TMP_INT(order_));
    table.call("goto", TMP_INT(record));
  }

  Browser& browser_;
  const std::unique_ptr<Window, void (*)(Window*)> window_;
  const ScreenPlace cursor_;
  const int shape_;
  const std::int32_t order_;
  Var* const filter_ = NEW_VAR('N', 'U');  // the block
  const std::string filter_text_;
  const MessagesTo messages_;
};

// A key, or kNoKey when it is time to look at the table again or the screen has another size.
int wait_for_browse_key() {
  const int rows = screen_rows(), columns = screen_columns();
  for (int waited = 0; waited < kIdleTime; waited += kSizeTime) {
    if (const int key = wait_for_answer(kSizeTime); key != kNoKey) return key;
    if (!screen_open() || screen_rows() != rows || screen_columns() != columns) break;
  }
  return kNoKey;
}

// While a search takes long: tells so, and any key breaks it off.
void watch_search() {
  show_message("searching, any key stops");
  if (wait_for_key(0) != kNoKey) break_sequence(nil_value());
}

// False when something broke the work off.
template <typename Work>
bool unbroken(Browser& browser, Work work) {
  const TempsMark mark;
  if (in_sequence([&] { work(); }) == nullptr) return true;
  if (browser.message.empty()) browser.message = "stopped";
  return false;
}

void run(Browser& browser) {
  const BrowseGuard guard(browser);
  const std::int32_t start = browser.table.record();
  const bool inside = !browser.table.at_end();
  browser.read_only = browser.read_only || browser.table.is_read_only();
  browser.table.set_watcher(watch_search);
  bool stopped = !unbroken(browser, [&] { inside ? show_record(browser, start) : top(browser); });
  while (browser.table.is_open() && screen_open()) {
    draw_browser(browser);
    const int key = wait_for_browse_key();
    if (key == kKeyEscape || key == 'q') return;
    if (key != kNoKey) browser.message.clear();
    const auto* found = std::ranges::find(kKeys, key, &BrowseKey::key);
    // A walk that was broken off isn't begun again before the next key.
    if (key == kNoKey && stopped) continue;
    stopped = !unbroken(browser, [&] {
      if (found != std::end(kKeys)) found->run(browser);
      if (browser.table.is_open()) read_again(browser);
    });
  }
}

// Splits the names off, and "ro" at the end.
std::vector<std::string> names_of(std::string_view text, bool& read_only) {
  std::vector<std::string> names;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(" \t,"), text.size());
    if (end > 0) names.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  read_only = !names.empty() && same_letters(names.back(), "ro");
  if (read_only) names.pop_back();
  return names;
}

void browse_table(Browser& browser) {
  if (screen_open()) return run(browser);
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)
    return complain(".browse needs a terminal, .list shows records without one");
  const SessionScreen screen;
  if (screen.fault().empty()) return run(browser);
  complain(".browse needs a screen: " + screen.fault() + ", .list shows records without one");
}

}  // namespace

bool browse(std::string_view arguments) {
  const TempsMark mark;
  if (current_server() == nullptr) {
    complain("no table is open in the current area");
    return true;
  }
  Browser browser(current_server());
  const auto names = names_of(arguments, browser.read_only);
  if (const std::string unknown = browser.table.choose_columns(names); !unknown.empty())
    complain("there is no field " + unknown);
  else
    browse_table(browser);
  return true;
}

}  // namespace tarnel
