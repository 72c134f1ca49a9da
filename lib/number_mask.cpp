#include "lib/number_mask.h"

#include <algorithm>
#include <string_view>

#include "lib/number_text.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

constexpr auto kNone = std::string::npos;

bool takes_digit(char c) {
  return c == '#' || c == '$' || c == '*' || c == '9';
}

// All points but the last become '#'.
bool keep_last_point(std::string& mask) {
  const auto last = mask.rfind('.');
  if (last == kNone || mask.find('.') == last) return false;
  std::replace(mask.begin(), mask.begin() + static_cast<std::ptrdiff_t>(last), '.', '#');
  return true;
}

bool drop_commas_behind(std::string& mask, std::size_t point) {
  bool found = false;
  for (auto i = point + 1; i < mask.size(); ++i)
    if (mask[i] == ',') {
      mask[i] = '#';
      found = true;
    }
  return found;
}

// The number as "%*.*f" with the mask's width and decimals. A point that ends the mask ends the
// text.
std::string print_to_mask(double value, std::size_t width, bool has_point, std::size_t decimals) {
  NumberBuffer buffer;
  const bool ends_in_point = has_point && decimals == 0;
  const std::size_t printed = ends_in_point ? 1 : decimals;
  std::string text{print_fixed(
      buffer, value, 0, static_cast<int>(std::min(printed, std::size_t{kMaxNumberDecimals})))};
  if (ends_in_point && text.find('.') != kNone) text.pop_back();
  // Decimals beyond what a number can have are zeros.
  if (decimals > kMaxNumberDecimals && text.find('.') != kNone)
    text.append(decimals - kMaxNumberDecimals, '0');
  if (text.size() < width) text.insert(0, width - text.size(), ' ');
  return text;
}

// Opens a place for each literal of the mask's integer part, from the right, as long as there is a
// leading blank to give up. A literal among the leading blanks is dropped.
void insert_literals(std::string& text, std::size_t text_integer, const std::string& mask,
                     std::size_t mask_integer) {
  // Only what stands behind the leading blanks has to move.
  auto first = static_cast<std::ptrdiff_t>(std::min(text.find_first_not_of(' '), text_integer));
  auto t = static_cast<std::ptrdiff_t>(text_integer) - 1;
  auto m = static_cast<std::ptrdiff_t>(mask_integer) - 1;
  for (; t >= first && m >= 0 && first > 0; --t) {
    const char literal = mask[static_cast<std::size_t>(m--)];
    if (takes_digit(literal)) continue;
    std::copy(text.begin() + first, text.begin() + t + 1, text.begin() + first - 1);
    text[static_cast<std::size_t>(t)] = literal;
    --first;
  }
}

// Puts the sign directly in front of the first digit. The mask had a place for it, so a blank is
// there.
void place_minus(std::string& text) {
  const auto digit = text.find_first_of("0123456789");
  if (digit != kNone && digit > 0) text[digit - 1] = '-';
}

}  // namespace

int number_through_mask(double value, std::string& mask, std::string& result) {
  int notice = kNoNotice;
  if (keep_last_point(mask)) notice = kManyPoints;
  const std::size_t length = mask.size();
  const auto point = mask.find('.');
  const std::size_t integer = std::min(point, length);
  const std::size_t decimals = point == kNone ? 0 : length - point - 1;

  std::replace(mask.begin(), mask.begin() + static_cast<std::ptrdiff_t>(integer), '!', '#');
  const auto places = static_cast<std::size_t>(std::count_if(
      mask.begin(), mask.begin() + static_cast<std::ptrdiff_t>(integer), takes_digit));
  if (decimals > 0 && drop_commas_behind(mask, point)) notice = kCommaBehindPoint;

  result = print_to_mask(value, length, point != kNone, decimals);
  std::size_t text_integer = std::min(result.find('.'), result.size());
  if (text_integer < integer) {
    result.insert(0, integer - text_integer, ' ');
    text_integer = integer;
  }

  const auto digits = static_cast<std::size_t>(
      std::count_if(result.begin(), result.begin() + static_cast<std::ptrdiff_t>(text_integer),
                    [](char c) { return c == '-' || (c >= '0' && c <= '9'); }));
  bool follow = digits <= places && text_integer <= integer;
  if (!follow) {
    if (digits > length) {
      for (char& c : result)
        if (c != '.') c = '*';
      notice = kNumberStarred;
    } else if (text_integer < places && result.size() > length) {
      result.resize(length);
    }
  }
  if (result.size() > length) {
    result.resize(length);
    notice = kNumberCut;
    follow = false;
  }
  result.append(length - result.size(), '0');
  if (!follow) return notice;

  const auto minus = result.find('-');
  if (minus != kNone) result[minus] = ' ';
  insert_literals(result, std::min(text_integer, result.size()), mask, integer);
  if (minus != kNone) place_minus(result);
  return notice;
}

}  // namespace tarnel
