// The tree of a program file to code for the machine.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lang/diagnostics.h"
#include "lang/tree.h"
#include "macro/code.h"
#include "macro/program_class.h"
#include "macro/program_part.h"

namespace tarnel {

// A procedure of a file, ready to run. Its code lasts as long as it does.
class ProgramProcedure final : public LoadedProcedure {
 public:
  // Takes over the code's reference.
  ProgramProcedure(ProcedureKind kind, Code* code) : kind_(kind), code_(code) {}
  ~ProgramProcedure() { release_code(code_); }
  ProgramProcedure(const ProgramProcedure&) = delete;
  ProgramProcedure& operator=(const ProgramProcedure&) = delete;

  Var* call(std::int32_t argc, Var** argv) override { return run_procedure(*code_, argc, argv); }
  Code* code() const override { return code_; }
  ProcedureKind kind() const { return kind_; }
  const ProgramPart& part() const { return *code_->part; }

 private:
  const ProcedureKind kind_;
  Code* const code_;
};

// A call of a function, for those who know which there are.
struct MentionedCall {
  std::string name;  // lower case
  Place place;
};

struct GeneratedProcedure {
  std::unique_ptr<ProgramProcedure> made;
  Place place;
};

struct GeneratedClass {
  std::unique_ptr<ProgramClass> made;
  Place place;
};

struct GeneratedFile {
  std::unique_ptr<ProgramUnit> unit;
  std::vector<GeneratedProcedure> procedures;  // in the order of the file
  std::vector<GeneratedClass> classes;
  std::vector<std::unique_ptr<ProgramProcedure>> initials;  // of classes
  std::unique_ptr<ProgramProcedure> statics;  // gives them their first values; may be null
  std::vector<MentionedCall> calls;           // each name once
};

// Makes code of a tree. Faults are told to the diagnostics; the code then must not run. `warn` tells of names
// that nothing declares, too.
GeneratedFile generate(const ProgramTree& tree, const SourceFiles& files, Diagnostics& diagnostics,
                       bool warn);

}  // namespace tarnel
