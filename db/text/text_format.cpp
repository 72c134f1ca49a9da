#include "db/text/text_format.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "core/text.h"
#include "lib/dates.h"

namespace tarnel {
namespace {

using dbf::Field;

constexpr char kLineEnd = '\n', kReturn = '\r';
constexpr std::size_t kLongestNumber = 255;  // of a field, by the one byte that says its length

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// --- Values read.

// A number without an exponent, taken apart.
struct Digits {
  bool plain = false;
  bool negative = false;
  std::string_view whole, fraction;
};

Digits take_apart(std::string_view text) {
  Digits d;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    d.negative = text[0] == '-';
    text.remove_prefix(1);
  }
  const auto digits = [&text] {
    std::size_t n = 0;
    while (n < text.size() && is_digit(text[n])) ++n;
    const std::string_view found = text.substr(0, n);
    text.remove_prefix(n);
    return found;
  };
  d.whole = digits();
  if (!text.empty() && text[0] == '.') {
    text.remove_prefix(1);
    d.fraction = digits();
  }
  d.plain = text.empty() && d.whole.size() + d.fraction.size() > 0;
  d.whole.remove_prefix(std::min(d.whole.find_first_not_of('0'), d.whole.size()));
  d.negative =
      d.negative && (!d.whole.empty() || d.fraction.find_first_not_of('0') < d.fraction.size());
  return d;
}

// Digits of a field of type N as they are, which is exact and quick. False when they need to be rounded, or
// don't fit with all decimals.
bool put_digits(std::uint8_t* at, const Field& field, const Digits& d) {
  const std::size_t decimals = field.decimals;
  const std::size_t whole = std::max<std::size_t>(d.whole.size(), 1);
  const std::size_t size = (d.negative ? 1 : 0) + whole + (decimals > 0 ? 1 + decimals : 0);
  if (!d.plain || d.fraction.size() > decimals || size > field.length) return false;
  std::uint8_t* to = at + field.length - size;
  if (d.negative) *to++ = '-';
  if (d.whole.empty()) *to++ = '0';
  to = std::copy(d.whole.begin(), d.whole.end(), to);
  if (decimals == 0) return true;
  *to++ = '.';
  to = std::copy(d.fraction.begin(), d.fraction.end(), to);
  std::fill(to, at + field.length, std::uint8_t{'0'});
  return true;
}

bool put_number(std::uint8_t* at, const Field& field, std::string_view text) {
  text = trim_blanks(text);
  if (text.empty()) return true;
  const Digits digits = take_apart(text);
  if (field.type == 'N' && put_digits(at, field, digits)) return true;
  const double value = dbf::parse_number(reinterpret_cast<const std::uint8_t*>(text.data()),
                                         static_cast<int>(std::min(text.size(), kLongestNumber)));
  if (field.type == 'F') {
    dbf::put_float(at, field.length, value);
    return true;
  }
  if (dbf::put_fixed(at, field.length, field.decimals, value)) return true;
  // Without its decimals it may fit, and says the same.
  if (!digits.plain || !digits.fraction.empty() || text.size() > field.length) return false;
  std::copy(text.begin(), text.end(), at + field.length - text.size());
  return true;
}

void put_date(std::uint8_t* at, std::string_view text) {
  text = trim_blanks(text);
  if (text.size() == dbf::kDateLength && std::all_of(text.begin(), text.end(), is_digit) &&
      ymdToDate(text) != 0)
    std::copy(text.begin(), text.end(), at);
}

void put_truth(std::uint8_t* at, std::string_view text) {
  text = trim_blanks(text);
  if (!text.empty()) *at = letter_in(text[0], "TtYy") ? 'T' : 'F';
}

// False when a number does not fit.
bool put_field(std::uint8_t* record, const Field& field, std::string_view text) {
  std::uint8_t* at = record + field.offset;
  switch (field.type) {
    case 'N':
    case 'F':
      return put_number(at, field, text);
    case 'D':
      put_date(at, text);
      return true;
    case 'L':
      put_truth(at, text);
      return true;
    default:
      text = text.substr(0, field.length);
      if (!text.empty()) std::memcpy(at, text.data(), text.size());
      return true;
  }
}

// --- Records read.

// Where the line ends that begins at `from`, without the bytes that end it; false when the text ends before.
bool find_line_end(std::string_view text, std::size_t from, bool last, std::size_t& end,
                   std::size_t& next) {
  end = text.find(kLineEnd, from);
  if (end == std::string_view::npos && !last) return false;
  next = end == std::string_view::npos ? text.size() : end + 1;
  end = std::min(end, text.size());
  if (end > from && next > end && text[end - 1] == kReturn) --end;
  return true;
}

TakenRecord take_columns(std::string_view text, bool last, std::span<const Field> fields,
                         std::uint8_t* record) {
  TakenRecord result{Taken::kMore, 0, -1};
  std::size_t end;
  if (!find_line_end(text, 0, last, end, result.used)) return result;
  result.taken = Taken::kRecord;
  const std::string_view line = text.substr(0, end);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::size_t from = fields[i].offset - 1U;  // without the delete mark
    if (from >= line.size()) break;
    if (!put_field(record, fields[i], line.substr(from, fields[i].length)) && result.wide < 0)
      result.wide = static_cast<int>(i);
  }
  return result;
}

// One record of parted fields, taken from left to right.
class PartedRecord {
 public:
  PartedRecord(std::string_view text, bool last, TextFormat format)
      : text_(text), last_(last), format_(format) {}

  // The next field; false when the text ends before it is known where the field does. At the end of the
  // record ended() is true.
  bool field(std::string_view& value) {
    if (format_.delimiter != 0 && at_ < text_.size() && text_[at_] == format_.delimiter)
      return delimited(value);
    if (at_ == text_.size() && !last_) return false;
    const std::size_t from = at_;
    if (!find_end()) return false;
    std::size_t end = at_;
    if (ends_line() && end > from && text_[end - 1] == kReturn) --end;
    value = text_.substr(from, end - from);
    return pass_end();
  }
  bool ended() const { return ended_; }
  std::size_t used() const { return at_; }
  bool has_lines() const { return lines_; }  // a line ended within delimiters
  bool unclosed() const { return unclosed_; }

 private:
  bool ends_line() const { return at_ < text_.size() && text_[at_] == kLineEnd; }
  // On to the separator or the end of the line.
  bool find_end() {
    while (at_ < text_.size() && text_[at_] != format_.separator && text_[at_] != kLineEnd) ++at_;
    return at_ < text_.size() || last_;
  }
  bool pass_end() {
    ended_ = at_ == text_.size() || text_[at_] == kLineEnd;
    if (at_ < text_.size()) ++at_;
    return true;
  }
  // The text between delimiters, two of which stand for one. What follows up to the separator is nothing.
  bool delimited(std::string_view& value) {
    undoubled_.clear();
    for (std::size_t from = ++at_;;) {
      const std::size_t close = text_.find(format_.delimiter, from);
      if (close == std::string_view::npos ? !last_ : close + 1 == text_.size() && !last_)
        return false;
      const std::string_view piece = text_.substr(from, close - from);
      unclosed_ = unclosed_ || close == std::string_view::npos;
      lines_ = lines_ || piece.find(kLineEnd) != std::string_view::npos;
      at_ = std::min(close, text_.size());
      if (at_ + 1 < text_.size() && text_[at_ + 1] == format_.delimiter) {
        undoubled_.append(piece).push_back(format_.delimiter);
        from = at_ + 2;
        continue;
      }
      value = undoubled_.empty() ? piece : std::string_view(undoubled_.append(piece));
      return find_end() && pass_end();
    }
  }

  const std::string_view text_;
  const bool last_;
  const TextFormat format_;
  std::size_t at_ = 0;
  bool ended_ = false, lines_ = false, unclosed_ = false;
  std::string undoubled_;
};

TakenRecord take_parted(std::string_view text, bool last, TextFormat format,
                        std::span<const Field> fields, std::span<std::uint8_t> record) {
  TakenRecord result{Taken::kMore, 0, -1};
  PartedRecord parts(text, last, format);
  const std::size_t most = 2 * record.size() + 3 * fields.size() + 2;  // every byte doubled
  for (std::size_t i = 0; !parts.ended(); ++i) {
    std::string_view value;
    const bool whole = parts.field(value);
    if (parts.has_lines() && (parts.unclosed() || std::max(parts.used(), value.size()) > most)) {
      result.taken = Taken::kTooLong;
      return result;
    }
    if (!whole) return result;
    if (i < fields.size() && !put_field(record.data(), fields[i], value) && result.wide < 0)
      result.wide = static_cast<int>(i);
  }
  result.taken = Taken::kRecord;
  result.used = parts.used();
  return result;
}

// --- Lines written.

std::string_view bytes_of(const std::uint8_t* record, const Field& field) {
  return {reinterpret_cast<const char*>(record + field.offset), field.length};
}

// The digits of a number, as str() gives them without blanks before them.
std::string_view number_text(const std::uint8_t* record, const Field& field, std::uint8_t* buffer) {
  const std::string_view stored = trim_blanks(bytes_of(record, field));
  const Digits d = take_apart(stored);
  if (d.plain && (field.type == 'F' || d.fraction.size() == field.decimals))
    return stored[0] == '-' && !d.negative ? stored.substr(1) : stored;  // 0 has no sign
  const double value = dbf::parse_number(record + field.offset, field.length);
  if (field.type == 'F')
    dbf::put_float(buffer, field.length, value);
  else if (!dbf::put_fixed(buffer, field.length, field.decimals, value))
    return stored;  // a number that needs the room of its decimals
  return trim_blanks({reinterpret_cast<const char*>(buffer), field.length});
}

// A value as it stands in a line; a text is whole, with its blanks.
std::string_view value_text(const std::uint8_t* record, const Field& field, std::uint8_t* buffer) {
  const std::string_view stored = bytes_of(record, field);
  switch (field.type) {
    case 'N':
    case 'F':
      return number_text(record, field, buffer);
    case 'D':
      return trim_blanks(stored);
    case 'L':
      return dbf::parse_logical(record + field.offset, field.length) ? "T" : "F";
    default:
      return stored;
  }
}

void put_delimited(std::string& line, std::string_view text, char delimiter) {
  line.push_back(delimiter);
  for (std::size_t at; (at = text.find(delimiter)) != std::string_view::npos;
       text.remove_prefix(at + 1))
    line.append(text.substr(0, at + 1)).push_back(delimiter);
  line.append(text).push_back(delimiter);
}

void put_column(std::string& line, std::string_view text, const Field& field) {
  const std::size_t blanks = field.length - std::min<std::size_t>(text.size(), field.length);
  const bool right = field.type == 'N' || field.type == 'F';
  if (right) line.append(blanks, ' ');
  line.append(text.substr(0, field.length));
  if (!right) line.append(blanks, ' ');
}

// Would a text tear the line apart?
bool breaks_line(std::string_view text, TextFormat format) {
  return format.delimiter == 0 &&
         text.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos;
}

}  // namespace

TextFormat text_format(const Var* delimiter) {
  if (!is_text(delimiter)) return {',', '"'};
  const std::string_view text = text_of(delimiter);
  if (text.empty()) return {0, 0};
  if (text[0] == ' ' || upper_text(text) == "BLANK") return {' ', 0};
  return {',', text[0]};
}

TakenRecord take_record(std::string_view text, bool last, TextFormat format,
                        std::span<const Field> fields, std::span<std::uint8_t> record) {
  assert(!text.empty());
  std::fill(record.begin(), record.end(), std::uint8_t{' '});
  return format.separator == 0 ? take_columns(text, last, fields, record.data())
                               : take_parted(text, last, format, fields, record);
}

bool put_line(std::string& line, const std::uint8_t* record, TextFormat format,
              std::span<const Field> fields, std::size_t& wrong) {
  const std::size_t begin = line.size();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const Field& field = fields[i];
    std::uint8_t buffer[kLongestNumber];
    std::string_view text = value_text(record, field, buffer);
    if (breaks_line(text, format)) {
      line.resize(begin);
      wrong = i;
      return false;
    }
    if (format.separator == 0) {
      put_column(line, text, field);
      continue;
    }
    if (i > 0) line.push_back(format.separator);
    if (field.type == 'C') text = trim_right(text);
    if (field.type == 'C' && format.delimiter != 0)
      put_delimited(line, text, format.delimiter);
    else
      line.append(text);
  }
  line.push_back(kLineEnd);
  return true;
}

}  // namespace tarnel
