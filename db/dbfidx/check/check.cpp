#include "db/dbfidx/check/check.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/bulk/pair_recovery.h"
#include "db/dbfidx/check/parts.h"
#include "db/dbfidx/order/index_control.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

// A table opened in an area of its own, which is left again on every way out. Keys may name the table by its
// alias: whoever has that meanwhile lends it.
class OpenedTable {
 public:
  explicit OpenedTable(const std::string& path)
      : former_(current_area()), in_(is_used(former_) ? former_ : nullptr) {
    const std::int32_t mark = temp_top();
    HOLD_VAR(&object_, dbfidx_class().make());
    POP_TEMPS(mark);
    number_ = former_ != nullptr ? former_->number : 0;
    if (select_free_area() == nullptr) return;
    const WantedAlias wanted("__CHECK");
    if (open_table(dbf_of(object_), {.file = path, .exclusive = false, .read_only = true}))
      borrow_alias(path);
  }
  ~OpenedTable() noexcept(false) {
    if (lender_ != nullptr) std::swap(lender_->alias, dbf_of(object_).area->alias);
    const KeepObject keep(object_);
    UNHOLD_VAR(&object_);
    close_table(dbf_of(keep.object()));
    if (!is_used(former_) && number_ > 0) ogsSelect(TMP_INT(number_), SelectMode::kNewNumber);
  }
  OpenedTable(const OpenedTable&) = delete;
  OpenedTable& operator=(const OpenedTable&) = delete;

  DbfIdx* get() { return dbf_of(object_).isOpen() ? &dbf_of(object_) : nullptr; }

 private:
  static bool is_used(const WorkArea* area) { return area != nullptr && area->server() != nullptr; }

  void borrow_alias(const std::string& path) {
    const std::string_view name = base_name(path);
    WorkArea* holder = area_by_alias(upper_text(name.substr(0, name.rfind('.')))
                                         .substr(0, static_cast<std::size_t>(kMadeAliasSize)));
    WorkArea* own = dbf_of(object_).area;
    if (holder == nullptr || holder == own) return;
    lender_ = holder;
    std::swap(lender_->alias, own->alias);
  }

  WorkArea* const former_;
  const AreaScope in_;
  Var* object_ = nullptr;  // held
  std::int32_t number_ = 0;
  WorkArea* lender_ = nullptr;
};

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
      table.findings.add(Fault::kPairUnfinished, "", "the next opening finishes it");
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

// The orders beside a table that name it.
std::vector<std::string> orders_beside(CheckedTable& table) {
  std::vector<std::string> found;
  std::error_code failed;
  const std::filesystem::path directory = std::filesystem::path(table.path).parent_path();
  for (const auto& entry : std::filesystem::directory_iterator(directory, failed)) {
    const std::string name = entry.path().string();
    if (name.size() < 4 || !same_letters(std::string_view(name).substr(name.size() - 4), ".idx"))
      continue;
    const File file(name.c_str(), O_RDONLY);
    idx::Extension extension;
    if (!file.opened() || !idx::read_extension(file.fd(), extension))
      table.findings.note(std::string(base_name(name)) +
                          " can't be read, it may be an order of it");
    else if (names_table(extension.table, base_name(table.path)))
      found.push_back(name);
  }
  std::sort(found.begin(), found.end());
  return found;
}

int check_orders(CheckedTable& table, std::span<const std::string> more) {
  std::vector<std::string> orders = orders_beside(table);
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
    const std::string memo_path_ = memo_path(table_.path);
    const bool memo = wants_memo(table_);
    const File memo_file(memo ? open_file(memo_path_.c_str(), O_RDONLY) : -1);
    bool may_open = true;
    if (memo) {
      table_.findings.begin_file(memo_path_);
      if (!memo_file.opened())
        table_.findings.add(Fault::kMemoFileLacking, "", std::strerror(errno));
      else
        may_open = check_pair(table_, memo_file.fd());
      table_.memo_fd = may_open ? memo_file.fd() : -1;
    }
    table_.findings.begin_file(table_.path);
    if (may_open)
      check_opened(result);
    else
      static_cast<void>(check_header(table_));
  }

 private:
  void check_opened(CheckResult& result) {
    OpenedTable opened(table_.path);
    table_.dbf = opened.get();
    const std::int64_t before = table_.findings.count();
    const bool usable = check_header(table_);
    // A table that is as it should be opens, unless somebody has it alone.
    if (table_.dbf == nullptr && before == 0 && table_.findings.count() == before) {
      result.refused = "in use by somebody who has it for himself";
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
  struct stat status {};
  if (!defaultExtension(name, file, ".dbf", kPathLimit + 1)) name = file;
  const std::string path = find_file(name, status);
  result.name = base_name(path.empty() ? name : path);
  if (path.empty()) {
    result.system_error = errno;
    return result;
  }
  Findings findings(tell);
  TableCheck(fullPath(path), orders, findings).run(result);
  findings.begin_file({});
  result.faults = findings.count();
  return result;
}

}  // namespace tarnel
