// BEGIN SEQUENCE, BREAK and RECOVER for procedures written in C++. The one exception type of the
// system is thrown and caught in sequence.cpp only.
//
//   Var* broken = in_sequence([&] { ... break_sequence(value) ... });
//   if (broken) { ... RECOVER ... }
#pragma once

#include "core/var.h"

namespace tarnel {

// Runs body(context) as a sequence. Null when it ended by itself, otherwise the value of the break,
// which lies on the temporary stack; frame, level and stacks are those of the caller.
Var* run_sequence(void (*body)(void* context), void* context);

template <typename Body>
Var* in_sequence(Body&& body) {
  return run_sequence([](void* context) { (*static_cast<Body*>(context))(); }, &body);
}

bool inside_sequence();
// Leaves the innermost sequence with a value; outside of one error 335 ends the run.
[[noreturn]] void break_sequence(Var* value);

}  // namespace tarnel
