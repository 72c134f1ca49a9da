// What translated programs are written in: the shape of their procedures and blocks, and the operations that their
// expressions are made of. With core/frame.h, core/operators.h and macro/operations.h it is all they call.
//
//   constexpr char Module_Source_1[] = "fib";
//   constexpr TranslatedFile Source_1{Module_Source_1, "fib.prg"};
//
//   Var* fib(std::int32_t argc, Var** argv) {
//     Activation p(Source_1, "fib", 1, argc);                // file, procedure, line
//     Var* n = p.param(argv, 0);                             // parameters in order, then locals
//     p.line(2);
//     if (csifu(csultu(n, NUM(2)))) return p.result(n);
//     p.line(3);
//     return p.result(IN_ORDER(csuaddu, KEEP(CALL(fib, csusubu(n, NUM(1), false))),
//                              CALL(fib, csusubu(n, NUM(2), false))));
//   }
//
// In brackets, as in operators.h: [temporaries pushed, errors raised]; "value" stands for what the function, block or
// record in question raises and pushes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <type_traits>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/classes.h"
#include "core/frame.h"
#include "core/modules.h"
#include "core/operators.h"
#include "core/sequence.h"
#include "core/signals.h"
#include "macro/evaluation.h"
#include "macro/operations.h"

namespace tarnel {

// --- Constants: cells of class C, made by the compiler.

constexpr Var number_constant(double value, std::uint8_t decimals = 0) {
  Var cell{};
  cell.type = 'N';
  cell.sclass = 'C';
  cell.decimals = decimals;
  cell.length = -1;
  cell.refs = 1;
  cell.name = -1;
  cell.num = value;
  return cell;
}
constexpr Var date_constant(std::uint32_t day) {
  Var cell = number_constant(0);
  cell.type = 'D';
  cell.length = 8;
  cell.bits = day;
  return cell;
}
// `size` counts the NUL.
constexpr Var text_constant(const char* text, std::size_t size) {
  Var cell = number_constant(0);
  cell.type = 'C';
  cell.length = static_cast<std::int32_t>(size);
  cell.text = const_cast<char*>(text);  // nobody writes to a constant
  return cell;
}
// They and what a program finds by name lie apart from what the runtime writes to at each start, which has fewer pages of
// memory then.
#define CELL [[gnu::section("tarnel_cells")]]
#define CONSTANT(...)                                                                 \
  ([]() -> Var* {                                                                     \
    [[gnu::section("tarnel_constants")]] static constinit Var Constant = __VA_ARGS__; \
    return &Constant;                                                                 \
  }())
// [0] A number with its decimals, the day of a date, the bytes of a literal.
#define NUM(...) (::tarnel::Number{CONSTANT(::tarnel::number_constant(__VA_ARGS__)), __VA_ARGS__})
#define DATE(day) CONSTANT(::tarnel::date_constant(day))
#define TEXT(literal)                                                                   \
  (::tarnel::Text{CONSTANT(::tarnel::text_constant(literal, sizeof(literal))), literal, \
                  sizeof(literal)})

// A text of the source: its cell, and its bytes, of which the size counts the NUL.
struct Text {
  operator Var*() const { return cell; }
  Var* cell;
  const char* bytes;
  std::size_t size;
};
// [1] Its form as an argument: a temporary that points at the bytes, which last.
inline Var* ARG_VAR(const Text& text) {
  return detail::init_cell(detail::push_cell(), 't', 'C', static_cast<std::int32_t>(text.size), 0,
                           reinterpret_cast<std::uintptr_t>(text.bytes));
}

// A number of the source as an operand: its cell, and what the compiler knows of it. (Of the cell it knows nothing: as any
// other it counts its references.)
struct Number {
  operator Var*() const { return cell; }
  Var* cell;
  double value;
  std::uint8_t decimals = 0;
};
// As those of two cells, in results and errors too.
#define WITH_NUMBER(name, function, sign, its_decimals)                              \
  inline Var* name(Var* left, const Number& right, bool in_place) {                  \
    const bool is_result = left->sclass == 'T' || (in_place && left->sclass == 'N'); \
    if (left->type != 'N' || (!is_result && (in_place || left->sclass != 'N')))      \
      return detail::function(left, right.cell, in_place);                           \
    const double value = left->num sign right.value;                                 \
    const int decimals = its_decimals;                                               \
    return is_result ? detail::store_plain(left, value, decimals)                    \
                     : NEW_NUMBER(value, -1, static_cast<std::uint8_t>(decimals));   \
  }
WITH_NUMBER(csuaddu, add, +, std::max(left->decimals, right.decimals))
WITH_NUMBER(csusubu, subtract, -, std::max(left->decimals, right.decimals))
WITH_NUMBER(csumulu, multiply, *, std::min(left->decimals + right.decimals, 255))
#undef WITH_NUMBER
#define COMPARED_WITH_NUMBER(name, relation)                                            \
  inline Var* name(Var* left, const Number& right) {                                    \
    return left->type == 'N' ? logical(detail::holds(relation, left->num, right.value)) \
                             : detail::compare(relation, left, right.cell);             \
  }
COMPARED_WITH_NUMBER(csuequu, detail::kEqual)
COMPARED_WITH_NUMBER(csueequu, detail::kExactlyEqual)
COMPARED_WITH_NUMBER(csunequ, detail::kNotEqual)
COMPARED_WITH_NUMBER(csugtu, detail::kGreater)
COMPARED_WITH_NUMBER(csultu, detail::kLess)
COMPARED_WITH_NUMBER(csugequ, detail::kGreaterEqual)
COMPARED_WITH_NUMBER(csulequ, detail::kLessEqual)
#undef COMPARED_WITH_NUMBER

// --- Procedures and blocks.

// A source file. Its module, the base name in lower case without its ending, has letters of its own: they tell the file.
struct TranslatedFile {
  const char* module;
  const char* path;  // as given
};

// An evaluation that leaves the program where it isn't possible.
class PossibleEvaluation : private Evaluation {
 protected:
  PossibleEvaluation() {
    if (!possible()) leave_program();
  }
};

// A procedure or block that runs. When procedures are nested too deeply the program ends behind the handler of error 309,
// of which the caller is the place.
class Activation : private PossibleEvaluation, public Procedure {
 public:
  Activation(const TranslatedFile& file, const char* name, std::int32_t line, std::int32_t argc,
             const FrameNames* names = nullptr)
      : Procedure(file.module, name, line, argc, names) {}

  // [0] A statement of that line begins: answers the signals that came.
  void line(std::int32_t number) {
    frame().line = number;
    look_at_signals();
    if (leaving_deep_evaluation()) leave_program();
  }
  // [back to the mark] A turn of the loop at that line ends.
  void end_turn(std::int32_t number) {
    look_at_signals();
    next_iteration(number);
  }
  // [as BIND_PARAM] Parameter i, from 0. A text of the source, which comes as a temporary that points at it, gets a copy of
  // its own, so that it is a variable like others.
  Var* param(Var** argv, std::int32_t i, char letter = 'U') {
    const std::int32_t argc = frame().argc;
    const Var* const given = i < argc ? argv[i] : nullptr;
    const bool points = given != nullptr && given->sclass == 't';
    Var* const cell = BIND_PARAM(argc, i, argv, letter);
    if (points && cell == given) [[unlikely]]
      SET_STR(cell, text_of(cell));
    return cell;
  }
  // All its variables are bound: whoever asks for one by its name finds it.
  void bound(Var* const* variables) { frame().variables = variables; }
  // Binds the object of a method, in a cell of its own: the caller's variable may get another one meanwhile.
  Var* own_self(Var** argv, std::int32_t level) {
    Var* object[] = {frame().argc > 0 && argv[0] != nullptr ? ARG_VAR(argv[0]) : nullptr};
    return self(object, level);
  }
};

// [1] A block of the function with the cells as its detached locals.
#define BLOCK(function, ...) ::tarnel::make_translated_block(function, ::tarnel::Cells{__VA_ARGS__})

// How the statements of a sequence were left, when not by a break.
enum class Left : std::uint8_t { kEnd, kReturn, kLoop, kExit };

// --- Operands.

// Cells in a row, with a null behind them. They are made from left to right. Those that go by reference may be missing.
template <std::size_t N, bool refers = false>
struct Cells {
  Var* at[N + 1];

  // How many there are; the missing ones are left out.
  std::int32_t count() {
    if (!refers) return static_cast<std::int32_t>(N);
    std::int32_t there = 0;
    for (std::size_t i = 0; i < N; ++i)
      if (at[i] != nullptr) at[there++] = at[i];
    at[there] = nullptr;
    return there;
  }
};
struct Referred {
  operator Var*() const { return cell; }
  Var* cell;
};
template <typename... T>
Cells(T...) -> Cells<sizeof...(T), (std::is_same_v<T, Referred> || ...)>;
#define REFERENCE(cell, name)          \
  ::tarnel::Referred {                 \
    ::tarnel::BY_REFERENCE(cell, name) \
  }

// The result of a binary operation of which the left side is evaluated before the right one.
struct Operands {
  Var *left, *right;
};
template <Var* (*operation)(Var*, Var*, bool)>
Var* ordered(const Operands& operands) {
  return operation(operands.left, operands.right, false);
}
template <Var* (*operation)(Var*, Var*)>
Var* ordered(const Operands& operands) {
  return operation(operands.left, operands.right);
}
#define IN_ORDER(operation, left, right) \
  (::tarnel::ordered<operation>(::tarnel::Operands{left, right}))
// The same for an assignment.
template <BinaryOperation by = nullptr>
struct OrderedAssignment {
  OrderedAssignment(Var* target, Var* from) : value(ASSIGN(target, from, by)) {}
  Var* value;
};
struct InstanceAssignment {
  InstanceAssignment(Var* object, Var* from, const char* name, BinaryOperation by = nullptr)
      : value(ASSIGN_INSTANCE(object, name, from, by)) {}
  Var* value;
};
// [0.., value] An instance variable of an object; it gets a value, or by a binary operation one made of its own.
#define INSTANCE(object, name) ::tarnel::get_ivar(object, name)
#define SET_INSTANCE(object, from, ...) \
  (::tarnel::InstanceAssignment{object, from, __VA_ARGS__}.value)
#define ASSIGN_IN_ORDER(target, from) (::tarnel::OrderedAssignment<>{target, from}.value)
#define UPDATE_IN_ORDER(by, target, from) (::tarnel::OrderedAssignment<by>{target, from}.value)

// [0..] Only the chosen alternative runs; without a condition that is a number or logical the result is false.
template <typename First, typename Second>
Var* iif_of(Var* condition, First first, Second second) {
  if (!is_number_or_logical(condition)) return false_value();
  return truth_of(condition) ? first() : second();
}
#define IIF(condition, first, second) \
  ::tarnel::iif_of(                   \
      condition, [&]() -> Var* { return first; }, [&]() -> Var* { return second; })
// [0..] The right side runs only where it decides; its value is then the result as it is.
#define AND(left, right) (::tarnel::csifu(left) ? right : ::tarnel::false_value())
#define OR(left, right) (::tarnel::csifu(left) ? ::tarnel::true_value() : right)

// [0.., 342 and value] An expression for which an area is the current one.
class AreaEntered {
 public:
  explicit AreaEntered(void* area);
  ~AreaEntered();
  AreaEntered(const AreaEntered&) = delete;
  AreaEntered& operator=(const AreaEntered&) = delete;

 private:
  void* former_ = nullptr;
  bool entered_ = false;
};
template <typename Expression>
Var* in_area_of(void* area, Expression expression) {
  const AreaEntered entered(area);
  return expression();
}
#define IN_AREA(area, expression) ::tarnel::in_area_of(area, [&]() -> Var* { return expression; })

struct MacroFieldOf {
  MacroFieldOf(void* area, Var* text) : value(MACRO_FIELD(area, text)) {}
  Var* value;
};
#define MACRO_FIELD_IN_ORDER(area, text) (::tarnel::MacroFieldOf{area, text}.value)

// --- Calls: [1, value] the result, which may be a variable or constant and isn't popped with the arguments.

// A function that is linked or loaded by its name.
struct Called {
  const char* name;
  Function function{};
  std::uint32_t stamp = 0;  // functions_stamp() when it was found, 0: not yet
};

class Call {
 public:
  explicit Call(Callable function) : native_(function) {}
  explicit Call(Called& named) : named_(&named) {}
  template <std::size_t N, bool refers>
  Var* with(Cells<N, refers> arguments) {
    const std::int32_t count = arguments.count();
    Var* const result = native_ != nullptr ? native_(count, arguments.at)
                                           : call_named(*named_, count, arguments.at);
    return keep_temp(mark_, result);
  }

 private:
  static Var* call_named(Called& named, std::int32_t argc, Var** argv) {
    if (named.stamp != functions_stamp() && !find(named)) return nil_value();
    Var* const result = named.function(argc, argv);
    return result != nullptr ? result : no_result(named);
  }
  [[nodiscard]] static bool find(Called& named);  // 308
  static Var* no_result(const Called& named);     // 320

  const std::int32_t mark_ = temp_top();
  Callable native_ = nullptr;
  Called* named_ = nullptr;
};
#define CALL(function, ...) ::tarnel::Call(function).with(::tarnel::Cells{__VA_ARGS__})

// By a name that is known when it runs; error 308.
class MacroCall {
 public:
  explicit MacroCall(Var* name) : name_(name) {}
  template <std::size_t N, bool refers>
  Var* with(Cells<N, refers> arguments) {
    return keep_temp(mark_, call(arguments.count(), arguments.at));
  }

 private:
  Var* call(std::int32_t argc, Var** argv);

  Var* const name_;
  const std::int32_t mark_ = temp_top();
};
#define CALL_MACRO(name, ...) ::tarnel::MacroCall(name).with(::tarnel::Cells{__VA_ARGS__})

// Of a method, `up` classes above that of the running one; by name, or by a name that is known when it runs.
class MethodCall {
 public:
  MethodCall(Var* object, const char* name, std::int32_t up = 0)
      : object_(object), name_(name), up_(up) {}
  MethodCall(Var* object, Var* name) : object_(object), macro_(name) {}
  template <std::size_t N, bool refers>
  Var* with(Cells<N, refers> arguments) {
    const std::int32_t count = arguments.count();
    Var* all[N + 2] = {object_};
    std::copy_n(arguments.at, N, all + 1);
    return keep_temp(mark_, call(count + 1, all));
  }

 private:
  Var* call(std::int32_t argc, Var** argv);

  Var* const object_;
  const char* name_ = nullptr;
  Var* macro_ = nullptr;
  std::int32_t up_ = 0;
  const std::int32_t mark_ = temp_top();
};
#define METHOD(object, name, ...) \
  ::tarnel::MethodCall{object, name}.with(::tarnel::Cells{__VA_ARGS__})
#define SUPER_METHOD(object, name, ...) \
  ::tarnel::MethodCall{object, name, 1}.with(::tarnel::Cells{__VA_ARGS__})

// [1, 409] An array of copies of the values.
class ArrayLiteral {
 public:
  template <std::size_t N>
  Var* of(Cells<N> values) {
    Var* const array = cscreara(NEW_TEMP(), static_cast<std::int32_t>(N), kCopyValues, values.at);
    return is_error(array) ? array : keep_temp(mark_, array);
  }

 private:
  const std::int32_t mark_ = temp_top();
};
#define ARRAY(...) ::tarnel::ArrayLiteral().of(::tarnel::Cells{__VA_ARGS__})

template <std::size_t N>
Var* join_texts(Cells<N> pieces) {
  return JOIN_TEXTS(static_cast<std::int32_t>(N), pieces.at);
}
#define TEXT_OF(...) ::tarnel::join_texts(::tarnel::Cells{__VA_ARGS__})

template <std::size_t N>
Var* make_translated_block(BlockFunction function, Cells<N> locals) {
  return TMP_BLOCK(function, locals.at, static_cast<std::int32_t>(N));
}

// --- FOR: the counter moves by a step that is evaluated once.
class Steps {
 public:
  // [0, 320] A step of 0, or that is no number, ends the loop before its first turn.
  explicit Steps(Var* step) : valid_(IS_STEP(step)) {
    if (valid_) by_ = number_constant(number_of(step), step->decimals);
    if (valid_ && step->type == 'I') {
      by_.type = 'I';
      put_word(&by_, step->i);
    }
  }
  // With such a step not even the limit is evaluated.
  bool valid() const { return valid_; }
  // [0, value] Is there another turn? REQUIRES: the step is valid.
  bool reach(Var* counter, Var* limit) {
    if (!is_number(counter) || !is_number(limit)) return !IS_BEYOND(counter, limit, &by_);
    const double at = number_of(counter), end = number_of(limit);
    return number_of(&by_) > 0 ? at <= end : at >= end;
  }
  // [0.., value] The next turn, of a counter that is a local, or any variable.
  void advance(Var* counter) { csuaddu(counter, &by_, true); }
  void advance_variable(Var* counter) { ASSIGN(counter, &by_, csuaddu); }

 private:
  Var by_{};
  const bool valid_;
};
// The operands of reach() where the counter is evaluated before the limit.
struct Reached {
  Reached(Steps& steps, Var* counter, Var* limit) : again(steps.reach(counter, limit)) {}
  const bool again;
};
#define REACH_IN_ORDER(steps, counter, limit) (::tarnel::Reached{steps, counter, limit}.again)

// FOR EACH: [0.., value] the variable gets the next element; false behind the last.
inline bool ASSIGN_NEXT(Var* variable, Var* array, Var* position) {
  Var* const next = EACH_NEXT(array, position);
  if (next != nullptr) ASSIGN(variable, next);
  return next != nullptr;
}

// --- A program as a whole.

struct TranslatedClass {
  const char* name;  // in lower case, as all that follow
  const char* base;  // empty: none
  std::span<const InstanceEntry> instances;
  std::span<const MethodEntry> methods;
  Callable initial;     // gives an object's instances their first values; may be null
  std::int32_t* level;  // receives its place in the line of inheritance
};

struct TranslatedProgram {
  const ModuleRecord&
      module;  // procedures that can be called from outside, INIT and EXIT procedures
  std::span<const TranslatedFile* const> files;
  std::span<const TranslatedClass> classes;
  void (*statics)();  // gives statics their first values; may be null
  Callable entry;
};

// Calls the entry of a program. NIL where it was left since procedures were nested too deeply.
Var* run_translated(const TranslatedProgram& program, std::int32_t argc, Var** argv);

// Makes the procedures and classes of a program known, gives statics their first values and runs INIT procedures.
// False when one of them gives .F.; EXIT procedures run when the run ends.
[[nodiscard]] bool start_translated(const TranslatedProgram& program);

Var* exit_translated(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kTranslatedExit[] = {{"exittransl", exit_translated, nullptr}};
inline constexpr ModuleRecord kTranslatedModule{.name = "translated", .exit = kTranslatedExit};

}  // namespace tarnel
