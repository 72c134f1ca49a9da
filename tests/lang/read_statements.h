// What the reader of statements makes of a text.
#pragma once

#include <string>

#include "lang/statements.h"
#include "tests/support/files.h"

namespace tarnel::testing {

struct Case {
  const char* name;
  std::string text;
  const char* statements;
};

// A text, and the error that is told of it.
struct Fault {
  const char *text, *place, *words;

  std::string line() const { return std::string("x.prg:") + place + ": error: " + words + '\n'; }
};

// The statements joined by line feeds, and behind them what was told.
inline std::string read(const std::string& text, const std::string& name = "x.prg",
                        std::vector<std::string> folders = {}) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  StatementReader reader(files, diagnostics, std::move(folders));
  reader.open(files.add(name, text));
  std::string all;
  for (PlacedText statement; reader.next(statement);) {
    if (!all.empty()) all += '\n';
    all += statement.text();
  }
  return diagnostics.text().empty() ? all : all + '\n' + diagnostics.text();
}

}  // namespace tarnel::testing
