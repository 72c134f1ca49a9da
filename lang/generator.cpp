#include "lang/generator.h"

#include <algorithm>
#include <utility>

#include "core/stacks.h"
#include "core/text.h"
#include "lang/file_scope.h"
#include "lang/procedure_code.h"

namespace tarnel {
namespace {

std::string module_of(std::string_view path) {
  std::string_view base = path.substr(path.find_last_of('/') + 1);
  return lower_text(base.substr(0, std::min(base.rfind('.'), base.size())));
}

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
    for (const ProcedureTree& procedure : tree_.procedures) add(procedure);
    finish_statics();
    made_.calls = scope_->take_calls();
    return std::move(made_);
  }

 private:
  const ProgramFile* file_of(Place place) {
    const std::string& path = files_[place.file].name;
    std::deque<ProgramFile>& known = made_.unit->files;
    const auto found = std::ranges::find(known, path, &ProgramFile::path);
    if (found != known.end()) return &*found;
    return &known.emplace_back(ProgramFile{module_of(path), path});
  }

  ProgramPart& new_part(Place place) {
    ProgramPart& part = made_.unit->parts.emplace_back();
    part.unit = made_.unit.get();
    part.file = file_of(place);
    part.line = place.line;
    scope_->set_file(part.file);
    return part;
  }

  void add(const ProcedureTree& procedure) {
    ProgramPart& part = new_part(procedure.place);
    part.name =
        procedure.own_name.empty() ? std::string(tree_[procedure.name]) : procedure.own_name;
    part.result = procedure.result;
    check_name(procedure, part.name);
    CodeBuilder steps;
    ProcedureCode(tree_, *scope_, diagnostics_, part, statics_, steps).procedure(procedure);
    auto made = std::make_unique<ProgramProcedure>(procedure.kind, steps.finish({}, false, &part));
    if (procedure.kind == ProcedureKind::kStatic)
      made_.unit->own.push_back({lower_text(part.name.substr(0, kNameSize)), made.get()});
    made_.procedures.push_back(std::move(made));
  }

  void check_name(const ProcedureTree& procedure, const std::string& name) {
    const NameKey key(name);
    const auto same = std::ranges::find(names_, key, &std::pair<NameKey, Place>::first);
    if (same != names_.end())
      diagnostics_.error(procedure.place, "a second procedure " + name + ", after that of line " +
                                              std::to_string(same->second.line) +
                                              " (the first ten characters count)");
    names_.push_back({key, procedure.place});
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
  std::vector<std::pair<NameKey, Place>> names_;
};

}  // namespace

GeneratedFile generate(const ProgramTree& tree, const SourceFiles& files, Diagnostics& diagnostics,
                       bool warn) {
  return FileGenerator(tree, files, diagnostics, warn).run();
}

}  // namespace tarnel
