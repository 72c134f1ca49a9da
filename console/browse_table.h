// The table under a browser: its columns, and the records that its window shows. Moves are walks by skip from
// a record that is shown, so a window costs its rows whatever the table holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/stacks.h"
#include "core/var.h"
#include "db/text_set.h"

namespace tarnel {

struct BrowseColumn {
  std::int32_t field;  // its number in the table
  std::string name;
  char type;
  int length, decimals;
  int width;  // as shown
};

struct BrowseRow {
  std::int32_t record;
  bool deleted, locked;
  std::vector<std::string> cells;
};

// The table of a work area. REQUIRES of all but the constructor: is_open().
class BrowseTable {
 public:
  // Called while a walk takes long; may break it off.
  using Watcher = void (*)();
  void set_watcher(Watcher called) { watcher_ = called; }
  Watcher watcher() const { return watcher_; }

  explicit BrowseTable(Var* server);
  BrowseTable(const BrowseTable&) = delete;
  BrowseTable& operator=(const BrowseTable&) = delete;

  // Keeps the columns that are named. The first name that the table doesn't have, empty for none.
  std::string choose_columns(const std::vector<std::string>& names);
  const std::vector<BrowseColumn>& columns() const { return columns_; }
  const std::vector<BrowseRow>& rows() const { return rows_; }
  Var* server() const { return server_; }

  bool is_open() const;
  bool is_exclusive() const;
  // May its records be changed? Not in a table that is open for reading or follows another one.
  bool is_read_only() const;
  std::int32_t record() const;  // under the table's cursor
  std::int32_t record_count() const;
  bool at_end() const;
  bool is_locked(std::int32_t record) const;  // by this area
  std::string order_name() const;             // "" in natural order
  std::int32_t order() const;
  std::int32_t order_count() const;
  std::string text_of_filter() const;

  // Calls a member of the driver.
  template <typename... Args>
  Var* call(const char* member, Args*... args) const {
    return send_to(member, {args...});
  }

  // Puts the cursor on a record, or behind it on the first that filter and marks don't hide.
  bool go(std::int32_t record);
  void step();  // to the next record that shows
  // Reads the window anew from its first record on, which may have gone; up to a number of rows. Where
  // records end before, those in front of the first fill it.
  void fill(int height);
  // Makes a record the one of row n, as far as there are records in front of it.
  void fill_around(std::int32_t record, int n, int height);
  // Moves the window by rows, down for numbers above 0. False at the end of the records.
  bool scroll(int rows, int height);
  void top(int height);
  void bottom(int height);
  // The row of a record, -1 when the window doesn't show it.
  int row_of(std::int32_t record) const;

  // Texts of the table as UTF-8, or as they are in an assumed set, which the screen reads alike; and back, false, with
  // what is in the way, for one that the set can't hold.
  std::string shown(std::string_view bytes) const;
  [[nodiscard]] bool to_bytes(std::string& text, std::string& message) const;

  // The text of a field of the record under the cursor.
  std::string cell_text(const BrowseColumn& column) const;
  Var* value(const BrowseColumn& column) const;

 private:
  Var* send_to(const char* member, std::initializer_list<Var*> arguments) const;
  bool is_hidden() const;
  BrowseRow read_row() const;

  const CellHold kept_;
  Var* const server_;
  std::vector<BrowseColumn> columns_;
  std::vector<BrowseRow> rows_;
  Watcher watcher_ = [] {};
  std::int32_t first_ = 0;  // the record of the first row, 0 for the top
};

// A text of one line, of what a screen shows of it.
std::string one_line(std::string_view text);

}  // namespace tarnel
