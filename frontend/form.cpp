#include "frontend/form.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "core/descriptors.h"

namespace tarnel {
namespace {

constexpr int kEnd = -1;
constexpr std::size_t kBufferSize = 16384;

}  // namespace

std::int32_t content_length(const char* text) {
  if (text == nullptr) return 0;
  const long long value = std::strtoll(text, nullptr, 10);
  return static_cast<std::int32_t>(
      std::clamp<long long>(value, 0, std::numeric_limits<std::int32_t>::max()));
}

int FormReader::next_byte() {
  if (position_ == buffered_) {
    // Never past the length: what lies behind it is not ours to take.
    const std::size_t wanted = std::min(kBufferSize, static_cast<std::size_t>(remaining_));
    if (buffer_ == nullptr) buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    const ssize_t n = read_some(fd_, buffer_.get(), wanted);
    if (n <= 0) {
      at_end_ = true;
      return kEnd;
    }
    buffered_ = static_cast<std::size_t>(n);
    position_ = 0;
  }
  return static_cast<unsigned char>(buffer_[position_++]);
}

bool FormReader::next(std::string& field) {
  field.clear();
  if (remaining_ == 0 || at_end_) return false;
  while (remaining_ > 0 && !at_end_) {
    const int byte = next_byte();
    --remaining_;
    if (byte == '&') break;
    field += static_cast<char>(byte);
  }
  return !(cut_ && remaining_ == 0);
}

}  // namespace tarnel
