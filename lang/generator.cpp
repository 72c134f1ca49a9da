#include "lang/generator.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "core/modules.h"
#include "core/stacks.h"
#include "core/text.h"
#include "lang/file_scope.h"
#include "lang/procedure_code.h"

namespace tarnel {
namespace {

// Makes the code of a whole file.
class FileGenerator {
 public:
  FileGenerator(const ProgramTree& tree, const SourceFiles& files, Diagnostics& diagnostics,
                bool warn)
      : tree_(tree), files_(files), diagnostics_(diagnostics) {
    made_.unit = std::make_unique<ProgramUnit>();
    scope_ = std::make_unique<FileScope>(tree, *made_.unit, diagnostics, warn);
  }

  GeneratedFile run() {
    statics_part_ = &new_part(tree_.procedures.empty() ? Place{} : tree_.procedures[0].place);
    statics_part_->name = "(statics)";
    {
      ProcedureCode code(tree_, *scope_, diagnostics_, *statics_part_, statics_, statics_);
      for (const Statement& statement : tree_.declarations) code.file_declaration(statement);
    }
    for (const ClassTree& one : tree_.classes) begin_class(one);
    for (const ProcedureTree& procedure : tree_.procedures) add(procedure);
    for (std::size_t i = 0; i < tree_.classes.size(); ++i)
      end_class(tree_.classes[i], made_.classes[i]);
    check_types();
    finish_statics();
    std::ranges::sort(made_.unit->own, {}, &LoadedName::name);
    made_.unit->name_frames();
    made_.calls = scope_->take_calls();
    return std::move(made_);
  }

 private:
  const ProgramFile* file_of(Place place) {
    const std::string& path = files_[place.file].name;
    std::deque<ProgramFile>& known = made_.unit->files;
    const auto found = std::ranges::find(known, path, &ProgramFile::path);
    if (found != known.end()) return &*found;
    return &known.emplace_back(program_file(path));
  }

  ProgramPart& new_part(Place place) {
    ProgramPart& part = made_.unit->parts.emplace_back();
    part.unit = made_.unit.get();
    part.file = file_of(place);
    part.line = place.line;
    scope_->set_part(part);
    return part;
  }

  void add(const ProcedureTree& procedure) {
    ProgramPart& part = new_part(procedure.place);
    part.name =
        procedure.own_name.empty() ? std::string(tree_[procedure.name]) : procedure.own_name;
    part.result = procedure.result;
    ProgramClass* const of_class = class_of(procedure);
    if (of_class != nullptr)
      make_method(part, *of_class);
    else
      check_name(procedure, part.name);
    if (!procedure.name.empty() && of_class == nullptr)
      scope_->note_spelling(tree_[procedure.name]);
    CodeBuilder steps;
    ProcedureCode(tree_, *scope_, diagnostics_, part, statics_, steps).procedure(procedure);
    auto made = std::make_unique<ProgramProcedure>(procedure.kind, steps.finish({}, false, &part));
    if (of_class != nullptr) add_method(procedure, *of_class, *made);
    if (procedure.kind == ProcedureKind::kStatic)
      made_.unit->own.push_back({lower_text(part.name.substr(0, kNameSize)), made.get()});
    made_.procedures.push_back({std::move(made), procedure.place});
  }

  // --- Classes.

  std::string lower_name(Span name) const { return lower_text(tree_[name]); }

  void begin_class(const ClassTree& tree) {
    auto made = std::make_unique<ProgramClass>();
    made->name = lower_name(tree.name);
    made->base = lower_name(tree.base);
    for (const Declared& instance : tree.instances) {
      const std::string name = lower_name(instance.name).substr(0, kNameSize);
      if (std::ranges::find(made->instances, name) != made->instances.end())
        diagnostics_.error(tree_.text.place_at(instance.name.at),
                           name + " is declared already (the first ten characters count)");
      made->instances.push_back(name);
      made->types += instance.type;
    }
    made_.classes.push_back({std::move(made), tree.place});
  }

  // The class of a method, null for another procedure.
  ProgramClass* class_of(const ProcedureTree& procedure) {
    if (procedure.kind != ProcedureKind::kMethod) return nullptr;
    const std::string name = lower_name(procedure.of_class);
    for (const GeneratedClass& one : made_.classes)
      if (one.made->name == name) return one.made.get();
    diagnostics_.error(procedure.place, "this file has no class " + name);
    return nullptr;
  }

  static void make_method(ProgramPart& part, const ProgramClass& of_class) {
    part.is_method = true;
    part.class_level = &of_class.level();
  }

  void add_method(const ProcedureTree& tree, ProgramClass& of_class, ProgramProcedure& made) {
    const std::string name = lower_name(tree.name);
    const auto known = std::ranges::find(of_class.methods, name, &ProgramClass::Method::name);
    if (known != of_class.methods.end())
      diagnostics_.error(tree.place, "a second method " + name + " of class " + of_class.name);
    of_class.methods.push_back({name, &made});
  }

  // Declared methods and those that are there, and the code of the first values.
  void end_class(const ClassTree& tree, const GeneratedClass& made) {
    ProgramClass& of_class = *made.made;
    std::vector<std::string> declared;
    for (const Span method : tree.methods) {
      declared.push_back(lower_name(method));
      if (std::ranges::find(of_class.methods, declared.back(), &ProgramClass::Method::name) ==
          of_class.methods.end())
        diagnostics_.error(tree_.text.place_at(method.at),
                           "method " + declared.back() + " is nowhere in this file");
    }
    for (const ProgramClass::Method& method : of_class.methods)
      if (std::ranges::find(declared, method.name) == declared.end())
        diagnostics_.error(tree.place,
                           "class " + of_class.name + " doesn't declare its method " + method.name);
    if (std::ranges::all_of(tree.instances, [](const Declared& instance) {
          return instance.value.empty() && instance.dimensions.empty();
        }))
      return;
    ProgramPart& part = new_part(tree.place);
    part.name = of_class.name;
    make_method(part, of_class);
    CodeBuilder steps;
    ProcedureCode(tree_, *scope_, diagnostics_, part, statics_, steps).first_values(tree.instances);
    made_.initials.push_back(
        std::make_unique<ProgramProcedure>(ProcedureKind::kStatic, steps.finish({}, false, &part)));
    of_class.initial = made_.initials.back().get();
  }

  void check_types() {
    for (const Span type : tree_.types) {
      const std::string name = lower_name(type);
      const bool known = find_function(name + "new") ||
                         std::ranges::any_of(tree_.classes, [&](const ClassTree& one) {
                           return lower_name(one.name) == name;
                         });
      if (!known)
        diagnostics_.error(tree_.text.place_at(type.at), "there is no type or class " + name);
    }
  }

  void check_name(const ProcedureTree& procedure, const std::string& name) {
    const auto [same, is_new] =
        names_.emplace(lower_text(std::string_view(name).substr(0, kNameSize)), procedure.place);
    if (is_new) return;
    diagnostics_.error(procedure.place, "a second procedure " + name + ", after that of line " +
                                            std::to_string(same->second.line) +
                                            " (the first ten characters count)");
  }

  void finish_statics() {
    if (statics_.size() == 0) return;
    statics_.add(StepKind::kShared, 0, static_cast<std::uint8_t>(SharedConstant::kNil));
    made_.statics = std::make_unique<ProgramProcedure>(ProcedureKind::kStatic,
                                                       statics_.finish({}, false, statics_part_));
  }

  const ProgramTree& tree_;
  const SourceFiles& files_;
  Diagnostics& diagnostics_;
  GeneratedFile made_;
  std::unique_ptr<FileScope> scope_;
  CodeBuilder statics_;
  ProgramPart* statics_part_ = nullptr;
  std::unordered_map<std::string, Place> names_;  // of procedures
};

}  // namespace

GeneratedFile generate(const ProgramTree& tree, const SourceFiles& files, Diagnostics& diagnostics,
                       bool warn) {
  return FileGenerator(tree, files, diagnostics, warn).run();
}

}  // namespace tarnel
