#include "db/dbfidx/format/idx_format.h"

#include <algorithm>

#include "core/file_ops.h"
#include "core/var.h"

namespace tarnel::idx {
namespace {

constexpr std::size_t kHeaderSize = 452, kExtensionSize = 512;
constexpr std::size_t kExpressionAt = 32;
constexpr std::size_t kTableAt = 6, kForAt = 26, kForField = 229, kCollationAt = 256;
static_assert(kExpressionAt + kExpressionField == kHeaderSize);
static_assert(kForAt + kForField + 1 == kCollationAt && kTableAt + kTableNameField + 1 == kForAt);

void put_counts(std::uint8_t* p, const Header& h) {
  put_u32le(p, h.keyCount);
  put_u32le(p + 4, h.root);
  put_u32le(p + 8, h.freeList);
  put_u32le(p + 12, h.nextSector);
}

std::string text_at(const std::uint8_t* p, std::size_t room) {
  const auto* text = reinterpret_cast<const char*>(p);
  return {text, ::strnlen(text, room)};
}

void put_text(std::uint8_t* p, std::string_view text, std::size_t room) {
  std::memcpy(p, text.data(), std::min(text.size(), room));
}

}  // namespace

std::size_t stored_size(char type, std::size_t length) {
  switch (type) {
    case 'C':
      return length;
    case 'D':
      return 4;
    case 'L':
      return 1;
    case 'F':
    case 'I':
    case 'N':
      return 8;
    default:
      return 0;
  }
}

void lay_out(Header& h) {
  h.keySize = static_cast<std::uint32_t>((stored_size(h.type, h.size) + 3) / 4 * 4);
  h.maxKeys = static_cast<std::uint32_t>(kEntryRoom / h.stride());
}

const char* contradiction(const Header& h) {
  Header expected = h;
  const std::size_t size = stored_size(h.type, h.size);
  if (size == 0) return h.type == 'C' ? "key length 0" : "unknown key type";
  if (h.type == 'C' && size > kMaxTextKey) return "key too long";
  lay_out(expected);
  if (h.keySize != expected.keySize) return "key bytes";
  if (h.maxKeys != expected.maxKeys) return "keys in a page";
  if (h.expression.empty()) return "no key expression";
  return nullptr;
}

bool read_header(int fd, Header& h) {
  std::uint8_t bytes[kHeaderSize];
  if (!read_at(fd, bytes, sizeof bytes, 0)) return false;
  h.version = bytes[0];
  h.flags = bytes[1];
  h.width = bytes[2];
  h.size = bytes[3];
  get_counts(bytes + kCountsAt, h);
  h.type = static_cast<char>(bytes[20]);
  h.keySize = get_u32le(bytes + 24);
  h.maxKeys = get_u32le(bytes + 28);
  h.expression = text_at(bytes + kExpressionAt, kExpressionField - 1);
  return true;
}

bool write_header(int fd, const Header& h) {
  std::uint8_t bytes[kHeaderSize] = {h.version, h.flags, h.width, h.size};
  put_counts(bytes + kCountsAt, h);
  bytes[20] = static_cast<std::uint8_t>(h.type);
  put_u16le(bytes + 22, kSectorSize);
  put_u32le(bytes + 24, h.keySize);
  put_u32le(bytes + 28, h.maxKeys);
  put_text(bytes + kExpressionAt, h.expression, kExpressionField - 1);
  return write_at(fd, bytes, sizeof bytes, 0);
}

void get_counts(const std::uint8_t* p, Header& h) {
  h.keyCount = get_u32le(p);
  h.root = get_u32le(p + 4);
  h.freeList = get_u32le(p + 8);
  h.nextSector = get_u32le(p + 12);
}

bool write_counts(int fd, const Header& h) {
  std::uint8_t bytes[kCountsSize];
  put_counts(bytes, h);
  return write_at(fd, bytes, sizeof bytes, kCountsAt);
}

bool read_extension(int fd, Extension& extension) {
  std::uint8_t bytes[kExtensionSize];
  if (!read_at(fd, bytes, sizeof bytes, kExtensionAt)) return false;
  extension.counter = bytes[1];
  extension.table = text_at(bytes + kTableAt, kTableNameField);
  extension.condition = text_at(bytes + kForAt, kForField);
  std::memcpy(extension.collation, bytes + kCollationAt, sizeof extension.collation);
  return true;
}

bool write_extension(int fd, const Extension& extension) {
  std::uint8_t bytes[kExtensionSize] = {kVersion, extension.counter};
  put_text(bytes + kTableAt, extension.table, kTableNameField);
  put_text(bytes + kForAt, extension.condition, kForField);
  std::memcpy(bytes + kCollationAt, extension.collation, sizeof extension.collation);
  return write_at(fd, bytes, sizeof bytes, kExtensionAt);
}

std::uint8_t get_counter(const std::uint8_t* bytes) {
  return bytes[1];
}

bool write_counter(int fd, std::uint8_t counter) {
  const std::uint8_t bytes[kCounterSize] = {kVersion, counter};
  return write_at(fd, bytes, sizeof bytes, kExtensionAt);
}

}  // namespace tarnel::idx
