// The header of an open table: what its file says of the number of records, of changes and of their
// date, and when that may be believed without another look.
#pragma once

#include <cstdint>
#include <vector>

#include "db/dbfidx/format/format_dbf.h"

namespace tarnel {

struct DbfIdx;

// Invariant: the layout (sizes and descriptors) is that of the opened file and never changes. Count,
// counter and date are those last read or written. `fresh` holds only while the internal lock is
// held under which they were, and while no other area of this process has written them since.
// Changes that are pending are not in the bytes yet; in shared use none are, outside of the
// operation that makes them.
class TableHeader {
 public:
  // Takes the bytes of a whole header over, at least dbf::kHeaderPrefix of them.
  void adopt(std::vector<std::uint8_t> bytes);

  std::uint16_t size() const { return dbf::header_size(data()); }
  std::uint8_t version() const { return dbf::version(data()); }
  std::uint8_t counter() const { return dbf::change_counter(data()); }
  std::uint8_t character_mark() const { return dbf::character_mark(data()); }
  dbf::Date last_update() const { return dbf::last_update(data()); }
  const std::uint8_t* data() const { return bytes_.data(); }
  std::vector<std::uint8_t>& bytes() { return bytes_; }  // for the reader of the descriptors

  // What the file's first bytes say now. REQUIRES: has_layout(prefix)
  bool has_layout(const std::uint8_t* prefix) const;
  void take(const std::uint8_t* prefix, bool under_lock);
  bool fresh() const { return fresh_; }
  void look_again() { fresh_ = false; }

  std::uint8_t pending() const { return pending_; }
  void add_change();     // one more change pending
  void apply_changes();  // counts what is pending
  // Exclusive use: has the counter in the file moved since it was last settled?
  bool moved() const { return moved_; }
  void set_moved(bool moved) { moved_ = moved; }
  void stamp(std::int32_t count, dbf::Date today);

 private:
  std::vector<std::uint8_t> bytes_;
  std::uint8_t pending_ = 0;
  bool fresh_ = false;
  bool moved_ = false;
};

constexpr std::int32_t kMaxRecords = 0x7FFFFFFE;

// The place of record n in the file.
std::int64_t record_place(const DbfIdx& dbf, std::int32_t n);
// The date that goes into a header.
dbf::Date today();

// Looks at the header again: lastRec, change counter, date. A table in exclusive use keeps what it
// has. False after errors 103 (unreadable, or no longer the header of this table) and 413: lastRec
// is then not to be relied on, and the operation must stop.
[[nodiscard]] bool refresh_header(DbfIdx& dbf);
// Writes the header with lastRec, today's date and the change counter, and before it what the window
// holds. False after errors 104 and 413.
[[nodiscard]] bool write_header(DbfIdx& dbf);
// Writes the mark of the character set, with the rest of the header. REQUIRES: the table may be written. False after
// errors 103, 104, 413, or when the lock could not be had (327).
[[nodiscard]] bool write_character_mark(DbfIdx& dbf, std::uint8_t mark);
// Counts a change that is about to be made, in shared use at once in the file, in exclusive use once
// until the header is next brought up to date: a process that dies later leaves orders that are seen
// to differ, whether they were open or not. False after error 104: the change must not be made.
[[nodiscard]] bool count_change(DbfIdx& dbf);
// Writes the header, with one more record and change than before. Nothing is raised.
[[nodiscard]] bool count_record(DbfIdx& dbf);
// Brings the header in the file up to date with what is pending. False after errors 103, 104.
bool updateHeader(DbfIdx& dbf);

// The count on demand: 0 records known means look again. A header that can't be read counts as none.
bool seems_empty(DbfIdx& dbf);

}  // namespace tarnel
