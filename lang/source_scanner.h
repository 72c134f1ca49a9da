// Lines of a program file to the tokens of statements: comments go, lines that go on are joined, statements of one
// line separated.
//
//   *            where a statement begins: a comment up to the end of the line, which never goes on
//   && //        a comment up to the end of the line
//   /* */        a comment, also over several lines
//   ;            with nothing but blanks and comments behind it: the statement goes on in the next line that has
//                more than those. Else the end of a statement, but in a directive.
//   ' " [ `      texts, which end in their line; a bracket opens one only where a value may begin
#pragma once

#include "lang/diagnostics.h"
#include "lang/page_text.h"
#include "lang/source_tokens.h"

namespace tarnel {

class SourceScanner {
 public:
  // REQUIRES: the file stays. `words` tells of names behind which a value begins.
  using ValueWords = bool (*)(const void* context, std::string_view name);
  SourceScanner(const SourceFiles& files, std::int32_t file, Diagnostics& diagnostics);

  enum class Found { kEnd, kStatement, kDirective };
  // The tokens of the next statement or directive, at least one. What has a text or a comment without end is
  // told of and left out.
  Found next(SourceTokens& tokens);
  // The next line as it stands, false at the end.
  bool raw_line(std::string_view& line, Place& place);

  // Goes on with a piece of its file that is a page, and reads no further.
  void begin_piece(const PagePiece& piece);

  // In parts that a condition leaves out nothing is told of.
  void be_quiet(bool quiet) { quiet_ = quiet; }
  // Further names behind which, after a blank, a bracket opens a text.
  void set_value_words(ValueWords words, const void* context) {
    value_words_ = words;
    context_ = context;
  }
  std::int32_t file() const { return file_; }

 private:
  enum class Mode { kStatement, kDirective, kRule };

  bool next_line();
  bool skip_comment();
  bool goes_on();
  bool scan(SourceTokens& tokens);
  bool token(SourceTokens& tokens);
  bool quoted(char close);
  bool opens_text(const SourceTokens& tokens) const;
  void name();
  void number();
  bool dot_word();
  void sign();
  void look_at_directive(SourceTokens& tokens);
  void give_up(const char* place, std::string_view words);
  Place place_of(const char* byte) const {
    return {file_, line_, static_cast<std::int32_t>(byte - line_begin_) + 1};
  }
  char ahead(int n) const { return line_end_ - at_ > n ? at_[n] : '\0'; }

  Diagnostics& diagnostics_;
  ValueWords value_words_ = nullptr;
  const void* context_ = nullptr;
  std::string_view text_;
  std::int32_t file_;
  std::int32_t line_ = 0;
  const char* at_;
  const char* line_begin_;
  const char* line_end_;
  const char* end_;
  SourceGap gap_ = SourceGap::kNone;
  Mode mode_ = Mode::kStatement;
  bool quiet_ = false;
};

}  // namespace tarnel
