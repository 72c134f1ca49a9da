// What the parts of a check share.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "db/dbfidx/check/findings.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {

struct CheckedTable {
  Findings& findings;
  std::string path;
  int fd = -1, memo_fd = -1;  // for reading
  DbfIdx* dbf = nullptr;  // open in shared use; null: the engine refuses it, nobody can be using it
  std::vector<std::uint8_t> header;  // whole
  std::vector<dbf::Field> fields;    // those that lie inside the record
  std::int32_t records = 0;          // counted that are there

  std::uint16_t record_size() const { return dbf::record_size(header.data()); }
  std::int64_t place_of(std::int32_t n) const {
    return dbf::record_offset(dbf::header_size(header.data()), record_size(), n);
  }
};

// The internal lock of a checked table for a moment; none on one that is not open.
class [[nodiscard]] ShortLock {
 public:
  explicit ShortLock(DbfIdx* dbf) : dbf_(dbf), held_(dbf == nullptr || readLock(*dbf)) {}
  ~ShortLock() noexcept(false) {
    if (dbf_ != nullptr && held_) unlockInternal(*dbf_);
  }
  ShortLock(const ShortLock&) = delete;
  ShortLock& operator=(const ShortLock&) = delete;
  bool held() const { return held_; }

 private:
  DbfIdx* const dbf_;
  const bool held_;
};

// A bit for each of many numbers.
class Marks {
 public:
  explicit Marks(std::uint64_t n) : bits_(n / 64 + 1), size_(n + 1) {}
  // Was it marked already? Numbers beyond are, so that nobody looks for them.
  bool mark(std::uint64_t i) {
    if (i >= size_) return true;
    const bool before = has(i);
    bits_[i / 64] |= std::uint64_t{1} << i % 64;
    return before;
  }
  bool has(std::uint64_t i) const { return i >= size_ || (bits_[i / 64] >> i % 64 & 1) != 0; }
  void grow(std::uint64_t n) {
    if (n < size_) return;
    bits_.resize(n / 64 + 1);
    size_ = n + 1;
  }

 private:
  std::vector<std::uint64_t> bits_;
  std::uint64_t size_;
};

// Header and descriptors against the file; fills what the table says of itself. False when nobody can tell
// where the records are.
bool check_header(CheckedTable& table);
// Is a field by name, type and length one that a table can have?
bool is_good_field(const dbf::Field& field);
// Is a text what a memo field may hold: blank, or the number of a block?
bool is_memo_number(std::string_view text);
// The fields of every record, and the memos that they name.
void check_records(CheckedTable& table);
// An order by its path. False when it could not be looked at.
// REQUIRES: the table is open.
bool check_order(CheckedTable& table, const std::string& path);

}  // namespace tarnel
