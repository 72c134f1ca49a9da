#include "db/dbfidx/check/opened_table.h"

#include <algorithm>
#include <filesystem>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/stacks.h"
#include "core/text.h"
#include "db/area.h"
#include "db/dbfidx/order/index_control.h"
#include "db/open_manner.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

bool is_used(const WorkArea* area) {
  return area != nullptr && area->server() != nullptr;
}

}  // namespace

OpenedTable::OpenedTable(const std::string& path, Use use)
    : former_(current_area()), in_(is_used(former_) ? former_ : nullptr) {
  const std::int32_t mark = temp_top();
  HOLD_VAR(&object_, dbfidx_class().make());
  POP_TEMPS(mark);
  number_ = former_ != nullptr ? former_->number : 0;
  if (select_free_area() == nullptr) return;
  const WantedAlias wanted("__CHECK");
  const bool alone = use == Use::kAlone;
  const ForgivingOpen manner;
  if (!open_table(dbf_of(object_), {.file = path, .exclusive = alone, .read_only = !alone})) return;
  if (manner.missing_memo().empty())
    borrow_alias(path);
  else
    close_table(dbf_of(object_));
}

OpenedTable::~OpenedTable() noexcept(false) {
  if (lender_ != nullptr) std::swap(lender_->alias, dbf_of(object_).area->alias);
  const KeepObject keep(object_);
  UNHOLD_VAR(&object_);
  close_table(dbf_of(keep.object()));
  if (!is_used(former_) && number_ > 0) ogsSelect(TMP_INT(number_), SelectMode::kNewNumber);
}

void OpenedTable::borrow_alias(const std::string& path) {
  const std::string_view name = base_name(path);
  WorkArea* holder = area_by_alias(upper_text(name.substr(0, name.rfind('.')))
                                       .substr(0, static_cast<std::size_t>(kMadeAliasSize)));
  WorkArea* own = dbf_of(object_).area;
  if (holder == nullptr || holder == own) return;
  lender_ = holder;
  std::swap(lender_->alias, own->alias);
}

std::string find_table(std::string_view file, std::string& name) {
  struct stat status {};
  if (!defaultExtension(name, file, ".dbf", kPathLimit + 1)) name = file;
  std::string path = find_file(name, status);
  if (path.empty()) path = find_file(in_any_case(name), status);
  return path.empty() ? path : fullPath(path);
}

std::string memo_beside(const std::string& table) {
  return in_any_case(memo_path(table));
}

bool is_open_table(const struct stat& status) {
  for (const DbfIdx* dbf = open_tables(); dbf != nullptr; dbf = dbf->nextOpen)
    if (dbf->device == status.st_dev && dbf->inode == status.st_ino) return true;
  return false;
}

std::vector<std::string> orders_beside(const std::string& table, std::vector<std::string>* unread) {
  std::vector<std::string> found;
  std::error_code failed;
  const std::filesystem::path directory = std::filesystem::path(table).parent_path();
  for (const auto& entry : std::filesystem::directory_iterator(directory, failed)) {
    const std::string name = entry.path().string();
    if (name.size() < 4 || !same_letters(std::string_view(name).substr(name.size() - 4), ".idx"))
      continue;
    const File file(name.c_str(), O_RDONLY | O_NONBLOCK);
    idx::Extension extension;
    const bool read = file.opened() && idx::read_extension(file.fd(), extension);
    if (!read && unread != nullptr) unread->push_back(std::string(base_name(name)));
    if (read && names_table(extension.table, base_name(table))) found.push_back(name);
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace tarnel
