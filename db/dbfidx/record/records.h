// Records between the file and the buffer: fetched, changed and written, appended.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarnel {

struct DbfIdx;

// Brings record n into the buffer; above lastRec it is the phantom, and the cursor goes there. False
// after errors 1, 103, 413.
[[nodiscard]] bool fetchRecord(DbfIdx& dbf, std::int32_t n);
// Brings the record under the cursor into the buffer, after committing a changed one, under the read
// lock. onlyIfMoved: only if the buffer holds another record (is_buffered); bringRecord: it does.
// False after an error, as above.
[[nodiscard]] bool bringRecord(DbfIdx& dbf, bool onlyIfMoved);
// Past the end: a blank buffer, eofFlag, recNo = lastRec + 1.
void phantom(DbfIdx& dbf);
// The delete mark of the record under the cursor, which is fetched.
bool record_deleted(DbfIdx& dbf);

// Writes a changed buffer, and the keys that changed, wherever the cursor is. Failed: after errors
// 104, 325, 327, 334; the change stays in the buffer unless it was the file that refused it.
enum class Commit : std::uint8_t { kNothing, kWritten, kFailed };
[[nodiscard]] Commit commitRecord(DbfIdx& dbf);
// The same before the cursor moves on, which a failure, told by then, does not prevent. False when
// the table is gone.
[[nodiscard]] bool leave_record(DbfIdx& dbf);
// What the method commit does: writes, re-reads, brings the header up to date. False after an error.
bool commit_table(DbfIdx& dbf);
bool commit_alone(DbfIdx& dbf);  // the same, and the children of the table stay where they are
// Adds a record, blank unless its bytes are given, and its keys, and puts it into the buffer under the cursor.
// False when it could not be locked or written, or would lie where no lock reaches; errors 103, 104, 327.
// REQUIRES: the internal exclusive lock is held.
[[nodiscard]] bool append_record(DbfIdx& dbf, bool release_locks,
                                 const std::uint8_t* contents = nullptr);

// Adds records as they are to the end of a table, all with one write; the cursor stays. False after errors 104,
// 327: then none of them was added. REQUIRES: the table is in exclusive use and has no orders.
[[nodiscard]] bool append_run(DbfIdx& dbf, const std::uint8_t* records, std::int32_t count);

// May the record under the cursor be changed now? 0 yes, 1 yes with an automatic lock that the
// caller gives back with release_auto_lock, -1 no. Errors 104, 322, 325, 334.
int checkReplace(DbfIdx& dbf);
void release_auto_lock(DbfIdx& dbf);

// --- The file below the buffer and the header.

// Reads n bytes of a table that others use too. False on an error or the end of the file.
[[nodiscard]] bool read_shared(DbfIdx& dbf, std::uint8_t* to, std::size_t n, std::int64_t at);
// This area writes the file: what it has read ahead, and what other areas of this process know, is no
// longer so.
void file_changes(DbfIdx& dbf);
// Is the internal lock held?
bool is_locked(const DbfIdx& dbf);
// Writes the records that the window holds back. False after error 104, as below.
[[nodiscard]] bool flush_records(DbfIdx& dbf);
// The file refused the records from n on that the window had held back: the table ends before them,
// and its orders, which have keys of them, stay marked as different. Nothing is raised.
void records_lost(DbfIdx& dbf, std::int32_t n);
// The same for changes of records: what the file has of them is not known.
void changes_lost(DbfIdx& dbf);

// For the life of the guard changes of records in exclusive use may wait in memory for each other.
class GatheredChanges {
 public:
  explicit GatheredChanges(DbfIdx& dbf);
  ~GatheredChanges();  // what fails here is told when the table is next written
  GatheredChanges(const GatheredChanges&) = delete;
  GatheredChanges& operator=(const GatheredChanges&) = delete;
  // The end, when nothing is in the way: false after error 104. True when the table is gone.
  [[nodiscard]] bool finish();

 private:
  DbfIdx& dbf_;
  const std::uint32_t generation_;
  const bool former_;
  bool finished_ = false;
};

}  // namespace tarnel
