// The source files of programs that run, and what is told of them: which file a procedure is from, and where an error
// ended a program.
#pragma once

#include <string>
#include <string_view>

#include "core/frame.h"
#include "core/modules.h"

namespace tarnel {

// A source file of a program.
struct ProgramFile {
  std::string
      module;  // its base name in lower case without its ending; frames point at these letters
  std::string path;  // as given
};

ProgramFile program_file(std::string path);

// A file of which procedures run from now on, until it is forgotten. Frames point at the letters of its module.
void add_program_file(const char* module, std::string_view path);
void forget_program_file(const char* module);

// The path of the source file of a frame's procedure, as given; null for one that isn't a program's.
const std::string* source_path(const Frame& frame);

// What ended a program, for people who may see it all: FILE:LINE: Run-time error 201: words, then a line for each
// procedure that runs. To be asked by an error block of which the frame is hidden (its line is -1).
std::string program_report(Var* error);

// The error block of programs that nobody else handles errors for: the report goes to standard error, what was written
// stays, tables are closed, and the run ends with status 1. A block function.
Var* end_with_report(std::int32_t argc, Var** argv, Var**);

// The exit status of a program: what its entry returned, if that is a number from 0 to 255, else 0.
int status_of(const Var* result);

#define PROGRAM_FILE_BUILTINS(X)                                                             \
  X("procpath", procpath, "procpath([nLevel]) -> cPath: source file of a program, as given", \
    "procpath() ==> ")

PROGRAM_FILE_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kProgramFileBuiltins[] = {PROGRAM_FILE_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kProgramFilesModule{.name = "program_files",
                                                  .subject = "Blocks, names and calls",
                                                  .functions = kProgramFileBuiltins};

}  // namespace tarnel
