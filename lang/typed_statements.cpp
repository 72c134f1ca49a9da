#include "lang/typed_statements.h"

#include <vector>

#include "core/text.h"
#include "lang/file_scope.h"
#include "lang/parser.h"
#include "lang/procedure_code.h"

namespace tarnel {
namespace {

// Is the text one expression that no rule has changed?
bool is_expression_alone(const ProgramTree& tree, std::string_view text) {
  if (tree.procedures.empty() && tree.declarations.empty()) return true;  // comments
  if (tree.procedures.size() != 1 || !tree.declarations.empty()) return false;
  const ProcedureTree& procedure = tree.procedures.front();
  if (procedure.own_name.empty() || procedure.body.size() != 1) return false;
  const Statement& only = procedure.body.front();
  return only.kind == StatementKind::kExpression && tree[only.spans[0]] == trim_blanks(text);
}

}  // namespace

TypedStatements::TypedStatements(std::string_view text, const std::string& name) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  const std::int32_t file = files.add(name, std::string(text));
  StatementReader reader(files, diagnostics);
  reader.open(file);
  const ProgramTree tree = parse_program(reader, diagnostics, name);
  if (diagnostics.errors() > 0 && diagnostics.errors() == tree.without_end) {
    kind_ = Kind::kUnfinished;
  } else if (diagnostics.errors() == 0 && is_expression_alone(tree, text)) {
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
}

void TypedStatements::run() {
  run_in_frame(*code_);
}

}  // namespace tarnel
