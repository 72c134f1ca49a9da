// Dates through a picture: the mask decides about separators and the digits of the year.
#include <algorithm>
#include <cstring>

#include "core/settings.h"
#include "lib/dates.h"
#include "lib/national.h"
#include "lib/picture.h"

namespace tarnel {
namespace {

// Puts the date format and the century setting back.
class CenturyScope {
 public:
  CenturyScope() : century_(settings().century) {
    std::memcpy(format_, settings().date_format, sizeof format_);
  }
  ~CenturyScope() {
    settings().century = century_;
    std::memcpy(settings().date_format, format_, sizeof format_);
  }
  CenturyScope(const CenturyScope&) = delete;
  CenturyScope& operator=(const CenturyScope&) = delete;

 private:
  char format_[sizeof(Settings::date_format)];
  bool century_;
};

bool is_digit_code(char c) {
  return c == kMaskDay || c == kMaskMonth || c == kMaskYear;
}
bool is_separator(char c) {
  return c == '.' || c == '-' || c == '/';
}

std::string format_letters() {
  std::string letters;
  for (const char c : date_format())
    if (letter_in(c, "DMY")) letters += c;
  return letters;
}

// Turns the digit places of the mask into codes; gives the number of year places.
int map_mask(std::string& mask, const std::string& letters) {
  int years = 0;
  std::size_t next = 0;
  for (char& c : mask) {
    if (!letter_in(c, "#9Nn") && !is_digit_code(c)) continue;
    const char letter = next < letters.size() ? letters[next++] : 'Y';
    c = letter == 'D' ? kMaskDay : letter == 'M' ? kMaskMonth : kMaskYear;
    if (c == kMaskYear) ++years;
  }
  return years;
}

// Lays the text along the mask: literals come from the mask, digit places take digits and blanks.
void lay_along(std::string& mask, std::string& text) {
  constexpr unsigned char kLastCode = 9;
  std::string laid;
  laid.reserve(mask.size());
  std::size_t t = 0;
  for (char& c : mask) {
    if (is_digit_code(c))
      while (t < text.size() && text[t] != ' ' && (text[t] < '0' || text[t] > '9')) ++t;
    const char held = t < text.size() ? text[t] : ' ';
    ++t;
    if (static_cast<unsigned char>(c) > kLastCode) {
      laid += c;
      c = kMaskLiteral;
    } else {
      laid += held;
    }
  }
  text = std::move(laid);
}

// Where the text shows the format's separator, the mask's own one comes back.
void restore_separators(const std::string& mask, const std::string& written, std::string& text) {
  const auto n = std::min({mask.size(), written.size(), text.size()});
  for (std::size_t i = 0; i < n; ++i)
    if (mask[i] == kMaskLiteral && is_separator(written[i]) && is_separator(text[i]))
      text[i] = written[i];
}

void strike_surplus_years(std::string& mask, int surplus) {
  for (auto c = mask.rbegin(); c != mask.rend() && surplus > 0; ++c)
    if (*c == kMaskYear) {
      *c = kStruckOut;
      --surplus;
    }
}

// Exchanges day and month digits in mask and text.
void exchange_day_and_month(std::string& mask, std::string& text) {
  const auto day = mask.find(kMaskDay), month = mask.find(kMaskMonth);
  if (day == mask.npos || month == mask.npos) return;
  const auto day2 = mask.find(kMaskDay, day + 1), month2 = mask.find(kMaskMonth, month + 1);
  if (day2 == mask.npos || month2 == mask.npos || std::max(day2, month2) >= text.size()) return;
  std::swap(mask[day], mask[month]);
  std::swap(mask[day2], mask[month2]);
  std::swap(text[day], text[month]);
  std::swap(text[day2], text[month2]);
}

void follow_mask(std::string& mask, std::int32_t day, std::string& text) {
  const CenturyScope scope;
  const DateFormat format = dateFormatCheck(settings().date_format);
  const bool sound = format.quality == DateFormat::kClean;
  if (!sound)
    mask = settings().century ? "##/##/####" : "##/##/##";
  else if (mask.empty())
    mask = format.template_;
  const std::string written = mask;

  const auto years_of = [](const std::string& letters) {
    return static_cast<int>(std::count(letters.begin(), letters.end(), 'Y'));
  };
  std::string letters = format_letters();
  int years = map_mask(mask, letters);
  lay_along(mask, text);
  const int wanted = years >= 4 ? 4 : 2;
  if (wanted != years || wanted != years_of(letters)) {
    setCentury(wanted == 4 ? 1 : 0);
    text = dateToText(day);
    if (years != wanted && sound) mask = dateFormatCheck(settings().date_format).template_;
    letters = format_letters();
    years = map_mask(mask, letters);
    lay_along(mask, text);
    restore_separators(mask, written, text);
  }
  text.resize(mask.size(), ' ');
  strike_surplus_years(mask, years - wanted);
}

}  // namespace

void rebuild_date(Picture& picture, std::int32_t day, std::string& text) {
  follow_mask(picture.mask, day, text);
  if (picture.eFlag) exchange_day_and_month(picture.mask, text);
  if (picture.zSeen && text.find_first_of("123456789") == std::string::npos)
    std::fill(text.begin(), text.end(), ' ');
}

}  // namespace tarnel
