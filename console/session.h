// One session of the console: it evaluates lines, prints their values, and shows raised errors.
#pragma once

#include <cstdio>
#include <string_view>

#include "core/modules.h"
#include "core/var.h"

namespace tarnel {

// Opens the console's procedure, whose privates are the variables of the session, and sets the
// error block that writes a line for each error. REQUIRES: the runtime has started; called once.
void open_session();

// Runs one line: nothing, a dot command or an expression. False when it ended the session.
bool run_line(std::string_view line);
// Runs the lines of a stream up to its end or to .quit; false for the latter.
bool run_lines(std::FILE* stream);
// Runs the lines of a file. A file that can't be read, or that reads itself, is a complaint.
bool run_file(const char* name);

// Evaluates an expression for a dot command.
Var* evaluate_argument(std::string_view expression);
// Writes a value as ? does, without a line feed.
void write_value(const Var* value);
// Writes a line about a fault of the console's user on standard error.
void complain(std::string_view text);

// 0, or 1 when a line was written on standard error.
int session_status();

// Ends the run with the session's status, unless one is given.
#define SESSION_BUILTINS(X) \
  X("__quit", session_quit, "__quit([nStatus]): ends the run through the exit road")

SESSION_BUILTINS(DECLARE_BUILTIN)
inline constexpr FunctionEntry kSessionBuiltins[] = {SESSION_BUILTINS(BUILTIN_ROW)};
inline constexpr ModuleRecord kSessionModule{.name = "tnsh", .functions = kSessionBuiltins};

}  // namespace tarnel
