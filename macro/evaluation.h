// How deep evaluations and procedures of programs are nested: as deep as the stack allows.
#pragma once

namespace tarnel {

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

// To be called once, from main's own depth of the stack, before the first evaluation.
void measure_stack();

}  // namespace tarnel
