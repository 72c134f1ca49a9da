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
  void run_steps(const Step* step);
  Nested& nested() { return nested_ ? *nested_ : nested_.emplace(); }

#define MACRO_STEP_ACTION(name, what) const Step* step##name(const Step& step);
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
  const Step* no_area(const Step& step, int code, std::string_view cause);

  // --- What follows a step.
  static const Step* next(const Step& step) {
    return &step + 1;
  }
  const Step* at(std::int32_t target) const {
    return code_.steps + target;
  }
  // It gave a cell.
  const Step* give(const Step& step, Var* cell) {
    push(cell);
    return next(step);
  }
  // The same for what gives the error value after an error.
  const Step* give_checked(const Step& step, Var* result) {
    return is_error(result) ? stop(step) : give(step, result);
  }
  // The result of something that runs procedures. When one was called too deep, all evaluations around it end.
  const Step* give_returned(const Step& step, Var* result) {
    return leaving_deep_evaluation() ? break_off() : give(step, result);
  }
  // The same for a call with arguments.
  const Step* give_result(const Step& step, const Arguments& list, Var* result) {
    return leaving_deep_evaluation() ? break_off() : give(step, keep_temp(list.mark, result));
  }
  // The code ends, or its innermost sequence.
  const Step* end() const {
    static constexpr Step kLast{StepKind::kStop, 0, 0, 0};
    return &kLast;
  }
  const Step* end_with(Var* value) {
    result_ = value;
    return end();
  }
  // Ways to end the run with the error value. The statement of a program goes on with it instead.
  const Step* stop(const Step& step);  // the cause was raised already
  const Step* report(const Step& step, int code, std::string_view cause);
  const Step* fail();
  // These end programs too.
  const Step* give_up();
  const Step* break_off();

  Code& code_;
  const std::string_view source_;
  const BlockArguments arguments_;
  Var* const* const slots_;  // of a program
  Var** top_ = nullptr;      // behind the last cell on the stack
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
