#include "db/dbfidx/record/record_window.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/file_ops.h"
#include "db/dbfidx/dbfidx.h"

namespace tarnel {
namespace {

// The first window is small: most that reads the first record goes elsewhere then.
constexpr std::size_t kFirstBytes = 4096, kWindowBytes = 64 * 1024, kMostBytes = 64 * 1024 * 1024;
constexpr std::int64_t kSmallTable =
    1024 * 1024;                            // bytes of a table that a walk through it may keep
constexpr std::int64_t kBytesAJump = 4096;  // read in the time that one jump takes

std::int32_t records_in(const DbfIdx& dbf, std::size_t bytes) {
  return std::max<std::int32_t>(1, static_cast<std::int32_t>(bytes / dbf.recordSize));
}

}  // namespace

std::uint8_t* RecordWindow::at(const DbfIdx& dbf, std::int32_t n) {
  return bytes_.data() + static_cast<std::size_t>(n - first_) * dbf.recordSize;
}

void RecordWindow::reset() {
  *this = RecordWindow();
}

// Fills the window with the records from n on. False when the file has not even the first whole.
bool RecordWindow::load(DbfIdx& dbf, std::int32_t n, std::size_t bytes) {
  flush_changes(dbf);
  jumps_ = 0;
  const std::int32_t wanted = std::min(records_in(dbf, bytes), dbf.lastRec - n + 1);
  bytes_.resize(static_cast<std::size_t>(std::max(wanted, 1)) * dbf.recordSize);
  const std::int64_t got =
      read_some_at(dbf.dbfFd, bytes_.data(), bytes_.size(), record_place(dbf, n));
  first_ = n;
  count_ = got <= 0 ? 0 : static_cast<std::int32_t>(got / dbf.recordSize);
  return count_ > 0;
}

// Fills the window for a walk that came to record n: once it has passed one with more, and of a small table with
// all of it, since it may well be walked again.
bool RecordWindow::load_for_walk(DbfIdx& dbf, std::int32_t n) {
  const bool passed = count_ > 0 && n == first_ + count_;
  const bool small = std::int64_t{dbf.recordSize} * dbf.lastRec <= kSmallTable;
  if (passed && small && load(dbf, 1, kMostBytes) && holds(n)) return true;
  return load(dbf, n, passed ? kWindowBytes : kFirstBytes);
}

// After many jumps through a table that is not too large, as a walk along an order makes them, all
// of it costs less than the next jumps.
bool RecordWindow::worth_loading_all(const DbfIdx& dbf) {
  const auto size = static_cast<std::int64_t>(dbf.recordSize) * dbf.lastRec;
  return ++jumps_ * kBytesAJump >= size && size <= static_cast<std::int64_t>(kMostBytes);
}

bool RecordWindow::read(DbfIdx& dbf, std::int32_t n, std::uint8_t* to) {
  const bool walking = n == last_read_ + 1 || n == 1;
  last_read_ = n;
  if (!holds(n)) {
    if (!walking) {
      if (unwritten_ != 0 && !flush(dbf)) return false;
      if (!worth_loading_all(dbf) || !load(dbf, 1, kMostBytes) || !holds(n))
        return read_at(dbf.dbfFd, to, dbf.recordSize, record_place(dbf, n));
    } else if ((unwritten_ != 0 && !flush(dbf)) || !load_for_walk(dbf, n)) {
      return false;
    }
  }
  std::memcpy(to, at(dbf, n), dbf.recordSize);
  return true;
}

bool RecordWindow::write(DbfIdx& dbf, std::int32_t n, const std::uint8_t* from) {
  if (holds(n)) std::memcpy(at(dbf, n), from, dbf.recordSize);
  if (unwritten_ != 0 && n >= unwritten_) return true;
  if (!gathers_ || !holds(n))
    return write_at(dbf.dbfFd, from, dbf.recordSize, record_place(dbf, n));
  first_changed_ = first_changed_ == 0 ? n : std::min(first_changed_, n);
  last_changed_ = std::max(last_changed_, n);
  return true;
}

bool RecordWindow::append(DbfIdx& dbf, std::int32_t n, const std::uint8_t* from) {
  const std::int32_t room = records_in(dbf, kWindowBytes);
  if (unwritten_ != 0 && count_ >= room && !flush(dbf)) return false;
  if (unwritten_ == 0) flush_changes(dbf);
  const std::int32_t count = unwritten_ == 0 ? 1 : count_ + 1;
  bytes_.resize(std::max(bytes_.size(), static_cast<std::size_t>(count) * dbf.recordSize));
  if (unwritten_ == 0) first_ = unwritten_ = n;
  count_ = count;
  std::memcpy(at(dbf, n), from, dbf.recordSize);
  return true;
}

// What lies between two changes is as the file has it. After a failure only the file tells what became of
// them; flush() gives the word of it.
void RecordWindow::flush_changes(DbfIdx& dbf) {
  if (first_changed_ == 0) return;
  const std::int32_t from = std::exchange(first_changed_, 0);
  const std::int32_t to = std::exchange(last_changed_, 0);
  const auto n = static_cast<std::size_t>(to - from + 1) * dbf.recordSize;
  if (write_at(dbf.dbfFd, at(dbf, from), n, record_place(dbf, from))) return;
  refused_ = from;
  if (unwritten_ == 0) count_ = 0;
  changes_lost(dbf);
}

bool RecordWindow::flush(DbfIdx& dbf) {
  flush_changes(dbf);
  if (unwritten_ == 0) return refused_ == 0;
  const std::int32_t from = std::exchange(unwritten_, 0);
  const auto n = static_cast<std::size_t>(first_ + count_ - from) * dbf.recordSize;
  if (write_at(dbf.dbfFd, at(dbf, from), n, record_place(dbf, from))) return refused_ == 0;
  refused_ = from;
  count_ = from - first_;
  [[maybe_unused]] const bool cut = set_size(dbf.dbfFd, record_place(dbf, from));
  records_lost(dbf, from);
  return false;
}

}  // namespace tarnel
