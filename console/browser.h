// The state of a browser, and what its parts do with it: the picture (browse_view), questions (browse_ask),
// changes of records (browse_edit), searches and settings (browse_search). The loop of keys is in browse.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/browse_table.h"
#include "term/screen.h"

namespace tarnel {

struct Browser {
  explicit Browser(Var* server) : table(server) {}

  BrowseTable table;
  bool read_only = false;
  int row = 0, column = 0;          // of the current cell, in the window and in the columns
  int first_column = 0, fixed = 0;  // the columns that scroll begin there; so many stay
  std::string message;              // of the last row, until the next key
  std::string filter, scope;        // conditions that the user gave
  std::string sought;               // by the last search
  std::int32_t refused = 0;         // a record that another user holds
  std::vector<std::int32_t> locks;  // records that the user locked here

  const BrowseColumn& current_column() const {
    return table.columns()[static_cast<std::size_t>(column)];
  }
  const BrowseRow* current_row() const {
    return row < static_cast<int>(table.rows().size())
               ? &table.rows()[static_cast<std::size_t>(row)]
               : nullptr;
  }
};

// --- The picture.
int browse_height();  // rows of records
bool browse_fits();   // is the screen large enough
// Draws all of it; the current column is brought into view.
void draw_browser(Browser& browser);
// First and last column that are shown. REQUIRES: it was drawn.
struct ShownColumns {
  int first, last;
};
ShownColumns shown_columns(const Browser& browser);
// Puts the table's cursor on the record of the current row. False when there is none any more.
bool go_current(Browser& browser);
// Reads the window anew and keeps the current record, or goes to the one that took its place.
void read_again(Browser& browser);
// Shows a record, in the row where the cursor is as far as it can be.
void show_record(Browser& browser, std::int32_t record);

// Shows a message at once.
void show_message(std::string_view text);

// --- Questions.
// Edits a text on the last row. False when the user left with Esc.
bool ask_text(const char* prompt, std::string& text);
bool ask_whether(const char* question);
// The number of a line chosen in a box, -1 for none.
int ask_line(const std::vector<std::string>& lines, int current);
// Shows a text in a box of four fifths of the screen, wrapped; the key that left it.
int show_text_box(const std::string& text);

// --- Changes. Each tells in the message what it did or why not.
void edit_cell(Browser& browser);
void append_record(Browser& browser);
void mark_record(Browser& browser);
void lock_or_unlock(Browser& browser);
void give_locks_up(Browser& browser);

// --- Searches and settings.
void seek_typed(Browser& browser);
void search_next(Browser& browser);
void go_to_number(Browser& browser);
void choose_next_order(Browser& browser);
void choose_order(Browser& browser);
void ask_filter(Browser& browser);
void ask_scope(Browser& browser);
void evaluate(Browser& browser);

}  // namespace tarnel
