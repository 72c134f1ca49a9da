// A growing list whose first elements need no heap. Elements lie in one piece and are copied as bytes.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

namespace tarnel {

template <typename T, std::size_t N>
class SmallList {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  SmallList() = default;
  SmallList(const SmallList&) = delete;
  SmallList& operator=(const SmallList&) = delete;

  void add(const T& value) {
    if (size_ == capacity_) reserve(2 * capacity_);
    data()[size_++] = value;
  }
  void add(const T* values, std::size_t count) {
    if (size_ + count > capacity_) reserve(2 * (size_ + count));
    if (count > 0) std::memcpy(static_cast<void*>(data() + size_), values, count * sizeof(T));
    size_ += count;
  }
  // Room for `capacity` elements in all.
  void reserve(std::size_t capacity) {
    if (capacity <= capacity_) return;
    auto more = std::make_unique_for_overwrite<T[]>(capacity);
    std::memcpy(static_cast<void*>(more.get()), data(), size_ * sizeof(T));
    more_ = std::move(more);
    capacity_ = capacity;
  }
  void cut(std::size_t size) {
    assert(size <= size_);
    size_ = size;
  }

  T take_last() {
    assert(size_ > 0);
    return data()[--size_];
  }

  std::size_t size() const { return size_; }
  T* data() { return more_ != nullptr ? more_.get() : reinterpret_cast<T*>(first_); }
  const T* data() const { return const_cast<SmallList*>(this)->data(); }
  T& operator[](std::size_t i) { return data()[i]; }
  const T& operator[](std::size_t i) const { return data()[i]; }

 private:
  alignas(T) std::byte first_[N * sizeof(T)];  // unused once more_ is taken
  std::unique_ptr<T[]> more_;
  std::size_t size_ = 0;
  std::size_t capacity_ = N;
};

}  // namespace tarnel
