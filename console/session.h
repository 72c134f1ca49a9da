// One session of the console: it evaluates lines, prints their values, and shows raised errors.
#pragma once

#include <string>
#include <string_view>

#include "console/complaints.h"
#include "core/var.h"
#include "db/text_set.h"

namespace tarnel {

// Opens the console's procedure, whose privates are the variables of the session, and sets the
// error block that writes a line for each error. REQUIRES: the runtime has started; called once.
void open_session();

// Runs one line: nothing, a dot command or an expression. False when it ended the session.
bool run_line(std::string_view line);
// The same for a line of a script or the command line; also false when it complained and `bail` is on.
bool run_or_bail(std::string_view line);
// Runs the lines of a descriptor up to its end or to .quit; false for the latter. The name is for
// complaints.
bool run_lines(int fd, const char* name);
// Gives a variable of the session a value.
void set_session_variable(std::string_view name, Var* value);
// Runs the lines of a file on a screen, which then closes. A terminal that has none is a complaint.
bool run_file_on_screen(const char* name);
// Runs the lines of a file. A file that can't be read, or that reads itself, is a complaint.
bool run_file(const char* name);

// What changes how lines run.
struct SessionSwitches {
  bool bail = false;     // a line that complains ends the file that it stands in
  bool echo = false;     // lines are written before they run
  bool timer = false;    // the time that a line took is written behind it
  bool changes = false;  // the number of records that a line wrote is written behind it
};
SessionSwitches& session_switches();
// Did a file end early because of `bail`? Forgets it.
bool take_bail();

// Is a text an expression, as far as can be told before it runs? Otherwise shows where it stops being one and
// raises the error.
bool is_expression(std::string_view text);
// Evaluates an expression for a dot command. One that is wrong somewhere is the error value; nothing of it has run.
Var* evaluate_argument(std::string_view expression);
// Writes a value as ? does, without a line feed, its text as a reader has it.
void write_value(const Var* value, const ValueTexts& texts = ValueTexts({}));

}  // namespace tarnel
