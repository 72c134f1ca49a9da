#include "console/line_editor.h"

#include <histedit.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "console/dot_commands.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "core/modules.h"
#include "core/output.h"
#include "core/sequence.h"
#include "core/signals.h"
#include "core/symbols.h"
#include "core/text.h"
#include "term/user_locale.h"

namespace tarnel {
namespace {

constexpr int kHistoryLines = 1000;

using Names = std::vector<std::string>;

bool begins_with(std::string_view name, std::string_view beginning) {
  return same_letters(name.substr(0, beginning.size()), beginning);
}

void complete_function(std::string_view beginning, Names& names) {
  const FunctionTable& table = function_table();
  for (std::int32_t i = 1; i < table.count; ++i)
    if (begins_with(table.entries[i].name, beginning))
      names.push_back(std::string(table.entries[i].name) + "(");
}

void complete_variable(std::string_view beginning, Names& names) {
  for (std::int32_t i = 1; i < symbol_count(); ++i) {
    const Symbol& symbol = symbol_at(i);
    if (symbol.name[0] == 0 || is_undefined(symbol.var) || !begins_with(symbol.name, beginning))
      continue;
    names.push_back(lower_text(symbol.name));
  }
}

// What a word may become; the layers of names are asked in this order.
constexpr void (*kSources[])(std::string_view, Names&) = {complete_variable, complete_function,
                                                          complete_table_name};

// The end of the line before the cursor that is one name, or the whole of it for a dot command.
std::string_view word_before(std::string_view line) {
  if (!line.empty() && line[0] == '.' && line.find(' ') == std::string_view::npos) return line;
  const auto name_start = [line](std::size_t at) {
    while (at > 0 &&
           (line[at - 1] == '_' || std::isalnum(static_cast<unsigned char>(line[at - 1])) != 0))
      --at;
    return at;
  };
  std::size_t start = name_start(line.size());
  if (start >= 2 && line.substr(start - 2, 2) == "->") start = name_start(start - 2);
  return line.substr(start);
}

Names candidates(std::string_view word) {
  Names names;
  if (word.empty()) return names;
  if (word[0] == '.')
    complete_command(word, names);
  else
    for (const auto source : kSources) source(word, names);
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::string common_beginning(const Names& names) {
  std::string common = names.front();
  for (const std::string& name : names) {
    const auto differ = std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first;
    common.erase(differ, common.end());
  }
  return common;
}

// Tab: completes as far as the candidates agree, and lists them when that is no further.
unsigned char complete(EditLine* editor, int) {
  const LineInfo* info = el_line(editor);
  const std::string_view word =
      word_before({info->buffer, static_cast<std::size_t>(info->cursor - info->buffer)});
  const Names names = candidates(word);
  if (names.empty()) return CC_ERROR;
  const std::string common = common_beginning(names);
  if (common.size() > word.size()) {
    el_deletestr(editor, static_cast<int>(word.size()));
    return el_insertstr(editor, common.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }
  if (names.size() == 1) return CC_NORM;
  std::string list = "\n";
  for (const std::string& name : names) list += name + "  ";
  write_fully(STDOUT_FILENO, list += "\n");
  return CC_REDISPLAY;
}

char* prompt(EditLine*) {
  static char text[] = "tnsh> ";
  return text;
}

std::string history_file() {
  const char* home = std::getenv("HOME");
  return home != nullptr && *home != 0 ? std::string(home) + "/.tnsh_history" : std::string();
}

class LineEditor {
 public:
  LineEditor() {
    const UserLocale locale;
    editor_ = el_init("tnsh", stdin, stdout, stderr);
    HistEvent event;
    history(history_, &event, H_SETSIZE, kHistoryLines);
    history(history_, &event, H_SETUNIQUE, 1);
    if (!file_.empty()) history(history_, &event, H_LOAD, file_.c_str());
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, history_);
    el_set(editor_, EL_PROMPT, prompt);
    el_set(editor_, EL_ADDFN, "complete-name", "completes a name", complete);
    el_set(editor_, EL_BIND, "^I", "complete-name", nullptr);
    el_set(editor_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editor_, nullptr);
  }
  ~LineEditor() {
    history_end(history_);
    el_end(editor_);
  }
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  // False at the end of the input. An interrupt drops what was typed, other signals are answered.
  bool read(std::string& line) {
    for (;;) {
      if (get(line)) return true;
      if (!signal_waits()) return false;
      if (take_interrupt()) {
        el_reset(editor_);
        write_fully(STDOUT_FILENO, "^C\n");
      }
      look_at_signals();
    }
  }

  // Kept in the file at once: the run may end in any line.
  void remember(const std::string& line) {
    if (line.find_first_not_of(" \t\r\n") == std::string::npos) return;
    HistEvent event;
    history(history_, &event, H_ENTER, line.c_str());
    if (!file_.empty()) history(history_, &event, H_SAVE, file_.c_str());
  }

 private:
  // False at the end, or when a signal came.
  bool get(std::string& line) {
    const UserLocale locale;
    int n = 0;
    const char* text = el_gets(editor_, &n);
    if (text == nullptr || n <= 0) return false;
    line.assign(text, static_cast<std::size_t>(n));
    return true;
  }

  EditLine* editor_ = nullptr;
  History* const history_ = history_init();
  const std::string file_ = history_file();
};

}  // namespace

void run_interactive() {
  set_interrupt_answer(InterruptAnswer::kCancel);
  LineEditor editor;
  std::string line;
  bool goes_on = true;
  while (goes_on && editor.read(line)) {
    editor.remember(line);
    // An interrupt breaks off what the line runs, and no more than that.
    in_sequence([&] {
      goes_on = run_line(line) || take_bail();
      flush_output();
    });
  }
  if (goes_on) write_fully(STDOUT_FILENO, "\n");
}

}  // namespace tarnel
