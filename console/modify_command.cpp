#include "console/modify_command.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "console/bulk_commands.h"
#include "console/complaints.h"
#include "console/field_moves.h"
#include "console/open_commands.h"
#include "console/row_commands.h"
#include "console/session.h"
#include "console/structure_text.h"
#include "console/table_commands.h"
#include "console/user_editor.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/file_ops.h"
#include "core/output.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/bulk/restructure.h"
#include "db/dbfidx/check/opened_table.h"
#include "db/dbfidx/check/order_plan.h"
#include "db/dbfidx/dbfidx.h"
#include "lib/file_names.h"

namespace tarnel {
namespace {

constexpr std::int64_t kMostLines = 20;  // of values that have no place

// What a line asks for.
struct Wanted {
  std::string script;  // "" for the user's editor
  bool forced = false;
};

bool is_asked(const Wanted& wanted) {
  return wanted.script.empty();
}

std::string script_for(const DbfIdx& dbf) {
  return "# The fields of " + std::string(base_name(dbf.fileName)) +
         ", to be changed. Values go along by the names of fields; \"was NAME\" behind\n"
         "# a field gives it those of the one that had that name.\n"
         ".create " +
         quoted(base_name(dbf.fileName)) + "\n" + structure_text(dbf.fields, ",\n") + "\n";
}

// The structure behind the first .create of a script, which goes on behind commas; "" without one.
std::string structure_in(std::string_view script) {
  std::string structure;
  bool found = false;
  while (!script.empty() && (!found || structure.empty() || structure.ends_with(','))) {
    std::string_view line = trim_blanks(script.substr(0, script.find_first_of("\r\n")));
    script.remove_prefix(std::min(script.find('\n'), script.size() - 1) + 1);
    if (line.starts_with('#') || (!found && !take_if(line, ".create"))) continue;
    if (!found) take_file_name(line);
    found = true;
    if (!line.empty()) structure.append(structure.empty() ? "" : " ").append(trim_blanks(line));
  }
  return structure;
}

// The fields that a script asks for. False after a complaint or an error.
bool read_script(DbfIdx& dbf, std::string_view script, std::vector<dbf::Field>& fields,
                 std::vector<std::int32_t>& from) {
  std::vector<std::string> former;
  std::string fault;
  const Var* rows = structure_of(structure_in(script), fault, &former);
  if (rows == nullptr) {
    complain(!fault.empty() ? fault
                            : "the script needs a line .create FILE NAME TYPE [LENGTH [DECIMALS]] "
                              "[was NAME], ...");
    return false;
  }
  if (!read_structure(dbf, rows, fields)) return false;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    from.push_back(field_position(dbf, former[i]) - 1);
    const bool renamed = !same_letters(former[i], fields[i].name);
    const bool twice = from.back() >= 0 && std::count(from.begin(), from.end(), from.back()) > 1;
    if (twice || (renamed && from.back() < 0)) {
      complain((twice ? "two fields take the values of " : "there is no field ") + former[i]);
      return false;
    }
  }
  return true;
}

// Does an expression hold a name as a word, in whatever letters?
bool has_name(std::string_view expression, std::string_view name) {
  const auto is_part = [](char c) {
    return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
  };
  for (std::size_t at = 0; at + name.size() <= expression.size(); ++at) {
    const std::size_t end = at + name.size();
    if (same_letters(expression.substr(at, name.size()), name) &&
        (at == 0 || !is_part(expression[at - 1])) &&
        (end == expression.size() || !is_part(expression[end])))
      return true;
  }
  return false;
}

// A table on its way to other fields.
class Modification {
 public:
  Modification(DbfIdx& dbf, const Wanted& wanted, std::vector<dbf::Field> fields,
               std::vector<std::int32_t> from)
      : dbf_(dbf),
        wanted_(wanted),
        path_(dbf.fileName),
        name_(base_name(dbf.fileName)),
        fields_(fields),
        moves_(dbf, std::move(fields), std::move(from)) {}

  void run() {
    const std::vector<std::string> changes = moves_.changes();
    for (const std::string& line : changes) write_output(line + "\n");
    if (const std::string wrong = moves_.impossible(); !wrong.empty()) return complain(wrong);
    if (const std::string foreign = foreign_memos(); !foreign.empty())
      return complain(foreign + ": is there already");
    if (changes.empty())
      write_output(name_ + ": nothing changes\n");
    else if (find_orders(), look() && agreed())
      write();
  }

 private:
  // A memo file that nobody knows of, where one is to be made: it may hold all that is left of another table.
  std::string foreign_memos() const {
    const bool memos = std::any_of(fields_.begin(), fields_.end(),
                                   [](const dbf::Field& field) { return field.type == 'M'; });
    const std::string path = in_any_case(memo_path(path_));
    struct stat status {};
    if (!memos || dbf::has_memo(dbf_.header.version()) ||
        file_ops().stat(path.c_str(), &status) != 0)
      return {};
    return shown_path(path);
  }

  // Every record is converted, so that all that has no place is known before anything is done.
  bool look() {
    std::vector<std::uint8_t> target;
    std::vector<dbf::Field> fields = fields_;
    const std::size_t size = lay_out(fields);
    const MemoSink nowhere{nullptr, [](void*, std::string_view) { return std::int64_t{1}; }};
    return each_record([&](std::int32_t n, const std::uint8_t* record) {
      target.assign(size, ' ');
      return moves_.fill(n, record, target.data(), nowhere, [this](const std::string& line) {
        if (++misfits_ <= kMostLines) write_output(line + "\n");
      });
    });
  }

  template <typename Each>
  bool each_record(const Each& each) {
    RecordPieces pieces(dbf_, "modify");
    while (pieces.next())
      for (std::int32_t i = 0; i < pieces.count(); ++i)
        if (!each(pieces.first() + i,
                  pieces.data() + static_cast<std::size_t>(i) * dbf_.recordSize))
          return failed();
    return !pieces.failed() || failed();
  }
  bool failed() {
    complain(name_ + " stays as it was");
    return false;
  }

  bool agreed() {
    if (misfits_ > kMostLines)
      write_output("... and " + std::to_string(misfits_ - kMostLines) + " more\n");
    if ((misfits_ == 0 && lost_orders_.empty()) || wanted_.forced) return true;
    std::string count =
        std::to_string(misfits_) + (misfits_ == 1 ? " value has" : " values have") + " no place";
    if (misfits_ == 0) count.clear();
    if (!lost_orders_.empty()) count += count.empty() ? "orders go" : ", and orders go";
    if (is_asked(wanted_)) return confirmed(count + ", go on all the same?");
    complain(count + ", " + name_ + " stays as it was; with ! it is changed all the same");
    return false;
  }

  // The orders that are to be built anew. Those whose keys name a field that will be gone are told, and go.
  void find_orders() {
    for (const std::string& path : orders_beside(path_)) {
      std::optional<OrderPlan> order = read_order_plan(path);
      if (!order) {
        tell("note: " + std::string(base_name(path)) +
             ": its key can't be read, it stays as it is");
        continue;
      }
      const auto lost = std::ranges::find_if(dbf_.fields, [&](const dbf::Field& field) {
        return !stays(field) && names(*order, field.name);
      });
      if (lost != dbf_.fields.end())
        write_output(std::string(base_name(path)) + " goes, " + order->header.expression +
                     (order->condition.empty() ? "" : " for " + order->condition) +
                     " needs field " + lost->name + "\n");
      (lost != dbf_.fields.end() ? lost_orders_ : orders_).push_back(std::move(*order));
    }
  }
  bool stays(const dbf::Field& field) const {
    return std::ranges::any_of(fields_, [&](const dbf::Field& other) {
      return std::string_view(other.name) == field.name;
    });
  }
  static bool names(const OrderPlan& order, std::string_view field) {
    return has_name(order.header.expression, field) || has_name(order.condition, field);
  }

  void write() {
    Restructure next(dbf_, fields_);
    const MemoSink memos{&next, [](void* table, std::string_view text) {
                           return static_cast<Restructure*>(table)->add_memo(text);
                         }};
    std::int64_t records = 0;
    const auto add = [&](std::int32_t n, const std::uint8_t* record) {
      ++records;
      return moves_.fill(n, record, next.blank_record(), memos, [](const std::string&) {}) &&
             next.add();
    };
    if (!next.begin()) return static_cast<void>(failed());
    if (!each_record(add)) return;
    if (!next.finish()) return static_cast<void>(failed());
    for (const OrderPlan& order : lost_orders_) file_ops().unlink(order.path.c_str());
    build_orders(path_, orders_, [](const std::string& line) { complain(line); });
    write_output(name_ + ": " + std::to_string(records) + " records, " +
                 std::to_string(fields_.size()) + " fields\n");
  }

  DbfIdx& dbf_;
  const Wanted& wanted_;
  const std::string path_, name_;
  const std::vector<dbf::Field> fields_;
  const FieldMoves moves_;
  std::vector<OrderPlan> orders_, lost_orders_;
  std::int64_t misfits_ = 0;
};

void modify(DbfIdx& dbf, const Wanted& wanted, std::string_view script) {
  std::vector<dbf::Field> fields;
  std::vector<std::int32_t> from;
  if (!read_script(dbf, script, fields, from)) return;
  Modification(dbf, wanted, std::move(fields), std::move(from)).run();
}

// Lets the user change the script. False when there is nothing to do.
bool edit_script(std::string& script) {
  PrivateFile file("modify");
  if (!file.write(script) || !run_user_editor(file.path())) {
    complain("the editor failed");
    return false;
  }
  const auto after = file.read();
  if (!after) complain("the script can't be read");
  if (after && *after == script) write_output("nothing changes\n");
  if (!after || *after == script) return false;
  script = *after;
  return true;
}

// The script that is to be run for a table; false without one.
bool find_script(const DbfIdx& dbf, const Wanted& wanted, std::string& script) {
  if (is_asked(wanted)) {
    script = script_for(dbf);
    if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) return edit_script(script);
    complain(".modify needs a terminal for the editor, or TABLE from SCRIPT");
    return false;
  }
  const std::string wrong = read_file(wanted.script, script);
  if (!wrong.empty()) complain(wanted.script + ": " + wrong);
  return wrong.empty();
}

void modify_file(const std::string& file, const Wanted& wanted) {
  const OpenForLook alone(file, "MODIFIED", OpenFor::kFilling);
  if (!alone.opened()) return;
  DbfIdx& dbf = dbf_of(current_server());
  const KeepObject keep(dbf.object);
  std::string script;
  if (dbf.readOnly())
    complain(file + ": can't be written");
  else if (find_script(dbf, wanted, script))
    modify(dbf, wanted, script);
}

// The current table is closed for its time and then opened as it was, or as what it has become.
void modify_current(const Wanted& wanted) {
  Var* server = server_or_complaint();
  if (server == nullptr) return;
  const bool suits = class_of(server) == &dbfidx_class() && dbf_of(server).exclusive() &&
                     !dbf_of(server).readOnly();
  if (!suits) return complain("the table is not open for this program alone, .open -x opens it so");
  const std::string path = dbf_of(server).fileName, alias = dbf_of(server).aliasName;
  close_command({});
  modify_file(path, wanted);
  open_for_person(path, alias, OpenFor::kAlone);
}

}  // namespace

bool modify_table(std::string_view arguments) {
  const TempsMark mark;
  Wanted wanted;
  if (arguments == "!" || arguments.ends_with(" !")) {
    wanted.forced = true;
    arguments = trim_right(arguments.substr(0, arguments.size() - 1));
  }
  const bool is_current = arguments.empty() || find_word(arguments, "from") == 0;
  const std::string file = is_current ? "" : take_file_name(arguments);
  const bool has_script = take_if(arguments, "from");
  if (has_script) wanted.script = take_file_name(arguments);
  if (!arguments.empty() || has_script == wanted.script.empty() ||
      (wanted.forced && wanted.script.empty())) {
    complain(".modify takes [TABLE] [from SCRIPT [!]]");
    return true;
  }
  if (is_current)
    modify_current(wanted);
  else
    modify_file(file, wanted);
  return true;
}

}  // namespace tarnel
