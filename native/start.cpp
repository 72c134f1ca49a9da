#include <deque>
#include <string>
#include <vector>

#include "core/errors.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/text.h"
#include "macro/program_class.h"
#include "macro/program_files.h"
#include "native/program.h"

namespace tarnel {
namespace {

struct Started {
  std::vector<const TranslatedProgram*> programs;
  std::deque<ProgramClass> classes;
} started;

ProgramClass* find_class(std::string_view name) {
  for (ProgramClass& one : started.classes)
    if (one.name == name) return &one;
  return nullptr;
}

void link(ProgramClass& one) {
  if (one.is_linked()) return;
  ProgramClass* const base = find_class(one.base);
  if (base != nullptr) link(*base);
  if (!one.link(base)) RT_ERROR(338, one.base);
}

void add_classes(const TranslatedProgram& program, std::vector<LoadedName>& names) {
  const std::size_t first = started.classes.size();
  for (const TranslatedClass& from : program.classes) {
    ProgramClass& made = started.classes.emplace_back();
    made.name = from.name;
    made.base = from.base;
    for (const InstanceEntry& instance : from.instances) {
      made.instances.emplace_back(instance.name);
      made.types += instance.type;
    }
    for (const MethodEntry& method : from.methods)
      made.methods.push_back({method.name, method.function});
    made.initial = from.initial;
    for (const std::string& name : {made.name, made.name + "new"})
      names.push_back({name.substr(0, kNameSize), &made});
  }
  for (std::size_t i = first; i < started.classes.size(); ++i) {
    link(started.classes[i]);
    *program.classes[i - first].level = started.classes[i].level();
  }
}

bool says_no(const Var* result) {
  return is_number_or_logical(result) && !truth_of(result);
}

}  // namespace

bool start_translated(const TranslatedProgram& program) {
  std::vector<LoadedName> names;
  for (const FunctionEntry& entry : program.module.functions)
    names.push_back(
        {std::string(std::string_view(entry.name).substr(0, kNameSize)), entry.function});
  add_classes(program, names);
  ADD_PROCEDURES(names);
  for (const TranslatedFile* file : program.files) add_program_file(file->module, file->path);
  started.programs.push_back(&program);
  const TempsMark mark;
  if (program.statics != nullptr) program.statics();
  for (const FunctionEntry& procedure : program.module.init)
    if (says_no(procedure.function(0, nullptr))) return false;
  return true;
}

Var* run_translated(const TranslatedProgram& program, std::int32_t argc, Var** argv) {
  Var* result = nil_value();
  static_cast<void>(in_program([&] { result = program.entry(argc, argv); }));
  return result;
}

Var* exit_translated(std::int32_t, Var**) {
  const UsualExitErrors usual;
  std::int32_t count = 0;
  for (const TranslatedProgram* program : started.programs)
    for (const FunctionEntry& procedure : program->module.exit) {
      const TempsMark mark;
      Var* number[] = {TMP_INT(++count)};
      if (says_no(procedure.function(1, number))) return false_value();
    }
  if (!started.programs.empty()) end_last_line();
  return true_value();
}

}  // namespace tarnel
