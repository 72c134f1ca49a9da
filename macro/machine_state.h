// One run of a code. For the machine's own files.
#pragma once

#include <optional>

#include "core/memvars.h"
#include "macro/evaluation.h"
#include "macro/machine.h"
#include "macro/program_part.h"
#include "macro/small_list.h"

namespace tarnel {

using UnaryFunction = Var* (*)(Var* value);
// By UnaryOperator.
UnaryFunction unary_function(std::uint8_t op);

class Machine {
 public:
  Machine(Code& code, std::string_view source, const BlockArguments& arguments,
          Var* const* slots = nullptr)
      : code_(code), source_(source), arguments_(arguments), slots_(slots) {
    stack_.reserve(code.depth);
    top_ = stack_.data();
  }
  ~Machine() {
    if (nested_) leave_areas(0);
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  Var* run();

 private:
  // Lies on the stack in front of a list of arguments that is being made.
  struct ListMark {
    std::int32_t temps;  // the temporaries before it
    std::int32_t outer;  // the list around it, as list_
  };
  static_assert(sizeof(ListMark) == sizeof(Var*));
  // What a failure within kGuard and kUnguard goes back to.
  struct Guarded {
    std::int32_t target;
    std::int32_t cells;
    std::int32_t list;
    std::uint32_t areas;
  };
  // What has begun and not ended yet. A plain comparison has nothing of it.
  struct Nested {
    SmallList<Guarded, 2> guards;
    SmallList<void*, 2> areas;  // which were current before
  };
  void run_steps();
  Nested& nested() { return nested_ ? *nested_ : nested_.emplace(); }

#define MACRO_STEP_ACTION(name, what) void step##name(const Step& step);
  MACRO_STEPS(MACRO_STEP_ACTION)
#undef MACRO_STEP_ACTION

  void push(Var* cell) {
    *top_++ = cell;
  }
  Var* pop() {
    return *--top_;
  }
  Var*& top() {
    return top_[-1];
  }
  std::int32_t cells() {
    return static_cast<std::int32_t>(top_ - stack_.data());
  }
  void jump(std::int32_t target) {
    next_ = code_.steps + target;
  }

  // The list of arguments that is complete; it goes from the stack.
  struct Arguments {
    std::int32_t mark, count;
    Var** cells;
  };
  Arguments take_arguments();

  // Gives the temporary stack a reference to a variable or element, so that what runs after it can't end it.
  // Temporaries are there already.
  Var* keep_alive(Var* cell);
  Var* fresh(Var* cell);
  std::int32_t symbol_of(Word& word);
  void leave_areas(std::size_t count);
  Function function_of(Word& word);
  void no_area(int code, std::string_view cause);
  void set_result(Var* value) {
    result_ = value;
    stop_steps();
  }
  // Ends run_steps, with the code or with its innermost sequence.
  void stop_steps() {
    static constexpr Step kLast{StepKind::kStop, 0, 0, 0};
    next_ = &kLast;
  }

  // Pushes the result of something that gives the error value after an error.
  void push_checked(Var* result) {
    if (is_error(result)) return stop();
    push(result);
  }
  // Pushes the result of a procedure. When it was called too deep, all evaluations around it end.
  void push_returned(Var* result) {
    if (leaving_deep_evaluation()) {
      broken_ = true;
      return stop();
    }
    push(result);
  }
  // Ways to end the run with the error value. The statement of a program goes on with it instead.
  void stop();  // the cause was raised already
  void report(int code, std::string_view cause);
  void fail();

  Code& code_;
  const std::string_view source_;
  const BlockArguments arguments_;
  Var* const* const slots_;  // of a program
  const Step* next_ = nullptr;
  Var** top_ = nullptr;  // behind the last cell on the stack
  Var* result_ = nullptr;
  std::int32_t list_ = -1;     // where the mark of the innermost list lies on the stack
  void* area_ = nullptr;       // the chosen one
  bool broken_ = false;        // failed in a way that no kGuard holds
  std::uint8_t to_leave_ = 0;  // sequences that are being left, from within
  std::int32_t behind_ = 0;    // and the step where it goes on then
  SmallList<Var*, 16> stack_;
  std::optional<Nested> nested_;
};

}  // namespace tarnel
