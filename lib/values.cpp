#include "lib/values.h"

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/errors.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

bool is_blank_text(std::string_view text) {
  constexpr std::string_view kBlanks{" \t\0", 3};
  return text.find_first_not_of(kBlanks) == text.npos;
}

// The one-letter text for a type letter. Integers and floats show themselves with option intvar
// only.
const char* type_text(const Var* v) {
  static constexpr const char* kTexts[] = {"U", "F", "I", "N", "D", "C", "M",
                                           "L", "A", "S", "B", "O", "?"};
  char letter = v->type;
  if (letter == 'b') letter = 'B';
  if ((letter == 'F' || letter == 'I') && !settings().intvar) letter = 'N';
  for (const char* text : kTexts)
    if (*text == letter) return text;
  return "U";
}

// Evaluates an expression with errors held back. Null: no value.
const char* type_of_expression(std::string_view text) {
  const ErrorHold hold;
  const std::int32_t mark = temp_top();
  set_last_error(0);
  const Var* value = macro_hooks().evaluate(text);
  const char* result = value == nullptr || value->type == 'E' ? nullptr : type_text(value);
  POP_TEMPS(mark);
  return result;
}

// What the evaluation of an expression leaves there is the asker's affair alone.
class KeepLastError {
 public:
  KeepLastError() : saved_(last_error()) {}
  ~KeepLastError() { set_last_error(saved_); }
  KeepLastError(const KeepLastError&) = delete;
  KeepLastError& operator=(const KeepLastError&) = delete;

 private:
  const int saved_;
};

}  // namespace

Var* empty(std::int32_t argc, Var** argv) {
  if (argc != 1) return error_value();
  const Var* v = argv[0];
  switch (v->type) {
    case 'A':
      return logical(element_count(v) == 0);
    case 'B':
      return logical(v->function == nullptr);
    case 'b':
      return logical(v->code == nullptr);
    case 'C':
    case 'M':
      return logical(is_blank_text(text_of(v)));
    case 'D':
    case 'I':
    case 'L':
      return logical(v->i == 0);
    case 'S':
      return logical(v->window == nullptr);
    case 'F':
    case 'N':
      return logical(v->num == 0);
    case 'O':
      return false_value();
    case 'U':
      return logical(!is_undefined(v));
    default:
      return error_value();
  }
}

Var* len(std::int32_t argc, Var** argv) {
  if (argc < 1 || is_undefined(argv[0])) return error_value();
  if (is_text(argv[0])) return TMP_INT(static_cast<std::int32_t>(text_of(argv[0]).size()));
  return argv[0]->type == 'A' ? TMP_INT(element_count(argv[0])) : int_zero();
}

Var* valtype(std::int32_t argc, Var** argv) {
  return TMP_STR(argc < 1 ? "U" : type_text(argv[0]));
}

Var* type(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, kText) || macro_hooks().evaluate == nullptr) return empty_text();
  const auto text = text_of(argv[0]);
  const KeepLastError keep;
  const char* letters = type_of_expression(text);
  const int code = last_error();
  if (letters == nullptr || code != 0) {
    if (code == 308) {
      letters = "UF";
    } else if (code == 309) {
      letters = "UE";
    } else if (code == 310 || code == 319) {
      letters = "U";
    } else {
      // A call that complains but goes on has a result all the same.
      letters = type_of_expression(text);
      if (letters == nullptr) letters = "UI";
    }
  }
  return TMP_STR(letters);
}

}  // namespace tarnel
