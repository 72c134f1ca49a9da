// Programs under tnsh: their errors, their arguments and the status with which they end.
#pragma once

#include <string>
#include <vector>

#include "lang/program.h"

namespace tarnel {

// Tells what is wrong with program files. Result: the status, 0 or 2.
int check_programs(const std::vector<std::string>& files, const ProgramOptions& options);
// Runs the first file's entry with texts as its arguments. The status of the run is what it gives, 0 to 255, else
// 0; 2 when nothing of it could run.
void run_programs(const std::vector<std::string>& files, const ProgramOptions& options,
                  const std::vector<const char*>& arguments);

}  // namespace tarnel
