// A table opened in an area of its own for a check or a repair, and the orders that are said to be its.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

#include "db/area.h"
#include "db/dbfidx/check/findings.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {

// The area is left again on every way out. Keys may name the table by its alias: whoever has that meanwhile
// lends it.
class OpenedTable {
 public:
  enum class Use : bool { kToRead, kAlone };
  OpenedTable(const std::string& path, Use use);
  ~OpenedTable() noexcept(false);
  OpenedTable(const OpenedTable&) = delete;
  OpenedTable& operator=(const OpenedTable&) = delete;

  DbfIdx* get() { return dbf_of(object_).isOpen() ? &dbf_of(object_) : nullptr; }
  Var* object() { return object_; }

 private:
  void borrow_alias(const std::string& path);

  WorkArea* const former_;
  const AreaScope in_;
  Var* object_ = nullptr;  // held
  std::int32_t number_ = 0;
  WorkArea* lender_ = nullptr;
};

// The path of a table's file, which is sought by a name like any table's, and then in whatever letters; "" with errno
// set. `name` gets what was sought.
std::string find_table(std::string_view file, std::string& name);
// The memo file beside a table, in whatever letters it is there.
std::string memo_beside(const std::string& table);
// Has this process the file open as a table?
bool is_open_table(const struct stat& status);

// The paths of the orders in the directory of a table that name it, in alphabetical order. `unread` gets the names of
// those that can't be read, which may be orders of it.
std::vector<std::string> orders_beside(const std::string& table,
                                       std::vector<std::string>* unread = nullptr);

}  // namespace tarnel
