#include "macro/operations.h"

#include "core/arrays.h"
#include "core/errors.h"
#include "core/text.h"
#include "macro/evaluator.h"
#include "macro/expand.h"

namespace tarnel {
namespace {

bool is_plain_name(std::string_view text) {
  const auto letter = [](char c) { return c == '_' || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z'); };
  if (text.empty() || !letter(text.front())) return false;
  for (const char c : text)
    if (!letter(c) && (c < '0' || c > '9')) return false;
  return true;
}

std::string_view text_or_nothing(const Var* cell) {
  return is_text(cell) ? text_of(cell) : std::string_view();
}

void* no_area(int code, std::string_view cause) {
  RT_ERROR(code, cause);
  return nullptr;
}

bool is_field(const Var* cell) {
  return upper_class(cell->sclass) == 'F';
}

}  // namespace

// --- Names.

std::int32_t known_name(std::string_view name) {
  if (const std::int32_t found = FIND_SYMBOL(name); found > 0) return found;
  const std::int32_t sym = ADD_SYMBOL(name);
  if (sym > 0) symbol_var(sym)->sclass = 'U';
  return sym;
}

std::int32_t SYMBOL_OF(Name& name) {
  FoundName& found = name.found;
  if (found.stamp == names_stamp()) return found.sym;
  found = {known_name(name.text), 0, nullptr};
  found.stamp = found.sym > 0 ? names_stamp() : 0;
  return found.sym;
}

Var* NAMED_VALUE(FoundName& name) {
  if (name.field == nullptr || name.field->owner != current_field_owner())
    name.field = find_current_field(name.sym);
  return name.field != nullptr ? FIELD_GET(name.field) : symbol_var(name.sym);
}

Var* NAMED(Name& name) {
  SYMBOL_OF(name);
  return NAMED_VALUE(name.found);
}

Var* MEMVAR(Name& name) {
  return symbol_var(SYMBOL_OF(name));
}

// --- Areas.

void* AREA_NAMED(std::string_view alias) {
  void* const area = AREA_BY_NAME(alias);
  return area != nullptr ? area : no_area(342, alias);
}

// A letter alone may stand for the current area or a number.
void* AREA_NAMED(AliasName& alias) {
  if (alias.stamp == names_stamp()) return alias.area;
  alias.area = AREA_NAMED(std::string_view(alias.text));
  alias.stamp = alias.area != nullptr && alias.text[1] != '\0' ? names_stamp() : 0;
  return alias.area;
}

void* AREA_CURRENT() {
  const AreaHooks& areas = area_hooks();
  void* const area = areas.current != nullptr ? areas.current() : nullptr;
  if (area != nullptr && areas.owner(area) != nullptr) return area;
  return no_area(322, format_text("in work area %d", area != nullptr ? areas.current_number() : 1));
}

void* AREA_OF(Var* which) {
  if (is_text(which)) {
    void* const area = AREA_BY_NAME(text_of(which));
    return area != nullptr ? area : no_area(337, "unknown alias");
  }
  if (!is_number(which)) return no_area(342, "variable has wrong type");
  const auto by_number = area_hooks().by_number;
  void* const area = by_number != nullptr ? by_number(integer_of(which)) : nullptr;
  return area != nullptr ? area : no_area(342, "no such area");
}

Var* FIELD_BY_SYMBOL(void* area, std::int32_t sym) {
  if (area == nullptr) return error_value();
  Var* const cell = sym > 0 ? GET_FIELD_IN(area, sym) : nil_value();
  return cell == nil_value() ? error_value() : cell;  // 306 was raised
}

Var* FIELD(void* area, Name& name) {
  return FIELD_BY_SYMBOL(area, SYMBOL_OF(name));
}

Var* MACRO_FIELD(void* area, Var* text) {
  return FIELD_BY_SYMBOL(area, is_text(text) ? known_name(text_of(text)) : -1);
}

// --- Macros.

Var* JOIN_TEXTS(std::int32_t count, Var** pieces) {
  std::string joined;
  for (std::int32_t i = 0; i < count; ++i)  // what a field holds is that of its record
    joined +=
        cschrarg(is_field(pieces[i]) ? ARG_VAR(pieces[i]) : pieces[i], "when expanding macro");
  return TMP_TEXT(joined);
}

Var* MACRO_VALUE(Var* text) {
  const std::string_view source = text_or_nothing(text);
  if (is_plain_name(source)) known_name(source);
  return EXP_EVAL(source);
}

Var* MACRO_MEMVAR(Var* text) {
  const std::int32_t sym = is_text(text) ? known_name(text_of(text)) : -1;
  return sym > 0 ? symbol_var(sym) : RT_ERROR(320, "no name of a variable");
}

Var* MACRO_TEXT(std::string_view literal) {
  std::string expanded;
  if (!EXPAND_MACRO(literal, expanded, kExpandLimit, kLeaveUnknown)) return error_value();
  return TMP_TEXT(expanded);
}

// --- Values.

Var* ASSIGN(Var* target, Var* value, BinaryOperation by) {
  if (is_error(target)) return target;  // a field that isn't there: told
  if (is_field(target)) {
    if (is_undefined(value) && is_undefined(ARG_VAR(value))) value = error_value();
    if (is_error(value)) return value;
  }
  return by == nullptr ? CPY_VAR(target, value) : by(target, value, true);
}

Var* ASSIGN_INSTANCE(Var* object, std::string_view name, Var* value, BinaryOperation by) {
  if (by != nullptr) value = by(get_ivar(object, name), value, false);
  return is_error(value) && by != nullptr ? value : put_ivar(object, name, value);
}

Var* SIGN(Var* value) {
  return is_number_or_logical(value) ? value : RT_ERROR(202, "unary '+' only for numerics");
}

// --- Arguments.

Var* BY_REFERENCE(Var* cell, std::string_view name) {
  if (cell->type == 'E') return nullptr;
  if (!is_field(cell)) return KEEP(cell);
  Var* const value = ARG_VAR(cell);
  RT_ERROR(320, "cannot pass field by reference " + std::string(name));
  return value;
}

Var* VARIABLE_ARGUMENT(Var* cell) {
  return is_field(cell) ? ARG_VAR(cell) : KEEP(cell);
}

// --- Loops.

bool IS_STEP(Var* step) {
  if (is_number(step) && number_of(step) != 0) return true;
  RT_ERROR(320, "step of FOR");
  return false;
}

// Numbers as a rule; what else can be compared, dates for instance, by the operators.
bool IS_BEYOND(Var* counter, Var* limit, Var* step) {
  const bool up = number_of(step) > 0;
  if (!is_number(counter) || !is_number(limit))
    return !csifu(up ? csulequ(counter, limit) : csugequ(counter, limit));
  const double at = number_of(counter), end = number_of(limit);
  return up ? !(at <= end) : !(at >= end);
}

Var* EACH_OF(Var* array) {
  if (array->type == 'A') return array;
  RT_ERROR(312, "FOR EACH wants an array");
  return cscreara(NEW_TEMP(), 0, kAllNil);
}

Var* EACH_NEXT(Var* array, Var* position) {
  const std::int32_t next = integer_of(position) + 1;
  if (array->type != 'A' || next > element_count(array)) return nullptr;
  SET_INT(position, next);
  return element(array, next);
}

// --- Declarations.

void PRIVATE_NAMED(Var* name) {
  if (const std::int32_t sym = known_name(text_of(name)); sym > 0) DECLARE_PRIVATE(sym);
}

void PUBLIC_NAMED(Var* name) {
  if (const std::int32_t sym = known_name(text_of(name)); sym > 0) DECLARE_PUBLIC(sym);
}

}  // namespace tarnel
