// The one-pass parser of expressions: its actions compute values while the text is parsed. Where
// nothing is to be evaluated (the unneeded side of .and. and .or., the arms of iif that were not
// chosen, the body of a block literal) the same functions run in skip mode, which touches no cell.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/var.h"
#include "macro/lexer.h"
#include "macro/small_list.h"

namespace tarnel {

constexpr int kDeepestNesting = 150;  // of parentheses, lists, signs and assignments in one text

// Arguments of a running block.
struct BlockArguments {
  std::int32_t count;
  Var** cells;
};

// One evaluation. Not reentrant: a nested one has a parser of its own.
class Parser {
 public:
  // `source` is the text before its expansion, for reports.
  Parser(std::string_view source, std::string_view text) : source_(source), lexer_(text) {}

  // The value of the whole text, or the error value.
  Var* evaluate();
  // The value of the text of a block: |parameters| expression.
  Var* evaluate_block(const BlockArguments& arguments);

 private:
  using Arguments = SmallList<Var*, 12>;
  using BinaryFunction = Var* (*)(Var* left, Var* right, bool in_place);

  // What a piece of text stands for: a cell, or an instance variable that is not yet read.
  struct Operand {
    Var* cell;
    std::string_view instance{};  // of the object `cell`
    bool assignable = false;
  };

  // While it lives nothing is evaluated.
  class Skipping {
   public:
    explicit Skipping(Parser& parser, bool on = true) : parser_(parser), on_(on) {
      parser_.skipping_ += on_;
    }
    ~Skipping() { parser_.skipping_ -= on_; }
    Skipping(const Skipping&) = delete;
    Skipping& operator=(const Skipping&) = delete;

   private:
    Parser& parser_;
    const bool on_;
  };

  // One level of nesting; past the limit the parse has failed.
  class Level {
   public:
    explicit Level(Parser& parser) : parser_(parser) {
      if (++parser_.nesting_ > kDeepestNesting) parser_.too_deep();
    }
    ~Level() { --parser_.nesting_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Parser& parser_;
  };

  // Grammar, from the lowest precedence to the highest.
  Var* body();
  Var* expression();
  Var* assignment(const Operand& target);
  Operand binary(int lowest);
  Var* apply(BinaryFunction function, int level, Var* left);
  Var* logic(Token op, int level, Var* left);
  Operand prefix();
  Operand postfix(Operand operand);
  Operand primary();
  Operand parenthesis();
  Operand name();

  // Operands.
  Operand number();
  Operand text();
  Operand brace();
  Operand date();
  Operand block_literal();
  void block_parameters(bool named);
  Var* array_literal();
  Operand subscript(Operand operand);
  Operand member(Operand operand);
  Operand variable(std::string_view name);
  Operand memory_variable(std::string_view name);
  bool find_parameter(std::string_view name, Var*& cell);
  Operand alias(std::string_view name);
  Operand in_selected_area(Var* which);
  Operand in_area(void* area);
  Operand field(void* area, std::string_view name);
  Operand call(std::string_view name);
  Var* iif();
  Var* iif_argument(bool wanted);
  void arguments(Arguments& list, Token close);
  Var* argument(Token close);
  Var* reference();

  Var* load(const Operand& operand);
  Var* keep_alive(Var* cell);
  Var* returned(Var* result);
  Var* checked(Var* result) { return is_error(result) ? stop() : result; }

  // Ways in which a parse fails; each gives the error value, and the text counts as ended.
  Var* stop();  // the cause was raised already
  Var* report(int code, std::string_view cause);
  Var* syntax_error();
  void too_deep();
  Var* fail();

  bool idle() const { return skipping_ != 0 || failed_; }  // nothing is to be computed
  Token token() const { return lexer_.token(); }
  bool take(Token token);
  bool expect(Token token) { return take(token) || (syntax_error(), false); }

  const std::string_view source_;
  Lexer lexer_;
  int skipping_ = 0, nesting_ = 0;
  bool failed_ = false;
  bool broken_ = false;  // failed in a way that iif can't pass over
  BlockArguments block_arguments_{0, nullptr};
  SmallList<std::string_view, 8> parameters_;
};

// True while a nesting of evaluations that was too deep is being left; nothing is evaluated then.
bool leaving_deep_evaluation();

}  // namespace tarnel
