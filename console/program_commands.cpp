#include "console/program_commands.h"

#include <algorithm>
#include <string>
#include <vector>

#include "console/complaints.h"
#include "console/words.h"
#include "core/stacks.h"
#include "core/text.h"
#include "lang/program.h"
#include "lang/typed_statements.h"
#include "macro/evaluator.h"
#include "macro/lexer.h"

namespace tarnel {
namespace {

// Programs of the session, by the names that they were given.
struct Loaded {
  std::string file;
  LoadedProgram* program;
};
std::vector<Loaded> loaded;

std::string without_end(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// Puts a file's procedures in the place of those that it brought before. Null when it can't be: told.
LoadedProgram* load(const std::string& file) {
  const auto before = std::ranges::find(loaded, file, &Loaded::file);
  if (before != loaded.end() && before->program->is_running()) {
    complain(file + ": one of its procedures is running");
    return nullptr;
  }
  std::string report;
  LoadedProgram* const program = LoadedProgram::read({&file, 1}, {}, report);
  if (program == nullptr) {
    complain(without_end(report));
    return nullptr;
  }
  if (!report.empty()) tell(without_end(report));
  if (before != loaded.end())
    before->program->unload();
  else
    loaded.push_back({file, nullptr});
  std::ranges::find(loaded, file, &Loaded::file)->program = program;
  return program->start() ? program : nullptr;
}

// Words that begin statements over several lines; the first letters will do.
constexpr std::string_view kOpening[] = {"if", "do", "while", "for", "begin", "text"};

std::string_view first_word(std::string_view text) {
  const Lexer lexer(text);
  return lexer.token() == Token::kName ? lexer.lexeme() : std::string_view();
}

bool opens_block(std::string_view text) {
  const std::string_view word = first_word(text);
  return std::ranges::any_of(kOpening, [&](std::string_view w) {
    return word.size() >= std::min<std::size_t>(w.size(), 4) &&
           same_letters(w.substr(0, word.size()), word);
  });
}

// A word, ? or @; what begins otherwise can only be an expression.
bool may_begin_statement(std::string_view line) {
  const Lexer lexer(line);
  return lexer.token() == Token::kName || lexer.token() == Token::kAt ||
         trim_blanks(line).starts_with('?');
}

// Does a sign begin the line, or a name that is no function, variable or field? It may be that of a command: SKIP -1.
bool begins_with_unknown(std::string_view line) {
  const Lexer lexer(line);
  if (lexer.token() != Token::kName) return true;
  if (lexer.next_is('(')) return false;
  const std::int32_t sym = FIND_SYMBOL(lexer.lexeme());
  return sym <= 0 || is_undefined(RESOLVE_NAME(sym));
}

// #define and others of the session's lines, one a line.
std::string directives;

}  // namespace

bool load_program(std::string_view line) {
  const std::string file = last_file_name(line);
  if (file.empty())
    complain("usage: .load FILE");
  else
    static_cast<void>(load(file));
  return true;
}

bool do_program(std::string_view line) {
  const std::string file = take_file_name(line);
  if (file.empty()) {
    complain("usage: .do FILE [ARGUMENT...]");
    return true;
  }
  LoadedProgram* const program = load(file);
  if (program == nullptr) return true;
  if (program->entry() == nullptr) {
    complain(file + ": there is no procedure to begin with");
    return true;
  }
  const TempsMark mark;
  std::vector<Var*> arguments;
  while (!trim_blanks(line).empty()) arguments.push_back(TMP_TEXT(take_file_name(line)));
  program->entry()->call(static_cast<std::int32_t>(arguments.size()), arguments.data());
  return true;
}

TypedLine run_statements(std::string_view line) {
  TypedLine typed{.expression = std::string(line)};
  const bool may_be_rewritten = !directives.empty();
  if (!may_be_rewritten && !may_begin_statement(line)) return typed;
  typed.is_right = !find_syntax_fault(line);
  const bool could_be = typed.is_right && !opens_block(line) && !begins_with_unknown(line);
  if (could_be && !may_be_rewritten) return typed;
  TypedStatements statements(line, "tnsh", directives);
  switch (statements.kind()) {
    case TypedStatements::Kind::kExpression:
      typed.is_right &= statements.expression() == typed.expression;
      typed.expression = statements.expression();
      typed.has_run = typed.expression.empty();  // comments
      return typed;
    case TypedStatements::Kind::kStatements:
      statements.run();
      break;
    default:
      complain(without_end(statements.report()));
  }
  typed.has_run = true;
  return typed;
}

bool lacks_end(std::string_view text) {
  if (text.ends_with(';')) return true;  // as in a program
  return opens_block(text) &&
         TypedStatements(text, "tnsh", directives).kind() == TypedStatements::Kind::kUnfinished;
}

void take_directive(std::string_view line) {
  const TypedStatements read(line, "tnsh", directives);
  if (!read.report().empty())
    complain(without_end(read.report()));
  else if (read.kind() != TypedStatements::Kind::kExpression || !read.expression().empty())
    complain("statements of a file belong into a program: .load FILE");
  else
    directives.append(line).append("\n");
}

}  // namespace tarnel
