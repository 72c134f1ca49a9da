// The dot commands that show records, and say how rows are shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console/row_writer.h"
#include "db/table_rows.h"

namespace tarnel {

// [FIELDS] [for EXPR] [while EXPR] for the current table; false after a complaint or an error. temps +2
[[nodiscard]] bool take_selection(std::string_view line, Var* server, RowRequest& request);
// The place of a word outside of the texts and brackets of a line, npos for none.
std::size_t find_word(std::string_view line, std::string_view word);
// The columns of the terminal that output goes to, 0 for none.
int output_columns();
// Where a writer's rows go for the console.
bool to_output(std::string_view bytes);

// Rows of texts, in the mode of the session; numbers stand right.
class TextRows {
 public:
  explicit TextRows(const std::vector<std::string>& head);
  void add(const std::vector<std::string>& row);
  void write() { static_cast<void>(writer_.finish()); }

 private:
  RowWriter writer_;
};

// Each gets the rest of its line and answers true: the session goes on.
// [N|all] [FIELDS] [for EXPR] [while EXPR]: N records from the current one on, 20 by default.
bool list_records(std::string_view arguments);
bool choose_mode(std::string_view name);
bool show_headers(std::string_view on_or_off);
bool set_widths(std::string_view numbers);
bool set_nothing(std::string_view text);

// "on" and "off"; a complaint and false for anything else.
[[nodiscard]] bool read_switch(std::string_view command, std::string_view word, bool& value);

}  // namespace tarnel
