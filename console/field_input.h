// Values of texts from outside on their way into fields: JSON as a line of a dump has it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/dbfidx/dbfidx.h"
#include "lib/delimited_rows.h"

namespace tarnel {

// Puts a value into the bytes of a field that is no memo. "" when it fits, else what is wrong with it; the bytes are
// blank then. A number is never rounded, and one with as many decimals as the field keeps its digits. `exact`: a text as
// long as a field that holds no text is what is to stand there, whatever it says.
std::string_view put_input(const dbf::Field& field, std::uint8_t* at, const InputValue& value,
                           bool exact);

// The same for a field of a record, which may be a memo: that is written to the table's memo file. kUnwritable when the
// system or another user keeps it from being written, after an error.
inline constexpr std::string_view kUnwritable = "can't be written";
std::string_view put_input(DbfIdx& dbf, const dbf::Field& field, std::uint8_t* record,
                           const InputValue& value, bool exact);
// The value for a complaint.
std::string shown_input(const InputValue& value);

// Does a number stand in the field with these digits when it is put there?
bool keeps_digits(const dbf::Field& field, std::string_view number);

// Reads JSON, in which the bytes of a text may be any. `carries`: half of a surrogate pair may stand for a byte.
class JsonReader {
 public:
  explicit JsonReader(std::string_view text, bool carries = false)
      : carries_(carries), rest_(text) {}
  // Takes this character, and blanks before it. False when another one stands there.
  bool take(char c);
  // Takes a text, a number, true, false or null. False, and nothing is taken, for anything else.
  bool take_value(InputValue& value);
  bool at_end();
  std::string_view rest() const { return rest_; }

 private:
  void skip_blanks();
  bool take_text(InputValue& value);
  bool take_escape(InputValue& value);
  bool take_unit(char32_t& unit);

  const bool carries_;
  std::string_view rest_;
};

}  // namespace tarnel
