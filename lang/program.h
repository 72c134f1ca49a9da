// Programs that run from their source files.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/frame.h"
#include "core/modules.h"
#include "lang/generator.h"

namespace tarnel {

struct ProgramOptions {
  std::vector<std::string> include_folders{};
  bool warn = false;  // of names that nothing declares, and functions without a value
  std::vector<ProgramTree>* trees = nullptr;  // receives what the files were read as
};

// The procedures of some files. It lasts to the end of the run: variables may hold its blocks.
class LoadedProgram {
 public:
  // Reads and checks files. Null when something is wrong; nothing of it has run then. `report` gets the errors and
  // warnings, as lines.
  static LoadedProgram* read(std::span<const std::string> files, const ProgramOptions& options,
                             std::string& report);

  // The same, for who wants to know more of them.
  static LoadedProgram* read(std::span<const std::string> files, const ProgramOptions& options,
                             SourceFiles& sources, Diagnostics& diagnostics, std::string& report);

  // The same for files that were read; what is wrong is told to the diagnostics.
  static LoadedProgram* of_sources(SourceFiles& sources, Diagnostics& diagnostics,
                                   std::span<const std::int32_t> files,
                                   const ProgramOptions& options);
  // The same for a text that isn't in a file.
  static LoadedProgram* of_text(std::string name, std::string text, std::string& report);

  // Makes its procedures known, gives statics their first values, runs INIT procedures. False when one of them
  // gives .F. EXIT procedures run when the run ends.
  [[nodiscard]] bool start();
  // The statements of a page; the procedure `main` of the first file, else its first one that can be called from outside; null without one.
  ProgramProcedure* entry() const { return entry_; }
  // Does it call a function by that name, in lower case?
  bool mentions(std::string_view function) const;
  // Does one of its procedures run?
  bool is_running() const;
  // Forgets its procedures. REQUIRES: none runs.
  void unload();
  // The same, and gives its memory back. REQUIRES: no variable holds a block or object of it.
  void discard();

  // Of all programs that have started, in order.
  static std::vector<const GeneratedFile*> started_files();

 private:
  LoadedProgram() = default;
  ~LoadedProgram() = default;
  friend std::default_delete<LoadedProgram>;
  void link();
  void link_classes();

  std::vector<GeneratedFile> files_;
  ProgramProcedure* entry_ = nullptr;
};

// Is the last line of output ended where a program ends? Bytes of pages stay as they are.
bool& programs_end_lines();

Var* exit_programs(std::int32_t argc, Var** argv);
inline constexpr FunctionEntry kProgramExit[] = {{"exitprogra", exit_programs, nullptr}};
inline constexpr ModuleRecord kProgramModule{.name = "program", .exit = kProgramExit};

}  // namespace tarnel
