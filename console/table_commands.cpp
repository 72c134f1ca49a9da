#include "console/table_commands.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <system_error>

#include "console/session.h"
#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/order_notice.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

constexpr int kUsualRecords = 20;
constexpr std::size_t kWidestColumn = 40;

using Row = std::vector<std::string>;

// Columns as wide as their widest cell; numbers stand right.
class AlignedTable {
 public:
  explicit AlignedTable(Row head) { add(std::move(head)); }
  void add(Row row) {
    widths_.resize(std::max(widths_.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (row[i].size() > kWidestColumn) row[i] = row[i].substr(0, kWidestColumn - 3) + "...";
      widths_[i] = std::max(widths_[i], row[i].size());
    }
    rows_.push_back(std::move(row));
  }
  void write() const {
    for (const Row& row : rows_) {
      std::string line;
      for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string padding(widths_[i] - row[i].size(), ' ');
        line += is_number(row[i]) ? padding + row[i] : row[i] + padding;
        line += "  ";
      }
      line.erase(line.find_last_not_of(' ') + 1);
      write_output(line + "\n");
    }
  }

 private:
  static bool is_number(const std::string& text) {
    return text.find_first_of("0123456789") != std::string::npos &&
           text.find_first_not_of("0123456789.-") == std::string::npos;
  }
  std::vector<Row> rows_;
  std::vector<std::size_t> widths_;
};

// One line of text: control characters would break the table.
std::string cell_text(Var* value) {
  std::string mask, text;
  if (is_text(value))
    text = text_of(value);
  else
    varDefaultText(value, mask, text);
  for (char& c : text)
    if (std::iscntrl(static_cast<unsigned char>(c)) != 0) c = ' ';
  return std::string(trim_blanks(text));
}

std::string number_text(Var* value) {
  return std::to_string(integer_of(value));
}

Var* call(Var* server, const char* method, Var* argument = nullptr) {
  return argument != nullptr ? send(server, method, argument) : send(server, method);
}

std::string mode_of(Var* server) {
  std::string mode = truth_of(get_ivar(server, "shared")) ? "shared" : "exclusive";
  if (truth_of(get_ivar(server, "readonly"))) mode += ", read-only";
  return mode;
}

// What the area holds locked.
std::string locks_of(Var* server) {
  constexpr std::int32_t kFileLocked = 20;
  if (truth_of(call(server, "info", TMP_INT(kFileLocked)))) return "file";
  const Var* list = get_ivar(server, "rlocklist");
  if (list->type != 'A' || element_count(list) == 0) return "-";
  std::string text = "record " + number_text(element(list, 1));
  if (element_count(list) > 1) text += " and " + std::to_string(element_count(list) - 1) + " more";
  return text;
}

// What a check of an order found.
constexpr std::int32_t kGood = 0, kDiffers = 1, kCorrupted = 2;
const char* state_word(std::int32_t state) {
  return state == kGood        ? "good"
         : state == kDiffers   ? "differs"
         : state == kCorrupted ? "corrupted"
                               : "?";
}

// The path, without the current directory.
std::string shown_path(std::string_view path) {
  std::error_code failed;
  const std::string here = std::filesystem::current_path(failed).string() + "/";
  return std::string(path.starts_with(here) ? path.substr(here.size()) : path);
}

Var* server_or_complaint() {
  Var* server = current_server();
  if (server == nullptr) complain("no table is open in the current area");
  return server;
}

class TempsMark {
 public:
  TempsMark() : mark_(temp_top()) {}
  ~TempsMark() { POP_TEMPS(mark_); }
  TempsMark(const TempsMark&) = delete;
  TempsMark& operator=(const TempsMark&) = delete;

 private:
  std::int32_t mark_;
};

Row record_row(Var* server, std::int32_t fields) {
  const TempsMark mark;
  Row row = {number_text(get_ivar(server, "recno")),
             truth_of(get_ivar(server, "deleted")) ? "*" : ""};
  for (std::int32_t i = 1; i <= fields; ++i)
    row.push_back(cell_text(call(server, "fieldget", TMP_INT(i))));
  return row;
}

void complete_fields(Var* server, const std::string& prefix, std::string_view beginning,
                     std::vector<std::string>& names) {
  const TempsMark mark;
  const std::int32_t fields = integer_of(get_ivar(server, "fcount"));
  for (std::int32_t i = 1; i <= fields; ++i) {
    const std::string name = lower_text(text_of(call(server, "fieldname", TMP_INT(i))));
    if (name.starts_with(lower_text(beginning))) names.push_back(prefix + name);
  }
}

}  // namespace

bool list_tables(std::string_view) {
  const TempsMark mark;
  AlignedTable table({"area", "alias", "records", "use", "locked", "file"});
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next) {
    Var* server = area->server();
    table.add({std::to_string(area->number) + (area == current_area() ? "*" : ""),
               std::string(text_of(get_ivar(server, "alias"))),
               number_text(get_ivar(server, "lastrec")), mode_of(server), locks_of(server),
               shown_path(text_of(get_ivar(server, "filespec")))});
  }
  table.write();
  return true;
}

bool list_orders(std::string_view) {
  constexpr std::int32_t kCondition = 1, kKey = 2, kPath = 20, kDescends = 22, kKeys = 26,
                         kUnique = 43, kState = 5002;
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  const auto ask = [&](std::int32_t what, std::int32_t order) {
    return send(server, "orderinfo", TMP_INT(what), TMP_INT(order));
  };
  const std::int32_t current = integer_of(call(server, "indexord"));
  AlignedTable table({"order", "keys", "state", "kind", "key", "for", "file"});
  std::vector<std::int32_t> states;
  for (std::int32_t i = 1; i <= integer_of(get_ivar(server, "indexcount")); ++i)
    states.push_back(integer_of(ask(kState, i)));
  // Counting keys would give all orders up when one of them is corrupted.
  const bool counts = std::ranges::find(states, kCorrupted) == states.end();
  for (std::int32_t i = 1; i <= static_cast<std::int32_t>(states.size()); ++i) {
    std::string kind = truth_of(ask(kUnique, i)) ? "unique" : "";
    if (truth_of(ask(kDescends, i))) kind += kind.empty() ? "descending" : ", descending";
    table.add({std::to_string(i) + (i == current ? "*" : ""),
               counts ? number_text(ask(kKeys, i)) : "?",
               state_word(states[static_cast<std::size_t>(i) - 1]), kind,
               std::string(text_of(ask(kKey, i))), std::string(text_of(ask(kCondition, i))),
               shown_path(text_of(ask(kPath, i)))});
  }
  table.write();
  return true;
}

bool list_structure(std::string_view) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  AlignedTable table({"field", "name", "type", "length", "decimals"});
  const Var* rows = call(server, "dbstruct");
  for (std::int32_t i = 1; rows->type == 'A' && i <= element_count(rows); ++i) {
    const Var* row = element(rows, i);
    table.add({std::to_string(i), std::string(text_of(element(row, 1))),
               std::string(text_of(element(row, 2))), number_text(element(row, 3)),
               number_text(element(row, 4))});
  }
  table.write();
  return true;
}

bool list_records(std::string_view count) {
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  int wanted = kUsualRecords;
  if (!count.empty()) std::from_chars(count.data(), count.data() + count.size(), wanted);
  const std::int32_t fields = integer_of(get_ivar(server, "fcount"));
  Row head = {"record", ""};
  for (std::int32_t i = 1; i <= fields; ++i)
    head.emplace_back(text_of(call(server, "fieldname", TMP_INT(i))));
  AlignedTable table(std::move(head));
  Var* stood = TMP_INT(integer_of(get_ivar(server, "recno")));
  for (; wanted > 0 && !truth_of(get_ivar(server, "eof")); --wanted) {
    table.add(record_row(server, fields));
    call(server, "skip");
  }
  call(server, "goto", stood);
  table.write();
  return true;
}

void tell_of_orders() {
  order_notice() = [](const std::string& order, const std::string&) {
    tell(format_text("note: the order %s lacks changes of its table, dbreindex() builds it anew",
                     shown_path(order).c_str()));
  };
}

void complete_table_name(std::string_view beginning, std::vector<std::string>& names) {
  const std::size_t arrow = beginning.find("->");
  if (arrow != std::string_view::npos) {
    const std::string alias(beginning.substr(0, arrow));
    if (const WorkArea* area = resolve_alias(alias); area != nullptr && area->server() != nullptr)
      complete_fields(area->server(), alias + "->", beginning.substr(arrow + 2), names);
    return;
  }
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next)
    if (const std::string alias = lower_text(area->alias);
        !alias.empty() && alias.starts_with(lower_text(beginning)))
      names.push_back(alias + "->");
  if (Var* server = current_server(); server != nullptr)
    complete_fields(server, "", beginning, names);
}

}  // namespace tarnel
