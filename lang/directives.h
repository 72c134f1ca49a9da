// Lines that begin with #: constants, rules, conditions, other files.
#pragma once

#include "lang/defines.h"
#include "lang/rules.h"
#include "lang/source_scanner.h"

namespace tarnel {

constexpr std::size_t kDeepestInclude = 64;  // files that include each other

// share/tarnel/include where the program was installed, as bin/tnsh or in a folder deeper: sought last.
const std::vector<std::string>& installed_include_folders();

// The files that are being read, the constants and rules known so far.
class Directives {
 public:
  // The rules of `older` come behind all that the files have.
  Directives(SourceFiles& files, Diagnostics& diagnostics, std::vector<std::string> folders,
             const RuleBook* older, const LaterRules* later = nullptr);

  // Is it the word of a directive, in any case?
  static bool has_word(std::string_view word);

  void open(std::int32_t file);
  // The same for a piece of it.
  void open_piece(const PagePiece& piece);
  // The file that all others are included from.
  std::int32_t outermost() const { return sources_.front().scanner.file(); }
  // Where a place of the innermost file is for one of those around it: at the directive that leads there. For another
  // file it stays.
  Place seen_from(std::int32_t file, Place place) const;
  // The next statement that no condition leaves out; false at the end of all files.
  bool next(SourceTokens& tokens);
  // What the last one was: a text or an expression of a page, or a statement. A text is one token.
  PieceKind kind() const {
    return sources_.empty() ? PieceKind::kStatements : sources_.back().kind;
  }
  // The file of the last statement, null before the first.
  SourceScanner* scanner() { return sources_.empty() ? nullptr : &sources_.back().scanner; }

  const Defines& defines() const { return defines_; }
  const RuleBook& rules() const { return rules_; }

 private:
  struct Condition {
    Place place;
    bool taken;  // what is read now
    bool outer;  // the part in which it stands
    bool in_else = false;
  };
  struct Source {
    SourceScanner scanner;
    Place included_at{};  // the directive, of all but the first
    std::vector<Condition> conditions{};
    // Of a page:
    std::vector<PagePiece> pieces{};
    std::size_t next_piece = 0;
    PieceKind kind = PieceKind::kStatements;
    bool expression_read = false;
  };
  struct Row;

  bool begin_piece(SourceTokens& tokens, bool& is_text);
  bool is_one_expression(const SourceTokens& tokens);
  void end_piece();
  void carry_out(const SourceTokens& tokens);
  void define(const SourceTokens& tokens);
  void undefine(const SourceTokens& tokens);
  void begin_condition(const SourceTokens& tokens);
  void turn_condition(const SourceTokens& tokens);
  void end_condition(const SourceTokens& tokens);
  void include(const SourceTokens& tokens);
  void rule(const SourceTokens& tokens);
  void own_error(const SourceTokens& tokens);

  bool taken() const;
  void set_taken();
  void close();
  std::int32_t find_include(const std::string& name, std::string& fault);
  void fail(const SourceToken& token, std::string_view words) {
    diagnostics_.error(token.place, words);
  }

  SourceFiles& files_;
  Diagnostics& diagnostics_;
  std::vector<std::string> folders_;
  std::vector<Source> sources_;
  Defines defines_;
  RuleBook rules_;
};

}  // namespace tarnel
