// Statements to the tree of a program file.
#pragma once

#include "lang/diagnostics.h"
#include "lang/statements.h"
#include "lang/tree.h"

namespace tarnel {

constexpr std::size_t kDeepestBlocks = 150;  // statements that stand in each other

// Reads a file up to its end. What is wrong is told to the diagnostics; the tree is then of no use. `name` is that
// of the procedure which statements before the first declaration make.
ProgramTree parse_program(StatementReader& reader, Diagnostics& diagnostics, std::string_view name);

}  // namespace tarnel
