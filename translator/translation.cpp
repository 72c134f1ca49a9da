#include "translator/translation.h"

#include <algorithm>
#include <deque>
#include <memory>

#include "core/symbols.h"
#include "core/text.h"
#include "lang/file_scope.h"
#include "translator/procedure_text.h"

namespace tarnel {
namespace {

std::string lower_key(std::string_view name) {
  return lower_text(name.substr(0, kNameSize));
}

class Translation {
 public:
  Translation(std::span<const ProgramTree> trees, const SourceFiles& sources)
      : trees_(trees), sources_(sources), diagnostics_(sources) {}

  std::string run(const std::string& entry, const std::string& target) {
    functions_.resize(trees_.size());
    for (std::size_t i = 0; i < trees_.size(); ++i) name_procedures(i);
    for (std::size_t i = 0; i < trees_.size(); ++i) file(i);
    return put_together(entry, target);
  }

 private:
  // A unit's parts and statics are only made for what the grammar asks of them.
  struct Unit {
    ProgramUnit unit;
    std::unique_ptr<FileScope> scope;
    std::unique_ptr<UnitText> text;
  };

  void name_procedures(std::size_t number) {
    const ProgramTree& tree = trees_[number];
    for (const ProcedureTree& procedure : tree.procedures) {
      const std::string name = name_of(tree, procedure);
      std::string made;
      switch (procedure.kind) {
        case ProcedureKind::kMethod:
          made = file_.identifier(lower_text(tree[procedure.of_class]) + "_" + lower_text(name));
          break;
        case ProcedureKind::kInit:
        case ProcedureKind::kExit:
          made = file_.identifier(name);
          break;
        default:
          made = file_.add_procedure(name, static_cast<int>(number),
                                     procedure.kind == ProcedureKind::kStatic);
      }
      const bool known_outside = procedure.kind == ProcedureKind::kPublic;
      declarations_ += std::string(known_outside ? "" : "[[maybe_unused]] static ") + "Var* " +
                       made + "(std::int32_t argc, Var** argv);\n";
      if (known_outside) outside_.push_back({lower_key(name), made});
      if (procedure.kind == ProcedureKind::kInit) inits_.push_back({lower_key(name), made});
      if (procedure.kind == ProcedureKind::kExit) exits_.push_back({lower_key(name), made});
      functions_[number].push_back(std::move(made));
    }
    for (const ClassTree& one : tree.classes)
      declarations_ += "static std::int32_t " + level_of(tree, one) + ";\n";
  }

  static std::string name_of(const ProgramTree& tree, const ProcedureTree& procedure) {
    return procedure.own_name.empty() ? std::string(tree[procedure.name]) : procedure.own_name;
  }
  static std::string level_of(const ProgramTree& tree, const ClassTree& one) {
    return "Level_" + lower_text(tree[one.name]);
  }
  static const ClassTree* class_of(const ProgramTree& tree, const ProcedureTree& procedure) {
    if (procedure.kind != ProcedureKind::kMethod) return nullptr;
    const auto found = std::ranges::find_if(tree.classes, [&](const ClassTree& one) {
      return same_letters(tree[one.name], tree[procedure.of_class]);
    });
    return found != tree.classes.end() ? &*found : nullptr;
  }

  ProgramPart& new_part(Unit& unit, Place place, std::string name) {
    const std::string& path = sources_[place.file].name;
    std::deque<ProgramFile>& files = unit.unit.files;
    auto known = std::ranges::find(files, path, &ProgramFile::path);
    if (known == files.end()) {
      files.push_back(program_file(path));
      known = files.end() - 1;
    }
    ProgramPart& part = unit.unit.parts.emplace_back();
    part.unit = &unit.unit;
    part.file = &*known;
    part.line = place.line;
    part.name = std::move(name);
    unit.scope->set_part(part);
    return part;
  }

  void file(std::size_t number) {
    const ProgramTree& tree = trees_[number];
    Unit& unit = units_.emplace_back();
    unit.scope = std::make_unique<FileScope>(tree, unit.unit, diagnostics_, false);
    unit.text = std::make_unique<UnitText>(
        UnitText{tree, *unit.scope, file_, static_cast<int>(number), {}, {}, {}});
    const Place begin = tree.procedures.empty() ? Place{} : tree.procedures[0].place;
    ProgramPart& statics = new_part(unit, begin, "(statics)");
    {
      ProcedureText text(*unit.text, statics, "");
      for (const Statement& one : tree.declarations) text.file_declaration(one);
    }
    for (std::size_t i = 0; i < tree.procedures.size(); ++i) {
      const ProcedureTree& procedure = tree.procedures[i];
      const ClassTree* const of_class = class_of(tree, procedure);
      ProgramPart& part = new_part(unit, procedure.place, name_of(tree, procedure));
      part.result = procedure.result;
      part.is_method = of_class != nullptr;
      const std::string level = of_class != nullptr ? level_of(tree, *of_class) : std::string();
      ProcedureText text(*unit.text, part, level);
      procedures_ += text.procedure(procedure, functions_[number][i]);
    }
    for (const ClassTree& one : tree.classes) add_class(unit, number, one);
    statics_made_ += unit.text->statics_made;
    if (!unit.text->statics_filled.empty()) add_statics(unit, statics);
  }

  void add_statics(Unit& unit, const ProgramPart& part) {
    const std::string name = "Statics_" + std::to_string(units_.size());
    procedures_ += "static void " + name + "() {\n" +
                   file_.activation(part, unit.text->number, "0") + unit.text->statics_filled +
                   code_line("static_cast<void>(p.end());", 1) + "}\n\n";
    statics_ += code_line(name + "();", 1);
  }

  void add_class(Unit& unit, std::size_t number, const ClassTree& one) {
    const ProgramTree& tree = trees_[number];
    const std::string name = lower_text(tree[one.name]);
    std::string instances, methods, initial = "nullptr";
    for (const Declared& instance : one.instances)
      instances += std::string(instances.empty() ? "" : ", ") + "{" +
                   literal(lower_key(tree[instance.name])) + ", '" + instance.type + "'}";
    for (std::size_t i = 0; i < tree.procedures.size(); ++i)
      if (class_of(tree, tree.procedures[i]) == &one)
        methods += std::string(methods.empty() ? "" : ", ") + "{" +
                   literal(lower_text(tree[tree.procedures[i].name])) + ", " +
                   functions_[number][i] + "}";
    if (std::ranges::any_of(one.instances, [](const Declared& instance) {
          return !instance.value.empty() || !instance.dimensions.empty();
        })) {
      initial = file_.identifier(name + "_values");
      ProgramPart& part = new_part(unit, one.place, name);
      part.is_method = true;
      const std::string level = level_of(tree, one);
      procedures_ += "static " + declared(initial) + ";\n";
      procedures_ += ProcedureText(*unit.text, part, level).first_values(one.instances, initial);
    }
    const auto rows = [&](const char* type, const char* what, const std::string& list) {
      if (list.empty()) return std::string("{}");
      const std::string table = std::string(what) + name;
      class_tables_ +=
          code_line(std::string("constexpr ") + type + " " + table + "[] = {" + list + "};", 0);
      return table;
    };
    const std::string instance_table = rows("InstanceEntry", "Instances_", instances);
    const std::string method_table = rows("MethodEntry", "Methods_", methods);
    classes_ += code_line("{" + literal(name) + ", " + literal(lower_text(tree[one.base])) + ", " +
                              instance_table + ", " + method_table + ", " + initial + ", &" +
                              level_of(tree, one) + "},",
                          1);
  }

  static std::string declared(const std::string& function) {
    return "Var* " + function + "(std::int32_t argc, Var** argv)";
  }

  std::string table(const char* name,
                    const std::vector<std::pair<std::string, std::string>>& rows) {
    if (rows.empty()) return {};
    std::string text = "constexpr FunctionEntry " + std::string(name) + "[] = {\n";
    for (const auto& [known, function] : rows)
      text += code_line("{" + literal(known) + ", " + function + ", nullptr},", 1);
    return text + "};\n";
  }

  std::string put_together(const std::string& entry, const std::string& target) {
    std::string text = "// Translated from";
    for (const ProgramTree& tree : trees_) text += " " + shown_path(sources_[file_of(tree)].name);
    text += ". Changes belong there.\n";
    // Not every compiler has to take one so long; both that are used do.
    constexpr std::size_t kLongestText = 65536;
    if (procedures_.size() > kLongestText)
      text += "#pragma GCC diagnostic ignored \"-Woverlength-strings\"\n";
    text +=
        "#include \"native/program.h\"\n\nextern const "
        "tarnel::TranslatedProgram translated_program;\n\nnamespace program {\n\nusing namespace "
        "tarnel;\n\n" +
        declarations_ + "\nnamespace {\n\n" + file_.cells() + "\n" + file_.blocks +
        "}  // namespace\n\n" + procedures_;
    const auto lines = std::ranges::count(text, '\n');
    text += line_directive(lines + 2, target);
    text += "namespace {\n\n" + table("kFunctions", outside_) + table("kInit", inits_) +
            table("kExit", exits_);
    text += "constexpr ModuleRecord kModule{.name = " + literal(module_name());
    if (!outside_.empty()) text += ", .functions = kFunctions";
    if (!inits_.empty()) text += ", .init = kInit";
    if (!exits_.empty()) text += ", .exit = kExit";
    text +=
        "};\n" +
        code_line("constexpr const TranslatedFile* kFiles[] = {" + file_.sources_list() + "};", 0);
    text += class_tables_;
    if (!classes_.empty()) text += "constexpr TranslatedClass kClasses[] = {\n" + classes_ + "};\n";
    const std::string statics = statics_made_ + statics_;
    if (!statics.empty()) text += "void Statics() {\n" + statics + "}\n";
    text += "\n}  // namespace\n}  // namespace program\n\n";
    text +=
        "const tarnel::TranslatedProgram translated_program = {\n    program::kModule, "
        "program::kFiles,\n    " +
        std::string(classes_.empty() ? "{}" : "program::kClasses") + ", " +
        (statics.empty() ? "nullptr" : "program::Statics") + ", " +
        "program::" + file_.function(entry, 0) + "};\n";
    return text;
  }

  std::int32_t file_of(const ProgramTree& tree) const {
    return tree.procedures.empty() ? 0 : tree.procedures[0].place.file;
  }
  std::string module_name() const {
    return units_.empty() || units_.front().unit.files.empty()
               ? std::string("program")
               : units_.front().unit.files.front().module;
  }

  const std::span<const ProgramTree> trees_;
  const SourceFiles& sources_;
  Diagnostics diagnostics_;
  FileText file_;
  std::deque<Unit> units_;
  std::vector<std::vector<std::string>> functions_;  // of each file's procedures
  std::vector<std::pair<std::string, std::string>> outside_, inits_, exits_;
  std::string declarations_, procedures_, class_tables_, classes_, statics_made_, statics_;
};

}  // namespace

std::string translate(std::span<const ProgramTree> trees, const SourceFiles& sources,
                      const std::string& entry, const std::string& target) {
  return Translation(trees, sources).run(entry, target);
}

}  // namespace tarnel
