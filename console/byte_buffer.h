// Bytes on their way out, gathered so that a row costs no allocation and a sink is called for many rows at once.
#pragma once

#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

namespace tarnel {

class ByteBuffer {
 public:
  // Takes bytes; false when it could not, after which it gets no more.
  using Sink = std::function<bool(std::string_view)>;
  explicit ByteBuffer(Sink sink) : sink_(std::move(sink)), bytes_(kLimit + kLimit / 2) {}

  // A place for n bytes; took() says how many of them were used.
  char* room(std::size_t n) {
    if (bytes_.size() - used_ < n) bytes_.resize((used_ + n) * 2);
    return bytes_.data() + used_;
  }
  void took(std::size_t n) { used_ += n; }
  void put(char c) {
    *room(1) = c;
    ++used_;
  }
  void put(std::string_view text) {
    if (text.empty()) return;  // perhaps without an address
    std::memcpy(room(text.size()), text.data(), text.size());
    used_ += text.size();
  }
  void put(std::size_t n, char c) {
    std::memset(room(n), c, n);
    used_ += n;
  }
  // Hands them on, when there are many. False when the sink failed, now or before.
  bool flush_many() { return used_ < kLimit ? works_ : flush(); }
  bool flush() {
    if (works_ && used_ > 0) works_ = sink_({bytes_.data(), used_});
    used_ = 0;
    return works_;
  }

 private:
  static constexpr std::size_t kLimit = 64 * 1024;

  const Sink sink_;
  std::vector<char> bytes_;
  std::size_t used_ = 0;
  bool works_ = true;
};

}  // namespace tarnel
