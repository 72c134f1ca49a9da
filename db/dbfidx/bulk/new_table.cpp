#include "db/dbfidx/bulk/new_table.h"

#include <algorithm>
#include <cerrno>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/stacks.h"
#include "db/dbfidx/table_errors.h"
#include "db/open_manner.h"
#include "lib/files.h"

namespace tarnel {

NewTable::~NewTable() noexcept(false) {
  if (claim_ == nullptr) return;
  const KeepObject keep(claim_);
  UNHOLD_VAR(&claim_);
  close_table(dbf_of(keep.object()));
}

// Opens the table that is there, so that nobody else does; what is no table is nobody's to replace.
bool NewTable::claim(const std::string& path) {
  struct stat status {};
  if (file_ops().stat(path.c_str(), &status) != 0) return true;
  const std::int32_t mark = temp_top();
  HOLD_VAR(&claim_, dbfidx_class().make());
  POP_TEMPS(mark);
  bool opened;
  {
    const ErrorHold told_here;
    opened = open_table(dbf_of(claim_), {.file = path, .exclusive = true, .internal = true});
  }
  if (!opened) dxerror(source_, TableError::kCreateInUse, {path});
  return opened;
}

// The change counter goes on from that of the table that was there, so that its orders differ. The texts keep their
// character set.
std::vector<std::uint8_t> NewTable::header() const {
  std::vector<std::uint8_t> header = dbf::new_header(fields_, today());
  dbf::set_character_mark(header.data(), source_.header.character_mark());
  if (claim_ == nullptr) return header;
  TableHeader next = dbf_of(claim_).header;
  next.add_change();
  next.apply_changes();
  dbf::set_change_counter(header.data(), next.counter());
  return header;
}

bool NewTable::open(std::string_view file, std::vector<dbf::Field> fields) {
  fields_ = std::move(fields);
  const std::size_t size = lay_out(fields_);
  const std::string path = full_table_path(file, source_.dbfExt);
  if (size > dbf::kMaxRecordSize) {
    dxerror(source_, TableError::kCreateRecordSize);
    return false;
  }
  if (path.empty()) {
    dxerror(source_, TableError::kCreateFailed, {file});
    return false;
  }
  if (tables_only_read()) {
    set_dos_error(EROFS);
    dxerror(source_, TableError::kCreateFailed, {path});
    return false;
  }
  if (!claim(path)) return false;
  record_.assign(size, ' ');
  const bool memo = std::any_of(fields_.begin(), fields_.end(),
                                [](const dbf::Field& field) { return field.type == 'M'; });
  writer_.emplace(path, memo ? memo_path(path) : std::string());
  if (writer_->create(header(), fileDefaultMode())) return true;
  set_dos_error(errno);
  dxerror(source_, TableError::kCreateFailed, {writer_->failed_file()});
  return false;
}

bool NewTable::unwritable() {
  set_dos_error(errno);
  dxerror(source_, TableError::kBulkUnwritable, {operation_, writer_->failed_file()});
  return false;
}

std::uint8_t* NewTable::blank_record() {
  std::fill(record_.begin(), record_.end(), std::uint8_t{' '});
  return record_.data();
}

bool NewTable::add(const std::uint8_t* records, std::int32_t count) {
  return writer_->add(records, count) || unwritable();
}

std::int64_t NewTable::put_memo(void* target, std::string_view text) {
  auto& table = *static_cast<NewTable*>(target);
  const std::int64_t block = table.writer_->add_memo(text);
  if (block < 0) table.unwritable();
  return block;
}

bool NewTable::finish() {
  return (writer_->complete() && writer_->take_place()) || unwritable();
}

}  // namespace tarnel
