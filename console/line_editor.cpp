#include "console/line_editor.h"

#include <histedit.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "console/complaints.h"
#include "console/dot_commands.h"
#include "console/program_commands.h"
#include "console/session.h"
#include "console/table_commands.h"
#include "console/words.h"
#include "core/modules.h"
#include "core/output.h"
#include "core/sequence.h"
#include "core/signals.h"
#include "core/switched.h"
#include "core/symbols.h"
#include "core/text.h"
#include "lang/typed_statements.h"
#include "macro/evaluator.h"
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

bool can_be_typed(std::string_view name) {
  return std::ranges::none_of(name, [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

// A name with blanks as a command takes it; that of a directory goes on.
std::string between_quotes(const std::string& name) {
  std::string text = tarnel::quoted(name);
  if (text != name && name.ends_with('/')) text.pop_back();
  return text;
}

// Files that begin with a text; the path before the last slash stays as it is typed. A directory ends in a slash, and a
// name with blanks gets quotes where it has none.
void complete_file(std::string_view beginning, bool has_quote, Names& names) {
  const std::size_t name_at = beginning.rfind('/') + 1;
  const std::string typed(beginning.substr(0, name_at));
  const std::string_view name = beginning.substr(name_at);
  std::string folder = typed.empty() ? "." : typed;
  const char* const home = std::getenv("HOME");
  if (folder.starts_with("~/") && home != nullptr) folder.replace(0, 1, home);
  std::error_code ignored;
  std::filesystem::directory_iterator entry(folder, ignored), end;
  for (; entry != end; entry.increment(ignored)) {
    const std::string found = entry->path().filename();
    if (!found.starts_with(name) || (name.empty() && found[0] == '.')) continue;
    if (!can_be_typed(found)) continue;
    const std::string name_there = found + (entry->is_directory(ignored) ? "/" : "");
    const bool plain = has_quote || name_there.find(' ') == name_there.npos;
    // Between quotes "~" is one of the letters.
    names.push_back(plain ? typed + name_there
                          : between_quotes((typed.empty() ? "" : folder) + name_there));
  }
}

// Where the text between quotes begins in which the end of a line stands; npos outside of quotes.
std::size_t open_quote(std::string_view line) {
  char quote = 0;
  std::size_t at = std::string_view::npos;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (quote == 0 && (line[i] == '"' || line[i] == '\'')) {
      quote = line[i];
      at = i + 1;
    } else if (line[i] == quote) {
      quote = 0;
      at = std::string_view::npos;
    }
  }
  return at;
}

// The end of a line that may be the beginning of a file's name: between quotes, or an argument of a command.
std::string_view file_before(std::string_view line) {
  if (const std::size_t quote = open_quote(line); quote != std::string_view::npos)
    return line.substr(quote);
  if (line.find(' ') == std::string_view::npos || !takes_file(line)) return {};
  return line.substr(line.find_last_of(" |") + 1);
}

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

// What may stand in place of `word`, the end of the line that becomes the word to complete.
Names candidates(std::string_view line, std::string_view& word) {
  Names names;
  word = file_before(line);
  const bool quoted = open_quote(line) != std::string_view::npos;
  if (!word.empty() || quoted) complete_file(word, quoted, names);
  if (!quoted && names.empty()) {
    word = word_before(line);
    if (word.empty()) return names;
    if (word[0] == '.')
      complete_command(word, names);
    else
      for (const auto source : kSources) source(word, names);
  }
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
  std::string_view word;
  const Names names =
      candidates({info->buffer, static_cast<std::size_t>(info->cursor - info->buffer)}, word);
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

// A line that only lacks its end: more lines are asked for, of an expression up to an empty one.
enum class Asks : char { kFirst, kExpression, kStatements } asks = Asks::kFirst;

char* prompt(EditLine*) {
  static char first[] = "tnsh> ", further[] = "  ...> ", statements[] = "... ";
  return asks == Asks::kFirst ? first : asks == Asks::kExpression ? further : statements;
}

bool is_blank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Is a further line a comment between others? What begins with # may also go on with a comparison or a text.
bool is_comment(const std::string& text, std::string_view line) {
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == line.npos || line[start] != '#') return false;
  const auto fault = find_syntax_fault(text + std::string(line));
  return fault && !fault->unfinished;
}

std::string_view trim_line_end(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

Asks what_is_missing(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t");
  if (is_blank(text) || is_dot_line(text.substr(start))) return Asks::kFirst;
  if (text[start] == '#' && !is_directive(text.substr(start))) return Asks::kFirst;
  if (lacks_end(trim_line_end(text))) return Asks::kStatements;
  if (text[start] == '#') return Asks::kFirst;
  const auto fault = find_syntax_fault(text);
  return fault && fault->unfinished ? Asks::kExpression : Asks::kFirst;
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

  // One line, or several that make one expression; false at the end of the input. An interrupt drops what
  // was typed, other signals are answered.
  bool read(std::string& line) {
    Typed typed;
    do typed = read_whole(line);
    while (typed == Typed::kGivenUp);
    return typed == Typed::kLine;
  }

  // Kept in the file at once: the run may end in any line.
  void remember(const std::string& line) {
    if (is_blank(line)) return;
    std::string kept = line;
    std::ranges::replace(kept, '\n', ' ');  // the editor shows one line
    HistEvent event;
    history(history_, &event, H_ENTER, kept.c_str());
    if (!file_.empty()) history(history_, &event, H_SAVE, file_.c_str());
  }

 private:
  enum class Typed : char { kLine, kGivenUp, kEnd };

  Typed read_whole(std::string& text) {
    text.clear();
    const Switched asking(asks, Asks::kFirst);
    for (std::string line;;) {
      const bool asks_on = asks != Asks::kFirst;
      if (const Typed typed = get(line); typed != Typed::kLine) {
        if (typed == Typed::kEnd && asks_on) {
          write_fully(STDOUT_FILENO, "\n");
          tell("note: what was begun has no end and is dropped");
        }
        return asks_on ? Typed::kGivenUp : typed;
      }
      if (asks == Asks::kExpression && is_comment(text, line)) continue;
      text += line;
      if (is_blank(line) && asks != Asks::kStatements) return Typed::kLine;
      asks = what_is_missing(text);
      if (asks == Asks::kFirst) return Typed::kLine;
    }
  }

  Typed get(std::string& line) {
    for (;;) {
      errno = 0;
      if (edit(line)) return Typed::kLine;
      if (!signal_waits() && errno == EINTR) continue;
      if (!signal_waits()) return Typed::kEnd;
      const bool interrupted = take_interrupt();
      if (interrupted) {
        el_reset(editor_);
        write_fully(STDOUT_FILENO, "^C\n");
      }
      look_at_signals();
      if (interrupted) return Typed::kGivenUp;
    }
  }

  // False at the end, or when a signal came.
  bool edit(std::string& line) {
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
    const int before = complaints();
    const Var* broken = in_sequence([&] {
      goes_on = run_line(line) || take_bail();
      flush_output();
      look_at_signals();  // what came while nothing could be broken off
    });
    if (broken != nullptr && complaints() == before) tell("interrupted");
  }
  if (goes_on) write_fully(STDOUT_FILENO, "\n");
}

}  // namespace tarnel
