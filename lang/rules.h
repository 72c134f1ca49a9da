// Rules that rewrite statements: what #command, #translate, #xcommand and #xtranslate say.
//
// The pattern                                   The result
//   word, sign    itself                          word, sign   itself
//   <x>           an expression                   <x>          what matched
//   <x,...>       expressions between commas      #<x>         all of it as one text
//   <x:A,B>       one of the words                <"x">        each expression as a text
//   <*x*>         all that is left                <(x)>        the same, but for texts, (expressions) and &macros
//   <(x)>         an expression, or a name with   <{x}>        each expression as a block
//                 points, slashes and so on       <.x.>        .T. if anything matched, else .F.
//   [...]         a clause that may be left out   [...]        once for each time that its markers matched
//   \c            the sign c as it is             \c           the sign c as it is
#pragma once

#include <bitset>
#include <memory>
#include <unordered_map>

#include "lang/diagnostics.h"
#include "lang/source_tokens.h"

namespace tarnel {

enum class MarkerKind : std::uint8_t { kExpression, kList, kRestricted, kWild, kExtended };

struct PatternPiece;
using Pattern = std::vector<PatternPiece>;

struct Clause {
  Pattern pattern;
  std::vector<std::size_t> markers;  // in it
  bool repeats = false;              // may it match more than once?
};

// Small, since a page reads a dozen rules with ten pieces each.
struct PatternPiece {
  enum class Kind : std::uint8_t { kWord, kMarker, kClauses } kind = Kind::kWord;
  MarkerKind marker_kind = MarkerKind::kExpression;
  bool is_name = false;
  std::uint32_t key = 0;             // of the word
  std::string_view word = {};        // a word or sign
  std::size_t marker = 0;            // its number
  Pattern among = {};                // the words of a restricted marker
  std::vector<Clause> clauses = {};  // that stand side by side, in any order
};

enum class ResultForm : std::uint8_t { kAsItIs, kText, kTexts, kSmartTexts, kBlocks, kLogical };

struct ResultPiece;
struct RepeatedPart;
using Result = std::vector<ResultPiece>;

struct ResultPiece {
  enum class Kind : std::uint8_t { kToken, kMarker, kRepeated } kind = Kind::kToken;
  ResultForm form = ResultForm::kAsItIs;
  SourceToken token = {};  // of a marker its gap
  std::size_t marker = 0;
  std::unique_ptr<RepeatedPart> part = {};
};

struct RepeatedPart {
  Result result;
  std::vector<std::size_t> markers;  // in it
};

struct Rule {
  bool is_command = false;  // at the start of a statement only, and all of it
  bool whole_words = false;
  std::vector<std::string_view> markers;  // their names
  Pattern pattern;
  Result result;
  std::string_view file;  // where it was read
  std::int32_t line = 0;
};

// Reads a rule from the tokens behind the word of its directive; their texts stay. Nothing for a faulty one, which
// is told.
std::unique_ptr<Rule> parse_rule(std::span<const SourceToken> tokens, Place end,
                                 Diagnostics& diagnostics);

// Commands that a book doesn't have before a statement may begin so. They come into it by their lines.
struct LaterRules {
  bool (*may_begin)(std::uint32_t first);
  // Those that may begin with words of these keys, as far as the book hasn't them yet.
  void (*load)(std::uint32_t first, std::uint32_t second);
  void (*load_all)();
};

class RuleBook {
 public:
  // The rules of `below` are older than all that are added.
  explicit RuleBook(const RuleBook* below = nullptr, const LaterRules* later = nullptr)
      : below_(below), later_(later) {}

  void add(std::unique_ptr<Rule> rule);
  // Can a rule begin with the token?
  bool may_begin(bool command, const SourceToken& token) const;
  // Is it a word of a rule?
  bool has_word(std::string_view name) const;
  bool has_translations() const;
  // Calls for each rule that may begin so, the newest first, until a call returns true. Was there one?
  // REQUIRES: there is a token.
  template <typename Call>
  bool any(bool command, std::span<const SourceToken> tokens, Call call) const {
    const std::uint32_t first = word_key(tokens[0].text),
                        second = tokens.size() > 1 ? word_key(tokens[1].text) : 0;
    for (const RuleBook* book = this; book != nullptr; book = book->below_) {
      if (command && book->later_ != nullptr) book->later_->load(first, second);
      const auto& rules = book->kinds_[command].rules;
      const auto found = rules.find(first);
      if (found == rules.end()) continue;
      for (auto entry = found->second.rbegin(); entry != found->second.rend(); ++entry)
        if ((entry->second == 0 || entry->second == second) && call(*entry->rule)) return true;
    }
    return false;
  }

 private:
  struct Entry {
    std::unique_ptr<Rule> rule;
    std::uint32_t second;  // the key of the second word, 0 when that may differ
  };
  struct Kind {
    std::unordered_map<std::uint32_t, std::vector<Entry>> rules;  // by the first word
    std::bitset<1024> beginnings;
  };
  void add_words(const Pattern& pattern);

  const RuleBook* below_;
  const LaterRules* later_;
  Kind kinds_[2];  // translations, commands
  std::unordered_map<std::uint32_t, std::vector<std::string_view>> words_;
};

// Does the token stand for the word?
bool is_word(const PatternPiece& word, const SourceToken& token, bool whole_words);

}  // namespace tarnel
