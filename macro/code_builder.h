// Puts the steps of one code together.
#pragma once

#include <string_view>

#include "macro/code.h"
#include "macro/small_list.h"

namespace tarnel {

// Where a step stands in its code, or kNowhere for one behind the end of a wrong text.
using StepPosition = std::size_t;
constexpr StepPosition kNowhere = ~StepPosition{0};

class CodeBuilder {
 public:
  CodeBuilder() = default;
  ~CodeBuilder();
  CodeBuilder(const CodeBuilder&) = delete;
  CodeBuilder& operator=(const CodeBuilder&) = delete;

  // Adds a step. Once the code has failed nothing is added.
  StepPosition add(StepKind kind, std::int32_t a = 0, std::uint8_t op = 0);
  void add_constant(const Var& number);  // a number
  void add_number(double value);
  void add_text(std::string_view text);
  void add_block(Code* block, StepKind kind = StepKind::kBlock);  // takes over the reference
  void add_with_word(StepKind kind, std::string_view word, std::uint8_t op = 0);

  // Steps that become one with those before them, where no jump lands between: the drop of a value, of which ++
  // needs no copy then, and a binary operator behind a simple right side.
  void drop();
  void add_binary(std::uint8_t op);
  // The step of a condition of a statement; a comparison right before it is made ready for it.
  StepPosition add_unless();
  // Takes the step back that has put a slot on the stack: the slot, or -1 when the last step did something else.
  std::int32_t take_slot();
  // Makes a kForTurn of the kEndTurn at a place, if what stands behind it is what that does.
  void shorten_turn(StepPosition end_turn);
  // A jump back will go to the next step.
  StepPosition mark_landing() { return landed_ = steps_.size(); }

  // The step that is added next takes so many arguments from the machine's stack.
  void take_arguments(std::int32_t count) { cells_now_ -= count; }

  // A call with so many arguments, whose list the kMark at `mark` has begun.
  void add_call(StepPosition mark, std::int32_t count, std::string_view function);

  // The next step is where the jump of the step at `from` goes.
  void land(StepPosition from);
  // A kKeep for a value, and its end: a value that lasts as long as the code runs isn't kept, nor one to which
  // nothing can happen since the steps between are so simple.
  StepPosition begin_keep();
  void end_keep(StepPosition keep);

  // The rest of the text doesn't count: the code ends here, with kFail.
  void fail(const SyntaxFault& fault);
  const std::optional<SyntaxFault>& fault() const { return fault_; }
  // For a program, of which the next statement is read to find more of its faults. The code never runs.
  void pass_over_fault() { fault_.reset(); }
  std::size_t size() const { return steps_.size(); }

  // The code in one piece, with one reference. REQUIRES: called once, last.
  Code* finish(std::string_view text, bool is_block, const ProgramPart* part = nullptr);

 private:
  std::uint32_t add_bytes(std::string_view bytes);

  SmallList<Step, 32> steps_;
  SmallList<Var, 8> cells_;
  SmallList<Word, 8> words_;
  SmallList<Code*, 4> blocks_;
  SmallList<char, 128> bytes_;
  std::size_t landed_ = 0;  // steps before it can't become one with those behind it
  std::int32_t cells_now_ = 0;
  std::int32_t most_cells_ = 0;
  std::optional<SyntaxFault> fault_;
};

// The code of a block that is compiled anew at each run.
Code* unexpanded_block(std::string_view text);

}  // namespace tarnel
