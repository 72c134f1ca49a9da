// The .dbf file: everything that knows where in it something stands. Integers are little-endian.
//
//   offset  size  header
//      0      1   version: low 6 bits 3; bit 7: the table has a memo file
//      1      3   year - 1900 modulo 256, month, day of the last update
//      4      4   record count
//      8      2   header size = 33 + 32 * fields, at least: the place of record 1
//     10      2   record size = 1 + sum of field lengths
//     12     17   0
//     29      1   mark of the character set, 0 for none (character_marks.h)
//     30      1   0
//     31      1   change counter
//     32  32 * n  field descriptors, then one byte 0x0D
//
//   offset  size  field descriptor
//      0     11   name, upper case, NUL-padded
//     11      1   type letter
//     12      4   0; in memory the field's offset inside the record
//     16      1   length; C: low byte
//     17      1   decimals; C: high byte of the length
//     18     14   0
//
// Record r lies at header size + (r - 1) * record size: one byte, blank or '*' for a deleted
// record, then the fields in order, without separators. Nothing stands behind the last record.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarnel::dbf {

constexpr std::size_t kHeaderPrefix = 32;  // the header without its descriptors
constexpr std::size_t kDescriptorSize = 32;
constexpr std::size_t kNameField = 11;
constexpr std::size_t kFieldOffset = 12;  // in a descriptor
constexpr std::uint8_t kVersion = 3, kVersionMask = 0x3F, kMemoBit = 0x80;
constexpr std::uint8_t kEndMark = 0x0D;
constexpr std::uint8_t kDeletedMark = '*', kLiveMark = ' ';
constexpr int kMaxFieldLength = 65535, kMaxRecordSize = 65535;
constexpr int kMaxNumericLength = 20, kMaxNumericDecimals = 18;
constexpr int kDateLength = 8, kMemoLength = 10;
constexpr int kYearBase = 1900;

struct Field {
  char name[kNameField + 1];
  char type;
  std::uint8_t length_byte;  // as in the file
  std::uint8_t decimals;     // as in the file
  std::uint16_t offset;      // inside the record
  std::uint16_t length;      // in bytes; for C the two bytes together
};

struct Date {
  int year, month, day;
};

// The fixed part of a header.
std::uint8_t version(const std::uint8_t* header);
inline bool is_table(std::uint8_t version) {
  return (version & kVersionMask) == kVersion;
}
inline bool has_memo(std::uint8_t version) {
  return (version & kMemoBit) != 0;
}
std::uint32_t record_count(const std::uint8_t* header);
std::uint16_t header_size(const std::uint8_t* header);
std::uint16_t record_size(const std::uint8_t* header);
std::uint8_t change_counter(const std::uint8_t* header);
std::uint8_t character_mark(const std::uint8_t* header);
Date last_update(const std::uint8_t* header);

void set_version(std::uint8_t* header, bool memo);
void set_record_count(std::uint8_t* header, std::uint32_t count);
void set_change_counter(std::uint8_t* header, std::uint8_t counter);
void set_character_mark(std::uint8_t* header, std::uint8_t mark);
void set_last_update(std::uint8_t* header, Date date);
void set_sizes(std::uint8_t* header, std::uint16_t header_size, std::uint16_t record_size);
// Copies the bytes that mean nothing here from another header.
void keep_reserved(std::uint8_t* header, const std::uint8_t* other);

// Takes the descriptors of a whole header apart, storing each field's offset in it. False when the
// fields do not fill the record: `fields` are then those that lie inside it.
[[nodiscard]] bool read_fields(std::span<std::uint8_t> header, std::vector<Field>& fields);

// Bytes that a field of this type and length takes in a record.
int stored_length(char type, int length);

// A whole new header of no records. The fields need name, type, length and decimals.
std::vector<std::uint8_t> new_header(std::span<const Field> fields, Date today);

inline std::int64_t record_offset(std::uint16_t header_size, std::uint16_t record_size,
                                  std::int32_t n) {
  return header_size + static_cast<std::int64_t>(n - 1) * record_size;
}

// --- Values as text in a record. `at` is the field's place, `length` its bytes.
double parse_number(const std::uint8_t* at, int length);
// True for 'T' and no other letter.
inline bool parse_logical(const std::uint8_t* at, int length) {
  return length > 0 && *at == 'T';
}
// Number of the block a memo field names, 0 when it names none that could be.
std::uint32_t memo_block(const std::uint8_t* at, int length);

// Pads with blanks behind.
void put_text(std::uint8_t* at, int length, std::string_view text);
// Type N: right-aligned, fixed decimals; a number that does not fit gives blanks and false.
bool put_fixed(std::uint8_t* at, int length, int decimals, double value);
// Type F: right-aligned, as many digits as fit, with an exponent if need be.
void put_float(std::uint8_t* at, int length, double value);
void put_logical(std::uint8_t* at, int length, bool value);
void put_block(std::uint8_t* at, int length, std::uint32_t block);

}  // namespace tarnel::dbf
