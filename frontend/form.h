// The body of a POST: fields between ampersands, whose plus signs and escapes decode_url() carries out.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarnel {

// CONTENT_LENGTH as a number of bytes: the number at its front, 0 when there is none or it is
// negative, at most 2147483647.
std::int32_t content_length(const char* text);

// What is read of a body. The fields behind it, and the one that it cuts, are dropped.
inline constexpr std::int32_t kMostBodyBytes = 32 << 20;

// Reads fields from a descriptor, never more than the length says.
class FormReader {
 public:
  FormReader(int fd, std::int32_t length)
      : fd_(fd), remaining_(std::min(length, kMostBodyBytes)), cut_(length > kMostBodyBytes) {}
  // The next field as it was sent, without its ampersand. A body that ends before its length gives
  // its last field one byte 255 more. False when the body is used up.
  bool next(std::string& field);

 private:
  int next_byte();

  int fd_;
  std::int32_t remaining_;
  const bool cut_;
  bool at_end_ = false;
  std::size_t buffered_ = 0, position_ = 0;
  std::unique_ptr<char[]> buffer_;  // for a body that isn't empty
};

}  // namespace tarnel
