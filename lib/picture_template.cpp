// The template loop of the picture engine.
#include <algorithm>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/national.h"
#include "lib/picture.h"

namespace tarnel {
namespace {

enum class Outcome { kKeep, kNotice, kLiteral };

bool is_letter(char c) {
  return has_class(static_cast<unsigned char>(c), kLetter);
}
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
bool is_signed_digit(char c) {
  return is_digit(c) || c == '+' || c == '-';
}
bool in_list(std::string_view list, char c) {
  return list.find(c) != list.npos;
}

Outcome keep_if(bool fits) {
  return fits ? Outcome::kKeep : Outcome::kNotice;
}
Outcome keep_or_literal(bool fits) {
  return fits ? Outcome::kKeep : Outcome::kLiteral;
}

Outcome digit_place(char type, char c) {
  switch (type) {
    case 'C':
    case 'D':
      return keep_if(is_digit(c) || c == ' ');
    case 'N':
      return keep_if(is_signed_digit(c) || c == ' ');
    case 'L':
      return Outcome::kLiteral;
    default:
      return Outcome::kNotice;  // floats and integers are not looked at
  }
}

Outcome logical_place(char type, char& c) {
  if (type != 'L') return Outcome::kLiteral;
  if (in_list(true_list(), c)) {
    c = 'T';
  } else if (in_list(false_list(), c)) {
    c = 'F';
  } else {
    return Outcome::kNotice;
  }
  return Outcome::kKeep;
}

Outcome yes_no_place(char type, char& c) {
  if (type == 'C') return keep_or_literal(in_list(true_list(), c) || in_list(false_list(), c));
  if (type != 'L') return Outcome::kLiteral;
  const std::string_view list = c == 'T' ? true_list() : false_list();
  if (list.size() > 2) c = list[2];
  return Outcome::kKeep;
}

// What a template symbol other than '$' and '*' does with the text character c.
Outcome place(char symbol, char type, char& c) {
  switch (symbol) {
    case kStruckOut:
    case kInsertedLiteral:
    case 'X':
      return Outcome::kKeep;
    case '!':
      c = to_upper(c);
      return Outcome::kKeep;
    case '#':
      return type == 'L' ? Outcome::kLiteral : keep_if(c == ' ' || is_signed_digit(c));
    case ',':
      return keep_or_literal(letter_in(type, "NFI"));
    case '-':
    case '/':
      return keep_or_literal(type == 'D');
    case '.':
      return keep_or_literal(letter_in(type, "NFID"));
    case '9':
      return digit_place(type, c);
    case 'A':
      return letter_in(type, "CL") ? keep_if(is_letter(c)) : Outcome::kLiteral;
    case 'L':
      return logical_place(type, c);
    case 'N':
      return type == 'L' ? Outcome::kLiteral : keep_if(is_letter(c) || is_digit(c));
    case 'Y':
      return yes_no_place(type, c);
    default:
      return Outcome::kLiteral;
  }
}

// Puts a currency or check symbol into the first blank, or in front; with `fill` over all the
// blanks behind it too.
void write_symbol(std::string& text, char symbol, bool fill) {
  if (text.find(symbol) != std::string::npos) return;
  std::size_t at = text.find(' ');
  if (at == std::string::npos) text.insert(at = 0, 1, symbol);
  text[at] = symbol;
  while (fill && ++at < text.size() && text[at] == ' ') text[at] = symbol;
}

void report(char c, char symbol) {
  if (!settings().developer) return;
  picture_warning(
      format_text(": wrong char '%c' on template symbol '%c' - unchanged", c, symbol).c_str());
}

char symbol_at(const Picture& picture, std::size_t m) {
  return to_upper(picture.pic[m]);
}

// Literals are written over the text.
void overwrite(Picture& picture, std::string& text) {
  std::string& pic = picture.pic;
  const auto start = static_cast<std::size_t>(picture.tmplPos);
  const bool has_star = pic.find('*', start) != std::string::npos;
  for (std::size_t m = start, t = 0; m < pic.size() && t < text.size(); ++m, ++t) {
    const char symbol = symbol_at(picture, m);
    if ((symbol == '$' || symbol == '*') && picture.is_number()) {
      write_symbol(text, symbol, picture.fFlag && (symbol == '*' || !has_star));
      continue;
    }
    switch (place(symbol, picture.type, text[t])) {
      case Outcome::kKeep:
        break;
      case Outcome::kNotice:
        report(text[t], symbol);
        break;
      case Outcome::kLiteral:
        text[t] = pic[m];
        pic[m] = kStruckOut;
    }
  }
}

// Literals are inserted; those behind the text's end are shown too. A place behind the end shows as
// a blank.
void insert(Picture& picture, std::string& text) {
  std::string& pic = picture.pic;
  std::string shown;
  shown.reserve(text.size() + pic.size());
  std::size_t t = 0;
  for (auto m = static_cast<std::size_t>(picture.tmplPos); m < pic.size(); ++m) {
    const char symbol = symbol_at(picture, m);
    char c = t < text.size() ? text[t] : ' ';
    const Outcome outcome = place(symbol, picture.type, c);
    if (outcome == Outcome::kLiteral) {
      shown += pic[m];
      pic[m] = kInsertedLiteral;
      continue;
    }
    if (outcome == Outcome::kNotice) report(c, symbol);
    shown += c;
    ++t;
  }
  if (t < text.size()) shown.append(text, t);
  text = std::move(shown);
}

}  // namespace

void apply_template(Picture& picture, std::string& text) {
  picture.rFlag ? insert(picture, text) : overwrite(picture, text);
}

}  // namespace tarnel
