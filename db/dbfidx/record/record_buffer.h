// The record that an open table has in memory, and what is known of it.
#pragma once

#include <cassert>
#include <cstdint>
#include <utility>
#include <vector>

#include "core/checks.h"
#include "db/dbfidx/format/format_dbf.h"

namespace tarnel {

// Invariant, by state:
//
//   kNothing     number() is 0 and the bytes are of no record
//   kPhantom     all blanks; number() is one more than the table was last seen to have
//   kUnreadable  all blanks; record number() is there but could not be read: it is not written
//   kSeen        record number() as it was read or written at some time
//   kCurrent     record number() as it stands in the file: read or written under the internal lock
//                that is held now
//   kChanged     record number() with changes that the file does not have; former() is the record
//                as it was before the first of them
//
// The only ways from one to the other are the transitions below. Values of fields taken from the
// bytes are good as long as stamp() stays, which is never 0 once the buffer was filled.
class RecordBuffer {
 public:
  enum class State : std::uint8_t { kNothing, kPhantom, kUnreadable, kSeen, kCurrent, kChanged };

  // Room for records of that size, and behind each a NUL.
  void lay_out(std::uint16_t record_size);

  State state() const { return state_; }
  std::int32_t number() const { return number_; }
  bool changed() const { return state_ == State::kChanged; }
  bool is_current(std::int32_t n) const { return state_ == State::kCurrent && number_ == n; }
  // May the record be changed, that is, do the bytes come from the file?
  bool writable() const { return state_ >= State::kSeen; }
  bool marked_deleted() const { return !bytes_.empty() && bytes_.front() == dbf::kDeletedMark; }
  const std::uint8_t* data() const { return bytes_.data(); }
  const std::vector<std::uint8_t>& former() const { return former_; }
  std::uint64_t stamp() const { return stamp_; }

  // --- Transitions
  void forget();  // to kNothing
  void be_phantom(std::int32_t number);
  // The place for the bytes of a record that is about to be read; until one of the next two is called
  // the buffer holds nothing.
  std::uint8_t* begin_read();
  void read_done(std::int32_t number, bool under_lock) {
    number_ = number;
    state_ = under_lock ? State::kCurrent : State::kSeen;
    if constexpr (kChecked) check_invariant();
  }
  void read_failed(std::int32_t number);
  // A new record, blank, that is about to be written.
  std::uint8_t* begin_append();
  // The bytes for a change; what they were is kept at the first. REQUIRES: writable()
  std::uint8_t* begin_change();
  void written(bool under_lock);  // REQUIRES: writable()
  // The internal lock was given back, or somebody else in this process wrote the file.
  void look_again() {
    if (state_ == State::kCurrent) state_ = State::kSeen;
  }

 private:
  friend class FormerRecord;
  void blank();
  void check_invariant() const;
  void stale() { stamp_ = ++last_stamp_; }

  std::vector<std::uint8_t> bytes_;
  std::vector<std::uint8_t> former_;            // empty until needed
  inline static std::uint64_t last_stamp_ = 0;  // of all tables: no stamp comes twice
  std::uint64_t stamp_ = 0;
  std::int32_t number_ = 0;
  State state_ = State::kNothing;
};

// For the life of the guard the buffer shows the record as it was before its changes. When code that
// ran meanwhile has filled the buffer with something else, that is forgotten.
class FormerRecord {
 public:
  explicit FormerRecord(RecordBuffer& buffer) : buffer_(buffer) {
    exchange();
    stamp_ = buffer.stamp();
  }
  ~FormerRecord() {
    const bool filled = buffer_.stamp() != stamp_;
    // The buffer of a table that was opened anew has no former record yet.
    if (buffer_.former_.size() == buffer_.bytes_.size()) exchange();
    if (filled) buffer_.forget();
  }
  FormerRecord(const FormerRecord&) = delete;
  FormerRecord& operator=(const FormerRecord&) = delete;

 private:
  void exchange() {
    std::swap(buffer_.bytes_, buffer_.former_);
    buffer_.stale();
  }
  RecordBuffer& buffer_;
  std::uint64_t stamp_;
};

}  // namespace tarnel
