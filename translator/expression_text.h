// The code of an expression or simple statement as C++.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <vector>

#include "macro/code.h"
#include "translator/file_text.h"

namespace tarnel {

// Parameters, locals and detached locals of the code that is written: their variables in C++.
struct SlotNames {
  std::vector<std::string> names;

  void add(std::string name) { names.push_back(std::move(name)); }
  const std::string& of(std::int32_t slot) const { return names[static_cast<std::size_t>(slot)]; }
  // What tells the frame that they are bound.
  std::string bound() const;
};

// An expression. A simple one is a cell that is there: its evaluation does nothing, and nothing can end it.
struct ExpressionValue {
  std::string text;
  bool simple = false;
  const Var* constant = nullptr;  // as long as its code is translated
};

class ExpressionText {
 public:
  // `statics` are the cells of the unit by number; `level` tells the class of a method, or is empty.
  ExpressionText(FileText& file, int number, const SlotNames& slots,
                 std::span<const std::string> statics, std::string_view level)
      : file_(file), number_(number), slots_(slots), statics_(statics), level_(level) {}

  // The statements that the code is, and the values that it leaves.
  void translate(const Code& code);
  const std::vector<std::string>& statements() const { return statements_; }
  const std::vector<ExpressionValue>& values() const { return stack_; }

 private:
  std::size_t run(std::size_t at, std::size_t end);
  void step(const Step& step);
  bool step_value(const Step& step);
  bool step_operator(const Step& step);
  bool step_name(const Step& step);
  bool step_call(const Step& step);
  std::size_t iif(std::size_t at);
  std::size_t in_area(std::size_t at);
  void binary(std::uint8_t op, const ExpressionValue& left, const ExpressionValue& right);
  void unary(UnaryOperator op);
  void assign(std::uint8_t op);
  std::string block(const Code& code);

  void push(std::string text, bool simple = false) { stack_.push_back({std::move(text), simple}); }
  void push_slot(std::int32_t slot) { push(slots_.of(slot), true); }
  ExpressionValue pop();
  std::string list(std::size_t from);
  std::size_t begin_of_list();
  bool fold(std::uint8_t op, const ExpressionValue& left, const ExpressionValue& right);
  ExpressionValue constant(std::int32_t i) const { return constant_of(code_->cells[i]); }
  static ExpressionValue constant_of(const Var& cell);
  std::string_view word(const Step& step) const { return code_->word(step.a); }

  FileText& file_;
  const int number_;
  const SlotNames& slots_;
  const std::span<const std::string> statics_;
  const std::string_view level_;
  const Code* code_ = nullptr;
  std::vector<ExpressionValue> stack_;
  std::deque<Var> folded_;          // constants made of others
  std::vector<std::size_t> lists_;  // where their first cells lie
  std::string area_;                // the chosen one
  std::vector<std::string> statements_;
};

// An assignment to what `target` is, of which the value is evaluated behind it.
std::string assignment_text(const ExpressionValue& target, const ExpressionValue& value,
                            std::string_view by = "");

}  // namespace tarnel
