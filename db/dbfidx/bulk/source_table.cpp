#include "db/dbfidx/bulk/source_table.h"

#include <sys/stat.h>
#include <unistd.h>

#include "core/errors.h"
#include "core/stacks.h"
#include "db/area.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

// One file has one descriptor: where this process writes a table it is read the same way.
bool is_written_here(const struct stat& status) {
  for (const DbfIdx* dbf = open_tables(); dbf != nullptr; dbf = dbf->nextOpen)
    if (dbf->device == status.st_dev && dbf->inode == status.st_ino && !dbf->readOnly())
      return true;
  return false;
}

}  // namespace

SourceTable::~SourceTable() noexcept(false) {
  if (object_ == nullptr) return;
  const KeepObject keep(object_);
  UNHOLD_VAR(&object_);
  DbfIdx& source = dbf_of(keep.object());
  if (source.buffer.changed()) {
    close_table(source);
    return;
  }
  const ErrorHold nothing_to_lose;  // the operation has its result
  close_table(source);
}

bool SourceTable::open(DbfIdx& target, std::string_view file) {
  std::string name;
  struct stat status {};
  if (!defaultExtension(name, file, target.dbfExt, kPathLimit + 1)) return false;
  name = find_file(name, status);
  if (name.empty() || (status.st_dev == target.device && status.st_ino == target.inode))
    return false;
  const std::int32_t mark = temp_top();
  HOLD_VAR(&object_, dbfidx_class().make());
  POP_TEMPS(mark);
  const std::string alias = format_text("__app%05ld", static_cast<long>(getpid()));
  const AreaScope in(target.area);
  const WantedAlias wanted(alias);
  const ErrorHold told_by_caller;
  if (select_free_area() == nullptr) return false;
  DbfIdx& source = dbf();
  return open_table(source,
                    {.file = name, .exclusive = false, .read_only = !is_written_here(status)}) &&
         rename_alias(object_, alias, &source.aliasName) >= 0;
}

}  // namespace tarnel
