#include "db/dbfidx/bulk/pair_recovery.h"

#include <algorithm>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/format/format_dbt.h"
#include "lib/replacement_file.h"

namespace tarnel {
namespace {

bool is_header_of(const std::uint8_t* header, const dbt::PairMark& mark) {
  return std::equal(mark.header.begin(), mark.header.end(), header);
}

// Where the record file waits; empty for a name that nobody gave.
std::string waiting_path(const std::string& table_path, const dbt::PairMark& mark) {
  if (mark.name.empty() || mark.name.find('/') != std::string::npos) return {};
  const std::string table = behind_links(table_path);
  return table.substr(0, table.rfind('/') + 1) + mark.name;
}

// Is the file there, whole?
bool waits(const std::string& path, const dbt::PairMark& mark) {
  if (path.empty()) return false;
  const File file(path.c_str(), O_RDONLY);
  struct stat status {};
  std::uint8_t header[sizeof mark.header];
  return file.opened() && file_ops().fstat(file.fd(), &status) == 0 &&
         static_cast<std::uint64_t>(status.st_size) == mark.size &&
         read_at(file.fd(), header, sizeof header, 0) && is_header_of(header, mark);
}

}  // namespace

Pair look_at_pair(const PairFiles& files, bool& marked) {
  dbt::PairMark mark;
  const int found = dbt::read_pair_mark(files.memo_fd, mark);
  marked = found > 0;
  if (!marked) return found < 0 ? Pair::kUnreadable : Pair::kWhole;
  // The header tells of a copy, the inode of a table that was changed since.
  if (is_header_of(files.header, mark) || mark.inode == files.inode) return Pair::kWhole;
  return waits(waiting_path(files.table, mark), mark) ? Pair::kUnfinished : Pair::kForeign;
}

Pair look_at_pair(const DbfIdx& dbf) {
  bool marked = false;
  const Pair pair = look_at_pair({dbf.fileName, dbf.header.data(), dbf.inode, dbf.dbtFd}, marked);
  if (marked && pair == Pair::kWhole && !dbf.readOnly())
    static_cast<void>(dbt::clear_pair_mark(dbf.dbtFd));
  return pair;
}

bool finish_pair(const PairFiles& files) {
  dbt::PairMark mark;
  if (dbt::read_pair_mark(files.memo_fd, mark) != 1) return false;
  const std::string table = behind_links(files.table);
  if (file_ops().rename(waiting_path(files.table, mark).c_str(), table.c_str()) != 0) return false;
  flush_directory(table.c_str());
  return true;
}

bool finish_pair(const DbfIdx& dbf) {
  return finish_pair({dbf.fileName, dbf.header.data(), dbf.inode, dbf.dbtFd});
}

}  // namespace tarnel
