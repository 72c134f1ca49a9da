// What is wrong with program files: errors and warnings with their places, in the order of these.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lang/place.h"
#include "lang/source_file.h"

namespace tarnel {

constexpr int kMostErrors = 20;  // shown; one more is "more errors"; warnings likewise

class Diagnostics {
 public:
  explicit Diagnostics(const SourceFiles& files) : files_(files) {}
  Diagnostics(const Diagnostics&) = delete;
  Diagnostics& operator=(const Diagnostics&) = delete;

  // REQUIRES: the place is one of the files.
  void error(Place where, std::string_view words);
  void warn(Place where, std::string_view words);

  int errors() const { return errors_; }
  bool full() const { return errors_ > kMostErrors; }
  // FILE:LINE:COLUMN: error: words, the line (160 bytes of it round the column) and a caret under the column, for
  // each; with line feeds. Tabs stay, other control bytes are shown as `?`.
  std::string text() const;
  // The first error without its line: FILE:LINE: words, of the file its base name. REQUIRES: there is one.
  std::string first_error() const;

 private:
  void tell(Place where, std::string_view kind, std::string_view words);

  struct Told {
    Place place;
    std::string text;
    std::string words;  // of an error
  };
  std::vector<const Told*> sorted() const;
  const SourceFiles& files_;
  std::vector<Told> told_;
  int errors_ = 0;
  int warnings_ = 0;
};

}  // namespace tarnel
