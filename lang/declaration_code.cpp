// Declarations of variables to steps.
#include <string>

#include "core/switched.h"
#include "lang/procedure_code.h"

namespace tarnel {

void ProcedureCode::file_declaration(const Statement& statement) {
  if (statement.kind == StatementKind::kStatic)
    statics(statement, true);
  else
    fields(statement, true);
}

void ProcedureCode::declare(Span name, const NameMeaning& meaning, bool in_file) {
  const std::string_view text = tree_[name];
  scope_.note_spelling(text);
  const bool is_new =
      in_file ? scope_.declare_in_file(text, meaning) : scope_.declare(text, meaning);
  if (!is_new)
    diagnostics_.error(tree_.text.place_at(name.at),
                       std::string(text) + " is declared already (the first ten characters count)");
}

// PARAMETERS: privates with the arguments as their cells.
void ProcedureCode::parameters(const Statement& statement) {
  std::int32_t position = 0;
  for (const Declared& parameter : statement.declared) {
    compile(parameter.name, &Compiler::name_text);
    steps().add(StepKind::kBindName, position++);
  }
}

bool ProcedureCode::first_value(const Declared& declared) {
  if (!declared.dimensions.empty()) {
    const StepPosition mark = steps().add(StepKind::kMark);
    const std::int32_t count = values(declared.dimensions);
    steps().add_call(mark, count, "array");
    return true;
  }
  if (declared.value.empty()) return false;
  value(declared.value);
  return true;
}

// Their cells are made when the procedure begins; the value is assigned whenever the line runs.
void ProcedureCode::locals(const Statement& statement) {
  for (const Declared& local : statement.declared) {
    const bool has_value = first_value(local);
    const std::int32_t slot = part_.add_local(local.type, tree_[local.name]);
    declare(local.name, {NameKind::kSlot, slot});
    if (has_value) steps().add(StepKind::kStore, slot);
  }
}

// The cells are there from the beginning, their values are evaluated once.
void ProcedureCode::statics(const Statement& statement, bool in_file) {
  for (const Declared& declared : statement.declared) {
    const Switched into(into_, &statics_);
    Var* const cell = NEW_VAR('N', 'U');
    if (declared.type != 'U') FIX_VAR(cell, declared.type);
    part_.unit->statics.push_back(cell);
    const auto index = static_cast<std::int32_t>(part_.unit->statics.size()) - 1;
    part_.add_static(part_.unit->statics.size() - 1, tree_[declared.name]);
    scope_.forget_slot_mention();
    steps().add(StepKind::kLine, statement.line);
    const bool has_value = first_value(declared);
    if (scope_.mentioned_slot())
      diagnostics_.error(tree_.text.place_at(declared.value.at),
                         "the first value of a STATIC can't mention a local");
    declare(declared.name, {NameKind::kStatic, index}, in_file);
    if (has_value) steps().add(StepKind::kStoreStatic, index);
  }
}

// PRIVATE and PUBLIC.
void ProcedureCode::memory_variables(const Statement& statement) {
  const StepKind kind =
      statement.kind == StatementKind::kPrivate ? StepKind::kPrivate : StepKind::kPublic;
  for (const Declared& declared : statement.declared) {
    const auto name = [&] { compile(declared.name, &Compiler::name_text); };
    name();
    steps().add(kind);
    scope_.note_spelling(tree_[declared.name]);
    if (declared.type != 'U')
      diagnostics_.error(tree_.text.place_at(declared.name.at), "a memory variable has no type");
    if (!first_value(declared)) continue;
    const std::int32_t kept = part_.add_local('U');
    steps().add(StepKind::kStore, kept);
    name();
    steps().add(StepKind::kMacroMemvar);
    steps().add(StepKind::kSlot, kept);
    steps().add(StepKind::kAssign, 0, kNoFunction);
    steps().add(StepKind::kDrop);
  }
}

// FIELD and MEMVAR say what a name means.
void ProcedureCode::fields(const Statement& statement, bool in_file) {
  const bool memory = statement.kind == StatementKind::kMemvar;
  const std::string alias = memory ? std::string() : std::string(tree_[statement.spans[0]]);
  for (const Declared& declared : statement.declared) {
    if (!declared.value.empty() || !declared.dimensions.empty() || declared.type != 'U')
      diagnostics_.error(tree_.text.place_at(declared.name.at), "only names may stand here");
    declare(declared.name, {memory ? NameKind::kMemvar : NameKind::kField, 0, alias}, in_file);
  }
}

}  // namespace tarnel
