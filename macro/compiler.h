// The grammar of expressions: one pass over the tokens of a text, which adds steps to a code in the order
// in which they are to run. In a program names may be declared, numbers are doubles, macros are operands, and
// blocks are compiled.
#pragma once

#include <cstdint>
#include <string_view>

#include "macro/code_builder.h"
#include "macro/lexer.h"
#include "macro/program_scope.h"
#include "macro/small_list.h"

namespace tarnel {

constexpr int kDeepestNesting = 150;  // of parentheses, lists, signs and assignments in one text

class Compiler {
 public:
  explicit Compiler(std::string_view text) : lexer_(text) {}

  Code* expression_code();
  // |parameters| expression
  Code* block_code();

  // --- A piece of a program. Steps are added to `code`, of which the fault, if there is one, counts from the
  // beginning of the text. The names in `scope` hold views of none of it.
  Compiler(std::string_view text, ProgramScope& scope, CodeBuilder& code)
      : lexer_(text), code_(&code), scope_(&scope) {}
  // [-> ] An expression as a statement; a variable before = is assigned to.
  void statement();
  // [-> value]
  void value();
  // [-> values], how many
  std::int32_t values();
  // [-> variable, field or element, to be assigned to]
  void target();
  // [-> text] A name, or one that macros make up.
  void name_text();
  // [-> result] name | &macro [WITH arguments]: plain variables go by reference.
  void do_call();

 private:
  using Parameters = SmallList<std::string_view, 8>;

  // What a piece of text stands for: a cell on the machine's stack, or an instance variable, not yet read,
  // of the object there.
  struct Operand {
    bool assignable = false;
    std::string_view instance{};
  };

  // One level of nesting; past the limit the text has failed.
  class Level {
   public:
    explicit Level(Compiler& compiler) : compiler_(compiler) {
      if (++compiler_.nesting_ > kDeepestNesting) compiler_.fail(Failure::kTooDeep);
    }
    ~Level() { --compiler_.nesting_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Compiler& compiler_;
  };

  // Grammar, from the lowest precedence to the highest.
  void block();
  void body();
  void expression();
  void assignment(const Operand& target, bool as_statement);
  Operand binary(int lowest);
  void logic(Token op, int level);
  Operand prefix();
  Operand postfix(Operand operand);
  Operand primary();
  Operand parenthesis();
  Operand name();

  // Operands.
  Operand number();
  void text();
  Operand brace();
  void block_literal();
  void parameters();
  void array_literal();
  Operand subscript(const Operand& operand);
  Operand member(const Operand& operand);
  Operand variable(std::string_view name);
  Operand alias(std::string_view name);
  Operand in_area();
  void call(std::string_view name);
  void iif();
  void iif_alternative();
  void iif_argument();
  std::int32_t arguments(Token close);
  void argument(Token close);
  void reference();

  // Programs only.
  Operand program_variable(std::string_view name);
  Operand macro_operand();
  void macro_text();
  std::size_t macro_piece(std::size_t at);
  void macro_variable(std::string_view name);
  void field_of(const NameMeaning& meaning, std::string_view name);
  void closure_literal(std::size_t start);
  Operand macro_member();
  Operand self_member();
  std::uint8_t classes_up_ = 0;  // of the method that is being read
  bool fixed_date();
  void program_reference();
  void do_argument();

  void load(const Operand& operand);
  void shared(SharedConstant constant) {
    code_->add(StepKind::kShared, 0, static_cast<std::uint8_t>(constant));
  }

  // The text is wrong here: no further step is added, and it counts as ended.
  void fail(Failure cause);
  Token token() const { return lexer_.token(); }
  bool take(Token token);
  bool expect(Token token) { return take(token) || (fail(Failure::kSyntax), false); }

  Lexer lexer_;
  int nesting_ = 0;
  CodeBuilder own_;
  CodeBuilder* code_ = &own_;  // of the block literal that is being read
  ProgramScope* const scope_ = nullptr;
  bool left_no_value_ = false;        // the last assignment was a statement to a local
  bool at_statement_ = false;         // before the first operator of one
  Parameters* parameters_ = nullptr;  // of the block that is being read, if it is one
};

}  // namespace tarnel
