#include "lib/strings.h"

#include <algorithm>
#include <cstring>

#include "core/errors.h"
#include "core/settings.h"
#include "lib/arguments.h"
#include "lib/national.h"
#include "lib/number_text.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

Var* trimmed(std::int32_t argc, Var** argv, std::string_view (*trim)(std::string_view)) {
  if (argc != 1) return empty_text();
  if (arg_is(argc, argv, 0, kText)) return TMP_TEXT(trim(text_of(argv[0])));
  if (!arg_is(argc, argv, 0, kNumeric)) return empty_text();
  NumberBuffer buffer;
  const Var* number = argv[0];
  return TMP_TEXT(
      trim(number_field(number_of(number), number->length, number->decimals, true, buffer)));
}

Var* padded(std::int32_t argc, Var** argv, Pad side, const char* too_long) {
  const std::int32_t length = int_argument(argc, argv, 1, 0);
  if (length <= 0) return empty_text();
  if (length > kMaxTextLength) {
    RT_ERROR(319, too_long);
    return empty_text();
  }
  const std::string_view fill = text_argument(argc, argv, 2);
  NumberBuffer buffer;
  const Var* value = argv[0];
  const std::string_view text =
      is_text(value) ? text_of(value) : trim_blanks(varToText(value, buffer));
  return pad_text(text, length, fill.empty() ? ' ' : fill[0], side);
}

Var* case_copy(std::int32_t argc, Var** argv, void (*map)(char*, std::size_t)) {
  if (argc != 1 || !arg_is(argc, argv, 0, kText)) return empty_text();
  Var* copy = TMP_TEXT(text_of(argv[0]));
  if (!is_error(copy)) map(copy->text, text_of(copy).size());
  return copy;
}

Var* first_has_class(std::int32_t argc, Var** argv, CharClass wanted) {
  if (argc != 1) return false_value();
  const std::string_view text = text_argument(argc, argv, 0);
  return logical(!text.empty() && has_class(static_cast<unsigned char>(text[0]), wanted));
}

// How many of `available` bytes a count asks for.
std::size_t limited(std::int32_t count, std::size_t available) {
  return count < 0 ? 0 : std::min(static_cast<std::size_t>(count), available);
}

// Zero-based start of a 1-based position; a negative one counts from the end.
std::size_t start_of(std::int32_t position, std::size_t size) {
  if (position > 0) return static_cast<std::size_t>(position) - 1;
  const auto back = static_cast<std::size_t>(-std::int64_t{position});
  return position == 0 || back > size ? 0 : size - back;
}

}  // namespace

Var* pad_text(std::string_view text, std::int32_t length, char fill, Pad side) {
  const auto wanted = static_cast<std::size_t>(length);
  text = text.substr(0, wanted);
  Var* result = TMP_BUFFER(length);
  if (is_error(result)) return empty_text();
  const std::size_t missing = wanted - text.size();
  const std::size_t front = side == Pad::kLeft ? missing : side == Pad::kRight ? 0 : missing / 2;
  char* out = result->text;
  std::memset(out, fill, front);
  std::memcpy(out + front, text.data(), text.size());
  std::memset(out + front + text.size(), fill, missing - front);
  return result;
}

Var* alltrim(std::int32_t argc, Var** argv) {
  return trimmed(argc, argv, trim_blanks);
}
Var* ltrim(std::int32_t argc, Var** argv) {
  return trimmed(argc, argv, trim_left);
}
Var* rtrim(std::int32_t argc, Var** argv) {
  return trimmed(argc, argv, trim_right);
}

Var* padl(std::int32_t argc, Var** argv) {
  return padded(argc, argv, Pad::kLeft, "PADL: result too long");
}
Var* padr(std::int32_t argc, Var** argv) {
  return padded(argc, argv, Pad::kRight, "PADR: result too long");
}
Var* padc(std::int32_t argc, Var** argv) {
  return padded(argc, argv, Pad::kCentre, "PADC: result too long");
}

Var* upper(std::int32_t argc, Var** argv) {
  return case_copy(argc, argv, upper_bytes);
}
Var* lower(std::int32_t argc, Var** argv) {
  return case_copy(argc, argv, lower_bytes);
}
Var* builtin_isupper(std::int32_t argc, Var** argv) {
  return first_has_class(argc, argv, kUpper);
}
Var* builtin_islower(std::int32_t argc, Var** argv) {
  return first_has_class(argc, argv, kLower);
}
Var* builtin_isalpha(std::int32_t argc, Var** argv) {
  return first_has_class(argc, argv, kLetter);
}
Var* builtin_isdigit(std::int32_t argc, Var** argv) {
  return first_has_class(argc, argv, kDigit);
}

Var* asc(std::int32_t argc, Var** argv) {
  if (argc != 1 || !arg_is(argc, argv, 0, kText)) return num_zero();
  const auto text = text_of(argv[0]);
  return text.empty() ? int_zero() : TMP_INT(static_cast<unsigned char>(text[0]));
}

Var* chr(std::int32_t argc, Var** argv) {
  const char* text = "in CHR()";
  int code = 0;
  if (argc != 1) {
    code = 311;
  } else if (!arg_is(argc, argv, 0, kNumeric)) {
    code = 312;
  } else if (const std::int32_t value = integer_of(argv[0]); value > 255) {
    code = 902;
    text = "Argument > 255 in CHR()";
  } else if (value >= 0) {
    const char byte = static_cast<char>(value);
    return TMP_TEXT({&byte, 1});
  } else {
    // Negative codes name special keys.
    const char key[2] = {static_cast<char>(settings().breakkey),
                         static_cast<char>(0U - static_cast<std::uint32_t>(value))};
    return TMP_TEXT({key, 2});
  }
  RT_ERROR(code, text);
  return empty_text();
}

Var* left(std::int32_t argc, Var** argv) {
  if (argc != 2 || !arg_is(argc, argv, 1, kNumeric)) return empty_text();
  const auto text = text_argument(argc, argv, 0);
  return TMP_TEXT(text.substr(0, limited(integer_of(argv[1]), text.size())));
}

Var* right(std::int32_t argc, Var** argv) {
  if (argc != 2 || !arg_is(argc, argv, 1, kNumeric)) return empty_text();
  const auto text = text_argument(argc, argv, 0);
  return TMP_TEXT(text.substr(text.size() - limited(integer_of(argv[1]), text.size())));
}

Var* substr(std::int32_t argc, Var** argv) {
  if (argc != 2 && argc != 3) {
    RT_ERROR(311, format_text("SUBSTR: has 2 or 3 arguments, not %d ", argc));
    return empty_text();
  }
  if (!arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kNumeric)) {
    RT_ERROR(312, format_text("SUBSTR: argument types should be 'C, N', not '%c, %c' ",
                              type_letter(argc, argv, 0), type_letter(argc, argv, 1)));
    return empty_text();
  }
  auto rest = text_of(argv[0]);
  rest.remove_prefix(std::min(start_of(integer_of(argv[1]), rest.size()), rest.size()));
  if (rest.empty()) return empty_text();
  if (argc == 2) return TMP_TEXT(rest);
  if (!arg_is(argc, argv, 2, kNumeric)) {
    RT_ERROR(312, format_text("SUBSTR: third argument type should be 'N', not '%c' ",
                              type_letter(argc, argv, 2)));
    return empty_text();
  }
  return TMP_TEXT(rest.substr(0, limited(integer_of(argv[2]), rest.size())));
}

Var* stuff(std::int32_t argc, Var** argv) {
  if (argc != 4 || !arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kNumeric) ||
      !arg_is(argc, argv, 2, kNumeric) || !arg_is(argc, argv, 3, kText))
    return empty_text();
  const auto text = text_of(argv[0]), insert = text_of(argv[3]);
  const std::size_t start = limited(std::max(integer_of(argv[1]), 1) - 1, text.size());
  const std::size_t gone = limited(integer_of(argv[2]), text.size() - start);
  Var* result = TMP_BUFFER(static_cast<std::int64_t>(text.size() - gone + insert.size()));
  if (is_error(result)) return empty_text();
  char* out = std::copy_n(text.data(), start, result->text);
  out = std::copy_n(insert.data(), insert.size(), out);
  std::copy(text.begin() + static_cast<std::ptrdiff_t>(start + gone), text.end(), out);
  return result;
}

Var* replicate(std::int32_t argc, Var** argv) {
  if (argc != 2 || !arg_is(argc, argv, 0, kText) || !arg_is(argc, argv, 1, kNumeric))
    return empty_text();
  const auto text = text_of(argv[0]);
  const std::int64_t count = std::max(integer_of(argv[1]), 0);
  const auto total = count * static_cast<std::int64_t>(text.size());
  if (total == 0) return empty_text();
  Var* result = TMP_BUFFER(total);
  if (is_error(result)) return empty_text();
  // Each copy doubles what is there.
  std::memcpy(result->text, text.data(), text.size());
  for (auto done = static_cast<std::int64_t>(text.size()); done < total;) {
    const auto n = std::min(done, total - done);
    std::memcpy(result->text + done, result->text, static_cast<std::size_t>(n));
    done += n;
  }
  return result;
}

Var* space(std::int32_t argc, Var** argv) {
  if (argc != 1 || !arg_is(argc, argv, 0, kNumeric)) return empty_text();
  const std::int32_t count = integer_of(argv[0]);
  return count < 1 ? empty_text() : pad_text("", count, ' ', Pad::kRight);
}

}  // namespace tarnel
