// Declarations of procedures and variables.
#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"
#include "lang/parse_statement.h"

namespace tarnel {
namespace {

constexpr BlockWords kBlockWords[] = {
    {StatementKind::kIf, "IF", "ENDIF", "if", false},
    {StatementKind::kCase, "DO CASE", "ENDCASE", "case", false},
    {StatementKind::kWhile, "DO WHILE", "ENDDO", "do", true},
    {StatementKind::kFor, "FOR", "NEXT", "for", true},
    {StatementKind::kForEach, "FOR EACH", "NEXT", "for", true},
    {StatementKind::kSequence, "BEGIN SEQUENCE", "ENDSEQUENCE", "sequence", false},
};

struct TypeWord {
  std::string_view word;
  char letter;
};
constexpr TypeWord kTypes[] = {
    {"numeric", 'N'}, {"integer", 'I'}, {"character", 'C'}, {"logical", 'L'},
    {"date", 'D'},    {"array", 'A'},   {"object", 'O'},    {"block", 'B'},
};

}  // namespace

const BlockWords& block_words(StatementKind kind) {
  static constexpr BlockWords kNone{StatementKind::kExpression, "", "", "", false};
  const auto* const found = std::ranges::find(kBlockWords, kind, &BlockWords::kind);
  return found != std::end(kBlockWords) ? *found : kNone;
}

// --- Procedures.

void Parser::procedure_statement(StatementLexer& words) {
  declaration(words, ProcedureKind::kPublic, false);
}
void Parser::function_statement(StatementLexer& words) {
  declaration(words, ProcedureKind::kPublic, true);
}

void Parser::init_statement(StatementLexer& words) {
  if (!words.take_word("procedure")) return unexpected(words);
  declaration(words, ProcedureKind::kInit, false);
}

// name [(parameters)] [AS type]
void Parser::declaration(StatementLexer& words, ProcedureKind kind, bool is_function) {
  end_procedure();
  ProcedureTree made;
  made.place = place_;
  made.kind = kind;
  made.is_function = is_function;
  made.name = words.take_name();
  if (made.name.empty()) unexpected(words);
  if (words.take(Token::kLeftParen)) {
    made.parameters = declared_list(words, Token::kRightParen);
    if (!words.take(Token::kRightParen)) unexpected(words);
  }
  made.result = take_type(words);
  if (kind == ProcedureKind::kMethod) {
    if (!words.take_word("class")) unexpected(words);
    made.of_class = words.take_name();
    if (made.of_class.empty()) unexpected(words);
  }
  expect_end(words);
  tree_.procedures.push_back(std::move(made));
  reading_ = true;
}

// --- Classes.

void Parser::class_statement(StatementLexer& words) {
  end_procedure();
  ClassTree made;
  made.place = place_;
  made.name = words.take_name();
  if (words.take_word("inherit")) {
    made.base = words.take_name();
    if (made.base.empty()) unexpected(words);
  }
  expect_end(words);
  tree_.classes.push_back(std::move(made));
  in_class_ = true;
}

void Parser::var_statement(StatementLexer& words) {
  if (!in_class_) return error(place_, "VAR outside of a class");
  for (Declared& one : declared_list(words, Token::kEnd))
    tree_.classes.back().instances.push_back(one);
  expect_end(words);
}

// METHOD name[(parameters)] in a class tells of it; behind it, with CLASS name, its statements follow.
void Parser::method_statement(StatementLexer& words) {
  if (!in_class_) return declaration(words, ProcedureKind::kMethod, true);
  StatementLexer again = words;
  const Span name = words.take_name();
  if (words.take(Token::kLeftParen)) {
    declared_list(words, Token::kRightParen);
    if (!words.take(Token::kRightParen)) unexpected(words);
  }
  take_type(words);
  if (words.at_word("class")) return declaration(again, ProcedureKind::kMethod, true);
  expect_end(words);
  tree_.classes.back().methods.push_back(name);
}

void Parser::end_class(StatementLexer& words) {
  if (!in_class_) return error(place_, "ENDCLASS without CLASS");
  expect_end(words);
  in_class_ = false;
}

// --- Variables.

void Parser::local_statement(StatementLexer& words) {
  variables(StatementKind::kLocal, words);
}
void Parser::private_statement(StatementLexer& words) {
  variables(StatementKind::kPrivate, words);
}
void Parser::public_statement(StatementLexer& words) {
  variables(StatementKind::kPublic, words);
}
void Parser::parameters_statement(StatementLexer& words) {
  variables(StatementKind::kParameters, words);
}
void Parser::memvar_statement(StatementLexer& words) {
  variables(StatementKind::kMemvar, words);
}

void Parser::static_statement(StatementLexer& words) {
  if (words.at_word("procedure") || words.at_word("function")) {
    const bool is_function = words.at_word("function");
    if (words.following().token() == Token::kName) {
      words.next();
      return declaration(words, ProcedureKind::kStatic, is_function);
    }
  }
  variables(StatementKind::kStatic, words);
}

void Parser::variables(StatementKind kind, StatementLexer& words) {
  Statement made{kind, line()};
  made.declared = declared_list(words, Token::kEnd);
  expect_end(words);
  if (kind == StatementKind::kStatic || kind == StatementKind::kMemvar)
    declare(std::move(made));
  else
    add(std::move(made));
}

// In a procedure for the procedure, before the first one for the file.
void Parser::declare(Statement statement) {
  if (!reading_ && tree_.procedures.empty())
    tree_.declarations.push_back(std::move(statement));
  else
    add(std::move(statement));
}

// FIELD names [IN alias]
void Parser::field_statement(StatementLexer& words) {
  Statement made{StatementKind::kField, line(), {{}}};
  do {
    const Span name = words.take_name();
    if (name.empty()) return unexpected(words);
    made.declared.push_back({name, {}, {}});
  } while (words.take(Token::kComma));
  if (words.take_word("in")) {
    made.spans[0] = words.take_name();
    if (made.spans[0].empty()) return unexpected(words);
  }
  expect_end(words);
  declare(std::move(made));
}

std::vector<Declared> Parser::declared_list(StatementLexer& words, Token end) {
  std::vector<Declared> list;
  if (words.token() == end) return list;
  do {
    list.push_back(declared(words));
    if (list.back().name.empty()) break;
  } while (words.take(Token::kComma));
  return list;
}

// name [dimensions] [AS type] [:= value]; the name may be made up by macros.
Declared Parser::declared(StatementLexer& words) {
  Declared made;
  made.name = take_target(words);
  if (made.name.empty()) {
    unexpected(words);
    return made;
  }
  if (words.take(Token::kLeftBracket)) {
    made.dimensions = words.take_expression({}, false);
    if (made.dimensions.empty() || !words.take(Token::kRightBracket)) unexpected(words);
  }
  made.type = take_type(words);
  if (words.take(Token::kAssign)) {
    made.value = words.take_expression();
    if (made.value.empty()) unexpected(words);
  }
  return made;
}

// A name, with m-> before it, or with parts that macros make up.
Span Parser::take_target(StatementLexer& words) {
  const std::size_t start = words.place();
  std::size_t end = start;
  while (words.token() == Token::kName || words.token() == Token::kAmpersand ||
         words.token() == Token::kArrow) {
    const bool sign = words.token() != Token::kName;
    end = words.place() + words.lexeme().size();
    words.next();
    if (!sign && words.token() == Token::kName && words.place() != end) break;
  }
  return {start, end - start};
}

char Parser::take_type(StatementLexer& words) {
  if (!words.take_word("as")) return 'U';
  if (words.token() != Token::kName) {
    unexpected(words);
    return 'U';
  }
  const auto* const known = std::ranges::find_if(
      kTypes, [&](const TypeWord& t) { return same_letters(t.word, words.lexeme()); });
  if (known == std::end(kTypes)) tree_.types.push_back({words.place(), words.lexeme().size()});
  words.next();
  return known == std::end(kTypes) ? 'O' : known->letter;
}

}  // namespace tarnel
