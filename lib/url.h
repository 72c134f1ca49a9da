// Texts of addresses and forms: plus signs and escapes, and pairs of names and values.
#pragma once

#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

// Carries out plus signs and escapes. Digits are not checked; those that are missing at the end of the text count as
// NUL bytes. The result has the room of the argument.
std::string decode_url(std::string text);

// What stands before and behind the first equals sign; without one all is the name.
struct NamedValue {
  std::string_view name, value;
};
NamedValue split_pair(std::string_view text);

// Appends the array {name, value}. Temporaries end as they were.
void append_pair(Var* pairs, const NamedValue& pair);

}  // namespace tarnel
