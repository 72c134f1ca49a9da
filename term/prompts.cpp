#include "term/prompts.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "core/descriptors.h"
#include "core/output.h"
#include "core/settings.h"
#include "core/text.h"
#include "lib/arguments.h"
#include "lib/value_text.h"
#include "macro/evaluator.h"
#include "term/colours.h"
#include "term/keyboard.h"
#include "term/line_field.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestLine = 255;

struct PromptState {
  std::string line;
  bool may_read_input = false;
} state;

void write_prompt(std::string_view prompt) {
  Var* text[] = {TMP_TEXT(prompt)};
  qout(1, text);
}

std::string line_of_screen() {
  const ScreenPlace at = cursor_place();
  LineField field{.place = at,
                  .width = std::max(1, screen_columns() - at.col),
                  .limit = kLongestLine,
                  .colour = settings().intensity ? slot_colour(kEnhancedSlot) : current_colour(),
                  .text = {}};
  for (;;) {
    const int key = edit_field(field);
    if (key == kKeyEnter || key == kKeyLineFeed) return field.text;
    if (key == kKeyEscape && settings().escape) return {};
    if (settings().bell) screen_device().ring();
  }
}

// Byte by byte, so that what follows is left to others.
std::string line_of_input() {
  flush_output();
  std::string line;
  for (char c; read_some(STDIN_FILENO, &c, 1) == 1 && c != '\n';)
    if (line.size() < kLongestLine) line += c;
  return line;
}

// What is answered to the prompt; empty where nobody can.
std::string answered_line(std::int32_t argc, Var** argv) {
  write_prompt(text_argument(argc, argv, 0));
  if (screen_open()) return line_of_screen();
  return state.may_read_input ? line_of_input() : std::string();
}

}  // namespace

void let_accept_read_input(bool may) {
  state.may_read_input = may;
}

Var* builtin_wait(std::int32_t argc, Var** argv) {
  write_prompt(text_argument(argc, argv, 0, "Press any key to continue ... "));
  const int key = wait_for_answer();
  return key > 0 && key < 256 ? TMP_TEXT(std::string(1, static_cast<char>(key))) : empty_text();
}

Var* builtin_accept(std::int32_t argc, Var** argv) {
  state.line = answered_line(argc, argv);
  return TMP_TEXT(state.line);
}

// Only a person at the terminal, or who started the program, gets a line evaluated: where input is
// somebody else's there is none.
Var* builtin_input(std::int32_t argc, Var** argv) {
  const std::string line = answered_line(argc, argv);
  return trim_blanks(line).empty() ? empty_text() : EXP_EVAL(line);
}

Var* acceptst(std::int32_t, Var**) {
  return TMP_TEXT(state.line);
}

}  // namespace tarnel
