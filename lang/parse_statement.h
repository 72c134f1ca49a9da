// The parser of statements. One procedure reads each kind.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lang/parser.h"
#include "lang/statement_lexer.h"

namespace tarnel {

// How the statements that hold others are told of.
struct BlockWords {
  StatementKind kind;
  std::string_view name, end;
  std::string_view end_word;  // behind END
  bool is_loop;
};
const BlockWords& block_words(StatementKind kind);

class Parser {
 public:
  Parser(StatementReader& reader, Diagnostics& diagnostics, std::string_view name)
      : reader_(reader), diagnostics_(diagnostics), name_(name) {}

  ProgramTree parse();

  // A statement whose first word was taken.
  void if_statement(StatementLexer& words);
  void elseif_statement(StatementLexer& words);
  void else_statement(StatementLexer& words);
  void end_if(StatementLexer& words);
  void do_statement(StatementLexer& words);
  void while_statement(StatementLexer& words);
  void end_do(StatementLexer& words);
  void for_statement(StatementLexer& words);
  void next_statement(StatementLexer& words);
  void case_statement(StatementLexer& words);
  void otherwise_statement(StatementLexer& words);
  void end_case(StatementLexer& words);
  void loop_statement(StatementLexer& words);
  void exit_statement(StatementLexer& words);
  void return_statement(StatementLexer& words);
  void begin_statement(StatementLexer& words);
  void recover_statement(StatementLexer& words);
  void end_sequence(StatementLexer& words);
  void break_statement(StatementLexer& words);
  void end_statement(StatementLexer& words);
  void local_statement(StatementLexer& words);
  void static_statement(StatementLexer& words);
  void private_statement(StatementLexer& words);
  void public_statement(StatementLexer& words);
  void parameters_statement(StatementLexer& words);
  void memvar_statement(StatementLexer& words);
  void field_statement(StatementLexer& words);
  void procedure_statement(StatementLexer& words);
  void function_statement(StatementLexer& words);
  void init_statement(StatementLexer& words);
  void text_statement(StatementLexer& words);
  void class_statement(StatementLexer& words);
  void var_statement(StatementLexer& words);
  void method_statement(StatementLexer& words);
  void end_class(StatementLexer& words);

 private:
  // A statement that holds others and hasn't ended.
  struct Open {
    Statement statement;
    Place place;
    bool last_arm = false;  // ELSE, OTHERWISE or RECOVER was there
  };

  void statement(StatementLexer words);

  // Pages.
  void begin_page();
  void end_page();
  void page_text();
  void page_value(const StatementLexer& words);
  ProcedureTree page_procedure() const;
  bool behind_page() const;

  std::int32_t line() const;
  void error(Place where, std::string_view words) { diagnostics_.error(where, words); }
  void unexpected(const StatementLexer& words);
  void unexpected(Place where, std::string_view token);  // an empty one: the end
  void expect_end(const StatementLexer& words);

  Body& body();
  ProcedureTree& procedure();
  void add(Statement statement);
  void open(Statement statement);
  void close();
  void end_procedure();
  Open* innermost(StatementKind kind, std::string_view word);
  void another_arm(StatementKind kind, std::string_view word, Span condition);
  void end_block(StatementKind kind, std::string_view word, StatementLexer& words,
                 bool names_counter = false);

  Span condition(const StatementLexer& words);
  Span take_target(StatementLexer& words);
  void for_each(StatementLexer& words);
  void jump_statement(StatementKind kind, std::string_view word, StatementLexer& words);

  // Declarations.
  void declaration(StatementLexer& words, ProcedureKind kind, bool is_function);
  void variables(StatementKind kind, StatementLexer& words);
  void declare(Statement statement);
  std::vector<Declared> declared_list(StatementLexer& words, Token end);
  Declared declared(StatementLexer& words);
  char take_type(StatementLexer& words);

  StatementReader& reader_;
  Diagnostics& diagnostics_;
  const std::string name_;
  ProgramTree tree_;
  Place place_;           // of the statement that is read
  bool reading_ = false;  // a procedure
  bool in_class_ = false;
  std::vector<Declared> page_parameters_;
  bool told_ = false;  // that the statement isn't right
  std::vector<Open> open_;
};

}  // namespace tarnel
