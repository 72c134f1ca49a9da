#include "console/dot_commands.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "console/browse.h"
#include "console/bulk_commands.h"
#include "console/charset_command.h"
#include "console/check_commands.h"
#include "console/diff_command.h"
#include "console/dir_command.h"
#include "console/export_commands.h"
#include "console/import_command.h"
#include "console/modify_command.h"
#include "console/open_commands.h"
#include "console/output_target.h"
#include "console/program_commands.h"
#include "console/record_commands.h"
#include "console/row_commands.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "console/words.h"
#include "core/errors.h"
#include "core/modules.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "core/text.h"

namespace tarnel {
namespace {

// A command gets the rest of its line, trimmed, and answers whether the session goes on.
struct DotCommand {
  std::string_view name;
  std::string_view arguments;
  std::string_view help;
  bool (*run)(std::string_view arguments);
};

bool help(std::string_view name);
bool quit(std::string_view status);
bool read(std::string_view name);
bool screen(std::string_view name);
bool set(std::string_view arguments);
bool set_bail(std::string_view on_or_off);
bool set_changes(std::string_view on_or_off);
bool set_echo(std::string_view on_or_off);
bool set_timer(std::string_view on_or_off);

constexpr DotCommand kDotCommands[] = {
    {"append", "[-charset NAME] FILE", "adds records of a table, or of a text (.csv, .txt, .sdf)",
     append_records},
    {"bail", "on|off", "ends a file with the first line that complains, or not", set_bail},
    {"browse", "[FIELDS] [ro]", "shows the current table on the screen to look through and edit",
     browse},
    {"charset", "[-save] [NAME|auto]",
     "shows or chooses the character set of the current table, -save in its header",
     choose_charset},
    {"check", "[FILE...]", "looks for damage in tables, their memos and orders; changes nothing",
     check_files},
    {"changes", "on|off", "tells how many records a line wrote, or not", set_changes},
    {"close", "[ALIAS|all]", "closes the current table, another one, or all", close_command},
    {"copy", "[-charset NAME] FILE [FIELDS] [for CONDITION]",
     "makes a table, or a text (.csv, .txt, .sdf), of records", copy_records},
    {"count", "[for EXPR] [while EXPR]", "counts records", count_records},
    {"create", "FILE NAME TYPE [LENGTH [DECIMALS]], ...", "makes a table and opens it exclusively",
     create_command},
    {"diff", "TABLE1 TABLE2 [KEY]", "tells in what two tables differ, by a key or record numbers",
     diff_tables},
    {"dir", "[PATTERN]", "shows the tables of a folder", list_folder},
    {"do", "FILE [ARGUMENT...]", "loads a program and runs its main procedure", do_program},
    {"dump", "[ALIAS]", "writes the lines that make a table, its orders and records anew",
     dump_table},
    {"echo", "on|off", "writes lines before they run, or not", set_echo},
    {"edit", "N FIELD := EXPR", "changes a field of record N", edit_record},
    {"export", "[-charset NAME] FILE [FIELDS] [for EXPR] [while EXPR]",
     "writes records to a file: .csv .tsv .json .jsonl .sql .md .html", export_records},
    {"filter", "[CONDITION]",
     "hides the records of the current table for which it isn't true, or none", set_filter},
    {"help", "[NAME | -k WORD]",
     "tells about the commands, about a function or command, or of all that a word is told of",
     help},
    {"headers", "on|off", "shows the names of columns, or not", show_headers},
    {"import", "[-append] [-charset NAME] FILE [TABLE]",
     "makes a table of a .csv, .tsv, .json or .jsonl, or adds its rows to the current one",
     import_rows},
    {"list", "[N|all] [FIELDS] [for EXPR] [while EXPR]",
     "shows N records from the current one on, 20 by default, or all", list_records},
    {"load", "FILE", "brings the procedures of a program in, anew if they are there", load_program},
    {"locks", "", "shows who holds which locks on the open tables", list_locks},
    {"locktest", "DIR", "tries whether tables can be shared in a directory", test_directory_locks},
    {"mode", "[MODE]",
     "shows rows as table, box, line, csv, tsv, json, jsonl, markdown, html or insert",
     choose_mode},
    {"modify", "[TABLE] [from SCRIPT [!]]",
     "changes the fields of a table, by the editor or a script; ! cuts what has no place",
     modify_table},
    {"null", "TEXT", "what is shown for fields that hold nothing", set_nothing},
    {"once", "FILE, |COMMAND", "writes what the next line shows to a file or a command",
     once_command},
    {"open", "[-w|-x] FILE [ALIAS]",
     "opens a table to read it, to write it as well, or for nobody else", open_command},
    {"orders", "", "shows the orders of the current table, the controlling one marked with *",
     list_orders},
    {"output", "[FILE, |COMMAND]", "writes to a file or a command, or where it did at first",
     output_command},
    {"pack", "", "drops the records that are marked as deleted", pack_records},
    {"quit", "[STATUS]", "ends the session, with an exit status if one is given", quit},
    {"read", "FILE", "runs the lines of a file", read},
    {"repair", "FILE [!]", "mends a damaged table on a copy; asks, unless told by the !",
     repair_file},
    {"row", "[-d] [VALUE, ...]", "adds a record of values as JSON, -d marked as deleted", add_row},
    {"schema", "[ALIAS]", "writes the lines that make a table and its orders anew", show_schema},
    {"screen", "FILE", "runs the lines of a file on a screen", screen},
    {"set", "[NAME [VALUE]]", "shows or changes settings", set},
    {"show", "EXPR", "shows all of a value, what is in arrays and objects too", show_value},
    {"struct", "[FILE]", "shows the fields of the current table, or of a file", list_structure},
    {"sum", "EXPR [for EXPR] [while EXPR]", "adds an expression up over records", sum_records},
    {"tables", "", "shows the open tables, the current one marked with *", list_tables},
    {"timer", "on|off", "tells the time that each line took, or not", set_timer},
    {"width", "[N...]", "how wide columns are: 0 as need be, below 0 to the right", set_widths},
    {"zap", "[!]", "drops all records; asks, unless told by the !", zap_records},
};

// What stands for the name of a file in the column of arguments.
constexpr std::string_view kFileWords[] = {"FILE", "DIR", "PATTERN", "TABLE", "SCRIPT"};

// Settings by the number that set() knows them by; 0 is a named option of ov_set().
struct SettingRow {
  std::string_view name;
  std::int32_t number;
};
constexpr SettingRow kSettings[] = {
    {"exact", 1},      {"fixed", 2},      {"decimals", 3},  {"dateformat", 4},  {"epoch", 5},
    {"path", 6},       {"default", 7},    {"exclusive", 8}, {"softseek", 9},    {"unique", 10},
    {"deleted", 11},   {"century", 41},   {"autolock", 39}, {"multilocks", 40}, {"developer", 0},
    {"lowerfiles", 0}, {"upperfiles", 0}, {"pathlower", 0}, {"pathupper", 0},
};

void write_line(std::string_view text) {
  write_output(text);
  write_output("\n");
}

void write_command(const DotCommand& command) {
  std::string line = "  ." + std::string(command.name) + " " + std::string(command.arguments);
  line.resize(std::max<std::size_t>(line.size() + 1, 26), ' ');
  write_line(line += command.help);
}

void general_help() {
  write_line("A line is an expression; its value is printed. NAME := VALUE makes a variable.");
  write_line(
      "Empty lines and lines that begin with # are skipped. What lacks its end goes on in the next "
      "line.");
  write_line("");
  for (const DotCommand& command : kDotCommands) write_command(command);
  write_line("");
  write_line("Try   upper(\"abc\") + \"!\"    {1, 2, 3}[2]    eval({|a, b| a + b}, 2, 3)");
}

// Usage of the functions that begin with the text; of one alone when the text is its whole name.
bool function_help(const std::string& beginning) {
  const FunctionTable& table = function_table();
  const std::int32_t exact = FIND_FUNC(beginning);
  bool found = false;
  for (std::int32_t i = 1; i < table.count; ++i) {
    const FunctionEntry& entry = table.entries[i];
    const bool wanted =
        exact > 0 ? i == exact : std::string_view(entry.name).starts_with(beginning);
    if (!wanted || entry.usage == nullptr) continue;
    write_line(entry.usage);
    if (i == exact && entry.example != nullptr) write_line("  " + std::string(entry.example));
    found = true;
  }
  return found;
}

// Commands and functions whose descriptions hold the word, whatever the case of its letters.
void search_help(std::string_view word) {
  const std::string wanted = lower_text(word);
  const auto holds = [&wanted](std::string_view text) {
    return lower_text(text).find(wanted) != std::string::npos;
  };
  bool found = false;
  for (const DotCommand& command : kDotCommands)
    if (holds(command.name) || holds(command.help)) {
      write_command(command);
      found = true;
    }
  const FunctionTable& table = function_table();
  for (std::int32_t i = 1; i < table.count; ++i)
    if (const char* usage = table.entries[i].usage; usage != nullptr && holds(usage)) {
      write_line(usage);
      found = true;
    }
  if (!found) complain("no description holds " + std::string(word));
}

bool help(std::string_view name) {
  if (name.empty()) {
    general_help();
    return true;
  }
  if (take_if(name, "-k")) {
    if (name.empty())
      complain(".help -k needs a word");
    else
      search_help(name);
    return true;
  }
  if (name.front() == '.') name.remove_prefix(1);
  const std::string wanted = lower_text(name.substr(0, name.find('(')));
  bool found = false;
  for (const DotCommand& command : kDotCommands) {
    if (command.name != wanted) continue;
    write_command(command);
    found = true;
  }
  if (!function_help(wanted) && !found) complain("nothing is known of " + std::string(name));
  return true;
}

bool quit(std::string_view status) {
  int number = 0;
  const auto [end, failed] = std::from_chars(status.data(), status.data() + status.size(), number);
  if (status.empty()) return false;
  if (failed != std::errc() || end != status.data() + status.size() || number < 0 || number > 255) {
    complain(".quit takes a number from 0 to 255");
    return true;
  }
  set_exit_status(number);
  return false;
}

bool read(std::string_view name) {
  if (!name.empty()) return run_file(last_file_name(name).c_str());
  complain(".read needs the name of a file");
  return true;
}

bool screen(std::string_view name) {
  if (!name.empty()) return run_file_on_screen(last_file_name(name).c_str());
  complain(".screen needs the name of a file");
  return true;
}

// Calls set() or ov_set(); without a value it only reads.
Var* setting(const SettingRow& row, Var* value) {
  const Function function = lookup_function(row.number != 0 ? "set" : "ov_set");
  if (function == nullptr) return nil_value();
  Var* argv[] = {row.number != 0 ? TMP_INT(row.number) : TMP_TEXT(row.name), value};
  return function(value != nullptr ? 2 : 1, argv);
}

void write_setting(const SettingRow& row) {
  std::string line(row.name);
  line.resize(12, ' ');
  write_output(line);
  Var* value = setting(row, nullptr);
  if (value->type == 'L')
    write_output(value->i != 0 ? "on" : "off");
  else if (is_number(value))
    write_output(std::to_string(integer_of(value)));
  else
    write_value(value);
  write_output("\n");
}

// on and off, or any expression.
Var* setting_value(std::string_view text) {
  const std::string word = lower_text(text);
  if (word == "on" || word == "off") return logical(word == "on");
  return evaluate_argument(text);
}

bool set(std::string_view arguments) {
  const std::string name = lower_text(take_word(arguments));
  bool found = name.empty();
  for (const SettingRow& row : kSettings) {
    if (!name.empty() && row.name != name) continue;
    found = true;
    if (arguments.empty())
      write_setting(row);
    else if (Var* value = setting_value(arguments); !is_error(value))
      setting(row, value);
  }
  if (!found) complain("there is no setting " + name);
  return true;
}

bool set_changes(std::string_view on_or_off) {
  static_cast<void>(read_switch(".changes", on_or_off, session_switches().changes));
  return true;
}
bool set_bail(std::string_view on_or_off) {
  static_cast<void>(read_switch(".bail", on_or_off, session_switches().bail));
  return true;
}
bool set_echo(std::string_view on_or_off) {
  static_cast<void>(read_switch(".echo", on_or_off, session_switches().echo));
  return true;
}
bool set_timer(std::string_view on_or_off) {
  static_cast<void>(read_switch(".timer", on_or_off, session_switches().timer));
  return true;
}

}  // namespace

bool is_dot_line(std::string_view line) {
  if (line.size() < 2 || line[0] != '.') return false;
  std::size_t end = 1;
  while (end < line.size() && std::isalpha(static_cast<unsigned char>(line[end])) != 0) ++end;
  return end > 1 && (end == line.size() || line[end] == ' ' || line[end] == '\t');
}

bool run_dot_line(std::string_view line) {
  const std::string name = lower_text(take_word(line));
  for (const DotCommand& command : kDotCommands)
    if (command.name == name) return command.run(line);
  complain("unknown command ." + name + ", .help lists them");
  return true;
}

bool takes_file(std::string_view line) {
  if (!is_dot_line(line)) return false;
  line.remove_prefix(1);
  const std::string name = lower_text(take_word(line));
  const auto* const command = std::ranges::find(kDotCommands, name, &DotCommand::name);
  if (command == std::end(kDotCommands)) return false;
  return std::ranges::any_of(kFileWords, [command](std::string_view word) {
    return command->arguments.find(word) != std::string_view::npos;
  });
}

void complete_command(std::string_view beginning, std::vector<std::string>& names) {
  for (const DotCommand& command : kDotCommands)
    if (std::string name = "." + std::string(command.name); name.starts_with(beginning))
      names.push_back(std::move(name));
}

}  // namespace tarnel
