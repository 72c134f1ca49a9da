// The function letters of a picture: signs, brackets, blanking, justification.
#include <algorithm>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/national.h"
#include "lib/picture.h"

namespace tarnel {
namespace {

constexpr auto kNone = std::string::npos;
constexpr const char kDigits[] = "0123456789";
constexpr const char kNumbers[] = "NFI";

// Where the sign of a negative number stands, npos when it is not negative.
std::size_t sign_place(const std::string& text, const char* passed_over, const char* signs) {
  const auto at = text.find_first_not_of(passed_over);
  return at != kNone && letter_in(text[at], signs) ? at : kNone;
}

// A negative number between brackets; `at_digit` puts the opening one in front of the first digit.
void bracket(std::string& text, bool at_digit) {
  const auto minus = sign_place(text, " *$0123456789", "-");
  if (minus == kNone && (text.empty() || text.back() != 'B')) return;
  if (minus != kNone) text[minus] = ' ';
  text.resize(text.find_last_not_of("DB ") + 1);
  text += ')';
  std::size_t at = 0;
  if (at_digit) {
    const auto digit = text.find_first_of(kDigits);
    at = digit == kNone || digit == 0 ? 0 : digit - 1;
  }
  if (text[at] >= '0' && text[at] <= '9') text.insert(at, 1, ' ');
  text[at] = '(';
}

void justify_left(std::string& text) {
  const auto start = text.find_first_not_of('(');
  if (start == kNone) return;
  const auto first = text.find_first_not_of(' ', start);
  if (first == kNone) return;
  std::rotate(text.begin() + static_cast<std::ptrdiff_t>(start),
              text.begin() + static_cast<std::ptrdiff_t>(first), text.end());
}

void mark_credit(std::string& text) {
  if (sign_place(text, " *$", "-(") == kNone && (text.empty() || text.back() != 'B')) text += " CR";
}

void mark_debit(std::string& text) {
  const auto at = sign_place(text, " *$", "-(");
  if (at == kNone) return;
  if (text[at] == '(') {
    if (text.back() != ')') return;
    text.pop_back();
  }
  text[at] = ' ';
  text += " DB";
}

bool all_zeros(const std::string& text, std::size_t from) {
  return text.find_first_not_of('0', from) == kNone;
}

// The zeros of the integer part become blanks, and those of the fraction when all else is zero.
void blank_zeros(std::string& text, const Picture& picture) {
  std::size_t i = 0;
  for (; i < text.size(); ++i) {
    if (text[i] == '0')
      text[i] = ' ';
    else if (text[i] != ' ' && text[i] != picture.groupChar)
      break;
  }
  const bool at_point = i < text.size() && text[i] == picture.decimalChar;
  if (at_point && all_zeros(text, i + 1))
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(i) + 1, text.end(), ' ');
  if (text.find_first_of(kDigits) == kNone) {
    std::fill(text.begin(), text.end(), ' ');
    return;
  }
  const auto point = text.find(picture.decimalChar);
  if (point != kNone && point > 0 && text[point - 1] == ' ') text[point - 1] = '0';
}

// One function on the text; false when it does not fit the type.
bool apply(char letter, Picture& picture, std::string& text) {
  const char type = picture.type;
  switch (letter) {
    case 'A':
    case 'E':
    case 'F':
    case 'K':
    case 'R':
    case 'T':
    case kStruckOut:
    case kInsertedLiteral:
      return true;
    case 'S':
      text.resize(std::min(text.size(), static_cast<std::size_t>(picture.sayWidth)));
      return true;
    case '!':
      if (!letter_in(type, "CL")) return false;
      upper_bytes(text.data(), text.size());
      return true;
    case 'D':
      return type == 'D';
    case 'Z':
      if (type == 'D')
        picture.zSeen = true;
      else if (picture.is_number() && picture.finite)
        blank_zeros(text, picture);
      return letter_in(type, "DNFI");
    default:
      break;
  }
  if (!letter_in(type, kNumbers)) return false;
  switch (letter) {
    case '(':
      bracket(text, false);
      return true;
    case ')':
      bracket(text, true);
      return true;
    case 'B':
      justify_left(text);
      return true;
    case 'C':
      mark_credit(text);
      return true;
    case 'X':
      mark_debit(text);
      return true;
    default:
      return false;
  }
}

bool is_width_character(char c) {
  return (c >= '0' && c <= '9') || c == '.' || c == '+' || c == '-' || c == kStruckOut;
}

}  // namespace

void apply_functions(Picture& picture, std::string& text) {
  const std::string& pic = picture.pic;
  for (std::size_t i = 1; i < pic.size() && pic[i] != ' '; ++i) {
    const char letter = to_upper(pic[i]);
    if (!apply(letter, picture, text)) {
      if (settings().developer)
        picture_warning(
            format_text(": unknown/not allowed @..%c.. funct symbol, not considered", letter)
                .c_str());
      return;
    }
    if (letter == 'S')
      while (i + 1 < pic.size() && is_width_character(pic[i + 1])) ++i;
  }
}

}  // namespace tarnel
