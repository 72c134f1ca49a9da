// The steps of the machine that look for something by its name: variables, fields, areas, functions,
// methods; and the literals that run code.
#include <algorithm>
#include <bit>
#include <string>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/modules.h"
#include "core/stacks.h"
#include "core/text.h"
#include "macro/expand.h"
#include "macro/machine_state.h"

namespace tarnel {

// --- Names.

std::int32_t known_name(std::string_view name) {
  if (const std::int32_t found = FIND_SYMBOL(name); found > 0) return found;
  const std::int32_t sym = ADD_SYMBOL(name);
  if (sym > 0) symbol_var(sym)->sclass = 'U';
  return sym;
}

// -1 when there is no such name; every name of a program is known.
std::int32_t Machine::symbol_of(Word& word) {
  if (word.stamp == names_stamp()) return word.sym;
  const std::string_view name{code_.bytes + word.at, word.size};
  word.sym = FIND_SYMBOL(name);
  if (word.sym < 0 && code_.goes_on()) word.sym = known_name(name);
  word.field = nullptr;
  word.stamp = word.sym > 0 ? names_stamp() : 0;
  return word.sym;
}

// The field is looked for again when another area is the current one.
void Machine::stepName(const Step& step) {
  Word& word = code_.words[step.a];
  const std::int32_t sym = symbol_of(word);
  if (sym < 0)
    return report(307, "access of undefined variable " + std::string(code_.word(step.a)));
  if (word.field == nullptr || word.field->owner != current_field_owner())
    word.field = find_current_field(sym);
  push_checked(word.field != nullptr ? FIELD_GET(word.field) : symbol_var(sym));
}

void Machine::stepMemvar(const Step& step) {
  const std::int32_t sym = symbol_of(code_.words[step.a]);
  if (sym < 0)
    return report(307, "access of undefined variable " + std::string(code_.word(step.a)));
  push(symbol_var(sym));
}

void Machine::stepLocal(const Step& step) {
  push(FIND_LOCAL(code_.word(step.a), static_cast<char>(step.op)));
}

// A parameter that got no argument is an empty cell of its own at each mention.
void Machine::stepParameter(const Step& step) {
  Var* cell = step.a < arguments_.count ? arguments_.cells[step.a] : nullptr;
  if (cell == nullptr) {
    cell = NEW_TEMP();
    cell->sclass = 'N';
  }
  push(cell);
}

// --- Literals.

void Machine::stepMacroText(const Step& step) {
  std::string expanded;
  if (!EXPAND_MACRO(code_.word(step.a), expanded, kExpandLimit, kLeaveUnknown)) return stop();
  push_checked(TMP_TEXT(expanded));
}

// By the SET DATE of this moment.
void Machine::stepDate(const Step& step) {
  const Function convert = lookup_function("ctod");
  if (!convert) return report(308, "access of undefined function ctod");
  Var* argument[] = {TMP_TEXT(code_.word(step.a))};
  push_checked(convert(1, argument));
}

void Machine::stepBlock(const Step& step) {
  Code* code = code_.blocks[step.a];
  Var* block = cscreara(NEW_TEMP(), 0, kAllNil);
  ++code->refs;
  block->type = 'b';
  block->code = code;
  push(block);
}

void Machine::stepArray(const Step&) {
  const Arguments elements = take_arguments();
  elements.cells[elements.count] = nullptr;
  Var* array = cscreara(NEW_TEMP(), elements.count, kCopyValues, elements.cells);
  if (is_error(array)) return stop();
  push(keep_temp(elements.mark, array));
}

// --- Calls.

void Machine::stepMark(const Step& step) {
  Var** const place = top_ - step.a;
  std::copy_backward(place, top_, top_ + 1);
  ++top_;
  *place = std::bit_cast<Var*>(ListMark{temp_top(), list_});
  list_ = static_cast<std::int32_t>(place - stack_.data());
}

// A copy, but for a text's array, which goes as it is.
void Machine::stepByValue(const Step& step) {
  top() = top()->type == 'A' && step.op == 0 ? keep_alive(top()) : ARG_VAR(top());
}

void Machine::stepByReference(const Step& step) {
  Var* cell = top();
  if (upper_class(cell->sclass) == 'F' && code_.goes_on()) {
    top() = ARG_VAR(cell);
    RT_ERROR(320, "cannot pass field by reference " + std::string(code_.word(step.a)));
    return;
  }
  if (upper_class(cell->sclass) == 'F')
    return report(320, "cannot pass field by reference " + std::string(code_.word(step.a)));
  if (cell->type == 'E')
    pop();
  else
    keep_alive(cell);
}

// A text's name is the full one of a builtin already.
Function Machine::function_of(Word& word) {
  if (word.function && word.functions == functions_stamp()) return word.function;
  const std::string_view name{code_.bytes + word.at, word.size};
  Function found = code_.part != nullptr ? code_.part->unit->find_own(name) : Function();
  if (!found) found = find_function(name);
  if (!found && code_.part != nullptr) found = find_function(FULL_NAME(name));
  word.functions = functions_stamp();
  return word.function = found;
}

void Machine::stepCall(const Step& step) {
  const Arguments list = take_arguments();
  const Function function = function_of(code_.words[step.a]);
  if (!function) {
    report(308, "access of undefined function " + std::string(code_.word(step.a)));
    if (code_.goes_on()) top() = nil_value();
    return;
  }
  Var* result = function(list.count, list.cells);
  if (result == nullptr)
    return report(320, "function returned zero pointer " + std::string(code_.word(step.a)));
  push_returned(result);
  if (result_ == nullptr) top() = keep_temp(list.mark, top());
}

void Machine::stepMethod(const Step& step) {
  const Arguments list = take_arguments();
  push_returned(csnodome(code_.word(step.a), step.op, list.count, list.cells));
  if (result_ == nullptr) top() = keep_temp(list.mark, top());
}

// --- Areas.

void Machine::no_area(int code, std::string_view cause) {
  area_ = nullptr;
  if (code_.goes_on())
    RT_ERROR(code, cause);
  else
    report(code, cause);
}

void Machine::stepAreaNamed(const Step& step) {
  area_ = AREA_BY_NAME(code_.word(step.a));
  if (area_ != nullptr) return;
  if (code_.goes_on())
    no_area(342, code_.word(step.a));
  else
    no_area(337, "unknown alias");
}

void Machine::stepAreaCurrent(const Step&) {
  const AreaHooks& areas = area_hooks();
  area_ = areas.current != nullptr ? areas.current() : nullptr;
  if (code_.goes_on() && (area_ == nullptr || areas.owner(area_) == nullptr))
    no_area(322, format_text("in work area %d", area_ != nullptr ? areas.current_number() : 1));
}

void Machine::stepAreaOf(const Step&) {
  Var* which = pop();
  if (is_text(which)) {
    area_ = AREA_BY_NAME(text_of(which));
    if (area_ == nullptr) no_area(337, "unknown alias");
    return;
  }
  if (!is_number(which)) return no_area(342, "variable has wrong type");
  const auto by_number = area_hooks().by_number;
  area_ = by_number != nullptr ? by_number(integer_of(which)) : nullptr;
  if (area_ == nullptr && code_.goes_on()) no_area(342, "no such area");
}

void Machine::stepField(const Step& step) {
  if (area_ == nullptr && code_.goes_on()) return push(error_value());
  const std::int32_t sym = symbol_of(code_.words[step.a]);
  Var* cell = sym > 0 ? GET_FIELD_IN(area_, sym) : nil_value();
  if (cell == nil_value() && code_.goes_on()) return push(error_value());  // 306 was raised
  if (cell == nil_value())
    return report(307, "access of undefined field " + std::string(code_.word(step.a)));
  push_checked(cell);
}

void Machine::stepEnterArea(const Step&) {
  if (area_ == nullptr && code_.goes_on()) area_ = area_hooks().current();
  if (area_ == nullptr) return report(342, "during evaluation");
  if (area_hooks().push != nullptr) nested().areas.add(area_hooks().push(area_));
}

void Machine::stepLeaveArea(const Step&) {
  if (nested_ && nested_->areas.size() > 0) leave_areas(nested_->areas.size() - 1);
}

void Machine::leave_areas(std::size_t count) {
  while (nested_->areas.size() > count) area_hooks().pop(nested_->areas.take_last());
}

}  // namespace tarnel
