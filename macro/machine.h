// Runs the code of texts.
#pragma once

#include <cstdint>
#include <string_view>

#include "macro/code.h"

namespace tarnel {

// Arguments of a running block.
struct BlockArguments {
  std::int32_t count;
  Var** cells;
};

// Runs a code once. Its value: a cell of the temporary stack, a constant, or the variable or element that
// the text names; the error value after an error. Cells of the temporary stack are the caller's to cut.
// `source` is the text before its expansion, for reports. REQUIRES: there are steps; the code is held.
Var* run_code(Code& code, std::string_view source, const BlockArguments& arguments);

// Raises the error that the code of a wrong text ends with.
void report_syntax_fault(std::string_view text, const SyntaxFault& fault);

}  // namespace tarnel
