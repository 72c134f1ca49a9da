#include "console/program_run.h"

#include "core/classes.h"
#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

constexpr int kNothingRan = 2;
constexpr std::int32_t kDeveloperNotice = 902;

// The error block of a program: an error that nobody handles ends it. What was written stays, tables are closed.
Var* end_with_report(std::int32_t argc, Var** argv, Var**) {
  Procedure p("tnsh", "cb_1_1_1", -1, argc);
  Var* const error = argc > 0 ? argv[0] : nil_value();
  if (class_of(error) != &error_class()) return p.end();
  if (get_integer_ivar(error, "gencode") == kDeveloperNotice) {
    if (settings().developer) write_error(program_report(error));
    return p.end();
  }
  const std::string text = program_report(error);
  leave_tables();
  end_last_line();
  static_cast<void>(write_gathered());
  write_error(text);
  QUIT_RUN(1);
}

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
  const bool status = is_number(result) && number_of(result) >= 0 && number_of(result) <= 255;
  set_exit_status(status ? integer_of(result) : 0);
}

}  // namespace tarnel
