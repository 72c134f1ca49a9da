// Reading the functions of a picture.
#include <algorithm>
#include <cstring>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/national.h"
#include "lib/picture.h"

namespace tarnel {
namespace {

constexpr std::size_t kWidthDigits = 20;
constexpr int kMostSayWidth = 1'000'000'000;

struct FunctionRow {
  char letter;
  const char* types;  // type letters that it is allowed for
};
constexpr const char kAllTypes[] = "CDFINL";
constexpr FunctionRow kFunctions[] = {
    {'!', kAllTypes},
    {kStruckOut, kAllTypes},
    {kInsertedLiteral, kAllTypes},
    {'S', kAllTypes},
    {'K', kAllTypes},
    {'T', kAllTypes},
    {'R', "CD"},
    {'A', "C"},
    {'D', "DNFI"},
    {'Z', "DNFI"},
    {'E', "DNFI"},
    {'(', "NFI"},
    {')', "NFI"},
    {'B', "NFI"},
    {'C', "NFI"},
    {'X', "NFI"},
    {'F', "NFI"},
};

bool allowed(char letter, char type) {
  return std::any_of(std::begin(kFunctions), std::end(kFunctions), [=](const FunctionRow& row) {
    return row.letter == letter && letter_in(type, row.types);
  });
}

// Can a template of this type begin with the character?
bool begins_template(char symbol, char type) {
  if (letter_in(symbol, "!#9ANY")) return true;
  if (letter_in(symbol, "$*.,")) return letter_in(type, "NFI");
  if (symbol == 'L') return type == 'L';
  return symbol == 'X' && letter_in(type, "CML");
}

// The width behind an S at `at`, which moves to the last character read; 0 when there is none.
int read_width(const std::string& pic, std::size_t& at) {
  std::size_t i = at + 1;
  while (i < pic.size() && pic[i] == ' ') ++i;
  std::int64_t width = 0;
  bool fraction = false, negative = false;
  const std::size_t end = std::min(pic.size(), i + kWidthDigits);
  for (; i < end; ++i) {
    const char c = pic[i];
    if (c >= '0' && c <= '9') {
      if (!fraction) width = std::min<std::int64_t>(width * 10 + (c - '0'), kMostSayWidth);
    } else if (c == '.') {
      fraction = true;
    } else if (c == '-') {
      negative = true;
    } else if (c != '+' && c != kStruckOut) {
      break;
    }
  }
  at = i - 1;
  return negative ? 0 : static_cast<int>(width);
}

// One pass over the letters behind the '@'.
struct Scan {
  Picture& picture;
  std::size_t at = 1;
  std::size_t bad = 0;  // place of a letter that is not allowed, 0 none
  char bad_letter = 0;
  bool any_letter = false, width_wanted = false;

  void note_letter(char letter) {
    any_letter = true;
    switch (letter) {
      case 'S':
        width_wanted = true;
        if (const int width = read_width(picture.pic, at); width != 0) picture.sayWidth = width;
        return;
      case 'T':
        picture.tFlag = true;
        return;
      case 'R':
        picture.rFlag = true;
        return;
      case 'E':
        picture.eFlag = true;
        return;
      case 'F':
        picture.fFlag = true;
        return;
      default:
        return;
    }
  }

  // A letter that is not allowed ends the functions when it can begin a template.
  bool ends_at_bad_letter(char letter) {
    bad = at;
    bad_letter = picture.pic[at];
    if (letter_in(letter, "ANX9#LY!$*.,")) {
      picture.pic.insert(at, 1, ' ');
      ++bad;
      return true;
    }
    picture.pic[at] = kStruckOut;
    any_letter = true;
    return false;
  }

  void run() {
    for (; at < picture.pic.size() && picture.pic[at] != ' '; ++at) {
      const char letter = to_upper(picture.pic[at]);
      if (allowed(letter, picture.type))
        note_letter(letter);
      else if (ends_at_bad_letter(letter))
        return;
    }
  }
};

bool wipe(Picture& picture, const char* notice) {
  picture_warning(notice);
  const char type = picture.type;
  picture = Picture{};
  picture.type = type;
  return false;
}

}  // namespace

void picture_warning(const char* text) {
  if (settings().developer) RT_WARNING(333, std::string("(DevelopMode) PICTURE") + text);
}

bool parse_picture(Picture& picture) {
  std::string& pic = picture.pic;
  if (pic.empty()) return true;
  if (pic[0] != '@') {
    picture.tmplPos = 0;
    return true;
  }
  Scan scan{picture};
  scan.run();
  if (!scan.any_letter && pic.size() > 1 && pic[1] == ' ' && scan.bad == 0)
    return wipe(picture,
                ": first char after @ is blank, should be function character. No picture used.");
  if (scan.any_letter) picture.funcPos = 1;

  const std::size_t blank = std::min(scan.at, pic.size());
  const std::size_t start = std::min(pic.find_first_not_of(' ', blank), pic.size());
  if (start < pic.size()) {
    pic.erase(blank + 1, start - blank - 1);
    picture.tmplPos = static_cast<int>(blank) + 1;
    if (begins_template(to_upper(pic[blank + 1]), picture.type)) scan.bad = 0;
  }
  if (scan.bad != 0 && scan.bad < pic.size()) {
    if (settings().developer)
      picture_warning(format_text(" @function: character %c not allowed for data type %c. "
                                  "Not considered",
                                  scan.bad_letter, picture.type)
                          .c_str());
    pic[scan.bad] = kStruckOut;
  }
  if (scan.width_wanted && picture.sayWidth == 0)
    return wipe(picture, ": @Sn function without lenght <n>. No picture used.");
  pic.resize(trim_right(pic).size());
  return true;
}

}  // namespace tarnel
