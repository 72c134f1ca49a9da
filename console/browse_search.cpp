// What a browser searches for, and how it orders and limits what it shows.
#include <cstdlib>

#include "console/browser.h"
#include "console/session.h"
#include "core/arrays.h"
#include "core/classes.h"
#include "core/signals.h"
#include "core/text.h"
#include "db/area.h"
#include "db/info_codes.h"
#include "lib/value_text.h"
#include "macro/evaluator.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/keyboard.h"

namespace tarnel {
namespace {

Var* call_function(const char* name, std::string_view text) {
  Var* argv[] = {TMP_TEXT(text)};
  return GET_FUNC(name)(1, argv);
}

Var* of_order(const BrowseTable& table, std::int32_t what) {
  return table.call("orderinfo", TMP_INT(what), TMP_INT(table.order()));
}

// A text as a value of the keys of the current order.
Var* key_of(const BrowseTable& table, std::string text) {
  const Var* type = of_order(table, order_info::kKeyType);
  const char letter = is_text(type) && !text_of(type).empty() ? text_of(type)[0] : 'C';
  if (letter == 'N') return call_function("val", text);
  if (letter == 'D') return call_function("ctod", text);
  std::string message;  // a character that no key has is found nowhere
  static_cast<void>(table.to_bytes(text, message));
  return TMP_TEXT(text);
}

// Seeks what is typed, byte by byte, until Enter; Esc goes back.
void seek_in_order(Browser& browser) {
  const std::int32_t before = browser.current_row()->record;
  for (std::string text;;) {
    draw_browser(browser);
    show_message("seek: " + text);
    const int key = wait_for_answer();
    if (key == kKeyEnter || key == kKeyLineFeed) return;
    if (key == kKeyEscape) return show_record(browser, before);
    if (key == kKeyBackspace && !text.empty())
      text.pop_back();
    else if (key >= ' ' && key < 256)
      text += static_cast<char>(key);
    else
      continue;
    const TempsMark mark;
    browser.sought = text;
    browser.table.call("seek", key_of(browser.table, text), true_value());
    if (browser.table.at_end())
      browser.message = "nothing from there on";
    else
      show_record(browser, browser.table.record());
  }
}

// Looks for the text in the current column from the current record on, or behind it.
void locate(Browser& browser, bool from_here) {
  const std::int32_t before = browser.current_row()->record;
  const std::string wanted = lower_text(browser.sought);
  const RunWatch watch(browser.table.watcher());
  if (!browser.table.go(before)) return;
  if (!from_here) browser.table.step();
  while (browser.table.is_open() && !browser.table.at_end()) {
    const TempsMark mark;
    if (lower_text(browser.table.cell_text(browser.current_column())).find(wanted) !=
        std::string::npos)
      return show_record(browser, browser.table.record());
    browser.table.step();
  }
  browser.message = "not found: " + browser.sought;
  show_record(browser, before);
}

// Sets filter and scope as one condition; false when it is none.
bool set_conditions(Browser& browser) {
  std::string condition = browser.filter;
  if (!browser.scope.empty())
    condition = condition.empty() ? browser.scope : "(" + condition + ") .and. " + browser.scope;
  return browser.table.to_bytes(condition, browser.message) &&
         truth_of(browser.table.call("setfilter", TMP_TEXT(condition)));
}

void show_from_current(Browser& browser) {
  const BrowseRow* row = browser.current_row();
  if (row != nullptr && browser.table.go(row->record))
    show_record(browser, browser.table.record());
  else
    browser.table.bottom(browse_height());
  read_again(browser);
}

std::string literal(Var* value) {
  if (is_text(value)) {
    const std::string text(text_of(value));
    const char quote = text.find('"') == std::string::npos ? '"' : '\'';
    return quote + text + quote;
  }
  NumberBuffer buffer;
  const std::string text(varToText(value, buffer));
  return value->type == 'D' ? "ctod(\"" + text + "\")" : text;
}

}  // namespace

void seek_typed(Browser& browser) {
  const TempsMark mark;
  if (!go_current(browser)) return;
  if (browser.table.order() != 0) return seek_in_order(browser);
  const std::string prompt = "locate in " + browser.current_column().name + ": ";
  std::string text;
  if (!ask_text(prompt.c_str(), text) || text.empty()) return;
  browser.sought = text;
  locate(browser, true);
}

void search_next(Browser& browser) {
  const TempsMark mark;
  if (browser.sought.empty())
    browser.message = "nothing was searched for";
  else if (go_current(browser))
    locate(browser, false);
}

void go_to_number(Browser& browser) {
  const TempsMark mark;
  std::string text;
  if (!ask_text("record number: ", text)) return;
  const long number = std::strtol(text.c_str(), nullptr, 10);
  if (number < 1 || number > browser.table.record_count())
    browser.message = "there is no record " + text;
  else if (browser.table.go(static_cast<std::int32_t>(number)))
    show_record(browser, browser.table.record());
}

void choose_next_order(Browser& browser) {
  const TempsMark mark;
  const std::int32_t count = browser.table.order_count();
  if (count == 0) {
    browser.message = "no order is open";
    return;
  }
  browser.table.call("setorder", TMP_INT((browser.table.order() + 1) % (count + 1)));
  show_from_current(browser);
}

void choose_order(Browser& browser) {
  const TempsMark mark;
  std::vector<std::string> lines = {"natural order"};
  for (std::int32_t i = 1; i <= browser.table.order_count(); ++i) {
    const auto ask = [&](std::int32_t what) {
      return std::string(text_of(browser.table.call("orderinfo", TMP_INT(what), TMP_INT(i))));
    };
    lines.push_back(std::to_string(i) + "  " + std::string(base_name(ask(order_info::kName))) +
                    "  " + one_line(ask(order_info::kExpression)));
  }
  const int chosen = ask_line(lines, browser.table.order());
  if (chosen < 0) return;
  browser.table.call("setorder", TMP_INT(chosen));
  show_from_current(browser);
}

void ask_filter(Browser& browser) {
  const TempsMark mark;
  const std::string before = browser.filter;
  if (!ask_text("filter: ", browser.filter)) return;
  if (!set_conditions(browser)) {
    const std::string message = browser.message;
    browser.filter = before;
    set_conditions(browser);
    browser.message = message.empty() ? "this is no condition" : message;
  }
  show_from_current(browser);
}

void ask_scope(Browser& browser) {
  const TempsMark mark;
  if (browser.table.order() == 0) {
    browser.message = "a scope needs an order";
    return;
  }
  std::string from, to;
  if (!ask_text("scope from, empty for none: ", from) || !ask_text("to, empty for none: ", to))
    return;
  const std::string key(text_of(of_order(browser.table, order_info::kExpression)));
  browser.scope.clear();
  if (!from.empty()) browser.scope = key + " >= " + literal(key_of(browser.table, from));
  if (!to.empty())
    browser.scope +=
        (from.empty() ? "" : " .and. ") + key + " <= " + literal(key_of(browser.table, to));
  if (!set_conditions(browser)) browser.scope.clear();
  show_from_current(browser);
}

void evaluate(Browser& browser) {
  const TempsMark mark;
  static std::string expression;
  if (!go_current(browser) || !ask_text("= ", expression) || expression.empty()) return;
  const AreaScope in(area_by_server(browser.table.server()));
  const Var* value = EXP_EVAL(expression);
  NumberBuffer buffer;
  if (browser.message.empty()) browser.message = one_line(varToText(value, buffer));
}

}  // namespace tarnel
