// The .idx file of one order: everything that knows where in it something stands. It is a B-tree of
// 512-byte sectors whose interior pages hold keys too. Integers are little-endian; sector n lies at
// n * 512.
//
//   offset  size  header, sectors 0 and 1; what follows byte 452 is never touched
//      0      1   version letter, 'Q'
//      1      1   flags: bit 0 unique, bit 1 descending
//      2      1   display width of a numeric key, else 0
//      3      1   C: key length without NUL; numbers: decimals; D: 4; L: 1
//      4      4   keys in the file
//      8      4   sector of the root page, 0 none
//     12      4   head of the list of free sectors, 0 none
//     16      4   next sector never used, 3 in a new file
//     20      1   key type: C D F I L N
//     21      1   0
//     22      2   512
//     24      4   key bytes in an entry: the stored size rounded up to a multiple of 4
//     28      4   keys in a page: 480 / (key bytes + 8)
//     32    420   key expression, NUL-terminated
//
//   offset  size  extension, sector 2
//      0      1   'Q'
//      1      1   change counter of the table when the order last agreed with it, 0 unknown
//      2      4   not used
//      6     19   name of the table's file, without directory
//     25      1   0
//     26    229   condition (FOR), empty when there is none
//    255      1   0
//    256    256   collation when the order was made, all 0 none
//
//   offset  size  page, sectors 3 ...
//      0      4   keys in the page; in a free sector: the next free sector
//      4      4   sector of the parent page, 0 in the root
//      8      4   place of this page in its parent
//     12          entries, and one more behind them of which only the child counts
//
//   offset  size  entry
//      0      4   sector of the subtree of keys lower than this one, 0 none
//      4      4   record number
//      8          key: text with its NUL as far as there is room; D 32-bit day number; numbers
//                 64-bit IEEE; L one byte
//
// Parent and place are hints: a split leaves those of the children that it moves as they were, and
// whoever descends mends them.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "db/codec.h"

namespace tarnel::idx {

constexpr std::size_t kSectorSize = 512;
constexpr std::uint32_t kFirstPage = 3;
constexpr std::uint8_t kVersion = 'Q', kOldVersion = 'P';
constexpr std::uint8_t kUniqueBit = 1, kDescendingBit = 2;
constexpr std::size_t kMaxTextKey = 238;
constexpr std::size_t kMaxKeyBytes = 240;
constexpr std::size_t kExpressionField = 420;
constexpr std::size_t kMaxFor = 199;  // longest condition that may be given
constexpr std::size_t kTableNameField = 19;
constexpr std::size_t kPageHead = 12, kEntryHead = 8, kEntryRoom = 480;

struct Header {
  std::uint8_t version = kVersion;
  std::uint8_t flags = 0;
  std::uint8_t width = 0;
  std::uint8_t size = 0;  // byte 3
  std::uint32_t keyCount = 0;
  std::uint32_t root = 0;
  std::uint32_t freeList = 0;
  std::uint32_t nextSector = kFirstPage;
  char type = 'C';
  std::uint32_t keySize = 0;
  std::uint32_t maxKeys = 0;
  std::string expression;

  bool unique() const { return (flags & kUniqueBit) != 0; }
  bool descending() const { return (flags & kDescendingBit) != 0; }
  std::size_t stride() const { return keySize + kEntryHead; }
  int decimals() const { return type == 'C' || type == 'D' || type == 'L' ? 0 : size; }
};

// Bytes in which a key of this type is stored, `length` being that of a text; 0: no such key.
std::size_t stored_size(char type, std::size_t length);
// Sets keySize and maxKeys from type and size.
void lay_out(Header& header);
// What contradicts itself in a header, null when nothing does.
const char* contradiction(const Header& header);

bool read_header(int fd, Header& header);
bool write_header(int fd, const Header& header);
// The four numbers that change as keys come and go.
constexpr std::int64_t kCountsAt = 4;
constexpr std::size_t kCountsSize = 16;
void get_counts(const std::uint8_t* bytes, Header& header);
bool write_counts(int fd, const Header& header);

constexpr std::int64_t kExtensionAt = 1024;
struct Extension {
  std::uint8_t counter = 0;
  std::string table;
  std::string condition;
  std::uint8_t collation[256] = {};
};
bool read_extension(int fd, Extension& extension);
bool write_extension(int fd, const Extension& extension);
// The counter alone.
constexpr std::size_t kCounterSize = 2;
std::uint8_t get_counter(const std::uint8_t* bytes);
bool write_counter(int fd, std::uint8_t counter);

// --- Pages. `page` is its first byte; positions count from 0.
inline std::uint32_t key_count(const std::uint8_t* page) {
  return get_u32le(page);
}
inline std::uint32_t next_free(const std::uint8_t* page) {
  return get_u32le(page);
}
inline std::uint32_t parent(const std::uint8_t* page) {
  return get_u32le(page + 4);
}
inline std::uint32_t parent_place(const std::uint8_t* page) {
  return get_u32le(page + 8);
}
inline void set_key_count(std::uint8_t* page, std::uint32_t n) {
  put_u32le(page, n);
}
inline void set_next_free(std::uint8_t* page, std::uint32_t sector) {
  put_u32le(page, sector);
}
inline void set_parent(std::uint8_t* page, std::uint32_t sector, std::uint32_t place) {
  put_u32le(page + 4, sector);
  put_u32le(page + 8, place);
}

template <typename Byte>
Byte* entry(Byte* page, std::size_t stride, std::uint32_t i) {
  return page + kPageHead + i * stride;
}
inline std::uint32_t child(const std::uint8_t* entry) {
  return get_u32le(entry);
}
inline std::uint32_t record(const std::uint8_t* entry) {
  return get_u32le(entry + 4);
}
template <typename Byte>
Byte* key_of(Byte* entry) {
  return entry + kEntryHead;
}
inline void set_child(std::uint8_t* entry, std::uint32_t sector) {
  put_u32le(entry, sector);
}
inline void set_record(std::uint8_t* entry, std::uint32_t n) {
  put_u32le(entry + 4, n);
}

}  // namespace tarnel::idx
