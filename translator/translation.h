// Whole programs as one file of C++.
#pragma once

#include <span>
#include <string>

#include "lang/source_file.h"
#include "lang/tree.h"

namespace tarnel {

// The C++ of program files that were read without an error. `entry` is the procedure of the first one with which
// the program begins. `target` is the name of the file that the text will be in, for its #line.
std::string translate(std::span<const ProgramTree> trees, const SourceFiles& sources,
                      const std::string& entry, const std::string& target);

}  // namespace tarnel
