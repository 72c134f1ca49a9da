// Gives a variable another value for the life of the guard.
#pragma once

#include <utility>

namespace tarnel {

template <typename T>
class Switched {
 public:
  Switched(T& place, T value) : place_(place), saved_(std::exchange(place, value)) {}
  ~Switched() { place_ = saved_; }
  Switched(const Switched&) = delete;
  Switched& operator=(const Switched&) = delete;

 private:
  T& place_;
  const T saved_;
};

}  // namespace tarnel
