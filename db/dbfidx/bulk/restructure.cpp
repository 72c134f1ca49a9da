#include "db/dbfidx/bulk/restructure.h"

#include <algorithm>
#include <cassert>
#include <cerrno>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/runtime.h"
#include "core/switched.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/table_errors.h"

namespace tarnel {
namespace {

constexpr const char kOperation[] = "MODIFY STRUCTURE";

bool any_memo(const std::vector<dbf::Field>& fields) {
  return std::any_of(fields.begin(), fields.end(),
                     [](const dbf::Field& field) { return field.type == 'M'; });
}

}  // namespace

Restructure::Restructure(DbfIdx& dbf, std::vector<dbf::Field> fields)
    : dbf_(dbf),
      fields_(std::move(fields)),
      memo_(any_memo(fields_)),
      had_memo_(dbf::has_memo(dbf.header.version())),
      memo_path_(had_memo_ ? dbf.memoName : memo_path(dbf.fileName)),
      writer_(dbf.fileName, memo_ ? memo_path_ : std::string()) {
  assert(dbf.exclusive() && !dbf.readOnly());
}

bool Restructure::begin() {
  const std::size_t size = lay_out(fields_);
  if (size > dbf::kMaxRecordSize) {
    dxerror(dbf_, TableError::kCreateRecordSize);
    return false;
  }
  struct stat status {};
  if (memo_ && !had_memo_ && file_ops().stat(memo_path_.c_str(), &status) == 0) {
    errno = EEXIST;
    set_dos_error(errno);
    dxerror(dbf_, TableError::kCreateFailed, {memo_path_});
    return false;
  }
  record_.assign(size, ' ');
  std::vector<std::uint8_t> header = dbf::new_header(fields_, today());
  dbf::keep_reserved(header.data(), dbf_.header.data());
  dbf::set_change_counter(header.data(), dbf_.header.counter());
  next_.adopt(header);
  next_.add_change();  // its orders differ from now on
  next_.apply_changes();
  return writer_.create(header, 0600) || unwritable();
}

bool Restructure::unwritable() {
  set_dos_error(errno);
  dxerror(dbf_, TableError::kBulkUnwritable, {kOperation, writer_.failed_file()});
  return false;
}

std::uint8_t* Restructure::blank_record() {
  std::fill(record_.begin(), record_.end(), std::uint8_t{' '});
  return record_.data();
}

bool Restructure::add() {
  return writer_.add(record_.data(), 1) || unwritable();
}

std::int64_t Restructure::add_memo(std::string_view text) {
  const std::int64_t block = writer_.add_memo(text);
  if (block < 0) unwritable();
  return block;
}

bool Restructure::finish() {
  const InterruptHold hold;
  const SameTable same(dbf_);
  next_.stamp(writer_.count(), today());
  bool placed = writer_.complete(next_.data(), true);
  if (placed) {
    // Before it has the table's name: who waits for the table must not find it free.
    const Switched<int> switched(dbf_.dbfFd, writer_.records().fd());
    placed = claim_table(dbf_, true);
  }
  placed = placed && writer_.take_place();
  if (!placed) {
    const bool halfway = writer_.halfway();
    unwritable();
    if (halfway && same.holds()) close_table(dbf_);
    return false;
  }
  dbf_.changed = false;  // the former file is nobody's any more
  close_table(dbf_);
  if (had_memo_ && !memo_) file_ops().unlink(memo_path_.c_str());
  return true;
}

}  // namespace tarnel
