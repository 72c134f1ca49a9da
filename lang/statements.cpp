#include "lang/statements.h"

#include <optional>

#include "lang/source_scanner.h"

namespace tarnel {
namespace {

// The tokens as they stand: pieces of lines, with a blank for each comment and each line that goes on.
void add_source(PlacedText& statement, const SourceTokens& tokens) {
  for (std::size_t i = 0; i < tokens.size();) {
    const SourceToken& first = tokens[i];
    if (i > 0) statement.add_at(" ", first.place);
    while (++i < tokens.size() && tokens[i].gap != SourceGap::kBreak) {
    }
    const std::string_view last = tokens[i - 1].text;
    const std::size_t length =
        static_cast<std::size_t>(last.data() - first.text.data()) + last.size();
    statement.add({first.text.data(), length}, first.place);
  }
}

}  // namespace

struct StatementReader::State {
  SourceFiles& files;
  Diagnostics& diagnostics;
  std::vector<std::string> include_folders;
  std::optional<SourceScanner> scanner;
  SourceTokens tokens;
};

StatementReader::StatementReader(SourceFiles& files, Diagnostics& diagnostics,
                                 std::vector<std::string> include_folders)
    : state_(new State{files, diagnostics, std::move(include_folders), {}, {}}) {}

StatementReader::~StatementReader() = default;

void StatementReader::open(std::int32_t file) {
  state_->scanner.emplace(state_->files, file, state_->diagnostics);
}

bool StatementReader::next(PlacedText& statement) {
  State& s = *state_;
  if (!s.scanner || s.diagnostics.full()) return false;
  if (s.scanner->next(s.tokens) == SourceScanner::Found::kEnd) return false;
  statement.begin(s.tokens.front().place);
  add_source(statement, s.tokens);
  return true;
}

bool StatementReader::raw_line(std::string_view& line, Place& place) {
  return state_->scanner && state_->scanner->raw_line(line, place);
}

}  // namespace tarnel
