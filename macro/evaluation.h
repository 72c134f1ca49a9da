// How deep evaluations and procedures of programs are nested: as deep as the stack allows.
#pragma once

#include <string_view>

namespace tarnel {

// The words of error 309 where the nesting is too deep.
inline constexpr std::string_view kNestedTooDeeply = "evaluations are nested too deeply";

// One that runs. Within too deep a nesting it isn't possible.
class Evaluation {
 public:
  Evaluation();  // may raise 309
  ~Evaluation();
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  bool possible() const { return possible_; }

 private:
  bool possible_;
};

// An evaluation was too deep, and all around it end.
bool leaving_deep_evaluation();

// To be called once, from main's own depth of the stack, before the first evaluation.
void measure_stack();

}  // namespace tarnel
