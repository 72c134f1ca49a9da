#include "console/check_commands.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "console/browse_table.h"
#include "console/bulk_commands.h"
#include "console/session.h"
#include "console/words.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/check/check.h"
#include "db/dbfidx/check/repair.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/lock/lock_list.h"
#include "db/dbfidx/lock/lock_test.h"
#include "db/info_codes.h"

namespace tarnel {
namespace {

std::string counted(std::int64_t n, const char* what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

struct Wanted {
  std::string table;
  std::vector<std::string> orders;
};

bool is_order(std::string_view file) {
  return file.size() > 4 && same_letters(file.substr(file.size() - 4), ".idx");
}

std::vector<Wanted> wanted_files(std::string_view line) {
  std::vector<Wanted> wanted;
  while (!line.empty()) {
    const std::string file = take_file_name(line);
    if (is_order(file) && !wanted.empty())
      wanted.back().orders.push_back(file);
    else
      wanted.push_back({file, {}});
  }
  return wanted;
}

// The tables that are open, each file once.
std::vector<Wanted> open_files() {
  std::vector<Wanted> wanted;
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next) {
    const TempsMark mark;
    const Var* path = send(area->server(), "info", TMP_INT(info::kFullPath));
    if (path->type != 'C' || text_of(path).empty()) continue;
    const std::string name(text_of(path));
    if (std::none_of(wanted.begin(), wanted.end(),
                     [&](const Wanted& other) { return other.table == name; }))
      wanted.push_back({name, {}});
  }
  return wanted;
}

void write_line(const std::string& line) {
  write_output(line + "\n");
}

void refuse(const std::string& file, int system_error, const std::string& reason) {
  complain(file + ": " + (system_error != 0 ? system_words(system_error) : reason));
}

// True when damage was found.
bool check_one(const Wanted& wanted) {
  const CheckResult result = check_table(wanted.table, wanted.orders, write_line);
  if (result.system_error != 0 || !result.refused.empty()) {
    refuse(result.name, result.system_error, result.refused);
    return false;
  }
  if (result.faults > 0) set_exit_status(1);
  write_line(result.name + ": " + (result.faults == 0 ? "good" : counted(result.faults, "fault")) +
             " (" + counted(result.records, "record") + ", " + counted(result.orders, "order") +
             ")");
  return result.faults > 0;
}

bool agreed(std::string_view sure) {
  if (sure == "!") return true;
  if (sure.empty() && isatty(STDIN_FILENO) != 0) return confirmed("do so?");
  complain(".repair FILE ! does so");
  return false;
}

// "4711 (tnsh)", as far as the system tells.
std::string process_name(pid_t process) {
  if (process <= 0) return "of another machine";
  const File file(("/proc/" + std::to_string(process) + "/comm").c_str(), O_RDONLY);
  char name[64];
  const ssize_t n = file.opened() ? file_ops().read(file.fd(), name, sizeof name) : 0;
  std::string text = std::to_string(process);
  if (n > 1) text.append(" (").append(name, static_cast<std::size_t>(n) - 1).append(")");
  return text;
}

}  // namespace

bool check_files(std::string_view files) {
  const std::vector<Wanted> wanted = files.empty() ? open_files() : wanted_files(files);
  if (wanted.empty()) complain("no table is open, .check needs the name of a file");
  for (const Wanted& one : wanted) check_one(one);
  return true;
}

bool repair_file(std::string_view arguments) {
  const std::string file = take_file_name(arguments);
  if (file.empty()) {
    complain(".repair needs the name of a file");
    return true;
  }
  if (!check_one({file, {}})) return true;
  TableRepair repair(file, write_line);
  if (!repair.plan())
    refuse(repair.name(), repair.system_error(), repair.fault());
  else if (!agreed(arguments))
    return true;
  else if (!repair.run())
    refuse(repair.name(), repair.system_error(), repair.fault());
  else
    check_one({file, {}});
  return true;
}

bool list_locks(std::string_view) {
  for (const WorkArea* area = area_list(); area != nullptr; area = area->next) {
    if (class_of(area->server()) != &dbfidx_class()) continue;
    for (const HeldLock& lock : locks_on(dbf_of(area->server())))
      write_line(std::string(area->alias) + ": process " +
                 (lock.process == getpid() ? "of this console" : process_name(lock.process)) +
                 (lock.waits ? " waits for: " : ": ") + lock.what);
  }
  return true;
}

bool test_directory_locks(std::string_view arguments) {
  const std::string directory = take_file_name(arguments);
  if (directory.empty()) {
    complain(".locktest needs the name of a directory");
    return true;
  }
  const LockTestResult result = test_locks(directory, write_line);
  if (result.system_error != 0) {
    complain(directory + ": " + system_words(result.system_error));
  } else if (result.failed > 0) {
    complain(directory + ": tables can't be shared there, " + counted(result.failed, "test") +
             " of " + std::to_string(result.failed + result.passed) + " failed");
  } else {
    write_line(directory + ": tables can be shared there");
    write_line(format_text("a lock costs %.1f microseconds, who waits has it after %.0f",
                           result.own, result.handed_on));
  }
  return true;
}

}  // namespace tarnel
