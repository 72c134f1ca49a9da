// Typed assignments and temporaries.
#include <algorithm>

#include "core/classes.h"
#include "core/errors.h"
#include "core/memory.h"
#include "core/settings.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "core/var.h"

#include "core/arrays.h"

namespace tarnel {
namespace {

char no_text[1] = "";

bool is_field(const Var* v) {
  return v->sclass == 'F' || v->sclass == 'f';
}

// A stack cell of a type, for values on their way into a field.
Var value_cell(char type, std::int32_t length, std::uint8_t decimals = 0) {
  Var v{};
  v.type = type;
  v.sclass = 'N';
  v.length = length;
  v.decimals = decimals;
  v.refs = 1;
  v.name = -1;
  return v;
}

std::uint8_t decimals_of(int decimals) {
  return static_cast<std::uint8_t>(decimals == -1 ? settings().decimals : decimals & 255);
}

// Prepares the cell for a value of the type; null when the assignment was refused.
Var* prepare(Var* var, char type, std::int32_t length, std::uint8_t decimals) {
  Var* v = CLR_VAR(var, type);
  if (is_error(v)) return nullptr;
  v->type = type;
  v->length = length;
  v->decimals = decimals;
  return v;
}

Var* set_word(Var* var, char type, std::int32_t length, std::int32_t word) {
  if (is_field(var)) {
    Var value = value_cell(type, length);
    put_word(&value, word);
    return FIELD_PUT(var, &value);
  }
  Var* v = prepare(var, type, length, 0);
  if (v == nullptr) return error_value();
  put_word(v, word);
  return v;
}

constexpr const char* kTooLong = "text exceeds 2147483646 bytes";

// A buffer of n + 1 bytes with a NUL at its end, or null after raising an error.
char* text_buffer(std::int64_t n) {
  if (n > kMaxTextLength) {
    RT_ERROR(319, kTooLong);
    return nullptr;
  }
  auto* buffer = static_cast<char*>(
      MEM_ALLOC(static_cast<std::size_t>(n) + 1, MemPurpose::kText, MemSeverity::kMay));
  if (buffer == nullptr) RT_ERROR(301, "to copy text");
  return buffer;
}

// The cell's own buffer cut or stretched in place.
Var* resize_own_text(Var* var, std::int64_t n) {
  if (n + 1 == var->length) return var;
  if (n > kMaxTextLength) return RT_ERROR(319, kTooLong);
  auto* buffer = static_cast<char*>(MEM_REALLOC(var->text, static_cast<std::size_t>(n) + 1,
                                                MemPurpose::kText, MemSeverity::kMay));
  if (buffer == nullptr) return RT_ERROR(301, "to copy text");
  var->text = buffer;
  var->length = static_cast<std::int32_t>(n + 1);
  buffer[n] = 0;
  return var;
}

}  // namespace

Var* SET_INT(Var* var, std::int32_t value) {
  if (upper_class(var->sclass) == 'S' && letter_in(var->type, "NF")) return SET_NUM(var, value, -1);
  return set_word(var, 'I', -1, value);
}

Var* SET_NUM(Var* var, double value, int decimals) {
  if (upper_class(var->sclass) == 'S' && var->type == 'I')
    return SET_INT(var, truncate_to_int(value));
  if (is_field(var)) {
    Var cell = value_cell('N', -1, decimals_of(decimals));
    cell.num = value;
    return FIELD_PUT(var, &cell);
  }
  Var* v = prepare(var, 'N', -1, decimals_of(decimals));
  if (v == nullptr) return error_value();
  v->num = value;
  return v;
}

Var* SET_LOG(Var* var, bool value) {
  if (is_field(var)) return FIELD_PUT(var, logical(value));
  return set_word(var, 'L', 1, value ? 1 : 0);
}

Var* SET_DATE(Var* var, std::int32_t day) {
  return set_word(var, 'D', 8, day);
}

Var* SET_STR(Var* var, const char* text, std::int64_t n) {
  if (n < 0) {
    if (text == nullptr) text = "";
    n = static_cast<std::int64_t>(std::strlen(text));
  }
  if (var->type == 'C' && owns_payload(var) && !is_field(var) && var->sclass != 'C' &&
      text == var->text && text != nullptr)
    return resize_own_text(var, n);
  char* buffer = text_buffer(n);
  if (buffer == nullptr) return error_value();
  if (text != nullptr)
    std::memcpy(buffer, text, static_cast<std::size_t>(n));
  else
    std::memset(buffer, 0, static_cast<std::size_t>(n));
  buffer[n] = 0;
  const auto length = static_cast<std::int32_t>(n + 1);
  if (is_field(var)) {
    Var value = value_cell('C', length);
    value.text = buffer;
    Var* result = FIELD_PUT(var, &value);
    MEM_FREE(buffer);
    return result;
  }
  Var* v = prepare(var, 'C', length, 0);
  if (v == nullptr) {
    MEM_FREE(buffer);
    return error_value();
  }
  v->text = buffer;
  return v;
}

Var* SET_STRP(Var* var, const char* text) {
  const auto length = static_cast<std::int32_t>(std::strlen(text)) + 1;
  if (is_field(var)) {
    Var value = value_cell('C', length);
    value.sclass = 'n';
    value.text = const_cast<char*>(text);
    return FIELD_PUT(var, &value);
  }
  Var* v = prepare(var, 'C', length, 0);
  if (v == nullptr) return error_value();
  v->text = const_cast<char*>(text);
  v->sclass = static_cast<char>(v->sclass - 'A' + 'a');
  return v;
}

Var* SET_PTR(Var* var, void* pointer) {
  if (is_field(var)) return var;
  Var* v = CLR_VAR(var, '?');
  if (is_error(v)) return v;
  v->type = '?';
  v->raw = pointer;
  return v;
}

Var* SET_WIN(Var* var, Window* window) {
  if (is_field(var)) return var;
  Var* v = CLR_VAR(var, 'S');
  if (is_error(v)) return v;
  v->type = 'S';
  v->window = window;
  return v;
}

Var* SET_WINCOPY(Var* var, const Var* source) {
  Var copy = *source;
  copy.refs = 2;  // lives on this stack: never to be freed
  copy.sclass = 'n';
  return CPY_VAR(var, &copy);
}

Var* SET_BLOCK(Var* var, BlockFunction function, std::uint8_t flag, Var* const* locals,
               std::int32_t count) {
  if (is_field(var)) return var;
  Var* v = CLR_VAR(var, 'B');
  if (is_error(v)) return v;
  SharedHeader* header = new_shared(count);
  for (std::int32_t i = 0; i < count; ++i) {
    ++locals[i]->refs;
    header->elements[i] = locals[i];
  }
  header->elements[count] = nullptr;
  header->count = static_cast<std::uint32_t>(count);
  v->type = 'B';
  v->decimals = flag;
  v->length = 0;
  v->shared = header;
  v->function = function;
  return v;
}

Var* TMP_INT(std::int32_t value) {
  Var* v = NEW_TEMP();
  v->type = 'I';
  v->length = -1;
  put_word(v, value);
  return v;
}

Var* TMP_NUM(double value, int decimals) {
  Var* v = NEW_TEMP();
  v->type = 'N';
  v->length = -1;
  v->decimals = decimals_of(decimals);
  v->num = value;
  return v;
}

Var* TMP_LOG(bool value) {
  Var* v = NEW_TEMP();
  v->type = 'L';
  v->length = 1;
  put_word(v, value ? 1 : 0);
  return v;
}

Var* TMP_DATE(std::int32_t day) {
  Var* v = NEW_TEMP();
  v->type = 'D';
  v->length = 8;
  put_word(v, day);
  return v;
}

Var* TMP_STR(const char* text) {
  return SET_STRP(NEW_TEMP(), text);
}
Var* TMP_TEXT(std::string_view text) {
  return SET_STR(NEW_TEMP(), text);
}
Var* TMP_BUFFER(std::int64_t n) {
  n = std::max<std::int64_t>(n, 0);
  char* const buffer = text_buffer(n);
  if (buffer == nullptr) return error_value();
  buffer[n] = 0;
  Var* v = NEW_TEMP();
  v->type = 'C';
  v->length = static_cast<std::int32_t>(n + 1);
  v->text = buffer;
  return v;
}
Var* TMP_WIN(Window* window) {
  return SET_WIN(NEW_TEMP(), window);
}
Var* TMP_BLOCK(BlockFunction function, Var* const* locals, std::int32_t count) {
  return SET_BLOCK(NEW_TEMP(), function, 0, locals, count);
}

Var* FIX_VAR(Var* var, char letter) {
  // A cell fixed before takes the new type.
  if (var->sclass == 'S') var->sclass = 'N';
  if (var->sclass == 's') var->sclass = 'n';
  switch (letter) {
    case 'A':
      // Not in the body that lies there: it is others' too.
      if (!is_error(CPY_VAR(var, nil_value()))) cscreara(var, 0, kAllNil);
      break;
    case 'B':
      CPY_VAR(var, empty_block());
      break;
    case 'C':
      SET_STRP(var, no_text);
      break;
    case 'D':
      SET_DATE(var, 0);
      break;
    case 'L':
      SET_LOG(var, false);
      break;
    case 'I':
      SET_INT(var, 0);
      break;
    case 'F':
    case 'N':
      SET_NUM(var, 0, 0);
      var->type = letter;
      break;
    case '?':
      SET_PTR(var, nullptr);
      var->length = 0;
      break;
    case 'O':
    case 'u': {
      Var* empty = empty_class().make();
      CPY_VAR(var, empty);
      break;
    }
    default:
      return var;
  }
  var->sclass = letter == 'C' ? 's' : 'S';
  return var;
}

Var* NEW_OBJECT(std::int32_t ivar_count, const void* class_descriptor, Var* methods) {
  Var* object = NEW_TEMP();
  cscreara(object, ivar_count + 2, kAllNil);
  SET_PTR(element(object, 1), const_cast<void*>(class_descriptor));
  CPY_VAR(element(object, 2), methods);
  object->type = 'O';
  return object;
}

}  // namespace tarnel
