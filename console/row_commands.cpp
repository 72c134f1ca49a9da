#include "console/row_commands.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "console/session.h"
#include "console/table_commands.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/scan/conditions.h"

namespace tarnel {
namespace {

constexpr std::int32_t kUsualRecords = 20;

// A condition that a line begins with, up to another word; null for none. False after an error.
bool take_condition(std::string_view& line, std::string_view word, std::string_view other,
                    Var* server, Var*& block) {
  if (!take_if(line, word)) return true;
  const std::size_t end = std::min(find_word(line, other), line.size());
  std::string text(trim_right(line.substr(0, end)));
  line.remove_prefix(end);
  if (text.empty())
    complain("a condition is missing behind " + std::string(word));
  else if (is_expression(text) && encode_expression(text, text_set_of(server)))
    block = block_of(TMP_TEXT(text));
  return block != nullptr;
}

bool take_fields(std::string_view& line, Var* server, std::vector<std::int32_t>& fields) {
  const auto begins = [&](std::string_view word) { return find_word(line, word) == 0; };
  while (!line.empty() && !begins("for") && !begins("while")) {
    const std::string_view name = take_word(line, kBlanksAndCommas);
    const TempsMark mark;
    const std::int32_t n = integer_of(send(server, "fieldpos", TMP_TEXT(name)));
    if (n == 0) {
      complain("there is no field " + std::string(name));
      return false;
    }
    fields.push_back(n);
  }
  if (!fields.empty()) return true;
  for (std::int32_t n = 1; n <= integer_of(get_ivar(server, "fcount")); ++n) fields.push_back(n);
  return true;
}

bool is_number(std::string_view text) {
  return text.find_first_of("0123456789") != text.npos &&
         text.find_first_not_of("0123456789.-") == text.npos;
}

std::vector<RowColumn> named(const std::vector<std::string>& head) {
  std::vector<RowColumn> columns;
  for (const std::string& name : head) columns.push_back({name, 'C', 0, 0, false});
  return columns;
}

}  // namespace

std::size_t find_word(std::string_view line, std::string_view word) {
  char quote = 0;
  int depth = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(' || c == '{' || c == '[') {
      ++depth;
    } else if (c == ')' || c == '}' || c == ']') {
      --depth;
    } else if (depth == 0 && (i == 0 || line[i - 1] == ' ') &&
               same_letters(line.substr(i, word.size()), word) &&
               (i + word.size() == line.size() || line[i + word.size()] == ' ')) {
      return i;
    }
  }
  return line.npos;
}

bool read_switch(std::string_view command, std::string_view word, bool& value) {
  const bool on = same_letters(word, "on");
  if (on || same_letters(word, "off")) {
    value = on;
    return true;
  }
  complain(std::string(command) + " takes on or off");
  return false;
}

bool take_selection(std::string_view line, Var* server, RowRequest& request) {
  if (!take_fields(line, server, request.fields)) return false;
  request.own_scope = !line.empty();
  return take_condition(line, "for", "while", server, request.for_block) &&
         take_condition(line, "while", "for", server, request.while_block) &&
         (request.for_block != nullptr ||
          take_condition(line, "for", "while", server, request.for_block));
}

int output_columns() {
  struct winsize size {};
  if (isatty(STDOUT_FILENO) == 0 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

bool to_output(std::string_view bytes) {
  write_output(bytes);
  return output_works();
}

TextRows::TextRows(const std::vector<std::string>& head)
    : writer_(session_style(), named(head), "rows", output_columns(), to_output) {}

void TextRows::add(const std::vector<std::string>& row) {
  std::vector<RowCell> cells;
  std::vector<std::string> texts;  // names of files may be no UTF-8
  for (const std::string& text : row) texts.push_back(decoded(text, {}));
  for (const std::string& text : texts)
    cells.push_back({is_number(text) ? CellKind::kNumber : CellKind::kText, text});
  static_cast<void>(writer_.add(cells));
}

bool list_records(std::string_view arguments) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  RowRequest request;
  request.with_record = is_for_person(session_style().mode);
  request.most = kUsualRecords;
  if (!arguments.empty() && std::isdigit(static_cast<unsigned char>(arguments[0])) != 0) {
    const std::string_view number = take_word(arguments);
    const auto [end, failed] =
        std::from_chars(number.data(), number.data() + number.size(), request.most);
    if (failed != std::errc() || end != number.data() + number.size()) {
      complain("how many records is " + std::string(number) + "?");
      return true;
    }
  } else if (take_if(arguments, "all")) {
    request.most = -1;
    request.from_top = true;
  }
  if (!take_selection(arguments, server, request)) return true;
  if (request.with_record) write_aspects(server, !request.own_scope);
  RowWriter writer(session_style(), columns_of(server, request),
                   std::string(text_of(get_ivar(server, "alias"))), output_columns(), to_output);
  const auto take = [&](std::span<const RowCell> cells) { return writer.add(cells); };
  give_records(server, request, take, "list");
  static_cast<void>(writer.finish());
  return true;
}

bool choose_mode(std::string_view name) {
  RowStyle& style = session_style();
  if (name.empty())
    write_output(std::string(mode_name(style.mode)) + "\n");
  else if (find_mode(name, style.mode))
    style.chosen = true;
  else
    complain("there is no mode " + std::string(name) + ", .help .mode lists them");
  return true;
}

bool show_headers(std::string_view on_or_off) {
  static_cast<void>(read_switch(".headers", on_or_off, session_style().headers));
  return true;
}

bool set_widths(std::string_view numbers) {
  std::vector<int> widths;
  while (!numbers.empty()) {
    const std::string_view word = take_word(numbers, kBlanksAndCommas);
    int width = 0;
    const auto [end, failed] = std::from_chars(word.data(), word.data() + word.size(), width);
    if (failed != std::errc() || end != word.data() + word.size() || std::abs(width) > 1000) {
      complain(".width takes numbers");
      return true;
    }
    widths.push_back(width);
  }
  session_style().widths = widths;
  return true;
}

bool set_nothing(std::string_view text) {
  std::string_view rest = text;
  session_style().nothing =
      text.starts_with('"') || text.starts_with('\'') ? take_file_name(rest) : std::string(text);
  return true;
}

}  // namespace tarnel
