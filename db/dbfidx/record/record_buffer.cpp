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

void RecordBuffer::forget() {
  number_ = 0;
  state_ = State::kNothing;
  stale();
}

void RecordBuffer::be_phantom(std::int32_t number) {
  blank();
  number_ = number;
  state_ = State::kPhantom;
}

std::uint8_t* RecordBuffer::begin_read() {
  forget();
  return bytes_.data();
}

void RecordBuffer::read_failed(std::int32_t number) {
  blank();
  number_ = number;
  state_ = State::kUnreadable;
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
  return bytes_.data();
}

void RecordBuffer::written(bool under_lock) {
  assert(writable());
  state_ = under_lock ? State::kCurrent : State::kSeen;
}

}  // namespace tarnel
