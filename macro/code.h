// What a text becomes before it runs: a flat list of steps, with the constants, names and blocks that
// they mention. The machine (machine.h) runs it.
//
// A text that is no expression has code too. It does what the text says up to the place where it is
// found to be wrong, and ends with kFail there: whatever would go on behind that place, by a jump
// included, comes to it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/function.h"
#include "core/symbols.h"
#include "core/var.h"
#include "macro/operations.h"
#include "macro/small_list.h"

namespace tarnel {

// X(kind, what it does): `a`, `b`, `op` are the step's own; [x y -> z] are cells on the machine's stack.
#define MACRO_STEPS(X)                                                               \
  /* Values. */                                                                      \
  X(Constant, "[-> cell a of the code]")                                             \
  X(Shared, "[-> constant op of SharedConstant]")                                    \
  X(Name, "[-> field or variable of name a]")                                        \
  X(Parameter, "[-> parameter a of the running block]")                              \
  X(Memvar, "[-> memory variable of name a]")                                        \
  X(Local, "[-> local of name a, kind op]")                                          \
  X(MacroText, "[-> text a, expanded now]")                                          \
  X(Date, "[-> date of text a]")                                                     \
  X(Block, "[-> block a of the code]")                                               \
  X(Array, "[elements -> array], from the last kMark on")                            \
  /* Operators. */                                                                   \
  X(Binary, "[x y -> x op y]")                                                       \
  X(BinaryConstant, "[x -> x op constant a of the code]")                            \
  X(BinarySlot, "[x -> x op parameter or local a]")                                  \
  X(SlotConstant, "[-> parameter or local b op constant a of the code]")             \
  X(SlotSlot, "[-> parameter or local b op that of a]")                              \
  X(Unary, "[x -> op x], as in kUnaryOperators")                                     \
  X(Assign, "[target x -> target] by binary operator op, 0 none")                    \
  X(AssignInstance, "[object x -> value] of instance a, by binary operator op")      \
  X(Instance, "[object -> its instance a]")                                          \
  X(Subscript, "[array index -> element]")                                           \
  X(Drop, "[x ->]")                                                                  \
  X(Keep, "[x -> x]: what runs until the next operator can't end it")                \
  /* Choices: jumps go to step a. */                                                 \
  X(And, "[x ->], or jumps with [x -> .F.]")                                         \
  X(Or, "[x ->], or jumps with [x -> .T.]")                                          \
  X(Check, "[x -> x], an error value ends the run")                                  \
  X(Decide, "[x -> x] a number or logical, or jumps with [x -> .F.]")                \
  X(Choose, "[x ->], jumps when it is false")                                        \
  X(Jump, "jumps")                                                                   \
  X(Guard, "until kUnguard, what ends the run jumps instead, with [-> error value]") \
  X(Unguard, "")                                                                     \
  /* Calls. */                                                                       \
  X(Mark, "begins a list of arguments, of which a are there")                        \
  X(CountedMark, "begins one of which the kCall behind it knows the number")         \
  X(ByValue, "[x -> argument]")                                                      \
  X(ByReference, "[x -> argument], or nothing; a is its name")                       \
  X(Call, "[arguments -> result] of function a; b - 1 are there unless b is 0")      \
  X(Method, "[object arguments -> result] of method a, op classes up")               \
  /* Areas: one is chosen, then a field of it or an expression within it follows. */ \
  X(AreaNamed, "chooses the area of alias a")                                        \
  X(AreaCurrent, "chooses the current area")                                         \
  X(AreaOf, "[alias or number ->] chooses that area")                                \
  X(Field, "[-> field a of the chosen area]")                                        \
  X(EnterArea, "makes the chosen area the current one")                              \
  X(LeaveArea, "")                                                                   \
  /* Names of programs. */                                                           \
  X(Store, "[x ->] to parameter or local a")                                         \
  X(UpdateSlot, "[x ->] by binary operator op to parameter or local a")              \
  X(StepSlot, "unary operator op on parameter or local a")                           \
  X(StoreStatic, "[x ->] to static a of the unit")                                   \
  X(Slot, "[-> parameter, local or detached local a]")                               \
  X(Static, "[-> static a of the unit]")                                             \
  X(Closure, "[-> compiled block a of the code]")                                    \
  X(JoinTexts, "[a texts -> text]")                                                  \
  X(MacroValue, "[text -> what it says]")                                            \
  X(MacroMemvar, "[text -> memory variable of that name]")                           \
  X(MacroField, "[text -> field of that name in the chosen area]")                   \
  X(CallNamed, "[name arguments -> result]")                                         \
  X(MethodNamed, "[object name arguments -> result]")                                \
  X(VariableArgument, "[x -> argument]: a field by value, else by reference")        \
  /* Statements of programs. */                                                      \
  X(Line, "a statement of line a begins")                                            \
  X(EndTurn, "a turn of the loop at line a ends")                                    \
  X(ForTurn, "the same, and where numbers allow it what the next six steps do")      \
  X(Unless, "[x ->], jumps unless it is true")                                       \
  X(UnlessConstant, "as kSlotConstant; for two numbers the kUnless behind it too")   \
  X(UnlessSlot, "as kSlotSlot; the same")                                            \
  X(Go, "jumps; between statements, where nothing lies on the stack")                \
  X(ForStep, "[step -> step], error 320 for 0 jumps with [->]")                      \
  X(ForTest, "[counter limit step ->], jumps unless the counter is beyond")          \
  X(EachOf, "[array -> array], error 312 for another value, which becomes {}")       \
  X(EachNext, "[array index -> element], or jumps with [->]")                        \
  X(Sequence, "runs up to its end; a break goes on at a with [-> value]")            \
  X(LeaveSequences, "leaves op sequences and jumps")                                 \
  X(Break, "[x ->]")                                                                 \
  X(Private, "[text ->] declares that name private")                                 \
  X(Public, "[text ->] the same for public")                                         \
  X(BindName, "[text ->] binds argument a to that name")                             \
  /* Ends. */                                                                        \
  X(Fail, "the text is no expression: error 309 with cause op of kFailures")         \
  X(Return, "[x]")

#define MACRO_STEP_KIND(name, what) k##name,
enum class StepKind : std::uint8_t {
  MACRO_STEPS(MACRO_STEP_KIND) kStop
};  // the last one ends the run and stands in no code
#undef MACRO_STEP_KIND

struct Step {
  StepKind kind;
  std::uint8_t op;
  std::uint16_t b;
  std::int32_t a;
};

enum class SharedConstant : std::uint8_t { kNil, kTrue, kFalse, kEmptyText };

using BinaryFunction = Var* (*)(Var* left, Var* right, bool in_place);
// By Step::op.
constexpr std::uint8_t kNoFunction = 0;  // of a plain assignment
// Those of which the machine knows the usual cases; the relations stand in the order of detail::Relation.
constexpr std::uint8_t kFirstRelation = 2, kLastRelation = 8;
constexpr std::uint8_t kAddFunction = 10, kSubtractFunction = 11, kMultiplyFunction = 12;
BinaryFunction binary_function(std::uint8_t op);

// What stands before or behind an operand. kSign is the +, which takes a number only.
enum class UnaryOperator : std::uint8_t {
  kNot,
  kMinus,
  kSign,
  kPreIncrement,
  kPreDecrement,
  kIncrement,
  kDecrement
};

// The last two are those of programs: what can't go by reference, and a date that isn't one.
enum class Failure : std::uint8_t { kSyntax, kTooDeep, kReference, kDate };

// Where a text stops being an expression.
struct SyntaxFault {
  std::uint32_t at;  // byte of the text
  bool unfinished;   // more text behind its end could make it one
  Failure cause;
};

struct Code;

// A name or text that a step mentions, with where its name was found when it was last looked for.
struct Word {
  std::uint32_t at;  // in the code's bytes
  std::uint32_t size;
  FoundName found;
  Function function;        // none: not yet found
  std::uint32_t functions;  // functions_stamp() when it was found
  Code* steps = nullptr;    // of the function, if it is a procedure of a program
};

struct ProgramPart;

// One piece of memory, which lives while somebody refers to it. Made by compile and compile_block, given
// back by release_code.
struct Code {
  std::uint32_t refs;
  bool is_block;
  bool expands;  // the text is to be expanded and compiled at each run: there are no steps
  std::uint32_t cell_count, block_count;
  std::uint32_t depth;  // cells on the machine's stack at most
  // Of a procedure or block of a program.
  std::uint32_t slot_count;       // parameters, locals, detached locals
  std::int32_t bound_slots;       // without the detached locals
  std::int32_t plain_parameters;  // those without a type with which it begins
  std::uint32_t text_at, text_size;
  std::optional<SyntaxFault> fault;
  const ProgramPart* part;  // of a procedure or block of a program; null: a text's
  Var* cells;               // constants of class C
  Code** blocks;            // of the block literals
  Word* words;
  Step* steps;
  char* bytes;  // of the words, the constants and the text itself

  std::string_view text() const { return {bytes + text_at, text_size}; }
  std::string_view word(std::int32_t i) const { return {bytes + words[i].at, words[i].size}; }
  // What fails in a program gives a constant, and the statement goes on; in a text it ends the evaluation.
  bool goes_on() const { return part != nullptr; }
};

// The code of an expression, with one reference. No error is raised: code of a wrong text raises it.
// REQUIRES: the text is expanded.
Code* compile(std::string_view text);
// The code of a block's text: |parameters| expression.
Code* compile_block(std::string_view text);
void release_code(Code* code);

// A reference for a scope.
class CodeHold {
 public:
  explicit CodeHold(Code* code) : code_(code) {}  // takes over the caller's
  ~CodeHold() { release_code(code_); }
  CodeHold(const CodeHold&) = delete;
  CodeHold& operator=(const CodeHold&) = delete;
  Code& operator*() const { return *code_; }

 private:
  Code* const code_;
};

}  // namespace tarnel
