// A key outside of a page, and its comparison with the keys in pages.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/var.h"
#include "db/dbfidx/format/idx_format.h"

namespace tarnel {

// A value in the form in which pages hold keys.
struct Key {
  char type = 'U';           // that of the order; U: no key
  std::uint16_t length = 0;  // text: bytes without the NUL, at most kMaxKeyBytes
  std::uint8_t bytes[idx::kMaxKeyBytes + 1] = {};  // text: with its NUL behind

  // Do the two stand for the same bytes in a page?
  bool same(const Key& other) const;
};

// False when the types do not agree. REQUIRES: type is one of an order.
bool make_key(Key& key, const Var* value, char type);
// The value of a key in a page, in a new temporary of the order's type.
Var* key_value(const std::uint8_t* key, const idx::Header& header);
// The blank or empty value of the order's type.
Var* blank_key(const idx::Header& header);
// Bytes of a key that go into a page.
std::size_t bytes_to_store(const Key& key, const idx::Header& header);

enum class TextRule : bool {
  kWhole,   // up to and including the value's end
  kPrefix,  // a value equals every key that it starts
};
enum class NumberRule : bool { kExact, kTolerant };

// One key made ready to be compared with many. Results are below, equal to or above 0 for a value
// before, equal to or after a key of a page; an order that descends turns them round.
class KeyComparer {
 public:
  KeyComparer(const Key& key, const idx::Header& header, TextRule text, NumberRule number);

  int operator()(const std::uint8_t* stored) const {
    const int result = kind_ == Kind::kText      ? compare_text(stored)
                       : kind_ == Kind::kNumber  ? compare_number(stored)
                       : kind_ == Kind::kWeighed ? compare_weighed(stored)
                                                 : compare_integer(stored);
    return descending_ ? -result : result;
  }

 private:
  enum class Kind : std::uint8_t { kText, kWeighed, kNumber, kDate, kLogical };

  // The first eight bytes as one number, which settles most comparisons.
  static std::uint64_t head_of(const std::uint8_t* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
  }
  int compare_text(const std::uint8_t* stored) const {
    const std::uint64_t other = head_of(stored) & head_mask_;
    if (head_ != other) return head_ < other ? -1 : 1;
    if (length_ <= sizeof head_) return 0;
    return std::memcmp(bytes_ + sizeof head_, stored + sizeof head_, length_ - sizeof head_);
  }
  int compare_number(const std::uint8_t* stored) const;
  int compare_integer(const std::uint8_t* stored) const;
  int compare_weighed(const std::uint8_t* stored) const;

  Kind kind_;
  bool descending_;
  const std::uint8_t* bytes_;
  std::size_t length_ = 0;
  std::uint64_t head_ = 0, head_mask_ = 0;
  double number_ = 0, tolerance_ = 0;
  std::int32_t integer_ = 0;
};

// Do two entries of pages follow each other as they should? Numbers that the tolerance makes equal may
// also stand in the order of their records.
bool entries_ascend(const std::uint8_t* first, const std::uint8_t* second,
                    const idx::Header& header);
// Do two entries have keys of which an order of unique keys takes one?
bool same_keys(const std::uint8_t* first, const std::uint8_t* second, const idx::Header& header);

}  // namespace tarnel
