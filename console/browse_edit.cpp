// Changes that a browser makes: the record is locked first and read again, so that nobody's change is lost.

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "console/browser.h"
#include "console/session.h"
#include "console/user_editor.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/signals.h"
#include "core/text.h"
#include "lib/dates.h"
#include "lib/number_text.h"
#include "lib/value_text.h"
#include "term/colours.h"
#include "term/keyboard.h"
#include "term/line_field.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestCharacter = 4;  // of UTF-8

// The lock of the current record for one change. A lock that was there before stays.
class RecordLock {
 public:
  RecordLock(Browser& browser, std::int32_t record)
      : table_(browser.table), record_(record), taken_(!table_.is_locked(record)) {
    held_ = !taken_ || truth_of(table_.call("rlock", TMP_INT(record)));
    if (held_) return;
    browser.refused = record;
    browser.message = format_text("record %d is locked by another user", record);
  }
  // What was written is committed by it.
  ~RecordLock() {
    if (held_ && taken_ && table_.is_open()) table_.call("unlock", TMP_INT(record_));
  }
  RecordLock(const RecordLock&) = delete;
  RecordLock& operator=(const RecordLock&) = delete;
  bool held() const { return held_; }

 private:
  BrowseTable& table_;
  const std::int32_t record_;
  const bool taken_;
  bool held_ = false;
};

bool may_change(Browser& browser) {
  if (browser.read_only) browser.message = "read-only";
  return !browser.read_only && go_current(browser);
}

// --- Values of texts that were typed.

bool takes_number(unsigned char byte) {
  return (byte >= '0' && byte <= '9') || byte == '.' || byte == '-' || byte == ' ';
}

Var* call_function(const char* name, std::string_view text) {
  Var* argv[] = {TMP_TEXT(text)};
  return GET_FUNC(name)(1, argv);
}

// The value of a text for a column; null, with a message, for a text that is none.
Var* value_of_text(const BrowseTable& table, const BrowseColumn& column, std::string text,
                   std::string& message) {
  const std::string_view bare = trim_blanks(text);
  switch (column.type) {
    case 'N':
    case 'F': {
      char* end = nullptr;
      const std::string number(bare.empty() ? "0" : bare);
      const double parsed = std::strtod(number.c_str(), &end);
      NumberBuffer buffer;
      const bool fits = numToText(parsed, column.length, column.decimals, buffer).find('*') ==
                        std::string_view::npos;
      if (*end == 0 && fits) return TMP_NUM(parsed, column.decimals);
      message = *end != 0 ? "this is no number" : "the number is too large for the field";
      return nullptr;
    }
    case 'D': {
      Var* date = call_function("ctod", bare);
      const bool blank = bare.find_first_of("0123456789") == std::string_view::npos;
      if (blank || date->i != 0) return date;
      message = "this is no date";
      return nullptr;
    }
    case 'L': {
      const char letter = bare.empty() ? 'F' : upper_letter(bare[0]);
      if (letter == 'T' || letter == 'Y' || letter == 'F' || letter == 'N')
        return logical(letter == 'T' || letter == 'Y');
      message = "T or F";
      return nullptr;
    }
    default:
      if (!table.to_bytes(text, message)) return nullptr;
      if (text.size() <= static_cast<std::size_t>(column.length)) return TMP_TEXT(text);
      message = "the text is too long for the field";
      return nullptr;
  }
}

// Writes a value and commits it. False, with a message, when the table refused.
bool store(Browser& browser, const BrowseColumn& column, Var* value) {
  browser.message.clear();
  set_last_error(0);
  const Var* stored = browser.table.call("fieldput", TMP_INT(column.field), value);
  const bool committed =
      !is_nil(stored) && !is_error(stored) && truth_of(browser.table.call("commit"));
  if (committed && last_error() == 0) return true;
  if (browser.message.empty()) browser.message = "the field could not be written";
  return false;
}

// In bytes of UTF-8, which may be more than the field has for the same characters.
std::size_t longest_text(const BrowseTable& table, const BrowseColumn& column) {
  const auto length = static_cast<std::size_t>(column.type == 'D' ? 10 : column.length);
  const bool same = column.type != 'C' || text_set_of(table.server()).page == CodePage::kUtf8;
  return same ? length : length * kLongestCharacter;
}

// Lets the user edit the text of the current cell in its place until it is written or given up.
void edit_text(Browser& browser) {
  const BrowseColumn& column = browser.current_column();
  std::string text = browser.table.cell_text(column);
  const bool number = column.type == 'N' || column.type == 'F';
  LineField field{.place = {screen_rows() - 2, 0},
                  .width = std::min(screen_columns(), column.length + 1),
                  .limit = longest_text(browser.table, column),
                  .colour = slot_colour(kEnhancedSlot),
                  .text = text,
                  .takes = number ? takes_number : nullptr};
  for (;;) {
    draw_browser(browser);
    set_cursor_shape(1);
    const int key = edit_field(field);
    set_cursor_shape(0);
    browser.message.clear();
    if (key == kKeyEscape) return;
    if (key != kKeyEnter && key != kKeyLineFeed) continue;
    if (field.text == text) return;
    const TempsMark mark;
    Var* value = value_of_text(browser.table, column, field.text, browser.message);
    if (value != nullptr && store(browser, column, value)) return;
  }
}

// --- Memos.

void edit_memo(Browser& browser) {
  const BrowseColumn& column = browser.current_column();
  const std::string before = browser.table.shown(text_of(browser.table.value(column)));
  PrivateFile file("memo");
  browser.message = "the record stays locked while the editor runs";
  draw_browser(browser);
  show_screen();
  if (!file.write(before) || !run_user_editor(file.path())) {
    browser.message = "the editor failed";
    return;
  }
  browser.message.clear();
  auto after = file.read();
  if (!after || *after == before || !browser.table.to_bytes(*after, browser.message)) return;
  store(browser, column, TMP_TEXT(*after));
}

void show_memo(Browser& browser) {
  const int key =
      show_text_box(browser.table.shown(text_of(browser.table.value(browser.current_column()))));
  if (key != kKeyEnter && key != kKeyLineFeed) return;
  if (!may_change(browser)) return;
  const RecordLock lock(browser, browser.current_row()->record);
  if (lock.held()) edit_memo(browser);
}

}  // namespace

void edit_cell(Browser& browser) {
  const TempsMark mark;
  if (!go_current(browser)) return;
  const std::int32_t record = browser.current_row()->record;
  if (browser.current_column().type == 'M') {
    show_memo(browser);
  } else if (may_change(browser)) {
    const RecordLock lock(browser, record);
    if (lock.held()) edit_text(browser);
  }
  if (!browser.table.is_open()) return;
  // A changed key takes the record to another place of the order.
  browser.table.fill(browse_height());
  if (const int at = browser.table.row_of(record); at >= 0)
    browser.row = at;
  else
    show_record(browser, record);
}

void append_record(Browser& browser) {
  const TempsMark mark;
  if (browser.read_only) {
    browser.message = "read-only";
    return;
  }
  if (!ask_whether("Append a record?")) return;
  if (!truth_of(browser.table.call("append", false_value()))) {
    if (browser.message.empty()) browser.message = "no record could be appended";
    return;
  }
  const std::int32_t record = browser.table.record();
  browser.table.call("commit");
  browser.table.call("unlock", TMP_INT(record));
  show_record(browser, record);
  if (browser.table.row_of(record) < 0) browser.message = "the new record is hidden";
}

void mark_record(Browser& browser) {
  const TempsMark mark;
  if (!may_change(browser)) return;
  const RecordLock lock(browser, browser.current_row()->record);
  if (!lock.held()) return;
  const bool deleted = truth_of(get_ivar(browser.table.server(), "deleted"));
  browser.table.call(deleted ? "recall" : "delete");
  browser.table.call("commit");
}

void lock_or_unlock(Browser& browser) {
  const TempsMark mark;
  if (!may_change(browser)) return;
  const std::int32_t record = browser.current_row()->record;
  if (browser.table.is_exclusive()) {
    browser.message = "an exclusive table needs no locks";
  } else if (browser.table.is_locked(record)) {
    browser.table.call("unlock", TMP_INT(record));
    std::erase(browser.locks, record);
  } else if (truth_of(browser.table.call("rlock", TMP_INT(record)))) {
    browser.locks.push_back(record);
  } else {
    browser.refused = record;
    browser.message = format_text("record %d is locked by another user", record);
  }
}

void give_locks_up(Browser& browser) {
  const TempsMark mark;
  for (const std::int32_t record : browser.locks)
    if (browser.table.is_open()) browser.table.call("unlock", TMP_INT(record));
  browser.locks.clear();
}

}  // namespace tarnel
