// A program file as a run of statements: comments are gone, continued lines joined, statements of one line
// separated, directives carried out, rules applied.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lang/diagnostics.h"
#include "lang/page_text.h"
#include "lang/place.h"
#include "lang/source_file.h"

namespace tarnel {

// The token at which no command goes on.
struct Unmatched {
  Place place;
  std::string_view token;  // empty: the end; it stays up to the next statement
};

class StatementReader {
 public:
  // `include_folders` are searched behind the including file's own.
  StatementReader(SourceFiles& files, Diagnostics& diagnostics,
                  std::vector<std::string> include_folders = {});
  ~StatementReader();
  StatementReader(const StatementReader&) = delete;
  StatementReader& operator=(const StatementReader&) = delete;

  // Begins a file that was read.
  void open(std::int32_t file);
  // The next statement, never an empty one; false at the end of the file that was opened. Faults are told to
  // the diagnostics, and the statement after them comes.
  bool next(PlacedText& statement);
  // What the last one was. A text of a page is no statement: it is in literal(), and its place in the statement.
  PieceKind kind() const;
  std::string_view literal() const;
  // The beginning of a file that is a page, nothing for another.
  std::optional<Place> page_start() const;
  // Where the last statement is for its procedure, which began in a file: at the directive that includes its own.
  // Without a procedure for the file that was opened.
  Place seen_from(std::optional<std::int32_t> file, Place place) const;
  // Of the last statement, if it begins as commands do, but is none.
  std::optional<Unmatched> unmatched() const;
  // Has a rule changed any of the statements?
  bool rules_applied() const;
  // The next line as it stands in the file, without its line feed: for what stands between TEXT and ENDTEXT.
  // False at the end of the file in which the last statement ended.
  bool raw_line(std::string_view& line, Place& place);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tarnel
