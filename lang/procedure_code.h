// The statements of one procedure to steps.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lang/diagnostics.h"
#include "lang/file_scope.h"
#include "lang/tree.h"
#include "macro/code_builder.h"
#include "macro/compiler.h"

namespace tarnel {

class ProcedureCode {
 public:
  // Statics get their first values in `statics`, which is a procedure of its own.
  ProcedureCode(const ProgramTree& tree, FileScope& scope, Diagnostics& diagnostics,
                ProgramPart& part, CodeBuilder& statics, CodeBuilder& steps)
      : tree_(tree),
        scope_(scope),
        diagnostics_(diagnostics),
        part_(part),
        statics_(statics),
        steps_(steps) {}

  void procedure(const ProcedureTree& procedure);
  // Statements without a procedure of their own: nothing is local to them.
  void typed(const Body& body);
  // The values that the instances of a new object begin with.
  void first_values(const std::vector<Declared>& instances);
  // STATIC, FIELD and MEMVAR before the first procedure.
  void file_declaration(const Statement& statement);

 private:
  // The loop that is being made: jumps to its next turn and behind it, and how many sequences are open there.
  struct Loop {
    std::vector<StepPosition> loops, exits;
    int sequences;
  };

  void body(const Body& body);
  void statement(const Statement& statement);
  void if_statement(const Statement& statement);
  void while_statement(const Statement& statement);
  void for_statement(const Statement& statement);
  void advance(Span counter, std::int32_t by);
  void for_each(const Statement& statement);
  void sequence(const Statement& statement);
  void leave_loop(const Statement& statement);
  void return_statement(const Statement& statement);
  void text(const Statement& statement);
  void show(const Statement& statement);
  void write_by(StepPosition mark, std::string_view function);  // [mark value ->]

  // Declarations.
  void parameters(const Statement& statement);
  void locals(const Statement& statement);
  void statics(const Statement& statement, bool in_file);
  void memory_variables(const Statement& statement);
  void fields(const Statement& statement, bool in_file);
  void declare_self();
  void declare(Span name, const NameMeaning& meaning, bool in_file = false);
  // [-> value] What a declared variable begins with; false if it tells none.
  bool first_value(const Declared& declared);

  // Adds the steps of a piece of the text.
  void compile(Span span, void (Compiler::*piece)());
  std::int32_t values(Span span);  // [-> values], how many
  void tell_fault(Span span);
  void value(Span span);
  void add_nothing();
  // Statements that are typed have no lines of their own.
  void line(std::int32_t line) { steps().add(StepKind::kLine, typed_ ? 0 : line); }
  void jump_back(std::size_t to);
  void land(const std::vector<StepPosition>& jumps);
  CodeBuilder& steps() { return *into_; }

  const ProgramTree& tree_;
  FileScope& scope_;
  Diagnostics& diagnostics_;
  ProgramPart& part_;
  CodeBuilder& statics_;
  CodeBuilder& steps_;
  CodeBuilder* into_ = &steps_;  // statics_ while their values are compiled
  std::vector<Loop> loops_;
  int sequences_ = 0;
  bool typed_ = false;
  bool returns_ = false;  // a value
};

}  // namespace tarnel
