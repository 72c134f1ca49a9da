// Patterns and results of rules out of their tokens.
#include <algorithm>
#include <optional>

#include "lang/rules.h"

namespace tarnel {
namespace {

constexpr int kDeepestClause = 32;
constexpr std::size_t kMostMarkers = 256;

class RuleParser {
 public:
  RuleParser(std::span<const SourceToken> tokens, Place end, Diagnostics& diagnostics)
      : tokens_(tokens), end_(end), diagnostics_(diagnostics) {}

  std::unique_ptr<Rule> parse();

 private:
  bool pattern(Pattern& pieces, std::vector<std::size_t>& markers, int depth);
  bool clause(Pattern& pieces, std::vector<std::size_t>& markers, int depth);
  bool pattern_marker(Pattern& pieces, std::vector<std::size_t>& markers);
  bool marker_kind(PatternPiece& piece);
  bool result(Result& pieces, std::vector<std::size_t>& markers, bool repeated);
  std::optional<ResultPiece> result_marker();
  void let_clauses_repeat(Pattern& pieces);

  bool has(std::size_t n = 0) const { return at_ + n < tokens_.size(); }
  bool is(std::string_view text, std::size_t n = 0) const {
    return has(n) && tokens_[at_ + n].is(text);
  }
  bool is_name(std::size_t n) const { return has(n) && tokens_[at_ + n].is_name(); }
  bool eat(std::string_view text) {
    if (!is(text)) return false;
    ++at_;
    return true;
  }
  SourceToken literal();
  bool fail(std::string_view words) {
    diagnostics_.error(has() ? tokens_[at_].place : end_, words);
    return false;
  }
  std::optional<std::size_t> number_of(std::string_view name) const {
    const auto found = std::ranges::find_if(
        rule_->markers, [&](std::string_view marker) { return same_letters(marker, name); });
    if (found == rule_->markers.end()) return std::nullopt;
    return static_cast<std::size_t>(found - rule_->markers.begin());
  }

  std::span<const SourceToken> tokens_;
  Place end_;
  Diagnostics& diagnostics_;
  std::size_t at_ = 0;
  std::unique_ptr<Rule> rule_ = std::make_unique<Rule>();
  std::vector<std::size_t> repeated_;  // markers in repeated parts
};

std::unique_ptr<Rule> RuleParser::parse() {
  std::vector<std::size_t> markers;
  if (!pattern(rule_->pattern, markers, 0)) return nullptr;
  if (!eat("=>")) return fail("a rule has => between its pattern and its result"), nullptr;
  if (rule_->pattern.empty() || rule_->pattern.front().kind != PatternPiece::Kind::kWord)
    return at_ = 0, fail("a rule begins with a word or sign"), nullptr;
  if (!result(rule_->result, markers, false)) return nullptr;
  let_clauses_repeat(rule_->pattern);
  return std::move(rule_);
}

// A word or sign. Signs that begin or end with the brackets of markers come as two tokens.
SourceToken RuleParser::literal() {
  const bool quoted = is("\\") && has(1);
  if (quoted) ++at_;
  SourceToken token = tokens_[at_++];
  if (quoted) token.gap = tokens_[at_ - 2].gap;
  const bool joins = has() && tokens_[at_].gap == SourceGap::kNone &&
                     ((token.is("<") && (is("=") || is(">"))) || (token.is(">") && is("=")));
  if (joins) token.text = {token.text.data(), token.text.size() + tokens_[at_++].text.size()};
  return token;
}

bool RuleParser::pattern(Pattern& pieces, std::vector<std::size_t>& markers, int depth) {
  while (has() && !is("=>") && !(depth > 0 && is("]"))) {
    if (is("[")) {
      if (!clause(pieces, markers, depth)) return false;
    } else if (is("<") && (is_name(1) || is("(", 1) || is("*", 1))) {
      if (!pattern_marker(pieces, markers)) return false;
    } else {
      const SourceToken token = literal();
      pieces.push_back(
          {.is_name = token.is_name(), .key = word_key(token.text), .word = token.text});
    }
  }
  return true;
}

// A clause joins those that stand directly before it.
bool RuleParser::clause(Pattern& pieces, std::vector<std::size_t>& markers, int depth) {
  if (depth == kDeepestClause) return fail("clauses in more than 32 clauses");
  ++at_;
  Clause clause;
  if (!pattern(clause.pattern, clause.markers, depth + 1)) return false;
  if (!eat("]")) return fail("a clause without its closing ]");
  if (clause.pattern.empty()) return fail("an empty clause");
  if (pieces.empty() || pieces.back().kind != PatternPiece::Kind::kClauses)
    pieces.push_back({.kind = PatternPiece::Kind::kClauses});
  markers.insert(markers.end(), clause.markers.begin(), clause.markers.end());
  pieces.back().clauses.push_back(std::move(clause));
  return true;
}

// <x> <x,...> <x:A,B> <*x*> <(x)>
bool RuleParser::pattern_marker(Pattern& pieces, std::vector<std::size_t>& markers) {
  PatternPiece piece{.kind = PatternPiece::Kind::kMarker};
  ++at_;
  std::string_view close;
  if (eat("(")) {
    piece.marker_kind = MarkerKind::kExtended;
    close = ")";
  } else if (eat("*")) {
    piece.marker_kind = MarkerKind::kWild;
    close = "*";
  }
  if (!is_name(0)) return fail("a marker has a name");
  const std::string_view name = tokens_[at_++].text;
  if (close.empty() ? !marker_kind(piece) : !eat(close)) return fail("a marker that isn't one");
  if (!eat(">")) return fail("a marker without its closing >");
  piece.marker = number_of(name).value_or(rule_->markers.size());
  if (piece.marker == rule_->markers.size()) rule_->markers.push_back(name);
  if (rule_->markers.size() > kMostMarkers) return fail("more than 256 markers");
  markers.push_back(piece.marker);
  pieces.push_back(std::move(piece));
  return true;
}

// What stands behind the name of a marker without brackets.
bool RuleParser::marker_kind(PatternPiece& piece) {
  if (eat(",")) {
    piece.marker_kind = MarkerKind::kList;
    return eat("...");
  }
  if (!eat(":")) return true;
  piece.marker_kind = MarkerKind::kRestricted;
  do {
    if (!has() || is(">") || is(",")) return false;
    const SourceToken& token = tokens_[at_++];
    piece.among.push_back(
        {.is_name = token.is_name(), .key = word_key(token.text), .word = token.text});
  } while (eat(","));
  return true;
}

bool RuleParser::result(Result& pieces, std::vector<std::size_t>& markers, bool repeated) {
  while (has() && !(repeated && is("]"))) {
    if (is("[")) {
      if (repeated) return fail("a repeated part within one");
      auto part = std::make_unique<RepeatedPart>();
      ++at_;
      if (!result(part->result, part->markers, true)) return false;
      if (!eat("]")) return fail("a repeated part without its closing ]");
      if (part->markers.empty()) return fail("a repeated part without a marker");
      repeated_.insert(repeated_.end(), part->markers.begin(), part->markers.end());
      pieces.push_back({.kind = ResultPiece::Kind::kRepeated, .part = std::move(part)});
      continue;
    }
    const std::size_t before = at_;
    if (std::optional<ResultPiece> marker = result_marker()) {
      if (marker->marker == rule_->markers.size())
        return at_ = before, fail("a marker that the pattern doesn't have");
      markers.push_back(marker->marker);
      pieces.push_back(std::move(*marker));
    } else {
      pieces.push_back({.token = literal()});
    }
  }
  return true;
}

// <x> #<x> <"x"> <(x)> <{x}> <.x.>; nothing, and no step on, where there is none. The number behind the last for a
// name that no marker has.
std::optional<ResultPiece> RuleParser::result_marker() {
  ResultPiece piece{.kind = ResultPiece::Kind::kMarker, .token = tokens_[at_]};
  std::size_t n = 0;
  if (is("#") && is("<", 1) && tokens_[at_ + 1].gap == SourceGap::kNone) {
    piece.form = ResultForm::kText;
    ++n;
  }
  if (!is("<", n++) || !has(n)) return std::nullopt;
  struct Brackets {
    std::string_view open, close;
    ResultForm form;
  };
  constexpr Brackets kForms[] = {{"(", ")", ResultForm::kSmartTexts},
                                 {"{", "}", ResultForm::kBlocks},
                                 {".", ".", ResultForm::kLogical}};
  std::string_view name = tokens_[at_ + n].text;
  const auto form = std::ranges::find(kForms, name, &Brackets::open);
  if (tokens_[at_ + n].kind == SourceKind::kText) {
    piece.form = ResultForm::kTexts;
    name = name.substr(1, name.size() - 2);
  } else if (tokens_[at_ + n].kind == SourceKind::kWord) {  // <.t.>
    piece.form = ResultForm::kLogical;
    name = name.substr(1, name.size() - 2);
  } else if (form != std::end(kForms)) {
    if (!is_name(++n) || !is(form->close, n + 1)) return std::nullopt;
    name = tokens_[at_ + n++].text;
    piece.form = form->form;
  } else if (!is_name(n)) {
    return std::nullopt;
  }
  if (!is(">", ++n)) return std::nullopt;
  at_ += n + 1;
  piece.marker = number_of(name).value_or(rule_->markers.size());
  return piece;
}

void RuleParser::let_clauses_repeat(Pattern& pieces) {
  for (PatternPiece& piece : pieces)
    for (Clause& clause : piece.clauses) {
      clause.repeats = std::ranges::any_of(clause.markers, [this](std::size_t marker) {
        return std::ranges::find(repeated_, marker) != repeated_.end();
      });
      let_clauses_repeat(clause.pattern);
    }
}

}  // namespace

std::unique_ptr<Rule> parse_rule(std::span<const SourceToken> tokens, Place end,
                                 Diagnostics& diagnostics) {
  return RuleParser(tokens, end, diagnostics).parse();
}

}  // namespace tarnel
