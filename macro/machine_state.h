// One run of a code. For the machine's own files.
#pragma once

#include <algorithm>
#include <bit>
#include <cassert>
#include <new>
#include <optional>

#include "core/frame.h"
#include "core/memvars.h"
#include "macro/evaluation.h"
#include "macro/machine.h"
#include "macro/program_part.h"
#include "macro/small_list.h"

namespace tarnel {

using UnaryFunction = Var* (*)(Var* value);
// By UnaryOperator.
UnaryFunction unary_function(std::uint8_t op);

// The stacks of all machines are one: what a machine calls, and that may be another, works above its cells.
class Machine {
 public:
  // Code that has no procedure of its own: a text, or statements that are typed. REQUIRES: there is room for code.depth.
  Machine(Code& code, std::string_view source, const BlockArguments& arguments,
          Var** slots = nullptr)
      : code_(&code), source_(source), arguments_(arguments), slots_(slots) {}
  // A procedure, method or block of a program, of which the frame is open when it is made. `captures` are a block's
  // detached locals. REQUIRES: there is room for cells_for(code).
  Machine(Code& code, const BlockArguments& arguments, Var* const* captures = nullptr) {
    begin_procedure(code, arguments);
    if (captures != nullptr) {
      const std::size_t count = code.part->captures.size();
      std::copy_n(captures, count, top_ - count);
    }
  }
  ~Machine() {
    if (nested_) leave_areas(0);
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  // Can so many cells more lie on the stack? If not, 309 is raised and all evaluations end.
  [[nodiscard]] static bool has_room(std::size_t cells) {
    return static_cast<std::ptrdiff_t>(cells) <= room_end_ - top_ || find_room(cells);
  }
  static std::size_t cells_for(const Code& procedure) {
    return kActivationCells + procedure.slot_count + procedure.depth;
  }

  // To be called once. The value; that of a procedure is on the temporary stack, and its frame is closed.
  Var* run();

 private:
  // Lies on the stack in front of a list of arguments that is being made.
  struct ListMark {
    std::int32_t temps;  // the temporaries before it
    std::int32_t outer;  // the list around it, as list_
  };
  static_assert(sizeof(ListMark) == sizeof(Var*));
  // A procedure that runs, and where it goes on when it ends. It lies on the stack, behind its arguments if this machine
  // has called it; behind it come its slots, then its cells.
  struct Activation {
    Activation* outer;  // null: the caller isn't this machine
    const Step* next;   // of the caller
    void* area;         // that the caller chose
    Code* code;
    Var** arguments;
    std::int32_t temps;   // as ListMark has it
    std::uint32_t areas;  // that had been entered
    Frame frame;

    Var** slots() { return reinterpret_cast<Var**>(this + 1); }
  };
  static constexpr std::size_t kActivationCells = sizeof(Activation) / sizeof(Var*);
  static_assert(sizeof(Activation) % sizeof(Var*) == 0 && alignof(Activation) == alignof(Var*));
  // Cuts the stack back, also when the binding of an argument ends by a break.
  class Base {
   public:
    Base() = default;
    ~Base() { top_ = base_; }
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

   private:
    Var** const base_ = top_;
  };
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
  static bool find_room(std::size_t cells);
  void run_steps(const Step* step);
  Nested& nested() { return nested_ ? *nested_ : nested_.emplace(); }

  // --- Procedures that run within these steps.

  // Opens its frame and binds its slots, apart from a block's detached locals, which are the last.
  [[gnu::always_inline]] Activation& begin_procedure(Code& code, const BlockArguments& arguments) {
    const ProgramPart& part = *code.part;
    assert(static_cast<std::ptrdiff_t>(cells_for(code)) <= stack_ + kMostCells - top_);
    auto* const begun = new (top_) Activation;
    Var** const slots = begun->slots();
    top_ = slots + code.slot_count;
    begun->outer = activation_;
    begun->area = area_;
    begun->code = &code;
    begun->arguments = arguments.cells;
    begun->areas = nested_ ? static_cast<std::uint32_t>(nested_->areas.size()) : 0;
    BEGIN_PROC(&begun->frame, part.file->module.c_str(), part.name.c_str(), part.line,
               arguments.count, &part.names);
    begun->frame.method_scope = part.method_scope();
    const auto taken = std::min(arguments.count, static_cast<std::int32_t>(code.plain_parameters));
    std::int32_t slot = 0;
    for (; slot < taken && arguments.cells[slot] != nullptr && arguments.cells[slot]->sclass == 'T';
         ++slot) {  // as BIND_PARAM does
      slots[slot] = arguments.cells[slot];
      slots[slot]->sclass = 'N';
    }
    if (slot < code.bound_slots) bind_from(slot, *begun);
    begun->frame.variables = slots;
    activation_ = begun;
    code_ = &code;
    slots_ = slots;
    return *begun;
  }
  void bind_from(std::int32_t slot, Activation& begun);
  // Closes its frame; the caller's next step.
  const Step* end_procedure(Var* value);
  // What runs is then the caller of the innermost procedure. REQUIRES: it is this machine.
  void resume_caller() {
    const Activation& ended = *activation_;
    top_ = ended.arguments - 1;
    area_ = ended.area;
    activation_ = ended.outer;
    code_ = activation_->code;
    slots_ = activation_->slots();
  }

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
    return static_cast<std::int32_t>(top_ - stack_);
  }

  // A list of arguments that is complete. It stays on the stack as long as what is called with it runs.
  struct Arguments {
    std::int32_t mark, count;
    Var** cells;
  };
  Arguments end_list() {
    Var** const place = stack_ + list_;
    const auto mark = std::bit_cast<ListMark>(*place);
    list_ = mark.outer;
    return {mark.temps, static_cast<std::int32_t>(top_ - place) - 1, place + 1};
  }
  // That of a kCall.
  [[gnu::always_inline]] Arguments end_list(const Step& call) {
    if (call.b == 0) [[unlikely]]
      return end_list();
    Var** const place = top_ - call.b;
    return {std::bit_cast<ListMark>(*place).temps, call.b - 1, place + 1};
  }
  void drop(const Arguments& list) {
    top_ = list.cells - 1;
  }

  // Gives the temporary stack a reference to a variable or element, so that what runs after it can't end it.
  // Temporaries are there already.
  Var* keep_alive(Var* cell);
  Var* fresh(Var* cell);
  std::int32_t symbol_of(Word& word);
  void leave_areas(std::size_t count);
  Function function_of(Word& word);
  [[gnu::noinline]] const Step* call(const Step& step, Word& word, Arguments list);
  const Step* no_area(const Step& step, int code, std::string_view cause);

  // --- What follows a step.
  static const Step* next(const Step& step) {
    return &step + 1;
  }
  const Step* at(std::int32_t target) const {
    return code_->steps + target;
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
    drop(list);
    return leaving_deep_evaluation() ? break_off() : give(step, keep_temp(list.mark, result));
  }
  // The innermost procedure or sequence ends, or all.
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

  Var* binary(std::uint8_t op, Var* left, Var* right);
  const Step* unless(const Step& step, Var* left, Var* right);

  Code* code_ = nullptr;
  const std::string_view source_;
  const BlockArguments arguments_{};  // of a text
  Var** slots_ = nullptr;             // of a program
  Var* result_ = nullptr;
  std::int32_t list_ = -1;            // where the mark of the innermost list lies on the stack
  void* area_ = nullptr;              // the chosen one
  bool broken_ = false;               // failed in a way that no kGuard holds
  std::uint8_t to_leave_ = 0;         // sequences that are being left, from within
  std::int32_t behind_ = 0;           // and the step where it goes on then
  Activation* activation_ = nullptr;  // the innermost procedure
  Activation* floor_ = nullptr;       // the one whose steps run_steps was called for
  std::optional<Nested> nested_;
  const Base base_;

  static constexpr std::size_t kMostCells = std::size_t{248} << 10;
  static Var** stack_;  // null until the first run
  static Var** top_;    // behind the last cell on the stack
  static Var** room_end_;
};

}  // namespace tarnel
