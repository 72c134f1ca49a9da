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

namespace {

char not_entered;
void* const kNotEntered = &not_entered;  // in the place of a former area

}  // namespace

// --- Names.

// -1 when there is no such name; every name of a program is known.
std::int32_t Machine::symbol_of(Word& word) {
  FoundName& found = word.found;
  if (found.stamp == names_stamp()) return found.sym;
  const std::string_view name{code_->bytes + word.at, word.size};
  found = {code_->goes_on() ? known_name(name) : FIND_SYMBOL(name), 0, nullptr};
  found.stamp = found.sym > 0 ? names_stamp() : 0;
  return found.sym;
}

const Step* Machine::stepName(const Step& step) {
  Word& word = code_->words[step.a];
  if (symbol_of(word) < 0)
    return report(step, 307, "access of undefined variable " + std::string(code_->word(step.a)));
  return give_checked(step, NAMED_VALUE(word.found));
}

const Step* Machine::stepMemvar(const Step& step) {
  const std::int32_t sym = symbol_of(code_->words[step.a]);
  if (sym < 0)
    return report(step, 307, "access of undefined variable " + std::string(code_->word(step.a)));
  return give(step, symbol_var(sym));
}

const Step* Machine::stepLocal(const Step& step) {
  return give(step, FIND_LOCAL(code_->word(step.a), static_cast<char>(step.op)));
}

// A parameter that got no argument is an empty cell of its own at each mention.
const Step* Machine::stepParameter(const Step& step) {
  Var* cell = step.a < arguments_.count ? arguments_.cells[step.a] : nullptr;
  if (cell == nullptr) {
    cell = NEW_TEMP();
    cell->sclass = 'N';
  }
  return give(step, cell);
}

// --- Literals.

const Step* Machine::stepMacroText(const Step& step) {
  std::string expanded;
  if (!EXPAND_MACRO(code_->word(step.a), expanded, kExpandLimit, kLeaveUnknown)) return stop(step);
  return give_checked(step, TMP_TEXT(expanded));
}

// By the SET DATE of this moment.
const Step* Machine::stepDate(const Step& step) {
  const Function convert = lookup_function("ctod");
  if (!convert) return report(step, 308, "access of undefined function ctod");
  Var* argument[] = {TMP_TEXT(code_->word(step.a))};
  return give_checked(step, convert(1, argument));
}

const Step* Machine::stepBlock(const Step& step) {
  Code* code = code_->blocks[step.a];
  Var* block = cscreara(NEW_TEMP(), 0, kAllNil);
  ++code->refs;
  block->type = 'b';
  block->code = code;
  return give(step, block);
}

const Step* Machine::stepArray(const Step& step) {
  const Arguments elements = end_list();
  push(nullptr);
  Var* const array = cscreara(NEW_TEMP(), elements.count, kCopyValues, elements.cells);
  drop(elements);
  return is_error(array) ? stop(step) : give(step, keep_temp(elements.mark, array));
}

// --- Calls.

const Step* Machine::stepMark(const Step& step) {
  Var** const place = top_ - step.a;
  std::copy_backward(place, top_, top_ + 1);
  ++top_;
  *place = std::bit_cast<Var*>(ListMark{temp_top(), list_});
  list_ = static_cast<std::int32_t>(place - stack_);
  return next(step);
}

const Step* Machine::stepCountedMark(const Step& step) {
  return give(step, std::bit_cast<Var*>(ListMark{temp_top(), 0}));
}

// A copy, but for a text's array, which goes as it is.
const Step* Machine::stepByValue(const Step& step) {
  top() = top()->type == 'A' && step.op == 0 ? keep_alive(top()) : ARG_VAR(top());
  return next(step);
}

const Step* Machine::stepByReference(const Step& step) {
  Var* cell = top();
  if (!code_->goes_on() && upper_class(cell->sclass) == 'F' && cell->type != 'E')
    return report(step, 320, "cannot pass field by reference " + std::string(code_->word(step.a)));
  Var* const variable = BY_REFERENCE(cell, code_->word(step.a));
  if (variable == nullptr)
    pop();
  else
    top() = variable;
  return next(step);
}

// A text's name is the full one of a builtin already.
Function Machine::function_of(Word& word) {
  if (word.function && word.functions == functions_stamp()) return word.function;
  const std::string_view name{code_->bytes + word.at, word.size};
  Function found = code_->part != nullptr ? code_->part->unit->find_own(name) : Function();
  if (!found) found = find_function(name);
  if (!found && code_->part != nullptr) found = find_function(FULL_NAME(name));
  word.functions = functions_stamp();
  word.steps = found && found.loaded() != nullptr ? found.loaded()->code() : nullptr;
  return word.function = found;
}

// A procedure of a program runs within these steps, as long as there is room.
const Step* Machine::stepCall(const Step& step) {
  const Arguments list = end_list(step);
  Word& word = code_->words[step.a];
  if (word.steps == nullptr || word.functions != functions_stamp() || activation_ == nullptr)
    return call(step, word, list);
  if (!has_room(cells_for(*word.steps))) [[unlikely]]
    return give_result(step, list, error_value());
  Activation& begun = begin_procedure(*word.steps, {list.count, list.cells});
  begun.next = next(step);
  begun.temps = list.mark;
  return begun.code->steps;
}

// The call of any function.
const Step* Machine::call(const Step& step, Word& word, Arguments list) {
  const Function function = function_of(word);
  if (!function) {
    drop(list);
    const Step* const further =
        report(step, 308, "access of undefined function " + std::string(code_->word(step.a)));
    if (code_->goes_on()) top() = nil_value();
    return further;
  }
  Var* const result = function(list.count, list.cells);
  if (result != nullptr) return give_result(step, list, result);
  drop(list);
  return report(step, 320, "function returned zero pointer " + std::string(code_->word(step.a)));
}

const Step* Machine::stepMethod(const Step& step) {
  const Arguments list = end_list();
  return give_result(step, list, csnodome(code_->word(step.a), step.op, list.count, list.cells));
}

// --- Areas.

// Of a text: what it chooses must be there, or it ends.
const Step* Machine::no_area(const Step& step, int code, std::string_view cause) {
  area_ = nullptr;
  return report(step, code, cause);
}

const Step* Machine::stepAreaNamed(const Step& step) {
  if (code_->goes_on()) {
    area_ = AREA_NAMED(code_->word(step.a));
    return next(step);
  }
  area_ = AREA_BY_NAME(code_->word(step.a));
  return area_ != nullptr ? next(step) : no_area(step, 337, "unknown alias");
}

const Step* Machine::stepAreaCurrent(const Step& step) {
  const AreaHooks& areas = area_hooks();
  area_ = code_->goes_on() ? AREA_CURRENT() : areas.current != nullptr ? areas.current() : nullptr;
  return next(step);
}

const Step* Machine::stepAreaOf(const Step& step) {
  Var* const which = pop();
  if (code_->goes_on()) {
    area_ = AREA_OF(which);
    return next(step);
  }
  const auto by_number = area_hooks().by_number;
  if (is_text(which)) {
    area_ = AREA_BY_NAME(text_of(which));
    return area_ != nullptr ? next(step) : no_area(step, 337, "unknown alias");
  }
  if (!is_number(which)) return no_area(step, 342, "variable has wrong type");
  area_ = by_number != nullptr ? by_number(integer_of(which)) : nullptr;
  return next(step);
}

const Step* Machine::stepField(const Step& step) {
  if (area_ == nullptr && code_->goes_on()) return give(step, error_value());
  const std::int32_t sym = symbol_of(code_->words[step.a]);
  if (code_->goes_on()) return give(step, FIELD_BY_SYMBOL(area_, sym));
  Var* const cell = sym > 0 ? GET_FIELD_IN(area_, sym) : nil_value();
  if (cell == nil_value())
    return report(step, 307, "access of undefined field " + std::string(code_->word(step.a)));
  return give_checked(step, cell);
}

const Step* Machine::stepEnterArea(const Step& step) {
  if (area_ == nullptr && code_->goes_on()) area_ = area_hooks().current();
  if (area_ == nullptr && !code_->goes_on()) return report(step, 342, "during evaluation");
  if (area_ == nullptr) RT_ERROR(342, "during evaluation");
  // Without an area a program evaluates the expression where it is.
  const bool pushes = area_ != nullptr && area_hooks().push != nullptr;
  nested().areas.add(pushes ? area_hooks().push(area_) : kNotEntered);
  return next(step);
}

const Step* Machine::stepLeaveArea(const Step& step) {
  if (nested_ && nested_->areas.size() > 0) leave_areas(nested_->areas.size() - 1);
  return next(step);
}

void Machine::leave_areas(std::size_t count) {
  while (nested_->areas.size() > count)
    if (void* const former = nested_->areas.take_last(); former != kNotEntered)
      area_hooks().pop(former);
}

}  // namespace tarnel
