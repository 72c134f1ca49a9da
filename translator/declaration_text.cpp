// Declarations of variables as C++.
#include "core/switched.h"
#include "core/text.h"
#include "translator/procedure_text.h"

namespace tarnel {

void ProcedureText::file_declaration(const Statement& statement) {
  if (statement.kind == StatementKind::kStatic)
    statics(statement, true);
  else
    fields(statement, true);
}

void ProcedureText::declare(Span name, const NameMeaning& meaning, bool in_file) {
  const std::string_view text = unit_.tree[name];
  if (in_file)
    static_cast<void>(unit_.scope.declare_in_file(text, meaning));
  else
    static_cast<void>(unit_.scope.declare(text, meaning));
}

// PARAMETERS: privates with the arguments as their cells.
void ProcedureText::parameters(const Statement& statement) {
  std::int32_t position = 0;
  for (const Declared& parameter : statement.declared)
    write("BIND_MACRO_PARAM(" + piece(parameter.name, &Compiler::name_text).at(0).text +
          ", argc, " + std::to_string(position++) + ", argv);");
  parameters_used_ = true;
}

// What a declared variable begins with; empty if it tells nothing.
std::string ProcedureText::first_value(const Declared& declared) {
  if (declared.dimensions.empty()) return declared.value.empty() ? "" : value(declared.value);
  std::string sizes;
  for (const ExpressionValue& size : values(declared.dimensions)) sizes += ", " + size.text;
  return "CALL(" + unit_.file.function("array", unit_.number) + sizes + ")";
}

void ProcedureText::locals(const Statement& statement) {
  for (const Declared& local : statement.declared) {
    const std::string first = first_value(local);
    const std::int32_t number =
        new_slot(identifiers_.add(unit_.tree[local.name]), local.type, unit_.tree[local.name]);
    declare(local.name, {NameKind::kSlot, number});
    if (!first.empty()) write("CPY_VAR(" + slot(number) + ", " + first + ");");
  }
}

// The cells are all made, and then get their values, before the INIT procedures run.
void ProcedureText::statics(const Statement& statement, bool in_file) {
  for (const Declared& declared : statement.declared) {
    const Switched text(text_, std::string());
    const Switched depth(depth_, 1);
    const std::string cell = unit_.file.add_static(unit_.tree[declared.name], unit_.number);
    part_.add_static(unit_.statics.size(), unit_.tree[declared.name]);
    unit_.statics.push_back(cell);
    unit_.statics_made += code_line(cell + " = NEW_VAR('N', 'U');", 1);
    if (declared.type != 'U')
      unit_.statics_made +=
          code_line("FIX_VAR(" + cell + ", '" + std::string(1, declared.type) + "');", 1);
    const std::string first = first_value(declared);
    if (!first.empty()) {
      text_.insert(0, line_mark(statement.line) + code_line(line_text(statement.line) + ";", 1));
      write("CPY_VAR(" + cell + ", " + first + ");");
    }
    declare(declared.name, {NameKind::kStatic, static_cast<std::int32_t>(unit_.statics.size()) - 1},
            in_file);
    unit_.statics_filled += text_;
  }
}

// PRIVATE and PUBLIC.
void ProcedureText::memory_variables(const Statement& statement) {
  const std::string made =
      statement.kind == StatementKind::kPrivate ? "PRIVATE_NAMED(" : "PUBLIC_NAMED(";
  for (const Declared& declared : statement.declared) {
    const std::string name = piece(declared.name, &Compiler::name_text).at(0).text;
    write(made + name + ");");
    const std::string first = first_value(declared);
    if (first.empty()) continue;
    const std::int32_t kept = new_slot(own_name("Value", statement.line), 'U');
    write("CPY_VAR(" + slot(kept) + ", " + first + ");");
    write("ASSIGN(MACRO_MEMVAR(" + name + "), " + slot(kept) + ");");
  }
}

// FIELD and MEMVAR say what a name means.
void ProcedureText::fields(const Statement& statement, bool in_file) {
  const bool memory = statement.kind == StatementKind::kMemvar;
  const std::string alias = memory ? std::string() : std::string(unit_.tree[statement.spans[0]]);
  for (const Declared& declared : statement.declared)
    declare(declared.name, {memory ? NameKind::kMemvar : NameKind::kField, 0, alias}, in_file);
}

}  // namespace tarnel
