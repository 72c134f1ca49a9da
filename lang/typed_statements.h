// Statements that are typed, or stand in a line, and run at once in the procedure that is running.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "lang/generator.h"

namespace tarnel {

class TypedStatements {
 public:
  enum class Kind : std::uint8_t {
    kExpression,  // one, with which no rule had anything to do
    kStatements,
    kUnfinished,  // a block lacks its end
    kWrong
  };

  // Reads a text, of which each line may be several statements, and before it directives, each in a line. What is
  // wrong stands in report(), told of under `name`.
  TypedStatements(std::string_view text, const std::string& name, std::string_view directives = {});
  ~TypedStatements();
  TypedStatements(const TypedStatements&) = delete;
  TypedStatements& operator=(const TypedStatements&) = delete;

  Kind kind() const { return kind_; }
  const std::string& report() const { return report_; }
  // With its constants replaced. Empty where there is nothing but comments.
  const std::string& expression() const { return expression_; }
  // Runs them in the current frame. REQUIRES: they are statements.
  void run();

 private:
  void generate_code(const ProgramTree& tree, Diagnostics& diagnostics);

  Kind kind_ = Kind::kExpression;
  std::string report_, expression_;
  std::unique_ptr<ProgramUnit> unit_;
  Code* code_ = nullptr;
};

// Is the line a directive? Another one that begins with # may be a comment.
bool is_directive(std::string_view line);

}  // namespace tarnel
