// What the reader of statements makes of a text.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "lang/statements.h"

namespace tarnel::testing {

struct Case {
  const char* name;
  std::string text;
  const char* statements;
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

// A folder that goes with its files.
class Folder {
 public:
  Folder() {
    char name[] = "/tmp/tarnel-lang-XXXXXX";
    path_ = mkdtemp(name);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string path(const std::string& name) const { return path_ + '/' + name; }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }

 private:
  std::string path_;
};

}  // namespace tarnel::testing
