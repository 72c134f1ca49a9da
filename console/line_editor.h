// The interactive line: editing, history and completion.
#pragma once

namespace tarnel {

// Reads and runs lines from the terminal until its end or .quit.
void run_interactive();

}  // namespace tarnel
