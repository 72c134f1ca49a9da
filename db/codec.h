// Integers as they stand in files: little-endian at any alignment. No struct is ever laid over a
// file.
#pragma once

#include <cstdint>

namespace tarnel {

constexpr std::uint16_t get_u16le(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
constexpr std::uint32_t get_u32le(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
         static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}
constexpr void put_u16le(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
constexpr void put_u32le(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> 8 * i);
}
constexpr std::uint64_t get_u64le(const std::uint8_t* p) {
  return get_u32le(p) | std::uint64_t{get_u32le(p + 4)} << 32;
}
constexpr void put_u64le(std::uint8_t* p, std::uint64_t v) {
  for (int i = 0; i < 8; ++i) p[i] = static_cast<std::uint8_t>(v >> 8 * i);
}

namespace codec_check {
constexpr std::uint8_t kSample[] = {1, 2, 3, 4};
static_assert(get_u16le(kSample) == 0x0201 && get_u32le(kSample) == 0x04030201);
static_assert([] {
  std::uint8_t b[4]{};
  put_u32le(b, 0x04030201);
  return get_u32le(b) == 0x04030201 && b[0] == 1 && b[3] == 4;
}());
static_assert([] {
  std::uint8_t b[8]{};
  put_u64le(b, 0x0807060504030201);
  return get_u64le(b) == 0x0807060504030201 && b[0] == 1 && b[7] == 8;
}());
}  // namespace codec_check

}  // namespace tarnel
