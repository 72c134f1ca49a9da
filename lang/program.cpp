#include "lang/program.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

#include "core/errors.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "core/text.h"
#include "lang/parser.h"
#include "macro/program_files.h"

namespace tarnel {
namespace {

// Programs that have started, in that order.
std::vector<LoadedProgram*> started;

std::string name_without_ending(std::string_view path) {
  const std::string_view base = path.substr(path.find_last_of('/') + 1);
  return std::string(base.substr(0, std::min(base.rfind('.'), base.size())));
}

bool callable_from_outside(const ProgramProcedure& procedure) {
  return procedure.kind() == ProcedureKind::kPublic;
}

ProgramProcedure* find_entry(const GeneratedFile& file) {
  for (const auto& procedure : file.procedures)
    if (procedure.made->kind() == ProcedureKind::kPage) return procedure.made.get();
  ProgramProcedure* first = nullptr;
  for (const auto& procedure : file.procedures) {
    if (!callable_from_outside(*procedure.made)) continue;
    if (same_letters(procedure.made->part().name, "main")) return procedure.made.get();
    if (first == nullptr) first = procedure.made.get();
  }
  return first;
}

std::string known_name(const ProgramProcedure& procedure) {
  return lower_text(std::string_view(procedure.part().name).substr(0, kNameSize));
}

constexpr std::string_view kDrivers[] = {"dataserver", "dbfidx", "ascirdd"};
constexpr std::size_t kDeepestClasses = 100;  // that inherit from each other

std::array<std::string, 2> constructors_of(const ProgramClass& of_class) {
  return {of_class.name.substr(0, kNameSize), (of_class.name + "new").substr(0, kNameSize)};
}

ProgramClass* find_class(const std::vector<GeneratedFile>& files, std::string_view name) {
  for (const GeneratedFile& file : files)
    for (const GeneratedClass& one : file.classes)
      if (one.made->name == name) return one.made.get();
  return nullptr;
}

// What files say of each other: one name twice, calls of what is nowhere.
class Check {
 public:
  Check(const std::vector<GeneratedFile>& files, Diagnostics& diagnostics)
      : files_(files), diagnostics_(diagnostics) {}

  void run() {
    for (std::size_t i = 0; i < files_.size(); ++i)
      for (const GeneratedProcedure& one : files_[i].procedures) add(*one.made, one.place, i);
    for (std::size_t i = 0; i < files_.size(); ++i)
      for (const GeneratedClass& one : files_[i].classes) add(one, i);
    for (const GeneratedFile& file : files_)
      for (const GeneratedClass& one : file.classes) check_base(one);
    for (const GeneratedFile& file : files_)
      for (const MentionedCall& call : file.calls) look_for(file, call);
  }

 private:
  void add(const ProgramProcedure& procedure, Place place, std::size_t file) {
    if (!callable_from_outside(procedure)) return;
    const std::string name = known_name(procedure);
    const auto [same, is_new] = names_.emplace(name, file);
    if (!is_new && same->second != file)
      diagnostics_.error(place, "another file has a procedure " + procedure.part().name + " too");
    else if (is_new && FIND_FUNC(name) > 0 && name != "main")
      diagnostics_.warn(place, procedure.part().name + " takes the place of a builtin function");
  }

  // A class is known by two functions, which may be one in ten characters.
  void add(const GeneratedClass& one, std::size_t file) {
    std::string first;
    for (const std::string& name : constructors_of(*one.made)) {
      if (name == first) continue;
      first = name;
      if (!names_.emplace(name, file).second)
        diagnostics_.error(one.place, "class " + one.made->name + " makes its objects by " + name +
                                          ", which is something else too");
    }
  }

  // Up the line of inheritance: a class at last that has no base, or one of the runtime.
  void check_base(const GeneratedClass& one) {
    const ProgramClass* at = one.made.get();
    for (std::size_t steps = 0; !at->base.empty(); ++steps) {
      const ProgramClass* const above = find_class(files_, at->base);
      if (above == nullptr) {
        if (std::ranges::find(kDrivers, at->base) != std::end(kDrivers))
          return diagnostics_.error(one.place, "classes can't inherit from " + at->base);
        if (!find_function(at->base + "new"))
          diagnostics_.error(one.place, "there is no class " + at->base);
        return;
      }
      if (steps > kDeepestClasses)
        return diagnostics_.error(
            one.place, "class " + one.made->name + " inherits from itself, or from too many");
      at = above;
    }
  }

  void look_for(const GeneratedFile& file, const MentionedCall& call) {
    const std::string name = call.name.substr(0, kNameSize);
    if (names_.contains(name) || file.unit->find_own(name) || find_function(name) ||
        find_function(FULL_NAME(call.name)))
      return;
    diagnostics_.warn(call.place, "there is no function " + call.name);
  }

  const std::vector<GeneratedFile>& files_;
  Diagnostics& diagnostics_;
  std::unordered_map<std::string, std::size_t> names_;  // with the number of the file
};

bool runs(const Frame* frame, const GeneratedFile& file) {
  return std::ranges::any_of(file.unit->files, [&](const ProgramFile& source) {
    return frame->module == source.module.c_str();
  });
}

}  // namespace

// Parses files that were read, and looks at them together. Null when there are errors.
LoadedProgram* LoadedProgram::of_sources(SourceFiles& sources, Diagnostics& diagnostics,
                                         std::span<const std::int32_t> files,
                                         const ProgramOptions& options) {
  std::unique_ptr<LoadedProgram> program(new LoadedProgram);
  for (const std::int32_t file : files) {
    StatementReader reader(sources, diagnostics, options.include_folders);
    reader.open(file);
    ProgramTree tree = parse_program(reader, diagnostics, name_without_ending(sources[file].name));
    program->files_.push_back(generate(tree, sources, diagnostics, options.warn));
    if (options.trees != nullptr) options.trees->push_back(std::move(tree));
  }
  Check(program->files_, diagnostics).run();
  if (diagnostics.errors() > 0) return nullptr;
  if (!program->files_.empty()) program->entry_ = find_entry(program->files_.front());
  return program.release();  // it lasts as long as the run
}

LoadedProgram* LoadedProgram::read(std::span<const std::string> files,
                                   const ProgramOptions& options, std::string& report) {
  SourceFiles sources;
  Diagnostics diagnostics(sources);
  return read(files, options, sources, diagnostics, report);
}

LoadedProgram* LoadedProgram::read(std::span<const std::string> files,
                                   const ProgramOptions& options, SourceFiles& sources,
                                   Diagnostics& diagnostics, std::string& report) {
  std::vector<std::int32_t> numbers;
  for (const std::string& name : files) {
    std::string fault;
    numbers.push_back(sources.read(name, fault));
    if (numbers.back() >= 0) continue;
    report = name + ": " + fault + "\n";
    return nullptr;
  }
  LoadedProgram* const program = of_sources(sources, diagnostics, numbers, options);
  report = diagnostics.text();
  return program;
}

LoadedProgram* LoadedProgram::of_text(std::string name, std::string text, std::string& report) {
  SourceFiles sources;
  Diagnostics diagnostics(sources);
  const std::int32_t file = sources.add(std::move(name), std::move(text));
  LoadedProgram* const program = of_sources(sources, diagnostics, {&file, 1}, {});
  report = diagnostics.text();
  return program;
}

void LoadedProgram::discard() {
  unload();
  delete this;
}

void LoadedProgram::link() {
  std::vector<LoadedName> names;
  for (const GeneratedFile& file : files_)
    for (const auto& procedure : file.procedures)
      if (callable_from_outside(*procedure.made))
        names.push_back({known_name(*procedure.made), procedure.made.get()});
  for (const GeneratedFile& file : files_)
    for (const GeneratedClass& one : file.classes)
      for (std::string& name : constructors_of(*one.made))
        names.push_back({std::move(name), one.made.get()});
  link_classes();
  ADD_PROCEDURES(names);
  for (const GeneratedFile& file : files_)
    for (const ProgramFile& source : file.unit->files)
      add_program_file(source.module.c_str(), source.path);
  started.push_back(this);
}

// A base before what inherits from it.
void LoadedProgram::link_classes() {
  const auto link = [&](auto& self, ProgramClass& one) -> void {
    if (one.is_linked()) return;
    ProgramClass* const base = find_class(files_, one.base);
    if (base != nullptr) self(self, *base);
    if (!one.link(base)) RT_ERROR(338, one.base);
  };
  for (const GeneratedFile& file : files_)
    for (const GeneratedClass& one : file.classes) link(link, *one.made);
}

bool LoadedProgram::start() {
  link();
  const TempsMark mark;
  for (const GeneratedFile& file : files_)
    if (file.statics != nullptr) file.statics->call(0, nullptr);
  for (const GeneratedFile& file : files_)
    for (const auto& procedure : file.procedures) {
      if (procedure.made->kind() != ProcedureKind::kInit) continue;
      const Var* const result = procedure.made->call(0, nullptr);
      if (is_number_or_logical(result) && !truth_of(result)) return false;
    }
  return true;
}

bool LoadedProgram::mentions(std::string_view function) const {
  return std::ranges::any_of(files_, [&](const GeneratedFile& file) {
    return std::ranges::find(file.calls, function, &MentionedCall::name) != file.calls.end();
  });
}

bool LoadedProgram::is_running() const {
  for (const Frame* frame = current_frame(); frame != nullptr; frame = frame->prev)
    if (std::ranges::any_of(files_, [&](const GeneratedFile& file) { return runs(frame, file); }))
      return true;
  return false;
}

void LoadedProgram::unload() {
  for (const GeneratedFile& file : files_) {
    for (const auto& procedure : file.procedures) REMOVE_PROCEDURE(procedure.made.get());
    for (const GeneratedClass& one : file.classes) REMOVE_PROCEDURE(one.made.get());
    for (const ProgramFile& source : file.unit->files) forget_program_file(source.module.c_str());
  }
  std::erase(started, this);
}

std::vector<const GeneratedFile*> LoadedProgram::started_files() {
  std::vector<const GeneratedFile*> files;
  for (const LoadedProgram* program : started)
    for (const GeneratedFile& file : program->files_) files.push_back(&file);
  return files;
}

bool& programs_end_lines() {
  static bool ends = true;
  return ends;
}

Var* exit_programs(std::int32_t, Var**) {
  const UsualExitErrors usual;
  std::int32_t count = 0;
  for (const GeneratedFile* file : LoadedProgram::started_files())
    for (const auto& procedure : file->procedures)
      if (procedure.made->kind() == ProcedureKind::kExit) {
        const TempsMark mark;
        Var* number[] = {TMP_INT(++count)};
        const Var* const result = procedure.made->call(1, number);
        if (is_number_or_logical(result) && !truth_of(result)) return false_value();
      }
  if (!started.empty() && programs_end_lines()) end_last_line();
  return true_value();
}

}  // namespace tarnel
