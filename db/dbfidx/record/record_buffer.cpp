#include "db/dbfidx/record/record_buffer.h"

#include <algorithm>

namespace tarnel {

void RecordBuffer::lay_out(std::uint16_t record_size) {
  *this = RecordBuffer();
  bytes_.assign(std::size_t{record_size} + 1, ' ');
  bytes_.back() = 0;
}

void RecordBuffer::blank() {
  if (!bytes_.empty()) std::fill(bytes_.begin(), bytes_.end() - 1, std::uint8_t{' '});
  stale();
}

void RecordBuffer::check_invariant() const {
  const bool blank = bytes_.empty() || std::all_of(bytes_.begin(), bytes_.end() - 1,
                                                   [](std::uint8_t c) { return c == ' '; });
  check((number_ == 0) == (state_ == State::kNothing), "record buffer: a number without a record");
  check(bytes_.empty() || bytes_.back() == 0, "record buffer: no end behind the bytes");
  check(blank || (state_ != State::kPhantom && state_ != State::kUnreadable),
        "record buffer: bytes of a record that is not there");
  check(!changed() || former_.size() == bytes_.size(), "record buffer: a change without a former");
}

void RecordBuffer::forget() {
  number_ = 0;
  state_ = State::kNothing;
  stale();
  if constexpr (kChecked) check_invariant();
}

void RecordBuffer::be_phantom(std::int32_t number) {
  blank();
  number_ = number;
  state_ = State::kPhantom;
  if constexpr (kChecked) check_invariant();
}

std::uint8_t* RecordBuffer::begin_read() {
  forget();
  return bytes_.data();
}

void RecordBuffer::read_failed(std::int32_t number) {
  blank();
  number_ = number;
  state_ = State::kUnreadable;
  if constexpr (kChecked) check_invariant();
}

std::uint8_t* RecordBuffer::begin_append() {
  forget();
  blank();
  return bytes_.data();
}

std::uint8_t* RecordBuffer::begin_change() {
  assert(writable());
  if (!changed()) former_ = bytes_;
  state_ = State::kChanged;
  if constexpr (kChecked) check_invariant();
  return bytes_.data();
}

void RecordBuffer::written(bool under_lock) {
  assert(writable());
  state_ = under_lock ? State::kCurrent : State::kSeen;
  if constexpr (kChecked) check_invariant();
}

}  // namespace tarnel
