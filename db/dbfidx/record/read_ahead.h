// Records of a table in shared use, read in one run for a walk that goes from one to the next: one internal
// lock for many records instead of one for each. Others may change them meanwhile, so what was read is
// believed for a short time only, and not at all once this process has locked or written anything.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnel {

struct DbfIdx;

class ReadAhead {
 public:
  // Copies record n into `to` if it was read ahead just now. To be asked for every record that is read:
  // the numbers tell whether this is a walk.
  bool take(std::int32_t n, std::uint8_t* to, std::size_t record_size);
  // After a miss on a walk: reads record n, one that there is, into `to`, and those behind it ahead, the
  // more the longer the walk. False when it is no walk, or they can't be read. REQUIRES: the internal lock
  // is held.
  bool load(DbfIdx& dbf, std::int32_t n, std::uint8_t* to);
  // Reads record n, to which a step along an order has come, under the lock of the step: the field that is
  // asked for next needs none of its own. Nothing is told of a failure. REQUIRES: the internal lock is held.
  void note(DbfIdx& dbf, std::int32_t n);
  // What was read is believed no more.
  void forget() { count_ = 0; }

 private:
  bool read(DbfIdx& dbf, std::int32_t n, std::int32_t count);

  std::vector<std::uint8_t> bytes_;
  std::int32_t first_ = 1;
  std::int32_t count_ = 0;
  std::int64_t read_at_ = 0;  // ns of the monotonic clock
  std::int32_t last_ = 0;     // the record asked for last
  std::int32_t walked_ = 0;   // so many records were asked for in a row
};

}  // namespace tarnel
