// Evaluation of expressions held as text: each becomes code, which is kept for the next time.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/var.h"
#include "macro/code.h"

namespace tarnel {

// The value of an expression: a cell of the temporary stack (temps +1), a constant, or the variable
// or element that the text names. The text is expanded first. Errors: 407 for a null text, 319 when
// the expansion fails, 309 for a syntax error or too deep a nesting, 307, 308, 320, 337 and 342 for
// what its names mean, and those of the operators; the result is then the error value.
Var* EXP_EVAL(std::string_view text);

// Where a text is no expression, found without running any of it. Nothing for one that is, and for one
// that only its macros, expanded when it runs, make one or not. Raises nothing.
std::optional<SyntaxFault> find_syntax_fault(std::string_view text);

// Runs a text block; argv[0] is the block, the arguments stand behind it.
Var* EVAL_BLOCK(std::int32_t argc, Var** argv);

// Gives the evaluator and the expander to the core. To be called once, from main's own depth of the
// stack, before the first evaluation.
void init_macro();

}  // namespace tarnel
