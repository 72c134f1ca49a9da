#include "console/program_run.h"

#include "core/classes.h"
#include "core/descriptors.h"
#include "core/error_object.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/stacks.h"

namespace tarnel {
namespace {

constexpr int kMostFrames = 50;  // that a report tells of
constexpr int kNothingRan = 2;
constexpr std::int32_t kDeveloperNotice = 902;

const char* severity_words(std::int32_t severity) {
  switch (severity) {
    case kWarning:
      return "I/O";
    case kRunTime:
      return "Run-time";
    case kFatal:
      return "Fatal";
    default:
      return "Internal";
  }
}

std::int32_t number_of_instance(Var* object, const char* name) {
  const Var* const value = get_ivar(object, name);
  return is_number_or_logical(value) ? integer_of(value) : 0;
}

std::string place_of(const Frame& frame) {
  const std::string* const path = source_path(frame);
  return (path != nullptr ? *path : std::string(frame.module)) + ":" + std::to_string(frame.line) +
         ": ";
}

// FILE:LINE: Run-time error 201: words, then a line for each procedure that runs.
std::string report(Var* error) {
  const Frame* const at = frame_at(0);
  std::string text = at != nullptr ? place_of(*at) : std::string();
  Var* const words = get_ivar(error, "descriptio");
  text.append(severity_words(number_of_instance(error, "severity"))).append(" error ");
  text.append(std::to_string(number_of_instance(error, "gencode"))).append(": ");
  if (is_text(words)) text.append(text_of(words));
  text += '\n';
  int frames = 0;
  for (const Frame* frame = at; frame != nullptr && frame->prev != nullptr; frame = frame->prev)
    if (frame->line >= 0 && ++frames <= kMostFrames)
      text.append(place_of(*frame)).append(frame->proc).append("\n");
  if (frames > kMostFrames) text += std::to_string(frames - kMostFrames) + " more\n";
  return text;
}

// The error block of a program: an error that nobody handles ends it. What was written stays, tables are closed.
Var* end_with_report(std::int32_t argc, Var** argv, Var**) {
  Procedure p("tnsh", "cb_1_1_1", -1, argc);
  Var* const error = argc > 0 ? argv[0] : nil_value();
  if (class_of(error) != &error_class()) return p.end();
  if (number_of_instance(error, "gencode") == kDeveloperNotice) {
    if (settings().developer) write_error(report(error));
    return p.end();
  }
  const std::string text = report(error);
  end_last_line();
  static_cast<void>(write_gathered());
  write_error(text);
  pass_over_exit_procedures();
  QUIT_RUN(1);
}

void set_error_block() {
  const TempsMark mark;
  Var* block[] = {TMP_BLOCK(end_with_report)};
  errorblock(1, block);
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
  set_error_block();
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
