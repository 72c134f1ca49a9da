// The picture engine: a value shown through a picture such as "@R 999-999" or "@( $9,999.99".
//
// A picture is a template, or '@' and function letters, a blank, and a template. It is normalised
// once, in place, and then read by simple loops.
#pragma once

#include <string>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// Fixed bytes in a normalised picture, passed over by every loop.
constexpr char kStruckOut = 1;        // an illegal function letter
constexpr char kInsertedLiteral = 2;  // a template position whose literal went into the text
// Bytes in the mask of a date.
constexpr char kMaskLiteral = 3, kMaskDay = 5, kMaskMonth = 6, kMaskYear = 7;

// The parsed picture of one call.
struct Picture {
  std::string pic;     // functions and template, rewritten in place
  std::string mask;    // the template as written, and what dates made of it
  char type = 0;       // type letter of the value
  int funcPos = -1;    // first function letter in pic, -1 none
  int tmplPos = -1;    // first template character in pic, -1 none
  int sayWidth = 0;    // width of function S, 0 none
  bool eFlag = false;  // E: European order and separators
  bool rFlag = false;  // R: template literals are inserted, not written over the text
  bool fFlag = false;  // F: '$' and '*' fill the blanks
  bool tFlag = false;  // T: trim the result
  bool zSeen = false;  // Z: blank when zero or empty
  bool finite = true;  // of a number: else its stars stay
  char decimalChar = '.', groupChar = ',';

  bool is_number() const { return letter_in(type, "NFI"); }
};

// Reads the functions of picture.pic. False when the picture is unusable and was wiped.
bool parse_picture(Picture& picture);
// Walks the template along the text. The value never is rejected: what does not fit stays.
void apply_template(Picture& picture, std::string& text);
// Carries out the function letters in their order.
void apply_functions(Picture& picture, std::string& text);
// Rebuilds the text of a date along the mask, which decides about the digits of the year.
void rebuild_date(Picture& picture, std::int32_t day, std::string& text);

// Warning 333, shown with the developer option only.
void picture_warning(const char* text);

// Shows a value through a picture. Result 0; 1 when the picture or the value's default text is
// empty and that text stands; negative when the value can't be shown.
int pictureFormat(const Var* value, std::string_view picture, std::string& result);

#define PICTURE_BUILTINS(X)                                                    \
  X("transform", transform,                                                    \
    "transform(xValue, [cPicture]) -> cText: a value shown through a picture", \
    "transform(1234.5, '9,999.99') ==> 1,234.50")

PICTURE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kPictureBuiltins[] = {PICTURE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kPictureModule{
    .name = "picture", .subject = "Values as texts", .functions = kPictureBuiltins};

}  // namespace tarnel
