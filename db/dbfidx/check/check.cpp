#include "db/dbfidx/check/check.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/text.h"
#include "db/dbfidx/bulk/leftovers.h"
#include "db/dbfidx/bulk/pair_recovery.h"
#include "db/dbfidx/check/opened_table.h"
#include "db/dbfidx/check/parts.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

// What the memo file says before the table is opened: an open would finish what a pack left. False when the
// table must not be opened.
bool check_pair(CheckedTable& table, int memo_fd) {
  std::uint8_t prefix[dbf::kHeaderPrefix];
  struct stat status {};
  if (!read_at(table.fd, prefix, sizeof prefix, 0) || file_ops().fstat(table.fd, &status) != 0)
    return true;
  bool marked = false;
  switch (look_at_pair({table.path, prefix, status.st_ino, memo_fd}, marked)) {
    case Pair::kUnfinished:
      table.findings.add(Fault::kPairUnfinished, "", "an opening or a repair does that");
      return false;
    case Pair::kForeign:
      table.findings.add(Fault::kPairForeign, "");
      break;
    case Pair::kUnreadable:
      table.findings.add(Fault::kUnreadable, "");
      break;
    case Pair::kWhole:
      break;
  }
  return true;
}

bool wants_memo(const CheckedTable& table) {
  std::uint8_t prefix[dbf::kHeaderPrefix];
  return read_at(table.fd, prefix, sizeof prefix, 0) && dbf::is_table(dbf::version(prefix)) &&
         dbf::has_memo(dbf::version(prefix));
}

std::string folder_of(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

int check_orders(CheckedTable& table, std::span<const std::string> more) {
  std::vector<std::string> unread;
  std::vector<std::string> orders = orders_beside(table.path, &unread);
  for (const std::string& name : unread)
    table.findings.note(name + " can't be read, it may be an order of it");
  for (const std::string& order : more) {
    struct stat status {};
    std::string name;
    if (!defaultExtension(name, order, ".idx", kPathLimit + 1)) continue;
    const std::string path = find_file(name, status);
    orders.push_back(path.empty() ? name : fullPath(path));
  }
  int looked_at = 0;
  std::vector<std::string> done;
  for (const std::string& order : orders) {
    if (std::find(done.begin(), done.end(), order) != done.end()) continue;
    done.push_back(order);
    looked_at += check_order(table, order) ? 1 : 0;
  }
  return looked_at;
}

// The parts, from the file on.
class TableCheck {
 public:
  TableCheck(const std::string& path, std::span<const std::string> orders, Findings& findings)
      : table_{findings, path, -1, -1, nullptr, {}, {}, 0}, orders_(orders) {}

  void run(CheckResult& result) {
    const File file(table_.path.c_str(), O_RDONLY);
    struct stat status {};
    if (!file.opened() || file_ops().fstat(file.fd(), &status) != 0) {
      result.system_error = errno;
      return;
    }
    if (!S_ISREG(status.st_mode)) {
      result.refused = "no file of records";
      return;
    }
    table_.fd = file.fd();
    const std::string memo_name = memo_beside(table_.path);
    const bool memo = wants_memo(table_);
    const File memo_file(memo ? open_file(memo_name.c_str(), O_RDONLY) : -1);
    bool may_open = true;
    if (memo) {
      table_.findings.begin_file(memo_name);
      if (!memo_file.opened())
        table_.findings.add(Fault::kMemoFileLacking, "", std::strerror(errno));
      else
        may_open = check_pair(table_, memo_file.fd());
      table_.memo_fd = may_open ? memo_file.fd() : -1;
    }
    table_.findings.begin_file(table_.path);
    for (const Leftover& left : leftovers_in(folder_of(table_.path)))
      table_.findings.note(left.words + (left.removable ? "; a repair removes it" : ""));
    if (may_open)
      check_opened(result);
    else
      static_cast<void>(check_header(table_));
  }

 private:
  bool open_here() const {
    struct stat status {};
    return file_ops().fstat(table_.fd, &status) == 0 && is_open_table(status);
  }

  void check_opened(CheckResult& result) {
    OpenedTable opened(table_.path, OpenedTable::Use::kToRead);
    table_.dbf = opened.get();
    const std::int64_t before = table_.findings.count();
    const bool usable = check_header(table_);
    // A table that is as it should be opens, unless somebody has it alone.
    if (table_.dbf == nullptr && before == 0 && table_.findings.count() == before) {
      result.refused = open_here() ? "open here for nobody else, close it or open it shared first"
                                   : "in use by another program, which has it for itself";
      return;
    }
    if (!usable) return;
    check_records(table_);
    result.records = table_.records;
    if (table_.dbf != nullptr)
      result.orders = check_orders(table_, orders_);
    else
      table_.findings.note("the table can't be opened as it is, its orders were not looked at");
  }

  CheckedTable table_;
  const std::span<const std::string> orders_;
};

}  // namespace

CheckResult check_table(std::string_view file, std::span<const std::string> orders,
                        const TellLine& tell) {
  const ErrorHold found_here;
  CheckResult result;
  std::string name;
  const std::string path = find_table(file, name);
  result.name = base_name(path.empty() ? name : path);
  if (path.empty()) {
    result.system_error = errno;
    return result;
  }
  Findings findings(tell);
  TableCheck(path, orders, findings).run(result);
  findings.begin_file({});
  result.faults = findings.count();
  return result;
}

}  // namespace tarnel
