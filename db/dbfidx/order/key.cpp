#include "db/dbfidx/order/key.h"

#include <algorithm>
#include <bit>
#include <cassert>

#include "core/operators.h"
#include "db/dataserver.h"

namespace tarnel {
namespace {

double get_double(const std::uint8_t* p) {
  return std::bit_cast<double>(std::uint64_t{get_u32le(p)} | std::uint64_t{get_u32le(p + 4)} << 32);
}
void put_double(std::uint8_t* p, double value) {
  const auto word = std::bit_cast<std::uint64_t>(value);
  put_u32le(p, static_cast<std::uint32_t>(word));
  put_u32le(p + 4, static_cast<std::uint32_t>(word >> 32));
}

bool is_numeric(char type) {
  return type == 'N' || type == 'F' || type == 'I';
}

}  // namespace

bool Key::same(const Key& other) const {
  return type == other.type && length == other.length &&
         std::memcmp(bytes, other.bytes, std::size_t{length} + 1) == 0;
}

bool make_key(Key& key, const Var* value, char type) {
  assert(idx::stored_size(type, 1) != 0);
  if (!types_agree(value->type, type)) return false;
  key.type = type;
  key.length = static_cast<std::uint16_t>(idx::stored_size(type, 0));
  switch (type) {
    case 'C': {
      const std::string_view text = text_of(value);
      key.length = static_cast<std::uint16_t>(std::min(text.size(), idx::kMaxKeyBytes));
      std::memcpy(key.bytes, text.data(), key.length);
      break;
    }
    case 'D':
      put_u32le(key.bytes, static_cast<std::uint32_t>(value->i));
      break;
    case 'L':
      key.bytes[0] = truth_of(value) ? 1 : 0;
      break;
    default:
      // The two zeros are one number and shall be the same bytes.
      put_double(key.bytes, number_of(value) + 0.0);
  }
  key.bytes[key.length] = 0;
  return true;
}

Var* key_value(const std::uint8_t* key, const idx::Header& header) {
  switch (header.type) {
    case 'C': {
      const auto* text = reinterpret_cast<const char*>(key);
      return TMP_TEXT({text, ::strnlen(text, header.size)});
    }
    case 'D':
      return TMP_DATE(static_cast<std::int32_t>(get_u32le(key)));
    case 'L':
      return TMP_LOG(*key != 0);
    case 'I':
      return TMP_INT(truncate_to_int(get_double(key)));
    default: {
      Var* number = TMP_NUM(get_double(key), header.decimals());
      number->type = header.type;
      number->length = header.width;
      return number;
    }
  }
}

Var* blank_key(const idx::Header& header) {
  switch (header.type) {
    case 'C':
      return TMP_TEXT(std::string(header.size, ' '));
    case 'D':
      return TMP_DATE(0);
    case 'L':
      return TMP_LOG(false);
    default:
      return TMP_NUM(0, header.decimals());
  }
}

std::size_t bytes_to_store(const Key& key, const idx::Header& header) {
  const std::size_t size = std::size_t{key.length} + (key.type == 'C' ? 1 : 0);
  return std::min<std::size_t>(size, header.keySize);
}

KeyComparer::KeyComparer(const Key& key, const idx::Header& header, TextRule text,
                         NumberRule number)
    : kind_(Kind::kNumber), descending_(header.descending()), bytes_(key.bytes) {
  if (key.type == 'C') {
    kind_ = collation() != nullptr ? Kind::kWeighed : Kind::kText;
    length_ = std::min<std::size_t>(key.length + (text == TextRule::kWhole ? 1U : 0U), header.size);
    const std::size_t head = std::min(length_, sizeof head_);
    head_mask_ = head == 0 ? 0 : ~std::uint64_t{0} << 8 * (sizeof head_ - head);
    head_ = head_of(bytes_) & head_mask_;
  } else if (is_numeric(key.type)) {
    number_ = get_double(key.bytes);
    if (number == NumberRule::kTolerant) tolerance_ = 0.5 / std::pow(10.0, header.decimals());
  } else {
    kind_ = key.type == 'D' ? Kind::kDate : Kind::kLogical;
    integer_ = key.type == 'D' ? static_cast<std::int32_t>(get_u32le(key.bytes)) : key.bytes[0];
  }
}

int KeyComparer::compare_number(const std::uint8_t* stored) const {
  const double other = get_double(stored);
  const double difference = number_ - other;
  if (difference > tolerance_) return 1;
  if (difference < -tolerance_) return -1;
  // What is not a number stands before all numbers.
  const bool mine = std::isnan(number_), its = std::isnan(other);
  return mine == its ? 0 : mine ? -1 : 1;
}

int KeyComparer::compare_integer(const std::uint8_t* stored) const {
  const std::int32_t other =
      kind_ == Kind::kDate ? static_cast<std::int32_t>(get_u32le(stored)) : *stored;
  return integer_ < other ? -1 : integer_ > other ? 1 : 0;
}

int KeyComparer::compare_weighed(const std::uint8_t* stored) const {
  const unsigned char* weights = collation();
  for (std::size_t i = 0; i < length_; ++i)
    if (const int d = weights[bytes_[i]] - weights[stored[i]]; d != 0) return d;
  return 0;
}

static void take_key(Key& key, const std::uint8_t* entry, const idx::Header& header) {
  key.type = header.type;
  std::memcpy(key.bytes, idx::key_of(entry), header.keySize);
  if (key.type == 'C')
    key.length = static_cast<std::uint16_t>(
        ::strnlen(reinterpret_cast<const char*>(key.bytes), header.size));
}

bool same_keys(const std::uint8_t* first, const std::uint8_t* second, const idx::Header& header) {
  Key key;
  take_key(key, first, header);
  return KeyComparer(key, header, TextRule::kWhole, NumberRule::kTolerant)(idx::key_of(second)) ==
         0;
}

bool entries_ascend(const std::uint8_t* first, const std::uint8_t* second,
                    const idx::Header& header) {
  Key key;
  take_key(key, first, header);
  const std::uint8_t* other = idx::key_of(second);
  const bool records_ascend = idx::record(first) < idx::record(second);
  const int exact = KeyComparer(key, header, TextRule::kWhole, NumberRule::kExact)(other);
  if (exact < 0 || (exact == 0 && records_ascend)) return true;
  return is_numeric(key.type) && records_ascend &&
         KeyComparer(key, header, TextRule::kWhole, NumberRule::kTolerant)(other) == 0;
}

}  // namespace tarnel
