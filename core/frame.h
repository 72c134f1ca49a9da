// Activations of procedures: the Frame chain, parameter binding, line hooks, and walks of the
// chain.
//
// A procedure is written in one fixed shape:
//
//   Var* example0(std::int32_t argc, Var** argv) {
//     Procedure p("example0", "example0", 12, argc);     // module, procedure, line
//     Var* env = p.param(argv, 'A');                     // parameters in order, with their types
//     Var* page = p.local('C');
//     LINE_HOOK(14);
//     ...
//     return p.result(x);                                 // or p.end() for NIL
//   }
#pragma once

#include <cassert>
#include <cstdint>
#include <string>

#include "core/checks.h"
#include "core/function.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/var.h"

namespace tarnel {

// Cells and what they are called: "Pfirst Lsum - ". In front of each name stands its kind, P parameter, L local or S static,
// behind it a blank; "- " is for a cell that has no name in the source.
struct CellNames {
  const char* names;
  Var* const* cells;  // null: not made yet
};
// The variables of a procedure that are numbered in its code, for those who ask by name.
struct FrameNames {
  const char* variables;   // parameters and locals, in the order of Frame::variables
  CellNames statics;       // of the procedure
  CellNames file_statics;  // of the whole file
};

struct Frame {
  std::int32_t line;  // -1: of the runtime's own library, hidden from walks of the chain
  std::int32_t temp_mark;
  std::int32_t temp_entry;
  std::int32_t var_entry;
  const char* module;
  Frame* prev;
  const char* proc;
  std::int32_t saved_level;
  std::int32_t method_scope;  // -2 outside methods
  std::int32_t argc;
  Var* result;              // of a procedure that ends without RETURN; null: NIL
  const FrameNames* names;  // null: of the runtime's own procedures
  Var* const* variables;    // null until they are bound
};

constexpr char kQuiet = '\x80';  // flag in a parameter's type letter: no message, fields allowed

// In brackets, here as in operators.h: [temporaries pushed, errors raised].

namespace detail {
extern Frame base_frame;
extern Frame* frame;
Var* bind_parameter(std::int32_t argc, std::int32_t i, Var** argv, char letter);
void end_bindings(const Frame* ended, Var* result);
Var* tell_wrong_result(Var* result, char expected);
}  // namespace detail

inline Frame* current_frame() {
  return detail::frame;
}
inline Frame* base_frame() {
  return &detail::base_frame;
}
inline std::int32_t activation_level() {
  return detail::level;
}

// [0] `frame` becomes the current one and must stay where it is up to END_PROC.
inline void BEGIN_PROC(Frame* frame, const char* module, const char* proc, std::int32_t line,
                       std::int32_t argc, const FrameNames* names = nullptr) {
  const std::int32_t temps = temp_top(), level = detail::level;
  *frame = {.line = line,
            .temp_mark = temps,
            .temp_entry = temps,
            .var_entry = varstack_top(),
            .module = module,
            .prev = detail::frame,
            .proc = proc,
            .saved_level = level,
            .method_scope = -2,
            .argc = argc,
            .result = nullptr,
            .names = names,
            .variables = nullptr};
  detail::level = level + 1;
  detail::frame = frame;
}
// [back to the height at entry, then 1: the result; 201] The error is for a result of another type than
// `expected` ('U': any). Ends the bindings of the procedure. REQUIRES: `frame` is the current one.
inline Var* END_PROC(Frame* frame, Var* result, char expected) {
  assert(frame == detail::frame);
  if (kChecked) check_runtime();
  if (varstack_top() > frame->var_entry) detail::end_bindings(frame, result);
  const std::int32_t entry = frame->temp_entry;
  if (temp_top() > entry && temp_at(entry) == result) [[likely]]
    POP_TEMPS(entry + 1);
  else
    detail::keep_one(entry, result);
  detail::level = frame->saved_level;
  detail::frame = frame->prev;
  return expected == 'U' ? result : detail::tell_wrong_result(result, expected);
}
// [0..1, 201 204 901] The cell that is parameter i, or a fresh local (count 0, null vector). It lies below
// the mark to which the procedure's loops cut the temporaries. Errors count from 1, without a method's object.
inline Var* BIND_PARAM(std::int32_t argc, std::int32_t i, Var** argv, char letter) {
  if (letter != 'U') return detail::bind_parameter(argc, i, argv, letter);
  Var* const cell = i < argc ? argv[i] : nullptr;
  if (cell == nullptr) {
    Var* const fresh = NEW_TEMP();
    detail::frame->temp_mark = temp_top();
    fresh->sclass = 'N';
    return fresh;
  }
  if (cell->sclass != 'T') return detail::bind_parameter(argc, i, argv, letter);
  cell->sclass = 'N';
  return cell;
}

// [0] Records a source line and answers the signals that came, which may end the run or break.
inline void LINE_HOOK(std::int32_t line) {
  if (line > 0) detail::frame->line = line;
  look_at_signals();
}

// [0..2, 332] Gives element i (from 1) of an object a fixed type and an initial value, which may be null.
// Result: the element, or NIL when there is no such element.
Var* DEFAULT_IVAR(Var* object, std::int32_t i, char letter, Var* init);

Var* null_result();  // the part of CALL_VECTOR that raises
// [what the function pushes, 320] Calls the function with the arguments given. Null results are the error.
inline Var* CALL_VECTOR(Function function, std::int32_t argc, Var** argv) {
  Var* result = function(argc, argv);
  return result != nullptr ? result : null_result();
}
template <typename... Args>
Var* CALL_SIMPLE(Function function, Args*... args) {
  Var* argv[] = {args..., nullptr};
  return CALL_VECTOR(function, static_cast<std::int32_t>(sizeof...(args)), argv);
}

// [0] The nth visible frame from the current one (0 = itself), or null.
Frame* frame_at(std::int32_t n);

// [0] Ends the procedures above `frame` without results, for a break: their bindings go, frame and level
// are then those of `frame`. To be called before the native stack is left, since the frames lie in it.
void leave_procedures(Frame* frame, std::int32_t vars);

namespace detail {
// The by-value form of a result: ARG_VAR, with the usual case where it is called.
inline Var* own_result(Var* value) {
  if (value->sclass != 'N' || !has_plain_type(value)) return ARG_VAR(value);
  return init_cell(push_cell(), 'T', value->type, value->length, value->decimals, value->bits);
}
}  // namespace detail

// A procedure that runs. When a break leaves it nothing is left to be done: its frame was taken off
// the chain before the break began to travel.
class Procedure {
 public:
  Procedure(const char* module, const char* proc, std::int32_t line, std::int32_t argc,
            const FrameNames* names = nullptr) {
    BEGIN_PROC(&frame_, module, proc, line, argc, names);
  }
  Procedure(const Procedure&) = delete;
  Procedure& operator=(const Procedure&) = delete;

  Var* param(Var** argv, char letter = 'U') {
    return BIND_PARAM(frame_.argc, next_++, argv, letter);
  }
  Var* local(char letter = 'U') { return BIND_PARAM(0, 0, nullptr, letter); }
  // Binds Self, which is also the result, and opens the class's own view. `level` is the class's
  // place in its line of inheritance.
  Var* self(Var** argv, std::int32_t level = 0) {
    Var* object = param(argv, static_cast<char>('O' | kQuiet));
    frame_.result = object;
    frame_.method_scope = level;
    return object;
  }
  // End of one iteration of a loop whose head is at `line`.
  void next_iteration(std::int32_t line) {
    frame_.line = line;
    POP_TEMPS(frame_.temp_mark);
  }
  Frame& frame() { return frame_; }

  // RETURN x, and falling off the end. To be called once, last. A constant needs no copy: nobody writes to it.
  Var* result(Var* value, char expected = 'U') {
    return END_PROC(&frame_, value->sclass == 'C' ? value : detail::own_result(value), expected);
  }
  Var* end(char expected = 'U') {
    return END_PROC(&frame_, frame_.result != nullptr ? frame_.result : nil_value(), expected);
  }

 private:
  Frame frame_;
  std::int32_t next_ = 0;
};

}  // namespace tarnel
