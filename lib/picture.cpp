#include "lib/picture.h"

#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "lib/arguments.h"
#include "lib/national.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

// Makes the template of a text as long as the text needs, and no longer with function R.
void fit_template_to_text(Picture& picture, std::size_t length) {
  std::string& pic = picture.pic;
  if (static_cast<std::size_t>(picture.sayWidth) > length)
    picture.sayWidth = static_cast<int>(length);
  if (picture.tmplPos < 0) {
    pic = picture.funcPos >= 0 ? pic + " X" : "X";
    picture.tmplPos = static_cast<int>(pic.size()) - 1;
  }
  const auto start = static_cast<std::size_t>(picture.tmplPos);
  pic.resize(std::max(pic.size(), start + length), 'X');
  if (!picture.rFlag) return;
  std::size_t places = 0, end = start;  // end: behind the last place that the text fills
  for (std::size_t m = start; m < pic.size(); ++m) {
    const char symbol = to_upper(pic[m]);
    if (!letter_in(symbol, "9NAX!#\x01")) continue;
    if (places == length) return pic.resize(end);
    ++places;
    end = m + 1;
  }
  pic.append(length - places, 'X');
}

void swap_separators(std::string& text) {
  for (char& c : text)
    if (c == ',' || c == '.') c = c == ',' ? '.' : ',';
}

void show_number(const Var* value, Picture& picture, std::string& result) {
  const int notice = varDefaultText(value, picture.mask, result);
  if (notice > 0) pictureNotice(notice);
  picture.finite = std::isfinite(number_of(value));
  if (!picture.eFlag) return;
  swap_separators(result);
  std::swap(picture.decimalChar, picture.groupChar);
}

}  // namespace

int pictureFormat(const Var* value, std::string_view picture_text, std::string& result) {
  Picture picture;
  picture.type = value->type;
  picture.pic = trim_blanks(picture_text);
  if (!picture.is_number() || picture.pic.empty()) {
    std::string no_mask;
    const int shown = varDefaultText(value, no_mask, result);
    if (shown < 0) return shown;
    if (picture.pic.empty() || result.empty()) return 1;
  }

  parse_picture(picture);
  if (picture.tmplPos >= 0)
    picture.mask = picture.pic.substr(static_cast<std::size_t>(picture.tmplPos));
  const std::size_t written = picture.mask.size();
  if (picture.type == 'C' && (picture.funcPos >= 0 || picture.tmplPos >= 0))
    fit_template_to_text(picture, result.size());
  if (picture.is_number()) show_number(value, picture, result);

  if (picture.tmplPos >= 0) apply_template(picture, result);
  if (picture.funcPos >= 0) apply_functions(picture, result);

  if (picture.type == 'D') rebuild_date(picture, value->i, result);
  if (picture.type == 'C' && written > 0) result.resize(std::min(result.size(), written));
  if (picture.tFlag) result = trim_blanks(std::string(result));
  return 0;
}

Var* transform(std::int32_t argc, Var** argv) {
  if (argc < 1) {
    RT_ERROR(316, "in TRANSFORM()");
    return empty_text();
  }
  std::string result;
  if (arg_is(argc, argv, 1, kText)) {
    pictureFormat(argv[0], text_of(argv[1]), result);
  } else {
    std::string no_mask;
    varDefaultText(argv[0], no_mask, result);
  }
  return TMP_TEXT(result);
}

}  // namespace tarnel
