#include "lang/typed_statements.h"

#include <vector>

#include "core/text.h"
#include "lang/directives.h"
#include "lang/file_scope.h"
#include "lang/parser.h"
#include "lang/procedure_code.h"

namespace tarnel {
namespace {

// Is the text one expression, or nothing?
bool is_expression_alone(const ProgramTree& tree) {
  if (tree.procedures.empty()) return tree.declarations.empty();
  if (tree.procedures.size() != 1 || !tree.declarations.empty()) return false;
  const ProcedureTree& procedure = tree.procedures.front();
  return !procedure.own_name.empty() && procedure.body.size() == 1 &&
         procedure.body.front().kind == StatementKind::kExpression;
}

}  // namespace

TypedStatements::TypedStatements(std::string_view text, const std::string& name,
                                 std::string_view directives) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  StatementReader reader(files, diagnostics);
  const std::int32_t file = files.add(name, std::string(text));  // the first: errors tell of it
  if (!directives.empty()) {
    reader.open(files.add(name, std::string(directives)));
    for (PlacedText statement; reader.next(statement);)
      diagnostics.error(statement.start(), "a statement among directives");
  }
  reader.open(file);
  const ProgramTree tree = parse_program(reader, diagnostics, name);
  if (diagnostics.errors() > 0 && diagnostics.errors() == tree.without_end) {
    kind_ = Kind::kUnfinished;
  } else if (diagnostics.errors() == 0 && !reader.rules_applied() && is_expression_alone(tree)) {
    if (!tree.procedures.empty()) expression_ = tree[tree.procedures.front().body.front().spans[0]];
    return;
  } else {
    generate_code(tree, diagnostics);
    kind_ = diagnostics.errors() > 0 ? Kind::kWrong : Kind::kStatements;
  }
  report_ = diagnostics.text();
}

// Blocks may outlive the line: what they stand in then stays to the end of the run.
TypedStatements::~TypedStatements() {
  if (code_ == nullptr) return;
  if (code_->block_count > 0)
    static_cast<void>(unit_.release());
  else
    release_code(code_);
}

void TypedStatements::generate_code(const ProgramTree& tree, Diagnostics& diagnostics) {
  for (const Statement& declaration : tree.declarations)
    diagnostics.error({0, declaration.line, 1},
                      "a declaration belongs into a file; use PRIVATE or PUBLIC here");
  for (const ProcedureTree& procedure : tree.procedures)
    if (procedure.own_name.empty())
      diagnostics.error(procedure.place, "a procedure belongs into a file: .load FILE");
  unit_ = std::make_unique<ProgramUnit>();
  unit_->files.push_back({"tnsh", "tnsh"});
  ProgramPart& part = unit_->parts.emplace_back();
  part.unit = unit_.get();
  part.file = &unit_->files.front();
  part.name = "tnsh";
  FileScope scope(tree, *unit_, diagnostics, false);
  scope.set_part(part);
  CodeBuilder statics, steps;
  if (!tree.procedures.empty())
    ProcedureCode(tree, scope, diagnostics, part, statics, steps)
        .typed(tree.procedures.front().body);
  code_ = steps.finish({}, false, &part);
  unit_->name_frames();
}

void TypedStatements::run() {
  run_in_frame(*code_);
}

bool is_directive(std::string_view line) {
  if (!line.starts_with('#')) return false;
  const Lexer lexer(line.substr(1));
  return lexer.token() == Token::kName && Directives::has_word(lexer.lexeme());
}

}  // namespace tarnel
