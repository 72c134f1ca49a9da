#include "console/program_run.h"

#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/output.h"
#include "core/runtime.h"
#include "macro/program_files.h"

namespace tarnel {
namespace {

constexpr int kNothingRan = 2;

LoadedProgram* read_programs(const std::vector<std::string>& files, const ProgramOptions& options) {
  std::string told;
  LoadedProgram* const program = LoadedProgram::read(files, options, told);
  write_error(told);
  return program;
}

}  // namespace

int check_programs(const std::vector<std::string>& files, const ProgramOptions& options) {
  return read_programs(files, options) != nullptr ? 0 : kNothingRan;
}

void run_programs(const std::vector<std::string>& files, const ProgramOptions& options,
                  const std::vector<const char*>& arguments) {
  LoadedProgram* const program = read_programs(files, options);
  if (program == nullptr) return set_exit_status(kNothingRan);
  if (program->entry() == nullptr) {
    write_error(files.front() + ": there is no procedure to begin with\n");
    return set_exit_status(kNothingRan);
  }
  set_default_handler(end_with_report);
  if (!program->start()) return set_exit_status(1);
  std::vector<Var*> cells;
  for (const char* argument : arguments) cells.push_back(TMP_TEXT(argument));
  const Var* const result =
      program->entry()->call(static_cast<std::int32_t>(cells.size()), cells.data());
  end_last_line();
  set_exit_status(status_of(result));
}

}  // namespace tarnel
