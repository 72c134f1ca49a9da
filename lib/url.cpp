#include "lib/url.h"

#include <algorithm>

#include "core/arrays.h"
#include "core/frame.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

// A letter counts by its place in the alphabet from 10 on, anything else by its distance from '0'.
int digit_value(char digit) {
  return digit >= 'A' ? (digit & ~0x20) - 'A' + 10 : digit - '0';
}

}  // namespace

std::string decode_url(std::string text) {
  std::size_t length = 0;  // of what is decoded, which lies before what isn't yet
  // Plus signs are blanks before escapes are read, also inside one.
  const auto at = [&text](std::size_t i) {
    return i >= text.size() ? '\0' : text[i] == '+' ? ' ' : text[i];
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      text[length++] = static_cast<char>(digit_value(at(i + 1)) * 16 + digit_value(at(i + 2)));
      i += 2;
    } else {
      text[length++] = at(i);
    }
  }
  text.resize(length);
  return text;
}

NamedValue split_pair(std::string_view text) {
  const std::size_t equals = std::min(text.find('='), text.size());
  return {text.substr(0, equals), text.substr(std::min(equals + 1, text.size()))};
}

void append_pair(Var* pairs, const NamedValue& pair) {
  const TempsMark mark;
  Var* cells = cscreara(NEW_TEMP(), 2, kAllNil);
  SET_STR(element(cells, 1), pair.name);
  SET_STR(element(cells, 2), pair.value);
  CALL_SIMPLE(aadd, pairs, cells);
}

}  // namespace tarnel
