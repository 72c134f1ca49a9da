#include "console/complaints.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "console/progress.h"
#include "console/shown_text.h"
#include "core/output.h"
#include "core/runtime.h"
#include "term/screen.h"

namespace tarnel {
namespace {

constexpr int kShownAlike = 3;
constexpr std::size_t kDifferent = 64;  // complaints of a line that are told apart
constexpr std::size_t kCaretBytes = 160;

struct State {
  const char* script = nullptr;  // null: lines come from elsewhere
  std::int32_t line = 0;
  RunningLine* running = nullptr;
  std::string* messages = nullptr;
  int complaints = 0;
  std::string kept_lines;  // for standard error, while a screen is on its terminal
} state;

bool wants_colour() {
  const char* const no_colour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && (no_colour == nullptr || *no_colour == 0) &&
         terminal != nullptr && std::string_view(terminal) != "dumb";
}

// What a line may begin with, and its colour: what has failed in red, what is to be known in yellow.
struct Marked {
  std::string_view word;
  const char* colour;
};
constexpr Marked kMarked[] = {{"error ", "1;31"},
                              {"fatal ", "1;31"},
                              {"internal ", "1;31"},
                              {"warning ", "33"},
                              {"note:", "33"}};

// "error 201" or "note:", coloured.
void colour_mark(std::string& line) {
  for (const auto& [word, colour] : kMarked) {
    if (!line.starts_with(word)) continue;
    std::size_t end = word.size();
    while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end])) != 0) ++end;
    if (end == word.size() && word.back() == ' ') return;
    line.insert(end, "\033[0m").insert(0, "\033[" + std::string(colour) + "m");
  }
}

// What a line may show: bytes that a terminal doesn't act on, there with its mark in colour.
std::string for_reader(std::string_view text) {
  if (isatty(STDERR_FILENO) == 0) return std::string(text);
  std::string line = terminal_text(text);
  const std::string before(give_way_to(text));
  if (wants_colour()) colour_mark(line);
  return before + line;
}

}  // namespace

void complain(std::string_view text) {
  if (state.messages != nullptr) {
    *state.messages = text;
    return;
  }
  set_exit_status(1);
  ++state.complaints;
  if (state.running != nullptr)
    state.running->show(text);
  else
    tell(text);
}

void tell(std::string_view text) {
  write_error(std::string(text) + "\n");
}

void write_for_reader(std::string_view text) {
  if (screen_open() && isatty(STDERR_FILENO) != 0) {
    state.kept_lines.append(text);
    return;
  }
  write_fully(STDERR_FILENO, for_reader(text));
}

void write_kept_lines() {
  write_fully(STDERR_FILENO, std::exchange(state.kept_lines, {}));
}

int complaints() {
  return state.complaints;
}

InScript::InScript(const char* name)
    : outer_name_(std::exchange(state.script, name)), outer_line_(std::exchange(state.line, 0)) {}

InScript::~InScript() {
  state.script = outer_name_;
  state.line = outer_line_;
}

std::int32_t next_line() {
  return ++state.line;
}

RunningLine::RunningLine() : outer_(std::exchange(state.running, this)) {}

RunningLine::~RunningLine() {
  state.running = outer_;
  for (const auto& [text, count] : seen_)
    if (count > kShownAlike)
      tell(text + " (" + std::to_string(count - kShownAlike) + " more times)");
}

void RunningLine::show_place() {
  if (state.script != nullptr && !std::exchange(place_shown_, true))
    tell(std::string(state.script) + ":" + std::to_string(state.line) + ":");
}

void RunningLine::show(std::string_view text) {
  show_place();
  auto known = std::ranges::find(seen_, text, &std::pair<std::string, int>::first);
  if (known == seen_.end() && seen_.size() < kDifferent)
    known = seen_.insert(known, {std::string(text), 0});
  if (known == seen_.end() || ++known->second <= kShownAlike) tell(text);
}

MessagesTo::MessagesTo(std::string& text) : former_(state.messages, &text) {}

std::string with_caret(std::string_view text, std::size_t at) {
  at = std::min(at, text.size());
  std::size_t begin = at == 0 ? 0 : text.rfind('\n', at - 1) + 1;
  std::size_t end = std::min(text.find('\n', at), text.size());
  if (end - begin > kCaretBytes) {
    begin = std::max(begin, at - std::min(at, kCaretBytes / 2));
    end = std::min(end, begin + kCaretBytes);
  }
  std::string shown, below;
  for (std::size_t i = begin; i < end; ++i) {
    const bool is_tab = text[i] == '\t';
    const bool hidden = !is_tab && (static_cast<unsigned char>(text[i]) < ' ' || text[i] == '\x7f');
    shown += hidden ? '?' : text[i];
    // The further bytes of a character take no column.
    if (i < at && (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
      below += is_tab ? '\t' : ' ';
  }
  return "  " + shown + "\n  " + below + "^";
}

void show_caret(std::string_view text, std::size_t at) {
  if (state.messages != nullptr || (state.script == nullptr && isatty(STDERR_FILENO) == 0)) return;
  if (state.running != nullptr) state.running->show_place();
  tell(with_caret(text, at));
}

}  // namespace tarnel
