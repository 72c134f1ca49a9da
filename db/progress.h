// How far long work has come, for a program that shows it to a person.
#pragma once

#include <cstdint>

namespace tarnel {

// What a program shows: called now and then with the records done and the number expected, and once
// with done below 0 when the work has ended. Null: nothing is shown.
using ProgressHook = void (*)(const char* work, std::int64_t done, std::int64_t total);
ProgressHook& progress_hook();

// One piece of work, from its beginning to its end.
class Progress {
 public:
  Progress(const char* work, std::int64_t total) : work_(work), total_(total) {}
  ~Progress() {
    if (shown_) progress_hook()(work_, -1, total_);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void step() { at(++done_); }
  void at(std::int64_t done) {
    if (done % kStride == 0) to(done);
  }
  // For work that goes on by many records at once.
  void to(std::int64_t done) {
    if (progress_hook() == nullptr) return;
    shown_ = true;
    progress_hook()(work_, done, total_);
  }

 private:
  static constexpr std::int64_t kStride = 1024;

  const char* work_;
  std::int64_t total_, done_ = 0;
  bool shown_ = false;
};

}  // namespace tarnel
