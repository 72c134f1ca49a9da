// How deep evaluations and procedures of programs are nested: as deep as the stack allows.
#pragma once

#include <string_view>

namespace tarnel {

// The words of error 309 where the nesting is too deep.
inline constexpr std::string_view kNestedTooDeeply = "evaluations are nested too deeply";

namespace detail {
struct EvaluatorState {
  const char* stack_base;
  const char* room_above;  // a frame that isn't below it has room; while leaving none has
  int depth;
  bool leaving;  // an evaluation was too deep: all around it end without a further error
};
extern EvaluatorState evaluator;
bool may_evaluate();  // may raise 309
bool is_left();
void end_leaving();
}  // namespace detail

// An evaluation was too deep, and all around it end.
inline bool leaving_deep_evaluation() {
  return detail::evaluator.leaving && detail::is_left();
}

// One that runs. Within too deep a nesting it isn't possible.
class Evaluation {
 public:
  Evaluation() {  // may raise 309
    ++detail::evaluator.depth;
    const char* const here = static_cast<const char*>(__builtin_frame_address(0));
    possible_ = here >= detail::evaluator.room_above || detail::may_evaluate();
  }
  ~Evaluation() {
    if (--detail::evaluator.depth == 0 && detail::evaluator.leaving) detail::end_leaving();
  }
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  bool possible() const { return possible_; }

 private:
  bool possible_;
};

// Raises the error of too deep a nesting, after which all evaluations end.
void tell_too_deep();

// To be called once, from main's own depth of the stack, before the first evaluation.
void measure_stack();

}  // namespace tarnel
