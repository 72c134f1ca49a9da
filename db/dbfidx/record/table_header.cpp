#include "db/dbfidx/record/table_header.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <ctime>
#include <utility>

#include "core/file_ops.h"
#include "db/dbfidx/dbfidx.h"
#include "db/dbfidx/record/records.h"
#include "db/dbfidx/table_errors.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

// Growth between two looks at a header that is believed without a look at the file's size.
constexpr std::int64_t kPlausibleGrowth = 65536;

// A count that leaps may come from a damaged header; the file has what its size says.
std::int32_t plausible_count(const DbfIdx& dbf, std::uint32_t count) {
  if (count <= dbf.lastRec + kPlausibleGrowth) return static_cast<std::int32_t>(count);
  struct stat status {};
  if (file_ops().fstat(dbf.dbfFd, &status) != 0) return dbf.lastRec;
  const std::int64_t fits = (status.st_size - dbf.header.size()) / dbf.recordSize;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(fits, 0, count));
}

bool refuse(DbfIdx& dbf, TableError error) {
  dbf.header.look_again();
  dxerror(dbf, error, {dbf.fileName});
  return false;
}

// Writes count, date and counter; nothing is raised.
bool store(DbfIdx& dbf) {
  dbf.changed = true;
  dbf.header.stamp(dbf.lastRec, today());
  file_changes(dbf);
  if (write_at(dbf.dbfFd, dbf.header.data(), dbf::kHeaderPrefix, 0)) return true;
  dbf.header.look_again();
  return false;
}

}  // namespace

void TableHeader::adopt(std::vector<std::uint8_t> bytes) {
  assert(bytes.size() >= dbf::kHeaderPrefix);
  *this = TableHeader();
  bytes_ = std::move(bytes);
}

bool TableHeader::has_layout(const std::uint8_t* prefix) const {
  return dbf::header_size(prefix) == size() &&
         dbf::record_size(prefix) == dbf::record_size(data()) &&
         dbf::record_count(prefix) <= kMaxRecords;
}

void TableHeader::take(const std::uint8_t* prefix, bool under_lock) {
  assert(has_layout(prefix));
  std::memcpy(bytes_.data(), prefix, dbf::kHeaderPrefix);
  fresh_ = under_lock;
}

void TableHeader::add_change() {
  if (++pending_ == 0) pending_ = 2;
}

void TableHeader::apply_changes() {
  const std::uint8_t pending = std::exchange(pending_, std::uint8_t{0});
  auto counter = static_cast<std::uint8_t>(this->counter() + pending);
  // A counter that wrapped steps over the values that look unused.
  if (pending >= counter) counter = static_cast<std::uint8_t>(counter + 2);
  dbf::set_change_counter(bytes_.data(), counter);
}

void TableHeader::stamp(std::int32_t count, dbf::Date today) {
  dbf::set_record_count(bytes_.data(), static_cast<std::uint32_t>(count));
  dbf::set_last_update(bytes_.data(), today);
}

// Worked out once a minute at most: the header is written at every shared change.
dbf::Date today() {
  static std::time_t minute = -1;
  static dbf::Date date{};
  const std::time_t now = std::time(nullptr);
  if (now / 60 != minute) {
    const std::tm parts = local_time(now);
    date = {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
    minute = now / 60;
  }
  return date;
}

std::int64_t record_place(const DbfIdx& dbf, std::int32_t n) {
  return dbf::record_offset(dbf.header.size(), dbf.recordSize, n);
}

bool refresh_header(DbfIdx& dbf) {
  if (!dbf.isOpen()) return refuse(dbf, TableError::kHeaderNotOpen);
  if (dbf.exclusive() || dbf.header.fresh()) return true;
  std::uint8_t prefix[dbf::kHeaderPrefix];
  if (!read_shared(dbf, prefix, sizeof prefix, 0))
    return refuse(dbf, TableError::kHeaderUnreadable);
  if (!dbf.header.has_layout(prefix)) {
    dxerror(dbf, TableError::kHeaderDamaged, {dbf.fileName, "it is no longer that of this table"});
    return false;
  }
  dbf.lastRec = plausible_count(dbf, dbf::record_count(prefix));
  dbf.header.take(prefix, is_locked(dbf));
  return true;
}

bool write_header(DbfIdx& dbf) {
  if (!dbf.isOpen()) return refuse(dbf, TableError::kHeaderWriteNotOpen);
  const SameTable same(dbf);
  const bool whole = flush_records(dbf);
  if (!same.holds()) return false;  // a handler closed it
  if (!store(dbf)) return refuse(dbf, TableError::kHeaderUnwritable);
  return whole;
}

bool write_character_mark(DbfIdx& dbf, std::uint8_t mark) {
  const InternalLock lock(dbf, LockMode::kExclusive);
  if (!lock.held() || !refresh_header(dbf)) return false;
  dbf::set_character_mark(dbf.header.bytes().data(), mark);
  return write_header(dbf);
}

bool count_change(DbfIdx& dbf) {
  dbf.header.add_change();
  if (dbf.exclusive() && dbf.header.moved()) return true;
  dbf.header.apply_changes();
  dbf.header.set_moved(dbf.exclusive());
  return write_header(dbf);
}

bool count_record(DbfIdx& dbf) {
  dbf.header.add_change();
  dbf.header.apply_changes();
  return store(dbf);
}

bool updateHeader(DbfIdx& dbf) {
  if (!dbf.isOpen() || dbf.readOnly()) return true;
  const InternalLock lock(dbf, lock_mode(dbf));
  if (!lock.held() || !refresh_header(dbf)) return false;
  dbf.header.set_moved(false);
  if (dbf.header.pending() == 0) return true;
  dbf.header.apply_changes();
  return write_header(dbf);
}

bool seems_empty(DbfIdx& dbf) {
  return dbf.lastRec == 0 && (!refresh_header(dbf) || dbf.lastRec == 0);
}

}  // namespace tarnel
