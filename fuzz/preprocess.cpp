// Any bytes as a program file, or as a page if they begin like one: reading ends, each statement has text, and each of
// its bytes stands in a line that the file has, or behind it.
#include <cstdlib>
#include <string>

#include "lang/statements.h"

namespace {

using namespace tarnel;

void expect(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  StatementReader reader(files, diagnostics);
  const bool page = size > 0 && data[0] == '<';
  reader.open(
      files.add(page ? "x.tnp" : "x.prg", std::string(reinterpret_cast<const char*>(data), size)));
  PlacedText statement;
  for (bool raw = false; reader.next(statement); raw = !raw) {
    const bool text = reader.kind() == PieceKind::kText;
    expect(statement.empty() == text && statement.start().line > 0);
    if (text) expect(page && !reader.literal().empty());
    for (std::size_t i = 0; i < statement.text().size(); ++i) {
      const Place place = statement.place_at(i);
      const std::size_t length = files.line(place.file, place.line).size();
      expect(place.column > 0 && static_cast<std::size_t>(place.column) <= length + 1);
    }
    std::string_view line;
    Place place;
    if (raw && reader.raw_line(line, place)) {
      const std::string_view whole = files.line(place.file, place.line);
      expect(page ? whole.starts_with(line) : whole == line);
    }
  }
  expect(diagnostics.errors() <= kMostErrors + 1);
  return 0;
}
