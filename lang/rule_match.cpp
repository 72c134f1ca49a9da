// A marker takes an expression: values with operators between them, up to a word of the rule that may follow, or
// to what can't be part of it. Nothing is tried a second time but clauses.
#include "lang/rule_match.h"

#include <algorithm>

namespace tarnel {
namespace {

using Tokens = std::span<const SourceToken>;

constexpr std::string_view kPrefixes[] = {"-", "+", "!", "++", "--", "@", "&", "::"};
constexpr std::string_view kOperators[] = {
    "+",  "-",  "*", "/",  "%", "^",  "**", "=",  "==", "!=", "<>", "#",  "<",  ">",
    "<=", ">=", "$", "->", ":", ":=", "+=", "-=", "*=", "/=", "%=", "^=", "**="};

bool is_one_of(std::span<const std::string_view> signs, const SourceToken& token) {
  return token.kind == SourceKind::kSign && std::ranges::find(signs, token.text) != signs.end();
}

bool opens(const SourceToken& token) {
  return nesting(token) > 0;
}

// .and. .or.
bool is_conjunction(const SourceToken& token) {
  return token.kind == SourceKind::kWord && token.text.size() > 3;
}

class Matcher {
 public:
  Matcher(const Rule& rule, Tokens tokens, Match& match, Rewriting& rewriting)
      : rule_(rule), tokens_(tokens), match_(match), rewriting_(rewriting) {
    match_.captures.assign(rule.markers.size(), {});
  }

  bool match() {
    const bool took = sequence(rule_.pattern, nullptr);
    match_.length = at_;
    match_.furthest = std::max(furthest_, at_);
    return took && !rewriting_.failed() && (!rule_.is_command || at_ == tokens_.size());
  }

 private:
  // What may stand behind a pattern: other clauses beside it, then the rest of the pattern it stands in.
  struct Follow {
    const Pattern& pattern;
    std::size_t clauses;  // their piece
    const Follow* up;
  };

  bool sequence(const Pattern& pattern, const Follow* follow);
  void clauses(const Pattern& pattern, std::size_t piece, const Follow* follow);
  bool take(const Clause& clause, const Follow& follow);
  bool marker(const Pattern& pattern, std::size_t piece, const Follow* follow);
  bool restricted(const PatternPiece& piece);
  void run();
  std::size_t expression(const Pattern& pattern, std::size_t piece, const Follow* follow);
  bool operand();
  bool belongs();
  bool macro_before_point() const {
    return at_ > 2 && tokens_[at_ - 2].is_name() && tokens_[at_ - 3].is("&");
  }
  bool goes_on();
  bool begins(const PatternPiece& piece, const SourceToken& token) const;
  bool may_follow(const Pattern& pattern, std::size_t piece, const Follow* follow) const;

  bool at_end() const { return at_ >= tokens_.size(); }
  const SourceToken& here() const { return tokens_[at_]; }
  bool touches() const { return here().gap == SourceGap::kNone; }  // what stands before
  void skip_brackets() {
    const std::size_t begin = at_;
    at_ = std::min(closing_bracket(tokens_, at_) + 1, tokens_.size());
    (void)rewriting_.look(at_ - begin);
  }

  const Rule& rule_;
  Tokens tokens_;
  Match& match_;
  Rewriting& rewriting_;
  std::size_t at_ = 0;
  std::size_t furthest_ = 0;  // in clauses that were given up
};

bool Matcher::sequence(const Pattern& pattern, const Follow* follow) {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const PatternPiece& piece = pattern[i];
    if (!rewriting_.look(1)) return false;
    switch (piece.kind) {
      case PatternPiece::Kind::kClauses:
        clauses(pattern, i, follow);
        break;
      case PatternPiece::Kind::kMarker:
        if (!marker(pattern, i, follow)) return false;
        break;
      case PatternPiece::Kind::kWord:
        if (at_end() || !is_word(piece, here(), rule_.whole_words)) return false;
        ++at_;
    }
  }
  return true;
}

// Clauses in any order, each once or as often as its result repeats.
void Matcher::clauses(const Pattern& pattern, std::size_t index, const Follow* follow) {
  const PatternPiece& piece = pattern[index];
  const Follow behind{pattern, index, follow};
  std::vector<bool> used(piece.clauses.size());
  for (bool again = true; again && !rewriting_.failed();) {
    again = false;
    for (std::size_t i = 0; i < piece.clauses.size() && !at_end() && !again; ++i) {
      if ((used[i] && !piece.clauses[i].repeats) || !take(piece.clauses[i], behind)) continue;
      used[i] = again = true;
    }
  }
}

// Takes the clause, or nothing of it.
bool Matcher::take(const Clause& clause, const Follow& follow) {
  const std::size_t begin = at_;
  std::vector<std::size_t> counts;
  for (const std::size_t marker : clause.markers) counts.push_back(match_.captures[marker].size());
  const bool took = sequence(clause.pattern, &follow) && at_ > begin;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    auto& captures = match_.captures[clause.markers[i]];
    if (!took)
      captures.resize(counts[i]);
    else if (captures.size() == counts[i])
      captures.emplace_back();
  }
  if (took) return true;
  furthest_ = std::max(furthest_, at_);
  at_ = begin;
  return false;
}

bool Matcher::marker(const Pattern& pattern, std::size_t index, const Follow* follow) {
  const PatternPiece& piece = pattern[index];
  const std::size_t begin = at_;
  bool took = false;
  switch (piece.marker_kind) {
    case MarkerKind::kWild:
      while (!at_end() && !here().is(";")) ++at_;
      took = true;
      break;
    case MarkerKind::kRestricted:
      took = restricted(piece);
      break;
    case MarkerKind::kExtended:
      if (at_end() || may_follow(pattern, index, follow)) break;
      if (here().kind == SourceKind::kText || here().is("("))
        expression(pattern, index, follow);
      else
        run();
      took = at_ > begin;
      break;
    case MarkerKind::kExpression:
      took = expression(pattern, index, follow) > 0;
      break;
    case MarkerKind::kList:
      expression(pattern, index, follow);
      while (!at_end() && here().is(",")) {
        ++at_;
        expression(pattern, index, follow);
      }
      took = at_ > begin;
  }
  (void)rewriting_.look(at_ - begin);
  if (took) match_.captures[piece.marker].push_back(tokens_.subspan(begin, at_ - begin));
  return took;
}

// One of the words. & among them takes a macro.
bool Matcher::restricted(const PatternPiece& piece) {
  if (at_end()) return false;
  for (const PatternPiece& word : piece.among) {
    if (!is_word(word, here(), true)) continue;
    if (word.word == "&")
      run();
    else
      ++at_;
    return true;
  }
  return false;
}

// What stands without blanks, up to a comma or a bracket that closes: a name of a file.
void Matcher::run() {
  do {
    if (here().is(",") || here().is(";") || nesting(here()) < 0) return;
    if (opens(here()))
      skip_brackets();
    else
      ++at_;
  } while (!at_end() && touches());
}

// Goes over an expression, as far as there is one: the number of its tokens.
std::size_t Matcher::expression(const Pattern& pattern, std::size_t index, const Follow* follow) {
  const std::size_t begin = at_;
  if (at_end() || may_follow(pattern, index, follow)) return 0;
  const auto stops = [&] { return at_end() || may_follow(pattern, index, follow); };
  while (operand()) {
    while (!stops() && belongs()) {
    }
    if (stops() || !goes_on()) break;
  }
  return at_ - begin;
}

// A value with the signs before it, and the calls and subscripts behind it.
bool Matcher::operand() {
  while (!at_end() && (is_one_of(kPrefixes, here()) || same_letters(here().text, ".not."))) ++at_;
  if (at_end()) return false;
  if (opens(here()))
    skip_brackets();
  else if (here().kind == SourceKind::kSign || is_conjunction(here()))
    return false;
  else
    ++at_;
  return true;
}

// Goes over what belongs to the value before: calls, subscripts, the rest of a name with a macro in it.
bool Matcher::belongs() {
  const SourceToken& before = tokens_[at_ - 1];
  if (here().is("[") || (here().is("(") && (before.is_name() || (before.is("&") && touches())))) {
    skip_brackets();
    return true;
  }
  if (!touches()) return false;
  const bool macro = before.is_name() && at_ > 1 && tokens_[at_ - 2].is("&");
  const bool behind_point = before.is(".") && macro_before_point();
  if (behind_point && here().is("(")) {
    skip_brackets();
    return true;
  }
  const bool in_name = before.is("&") || behind_point;
  if (here().is("++") || here().is("--") ||
      (here().is("&") &&
       (before.is_name() || behind_point || before.kind == SourceKind::kNumber)) ||
      (macro && here().text.starts_with('.')) ||
      (in_name && (here().is_name() || here().kind == SourceKind::kNumber))) {
    ++at_;
    return true;
  }
  return false;
}

bool Matcher::goes_on() {
  if (!is_one_of(kOperators, here()) && !is_conjunction(here())) return false;
  ++at_;
  return true;
}

// Can the token be the first of what the piece matches, by a word?
bool Matcher::begins(const PatternPiece& piece, const SourceToken& token) const {
  if (piece.kind == PatternPiece::Kind::kWord) return is_word(piece, token, rule_.whole_words);
  if (piece.kind == PatternPiece::Kind::kMarker)
    return std::ranges::any_of(piece.among, [&](auto& word) { return is_word(word, token, true); });
  return std::ranges::any_of(piece.clauses, [&](const Clause& clause) {
    for (const PatternPiece& inner : clause.pattern) {
      if (begins(inner, token)) return true;
      if (inner.kind != PatternPiece::Kind::kClauses) break;
    }
    return false;
  });
}

// Can the next token follow the piece as a word of the rule?
bool Matcher::may_follow(const Pattern& pattern, std::size_t index, const Follow* follow) const {
  if (!rewriting_.look(1)) return true;
  for (std::size_t i = index + 1; i < pattern.size(); ++i) {
    if (begins(pattern[i], here())) return true;
    if (pattern[i].kind != PatternPiece::Kind::kClauses) return false;
  }
  return follow != nullptr && (begins(follow->pattern[follow->clauses], here()) ||
                               may_follow(follow->pattern, follow->clauses, follow->up));
}

}  // namespace

bool match_rule(const Rule& rule, std::span<const SourceToken> tokens, Match& match,
                Rewriting& rewriting) {
  return Matcher(rule, tokens, match, rewriting).match();
}

}  // namespace tarnel
