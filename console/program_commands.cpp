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

// One name and nothing else: it may be a command.
bool is_lone_name(std::string_view line) {
  const std::string_view text = trim_blanks(line);
  return first_word(text).size() == text.size() && !text.empty();
}

// A word, ? or @; what begins otherwise can only be an expression.
bool may_begin_statement(std::string_view line) {
  const Lexer lexer(line);
  return lexer.token() == Token::kName || lexer.token() == Token::kAt ||
         trim_blanks(line).starts_with('?');
}

bool is_known(std::string_view name) {
  const std::int32_t sym = FIND_SYMBOL(name);
  return sym > 0 && !is_undefined(RESOLVE_NAME(sym));
}

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

LineKind run_statements(std::string_view line) {
  if (!may_begin_statement(line)) return LineKind::kExpression;
  const bool could_be = !find_syntax_fault(line) && !opens_block(line);
  if (could_be && (!is_lone_name(line) || is_known(trim_blanks(line))))
    return LineKind::kExpression;
  TypedStatements statements(line, "tnsh");
  switch (statements.kind()) {
    case TypedStatements::Kind::kExpression:
      return LineKind::kExpression;
    case TypedStatements::Kind::kStatements:
      statements.run();
      return LineKind::kRun;
    default:
      complain(without_end(statements.report()));
      return LineKind::kRun;
  }
}

bool lacks_end(std::string_view text) {
  if (text.ends_with(';')) return true;  // as in a program
  return opens_block(text) &&
         TypedStatements(text, "tnsh").kind() == TypedStatements::Kind::kUnfinished;
}

}  // namespace tarnel
