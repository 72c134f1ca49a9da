// Expansion of &name in texts: each one outside a quoted part is replaced by the contents of the
// memory variable of that name.
#pragma once

#include <string>
#include <string_view>

#include "core/var.h"

namespace tarnel {

constexpr int kExpandLimit = 4096;  // bytes read and inserted by one expansion

enum ExpandFlags : int {
  kLeaveUnknown = 0,    // an unknown &name stays as it stands
  kUnknownIsError = 1,  // it is error 307
};

// Is there anything to expand: an & outside a quoted part?
bool has_macro(std::string_view source);

// Expands `source` into `target`, which must not be where the source lies. `limit` counts the bytes
// read and those inserted from variables. False on failure: 307, 315. Nesting deeper than 257 is
// error 314, of which the result is an empty target and true.
bool EXPAND_MACRO(std::string_view source, std::string& target, int limit, int flags);

// The same with a text cell as target: the cell, or null on failure.
Var* EXPAND_MACRO(std::string_view source, Var* target, int limit, int flags);

// The expanded text of a macro operand, in a new temporary; error 312 when it is no text, the error
// value when the expansion fails.
Var* expand_macro_operand(Var* text, int flags);

}  // namespace tarnel
