#include "lang/rule_result.h"

#include <algorithm>

namespace tarnel {
namespace {

using Tokens = std::span<const SourceToken>;

class ResultMaker {
 public:
  ResultMaker(const Match& match, Place where, SourceTokens& made, Rewriting& rewriting)
      : match_(match), where_(where), made_(made), rewriting_(rewriting) {}

  bool all(const Result& pieces, std::size_t round);

 private:
  bool marker(const ResultPiece& piece, std::size_t round);
  bool repeated(const RepeatedPart& part);
  bool text(Tokens tokens);
  bool smart_text(Tokens tokens);
  void block(Tokens tokens);
  // What closes or separates stands behind what it follows: there an argument lacks its end.
  void own(std::string_view text, SourceKind kind = SourceKind::kSign) {
    const bool behind = ends_argument(text) && !made_.empty();
    made_.push_back(
        {text, behind ? place_behind(made_.back()) : where_, kind, SourceGap::kNone, 0, true});
  }
  void matched(Tokens tokens) { made_.insert(made_.end(), tokens.begin(), tokens.end()); }

  const Match& match_;
  Place where_;
  SourceTokens& made_;
  Rewriting& rewriting_;
};

bool ResultMaker::all(const Result& pieces, std::size_t round) {
  for (const ResultPiece& piece : pieces) {
    const std::size_t first = made_.size();
    if (piece.kind == ResultPiece::Kind::kRepeated) {
      if (!repeated(*piece.part)) return false;
      continue;
    }
    if (piece.kind == ResultPiece::Kind::kToken) {
      own(piece.token.text, piece.token.kind);
    } else if (!marker(piece, round)) {
      return false;
    }
    std::size_t bytes = 1;
    for (std::size_t i = first; i < made_.size(); ++i) bytes += made_[i].text.size() + 1;
    if (!rewriting_.make(bytes)) return false;
    if (first < made_.size()) made_[first].gap = piece.token.gap;
  }
  return true;
}

// A round in which none of its markers matched makes nothing: their clause stood within one that did.
bool ResultMaker::repeated(const RepeatedPart& part) {
  std::size_t rounds = 0;
  for (const std::size_t marker : part.markers)
    rounds = std::max(rounds, match_.captures[marker].size());
  for (std::size_t round = 0; round < rounds; ++round) {
    const bool matched = std::ranges::any_of(part.markers, [&](std::size_t marker) {
      const auto& captures = match_.captures[marker];
      return captures.size() == rounds && !captures[round].empty();
    });
    if (matched && !all(part.result, round)) return false;
  }
  return true;
}

// A marker that matched once stands for the same in each round.
bool ResultMaker::marker(const ResultPiece& piece, std::size_t round) {
  const auto& captures = match_.captures[piece.marker];
  Tokens capture;
  if (captures.size() == 1)
    capture = captures[0];
  else if (round < captures.size())
    capture = captures[round];
  if (piece.form == ResultForm::kLogical) {
    own(capture.empty() ? ".F." : ".T.", SourceKind::kWord);
    return true;
  }
  if (capture.empty()) return true;
  if (piece.form == ResultForm::kAsItIs) {
    matched(capture);
    return true;
  }
  if (piece.form == ResultForm::kText) return text(capture);
  bool first = true;
  for (const Tokens part : comma_parts(capture)) {
    if (!first) own(",");
    first = false;
    if (part.empty()) continue;
    if (piece.form == ResultForm::kBlocks)
      block(part);
    else if (!(piece.form == ResultForm::kTexts ? text(part) : smart_text(part)))
      return false;
  }
  return true;
}

bool ResultMaker::text(Tokens tokens) {
  const std::string bytes = tokens_text(tokens);
  constexpr std::string_view kQuotes[] = {"\"\"", "''", "[]"};
  for (const std::string_view quotes : kQuotes) {
    if (bytes.find(quotes[1]) != std::string::npos) continue;
    own(rewriting_.keep(quotes[0] + bytes + quotes[1]), SourceKind::kText);
    return true;
  }
  rewriting_.fail(tokens.front().place, "a text with quotes of all kinds in it");
  return false;
}

// Texts and expressions in brackets stay, of &name the name does.
bool ResultMaker::smart_text(Tokens tokens) {
  const bool macro = tokens[0].is("&") && tokens.size() > 1;
  const bool alone = macro && (tokens.size() == 2 || (tokens.size() == 3 && tokens[2].is(".")));
  if (alone && tokens[1].is_name())
    matched(tokens.subspan(1, 1));
  else if (macro && tokens[1].is("(") && closing_bracket(tokens, 1) + 1 == tokens.size())
    matched(tokens.subspan(1));
  else if (tokens[0].kind == SourceKind::kText || tokens[0].is("("))
    matched(tokens);
  else
    return text(tokens);
  return true;
}

void ResultMaker::block(Tokens tokens) {
  if (tokens.size() > 1 && tokens[0].is("{") && tokens[1].is("|")) return matched(tokens);
  own("{");
  own("|");
  own("|");
  matched(tokens);
  own("}");
}

}  // namespace

bool make_result(const Rule& rule, const Match& match, Place where, SourceTokens& made,
                 Rewriting& rewriting) {
  return ResultMaker(match, where, made, rewriting).all(rule.result, 0);
}

}  // namespace tarnel
