// BEGIN SEQUENCE, BREAK and RECOVER for procedures written in C++. The one exception type of the
// system is thrown and caught in sequence.cpp only.
//
//   Var* broken = in_sequence([&] { ... break_sequence(value) ... });
//   if (broken) { ... RECOVER ... }
//
// A break first takes the procedures that it leaves off the chain, with their bindings, while their
// frames are still there. Then it travels, and the guards on its way run under the frame and level of
// the sequence. RECOVER cuts both stacks back to where the sequence began, and the work area that was
// current there is so again.
#pragma once

#include "core/var.h"

namespace tarnel {

// Runs body(context) as a sequence. Null when it ended by itself, otherwise the value of the break,
// which lies on the temporary stack; frame, level, stacks and work area are those of the caller.
Var* run_sequence(void (*body)(void* context), void* context);

template <typename Body>
Var* in_sequence(Body&& body) {
  return run_sequence([](void* context) { (*static_cast<Body*>(context))(); }, &body);
}

// Runs body as a program, which can be left from anywhere in it: false then; frame, level, stacks and work area are
// those of the caller. Programs don't nest.
bool run_program(void (*body)(void* context), void* context);

template <typename Body>
bool in_program(Body&& body) {
  return run_program([](void* context) { (*static_cast<Body*>(context))(); }, &body);
}
// Leaves the program, whatever sequences it is in; outside of one the run ends with status 0.
[[noreturn]] void leave_program();

bool inside_sequence();
// A break is leaving the innermost sequence: guards run, and none of them may break again.
bool break_on_its_way();
// Leaves the innermost sequence with a value. Outside of one error 335 ends the run, or in a handler the error that
// it has got.
[[noreturn]] void break_sequence(Var* value);

}  // namespace tarnel
