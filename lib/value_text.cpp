#include "lib/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "core/errors.h"
#include "core/output.h"
#include "core/settings.h"
#include "lib/dates.h"
#include "lib/number_mask.h"
#include "lib/streams.h"

namespace tarnel {
namespace {

struct ScreenState {
  void (*writer)(std::string_view, std::string_view) = nullptr;
} state;

// A float keeps to its field: what is too wide in full is shown in the shortest form.
std::string_view float_text(const Var* v, NumberBuffer& buffer) {
  const auto text = print_fixed(buffer, v->num, v->length, v->decimals);
  if (!std::isfinite(v->num)) return text;
  if (v->length >= 0 && text.size() <= static_cast<std::size_t>(v->length)) return text;
  const auto end = std::to_chars(buffer.bytes, buffer.bytes + NumberBuffer::kSize, v->num,
                                 std::chars_format::general, v->decimals)
                       .ptr;
  auto n = static_cast<std::size_t>(end - buffer.bytes);
  const auto width = static_cast<std::size_t>(std::clamp(v->length, 0, kMaxNumberWidth));
  if (n < width) {
    std::memmove(buffer.bytes + (width - n), buffer.bytes, n);
    std::memset(buffer.bytes, ' ', width - n);
    n = width;
  }
  return {buffer.bytes, n};
}

std::string_view date_text(std::int32_t day, NumberBuffer& buffer) {
  const DateText text = dateToText(day);
  std::memcpy(buffer.bytes, text.bytes, text.length);
  return {buffer.bytes, text.length};
}

// With SET CONSOLE off only the files that copy the console get its text.
void write_console(std::string_view text) {
  settings().console ? write_output(text) : copy_output(text);
}

void write_values(std::int32_t argc, Var** argv, void (*write)(std::string_view)) {
  NumberBuffer buffer;
  for (std::int32_t i = 0; i < argc; ++i) {
    if (i > 0) write(" ");
    write(varToText(argv[i], buffer));
  }
}

// The text that devout and dispout write; false when the value can't be shown.
bool device_text(const Var* value, std::string& text) {
  if (is_nil(value)) {
    text = "NIL";
    return true;
  }
  std::string mask;
  const int notice = varDefaultText(value, mask, text);
  if (notice > 0) pictureNotice(notice);
  return notice >= 0;
}

void write_screen(std::string_view text, std::int32_t argc, Var** argv) {
  constexpr std::size_t kColourLimit = 49;
  if (state.writer == nullptr) return write_output(text);
  const std::string colour{arg_is(argc, argv, 1, "CM") ? text_of(argv[1]).substr(0, kColourLimit)
                                                       : ""};
  state.writer(text, colour);
}

}  // namespace

std::string_view varToText(const Var* v, NumberBuffer& buffer) {
  if (v == nullptr) return "NULL";
  switch (v->type) {
    case 'A':
      return "ARRAY";
    case 'B':
    case 'b':
      return "CODEBLOCK";
    case 'C':
    case 'M':
      return text_of(v);
    case 'D':
      return date_text(v->i, buffer);
    case 'E':
      return "ERROR";
    case 'F':
      return float_text(v, buffer);
    case 'I':
    case 'N':
      return numToText(number_of(v), v->length, v->decimals, buffer);
    case 'L':
      return v->i != 0 ? ".T." : ".F.";
    case 'O':
      return "OBJECT";
    case 'S':
      return "SCREEN";
    case 'U':
      return is_undefined(v) ? "UNDEFINED" : "NIL";
    default:
      RT_ERROR(203, format_text("Converting variable '%c' to string", v->type));
      return "";
  }
}

void pictureNotice(int code) {
  static constexpr const char* kTexts[] = {
      "more than one decimal point. Last used.",
      "comma past deci pint. Comma not used.",
      "number to large, picture corrected.",
      "number to large, displaing inpossible within picture.",
  };
  if (code >= kManyPoints && code <= kNumberStarred)
    RT_WARNING(333, format_text("(DevelopMode) PICTURE: %s", kTexts[code - 1]));
}

int varDefaultText(const Var* value, std::string& mask, std::string& result) {
  result.clear();
  NumberBuffer buffer;
  switch (value->type) {
    case 'C':
    case 'D':
      result = varToText(value, buffer);
      return kNoNotice;
    case 'F':
    case 'I':
    case 'N':
      if (!mask.empty()) return number_through_mask(number_of(value), mask, result);
      result = varToText(value, buffer);
      return kNoNotice;
    case 'L':
      result = value->i != 0 ? "T" : "F";
      return kNoNotice;
    default:
      return -1;
  }
}

void set_screen_writer(void (*writer)(std::string_view, std::string_view)) {
  state.writer = writer;
}

Var* qout(std::int32_t argc, Var** argv) {
  write_console("\n");
  write_values(argc, argv, write_console);
  return nil_value();
}

Var* qqout(std::int32_t argc, Var** argv) {
  write_values(argc, argv, write_console);
  return nil_value();
}

Var* outstd(std::int32_t argc, Var** argv) {
  write_values(argc, argv, write_standard);
  return nil_value();
}

Var* outerr(std::int32_t argc, Var** argv) {
  write_values(argc, argv, write_error);
  return nil_value();
}

Var* devout(std::int32_t argc, Var** argv) {
  if (argc < 1) {
    RT_ERROR(403, "SAY/DevOut(): expression argument needed");
    return nil_value();
  }
  std::string text;
  if (!device_text(argv[0], text)) return nil_value();
  if (settings().device == "PRINT" && print_file_open())
    write_print_file(text);
  else
    write_screen(text, argc, argv);
  return nil_value();
}

Var* dispout(std::int32_t argc, Var** argv) {
  if (argc < 1) {
    RT_ERROR(403, "DispOut(): expression argument needed");
    return nil_value();
  }
  std::string text;
  if (device_text(argv[0], text)) write_screen(text, argc, argv);
  return nil_value();
}

}  // namespace tarnel
