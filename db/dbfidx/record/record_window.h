// Records of a table in exclusive use, held in memory in one run: read ahead of a walk, or appended
// and not yet written. Nobody else can see or change the file meanwhile. Records above the count in
// the file's header are lost in a crash in any case, so holding them back loses nothing that a
// reader afterwards could have seen; all others are written through, but for the time of an operation
// that changes many of them.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace tarnel {

struct DbfIdx;

class RecordWindow {
 public:
  // Copies record n into `to` if it is held in memory.
  bool copy(std::int32_t n, std::uint8_t* to, std::size_t record_size) {
    if (!holds(n)) return false;
    last_read_ = n;
    std::memcpy(to, bytes_.data() + static_cast<std::size_t>(n - first_) * record_size,
                record_size);
    return true;
  }
  // Copies record n into `to`. False on a read error or a record that the file does not have.
  [[nodiscard]] bool read(DbfIdx& dbf, std::int32_t n, std::uint8_t* to);
  // Stores record n, one that there is, or a new one behind all others. False on a write error.
  [[nodiscard]] bool write(DbfIdx& dbf, std::int32_t n, const std::uint8_t* from);
  [[nodiscard]] bool append(DbfIdx& dbf, std::int32_t n, const std::uint8_t* from);
  // Writes what is held back. On a write error those records are lost, see records_lost() and
  // changes_lost(), and the result is false until refused() was asked.
  [[nodiscard]] bool flush(DbfIdx& dbf);
  // The first record that the file refused, 0 none, and 0 from then on.
  std::int32_t refused() { return std::exchange(refused_, 0); }
  // Changes of records held in memory wait for the next flush, or no longer. Returns what was so before.
  bool gather(bool on) { return std::exchange(gathers_, on); }
  void reset();

 private:
  bool holds(std::int32_t n) const { return n >= first_ && n < first_ + count_; }
  bool load(DbfIdx& dbf, std::int32_t n, std::size_t bytes);
  bool load_for_walk(DbfIdx& dbf, std::int32_t n);
  void flush_changes(DbfIdx& dbf);
  bool worth_loading_all(const DbfIdx& dbf);
  std::uint8_t* at(const DbfIdx& dbf, std::int32_t n);

  std::vector<std::uint8_t> bytes_;
  std::int32_t first_ = 1;
  std::int32_t count_ = 0;
  std::int32_t unwritten_ =
      0;  // first record held back, 0 none; it and all behind it are unwritten
  std::int32_t refused_ = 0;
  bool gathers_ = false;
  std::int32_t first_changed_ = 0,
               last_changed_ = 0;  // between them are changes to be written, 0 none
  std::int32_t last_read_ = 0;     // to tell a walk from a jump
  std::int64_t jumps_ = 0;         // records read out of turn since the window was filled
};

}  // namespace tarnel
