#include "console/table_commands.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "console/open_commands.h"
#include "console/row_commands.h"
#include "console/session.h"
#include "console/words.h"
#include "core/arrays.h"
#include "core/blocks.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/output.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/info_codes.h"
#include "db/order_notice.h"
#include "db/text_set.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

std::string number_text(Var* value) {
  return std::to_string(integer_of(value));
}

Var* call(Var* server, const char* method, Var* argument = nullptr) {
  return argument != nullptr ? send(server, method, argument) : send(server, method);
}

Var* filter_block(Var* server) {
  return call(server, "info", TMP_INT(info::kFilterBlock));
}

std::string mode_of(Var* server) {
  std::string mode = truth_of(get_ivar(server, "shared")) ? "shared" : "exclusive";
  if (truth_of(get_ivar(server, "readonly"))) mode += ", read-only";
  return mode;
}

// What the area holds locked.
std::string locks_of(Var* server) {
  if (truth_of(call(server, "info", TMP_INT(info::kFileLocked)))) return "file";
  const Var* list = get_ivar(server, "rlocklist");
  if (list->type != 'A' || element_count(list) == 0) return "-";
  std::string text = "record " + number_text(element(list, 1));
  if (element_count(list) > 1) text += " and " + std::to_string(element_count(list) - 1) + " more";
  return text;
}

// --- What hides records or moves with them; "" without one.

std::string filter_of(Var* server) {
  const std::string text = decoded(text_of(get_ivar(server, "filter")), text_set_of(server));
  return text.empty() && is_block(filter_block(server)) ? "a block" : text;
}

std::string scope_of(Var* server) {
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (is_block(get_ivar(server, "forblock"))) add("for");
  if (is_block(get_ivar(server, "whileblock"))) add("while");
  const std::int32_t extent = integer_of(get_ivar(server, "scope"));
  if (extent >= 0) add("next " + std::to_string(extent));
  if (extent < -1) add("rest");
  return text;
}

std::string relations_of(Var* server) {
  std::string text;
  for (std::int32_t i = 1;; ++i) {
    Var* child = call(server, "relationobject", TMP_INT(i));
    if (child->type != 'O') break;
    if (i > 1) text += ", ";
    if (const Var* key = call(server, "relation", TMP_INT(i)); !text_of(key).empty())
      text += std::string(text_of(key)) + " ";
    text += truth_of(get_ivar(child, "used"))
                ? "to " + std::string(text_of(get_ivar(child, "alias")))
                : "to a closed table";
  }
  return text.empty() || truth_of(get_ivar(server, "isrelation")) ? text : text + " (off)";
}

struct Aspect {
  const char* name;
  std::string (*text)(Var* server);
};
constexpr Aspect kAspects[] = {
    {"filter", filter_of}, {"scope", scope_of}, {"relations", relations_of}};

// What a check of an order found.
constexpr std::int32_t kGood = 0, kDiffers = 1, kCorrupted = 2;
const char* state_word(std::int32_t state) {
  return state == kGood        ? "good"
         : state == kDiffers   ? "differs"
         : state == kCorrupted ? "corrupted"
                               : "?";
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

Var* server_or_complaint() {
  Var* server = current_server();
  if (server == nullptr) complain("no table is open in the current area");
  return server;
}

void write_aspects(Var* server, bool with_scope) {
  for (const Aspect& aspect : kAspects)
    if (with_scope || aspect.text != scope_of)
      if (const std::string text = aspect.text(server); !text.empty())
        write_output(std::string(aspect.name) + ": " + text + "\n");
}

bool list_tables(std::string_view) {
  const TempsMark mark;
  std::vector<Aspect> shown;  // those that any table has
  for (const Aspect& aspect : kAspects)
    for (const WorkArea* area = area_list(); area != nullptr; area = area->next)
      if (!aspect.text(area->server()).empty()) {
        shown.push_back(aspect);
        break;
      }
  std::vector<std::string> head = {"area", "alias", "records", "use", "locked", "file"};
  for (const Aspect& aspect : shown) head.emplace_back(aspect.name);
  TextRows table(head);
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next) {
    Var* server = area->server();
    std::vector<std::string> row = {
        std::to_string(area->number) + (area == current_area() ? "*" : ""),
        std::string(text_of(get_ivar(server, "alias"))),
        number_text(get_ivar(server, "lastrec")),
        mode_of(server),
        locks_of(server),
        shown_path(text_of(get_ivar(server, "filespec")))};
    for (const Aspect& aspect : shown) row.push_back(aspect.text(server));
    table.add(row);
  }
  table.write();
  return true;
}

bool list_orders(std::string_view) {
  using namespace order_info;
  const TempsMark mark;
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  const auto ask = [&](std::int32_t what, std::int32_t order) {
    return send(server, "orderinfo", TMP_INT(what), TMP_INT(order));
  };
  const std::int32_t current = integer_of(call(server, "indexord"));
  TextRows table({"order", "keys", "state", "kind", "key", "for", "file"});
  std::vector<std::int32_t> states;
  for (std::int32_t i = 1; i <= integer_of(get_ivar(server, "indexcount")); ++i)
    states.push_back(integer_of(ask(kCheck, i)));
  // Counting keys would give all orders up when one of them is corrupted.
  const bool counts = std::ranges::find(states, kCorrupted) == states.end();
  for (std::int32_t i = 1; i <= static_cast<std::int32_t>(states.size()); ++i) {
    std::string kind = truth_of(ask(kUnique, i)) ? "unique" : "";
    if (truth_of(ask(kDescending, i))) kind += kind.empty() ? "descending" : ", descending";
    table.add({std::to_string(i) + (i == current ? "*" : ""),
               counts ? number_text(ask(kKeyCount, i)) : "?",
               state_word(states[static_cast<std::size_t>(i) - 1]), kind,
               std::string(text_of(ask(kExpression, i))), std::string(text_of(ask(kCondition, i))),
               shown_path(text_of(ask(kFullPath, i)))});
  }
  table.write();
  return true;
}

bool list_structure(std::string_view file) {
  const TempsMark mark;
  if (!file.empty()) {
    const OpenForLook look(take_file_name(file));
    if (look.opened()) list_structure({});
    return true;
  }
  Var* server = server_or_complaint();
  if (server == nullptr) return true;
  TextRows table({"field", "name", "type", "length", "decimals"});
  const Var* rows = call(server, "dbstruct");
  for (std::int32_t i = 1; rows->type == 'A' && i <= element_count(rows); ++i) {
    const Var* row = element(rows, i);
    table.add({std::to_string(i), std::string(text_of(element(row, 1))),
               std::string(text_of(element(row, 2))), number_text(element(row, 3)),
               number_text(element(row, 4))});
  }
  if (is_for_person(session_style().mode))
    write_output("characters: " + words_of(text_set_of(server)) + "\n");
  table.write();
  return true;
}

bool set_filter(std::string_view condition) {
  const TempsMark mark;
  std::string text(condition);
  if (Var* server = server_or_complaint();
      server != nullptr && is_expression(condition) && encode_expression(text, text_set_of(server)))
    call(server, "setfilter", TMP_TEXT(text));
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
