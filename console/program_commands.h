// The commands that bring program files into a session, and the statements of its lines.
#pragma once

#include <string_view>

namespace tarnel {

// .load FILE and .do FILE [ARGUMENT...]. A file with an error changes nothing.
bool load_program(std::string_view line);
bool do_program(std::string_view line);

// What a line of a session is.
enum class LineKind : char {
  kExpression,  // of which the value is shown
  kRun,         // statements: they have run, or what is wrong with them was told
};
// Runs a line that is statements of the language. REQUIRES: it is no dot command.
LineKind run_statements(std::string_view line);
// Is it the beginning of statements that go on in the next line?
bool lacks_end(std::string_view text);

}  // namespace tarnel
