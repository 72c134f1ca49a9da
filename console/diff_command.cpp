#include "console/diff_command.h"

#include <algorithm>
#include <string>
#include <vector>

#include "console/complaints.h"
#include "console/open_commands.h"
#include "console/row_commands.h"
#include "console/table_diff.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/text_set.h"

namespace tarnel {
namespace {

bool write_line(const std::string& line) {
  return to_output(line + "\n");
}

std::string type_of(const dbf::Field& field) {
  std::string type = std::string(1, field.type) + " " + std::to_string(field.length);
  if (field.decimals != 0 && field.type != 'C') type += " " + std::to_string(field.decimals);
  return type;
}

struct DiffTable {
  DbfIdx& dbf;
  const std::string name;
};

// The fields that both tables have, by their numbers in each, and what is told of the others.
struct Structures {
  std::vector<std::int32_t> first, second;
  std::vector<std::string> differences;

  Structures(const DiffTable& a, const DiffTable& b) {
    for (std::int32_t n = 1; n <= a.dbf.fieldCount; ++n) {
      const dbf::Field& field = a.dbf.fields[static_cast<std::size_t>(n) - 1];
      const std::int32_t other = field_position(b.dbf, field.name);
      const std::string name = "field " + std::string(field.name) + ": " + type_of(field);
      if (other == 0) {
        differences.push_back(name + " only in " + a.name);
        continue;
      }
      first.push_back(n);
      second.push_back(other);
      const std::string type = type_of(b.dbf.fields[static_cast<std::size_t>(other) - 1]);
      if (type != type_of(field)) differences.push_back(name + " -> " + type);
    }
    for (const dbf::Field& field : b.dbf.fields)
      if (field_position(a.dbf, field.name) == 0)
        differences.push_back("field " + std::string(field.name) + ": " + type_of(field) +
                              " only in " + b.name);
    if (!std::ranges::is_sorted(second)) differences.push_back("fields: in another order");
    const std::string from(name_of(text_set_of(a.dbf.object))),
        to(name_of(text_set_of(b.dbf.object)));
    if (from != to) differences.push_back("characters: " + from + " -> " + to);
  }
};

void write_summary(const DiffTable& a, const DiffTable& b, std::size_t structure,
                   const DiffCounts& counts) {
  std::string parts;
  const auto add = [&](std::int64_t n, const std::string& what) {
    if (n > 0) parts += (parts.empty() ? "" : ", ") + std::to_string(n) + " " + what;
  };
  add(static_cast<std::int64_t>(structure), "in structure");
  add(counts.only_first, "only in " + a.name);
  add(counts.only_second, "only in " + b.name);
  add(counts.changed, "changed");
  if (!parts.empty()) set_exit_status(1);
  add(counts.same, "the same");
  write_line(a.name + ", " + b.name + ": " + (parts.empty() ? "the same" : parts));
}

void compare(const DiffTable& a, const DiffTable& b, std::string_view key) {
  const Structures structures(a, b);
  DiffSide first(a.dbf, a.name, structures.first), second(b.dbf, b.name, structures.second);
  if (!key.empty() && (!first.set_key(key) || !second.set_key(key))) return;
  for (const std::string& line : structures.differences) write_line(line);
  DiffCounts counts;
  const bool whole = key.empty() ? compare_by_number(first, second, write_line, counts)
                                 : compare_by_key(first, second, write_line, counts);
  if (!whole) return complain("the comparison is not whole");
  write_summary(a, b, structures.differences.size(), counts);
  if (const std::int64_t memos = first.unread_memos() + second.unread_memos(); memos > 0)
    complain(std::to_string(memos) + " memos can't be read and counted as none");
}

// The table in the current area.
DbfIdx* opened_table() {
  Var* server = current_server();
  if (class_of(server) == &dbfidx_class()) return &dbf_of(server);
  complain(".diff compares tables of the same driver");
  return nullptr;
}

}  // namespace

bool diff_tables(std::string_view arguments) {
  const TempsMark mark;
  const std::string first = take_file_name(arguments), second = take_file_name(arguments);
  if (second.empty()) {
    complain(".diff needs the names of two tables");
    return true;
  }
  const OpenForLook one(first, "DIFF_1");
  if (!one.opened()) return true;
  DbfIdx* a = opened_table();
  const OpenForLook other(second, "DIFF_2");
  if (!other.opened() || a == nullptr) return true;
  DbfIdx* b = opened_table();
  if (b == nullptr) return true;
  compare({*a, shown_path(a->fileName)}, {*b, shown_path(b->fileName)}, arguments);
  return true;
}

}  // namespace tarnel
