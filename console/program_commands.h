// The commands that bring program files into a session, and the statements of its lines.
#pragma once

#include <string>
#include <string_view>

namespace tarnel {

// .load FILE and .do FILE [ARGUMENT...]. A file with an error changes nothing.
bool load_program(std::string_view line);
bool do_program(std::string_view line);

// What a line of a session is.
struct TypedLine {
  bool has_run = false;    // statements: they have run, or what is wrong with them was told
  std::string expression;  // else of which the value is to be shown
  bool is_right = false;   // that it is an expression is known
};
// Runs a line that is statements of the language. REQUIRES: it is no dot command.
TypedLine run_statements(std::string_view line);
// Keeps a directive for the lines that follow, unless it is wrong: told.
void take_directive(std::string_view line);
// Is it the beginning of statements that go on in the next line?
bool lacks_end(std::string_view text);

}  // namespace tarnel
