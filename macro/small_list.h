// A growing list whose first elements need no heap, for the arguments and parameters of one call.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace tarnel {

template <typename T, std::size_t N>
class SmallList {
 public:
  void add(T value) {
    if (size_ == N && more_.empty()) more_.assign(first_.begin(), first_.end());
    if (size_ < N)
      first_[size_] = value;
    else
      more_.push_back(value);
    ++size_;
  }
  std::size_t size() const { return size_; }
  T* data() { return more_.empty() ? first_.data() : more_.data(); }
  T operator[](std::size_t i) const { return more_.empty() ? first_[i] : more_[i]; }

 private:
  std::array<T, N> first_;  // unused once more_ is taken
  std::vector<T> more_;
  std::size_t size_ = 0;
};

}  // namespace tarnel
