// Bytes on their way out, gathered so that a row costs no allocation and a sink is called for many rows at once; or
// a text that grows.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace tarnel {

class ByteBuffer {
 public:
  // Takes bytes; false when it could not, after which it gets no more.
  using Sink = std::function<bool(std::string_view)>;
  explicit ByteBuffer(Sink sink) : sink_(std::move(sink)) { grow(kLimit + kLimit / 2); }
  // Keeps all of them: text().
  ByteBuffer() = default;
  ByteBuffer(const ByteBuffer&) = delete;
  ByteBuffer& operator=(const ByteBuffer&) = delete;

  // A place for n bytes; took() says how many of them were used.
  char* room(std::size_t n) {
    if (size_ - used_ < n) grow((used_ + n) * 2);
    return bytes_.get() + used_;
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
  // What waits; all there is where there is no sink. It lasts until more is put.
  std::string_view text() const { return {bytes_.get(), used_}; }
  // Hands it on, when it is much. False when the sink failed, now or before. REQUIRES: a sink.
  bool flush_many() { return used_ < kLimit ? works_ : flush(); }
  bool flush() {
    if (works_ && used_ > 0) works_ = sink_(text());
    used_ = 0;
    return works_;
  }

 private:
  static constexpr std::size_t kLimit = 64 * 1024;

  void grow(std::size_t size) {
    auto bytes = std::make_unique_for_overwrite<char[]>(size);
    std::copy_n(bytes_.get(), used_, bytes.get());
    bytes_ = std::move(bytes);
    size_ = size;
  }

  const Sink sink_;
  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0, used_ = 0;
  bool works_ = true;
};

}  // namespace tarnel
