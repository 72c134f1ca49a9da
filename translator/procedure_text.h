// The statements of one procedure as C++.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lang/file_scope.h"
#include "lang/tree.h"
#include "macro/compiler.h"
#include "translator/expression_text.h"

namespace tarnel {

// What the procedures of one program file share.
struct UnitText {
  const ProgramTree& tree;
  FileScope& scope;
  FileText& file;
  int number;                        // of the file, among those translated together
  std::vector<std::string> statics;  // cells, by number
  std::string statics_made;          // what makes them, before any gets its value
  std::string statics_filled;        // what gives them their values
};

class ProcedureText {
 public:
  // `level` tells the class of a method, else it is empty.
  ProcedureText(UnitText& unit, ProgramPart& part, std::string_view level)
      : unit_(unit), part_(part), level_(level), identifiers_(unit.file.local_identifiers()) {}

  // The function of that name; its head comes first.
  std::string procedure(const ProcedureTree& procedure, const std::string& function);
  // What gives the instances of a new object their first values.
  std::string first_values(const std::vector<Declared>& instances, const std::string& function);
  // STATIC, FIELD and MEMVAR before the first procedure.
  void file_declaration(const Statement& statement);

 private:
  void body(const Body& body);
  void statement(const Statement& statement);
  void if_statement(const Statement& statement);
  void while_statement(const Statement& statement);
  void for_statement(const Statement& statement);
  void for_each(const Statement& statement);
  void loop_body(const Body& body);
  void sequence(const Statement& statement);
  void leave_loop(const Statement& statement);
  void return_statement(const Statement& statement);

  void parameters(const Statement& statement);
  void locals(const Statement& statement);
  void statics(const Statement& statement, bool in_file);
  void memory_variables(const Statement& statement);
  void fields(const Statement& statement, bool in_file);
  void declare(Span name, const NameMeaning& meaning, bool in_file = false);
  std::string first_value(const Declared& declared);

  // A piece of the tree's text: the statements that it is are written, its values are the result.
  std::vector<ExpressionValue> piece(Span span, void (Compiler::*part)());
  std::string value(Span span) { return piece(span, &Compiler::value).at(0).text; }
  std::vector<ExpressionValue> values(Span span);
  std::vector<ExpressionValue> translated(CodeBuilder& builder);
  ExpressionValue target(Span span);
  // One for the code's own use has no name in the source.
  std::int32_t new_slot(std::string identifier, char type, std::string_view name = {});
  void declare_self();
  std::string slot(std::int32_t number) { return slots_.of(number); }
  std::string own_name(const char* what, std::int32_t line);

  void write(std::string_view line) { text_ += code_line(line, depth_); }
  void begin_line(std::int32_t line);
  std::string line_text(std::int32_t line) const { return "p.line(" + std::to_string(line) + ")"; }
  std::string line_mark(std::int32_t line) const;
  std::string function_text(const std::string& function);
  // Out of the innermost sequence; and on, behind one that was left so.
  void leave(const std::string& how);
  void pass_on(const std::string& left, const std::string& how);

  UnitText& unit_;
  ProgramPart& part_;
  const std::string_view level_;
  Identifiers identifiers_;
  SlotNames slots_;
  std::string text_;
  int depth_ = 1;
  int loops_ = 0;
  // A sequence that is being written: the variable that tells how it was left, and the loops open in it.
  struct Open {
    std::string left;
    int loops = 0;
    bool returns = false, loop_leaves = false;
  };
  std::vector<Open> open_;
  bool returned_ = false;  // from within a sequence
  bool parameters_used_ = false;
  bool ends_ = false;  // the last statement was a RETURN
};

}  // namespace tarnel
