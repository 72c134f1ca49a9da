#include "lang/rules.h"

#include <algorithm>

namespace tarnel {
namespace {

std::size_t beginning(std::uint32_t key) {
  return key * 0x9E3779B1U >> 22;
}

}  // namespace

bool is_word(const PatternPiece& word, const SourceToken& token, bool whole_words) {
  if (lower_letter(word.word[0]) != lower_letter(token.text[0]) ||
      word.key != word_key(token.text) || word.is_name != token.is_name())
    return false;
  if (whole_words || !word.is_name) return same_letters(word.word, token.text);
  return is_cut_word(token.text, word.word);
}

void RuleBook::add(std::unique_ptr<Rule> rule) {
  Kind& kind = kinds_[rule->is_command];
  const std::uint32_t key = rule->pattern.front().key;
  kind.beginnings.set(beginning(key));
  add_words(rule->pattern);
  const bool second =
      rule->pattern.size() > 1 && rule->pattern[1].kind == PatternPiece::Kind::kWord;
  const std::uint32_t second_key = second ? rule->pattern[1].key : 0;
  std::vector<Entry>& entries = kind.rules[key];
  const auto at =
      later_ == nullptr
          ? entries.end()
          : std::ranges::upper_bound(entries, rule->line, {}, [](auto& e) { return e.rule->line; });
  entries.insert(at, {std::move(rule), second_key});
}

void RuleBook::add_words(const Pattern& pattern) {
  for (const PatternPiece& piece : pattern) {
    if (piece.kind == PatternPiece::Kind::kWord && piece.is_name) {
      std::vector<std::string_view>& same = words_[piece.key];
      if (std::ranges::find(same, piece.word) == same.end()) same.push_back(piece.word);
    }
    add_words(piece.among);
    for (const Clause& clause : piece.clauses) add_words(clause.pattern);
  }
}

bool RuleBook::may_begin(bool command, const SourceToken& token) const {
  const Kind& kind = kinds_[command];
  const std::uint32_t key = word_key(token.text);
  return kind.beginnings[beginning(key)] ||
         (command && later_ != nullptr && later_->may_begin(key)) ||
         (below_ != nullptr && below_->may_begin(command, token));
}

bool RuleBook::has_word(std::string_view name) const {
  if (later_ != nullptr) later_->load_all();
  const auto found = words_.find(word_key(name));
  if (found != words_.end() &&
      std::ranges::any_of(found->second, [&](auto word) { return is_cut_word(name, word); }))
    return true;
  return below_ != nullptr && below_->has_word(name);
}

bool RuleBook::has_translations() const {
  return !kinds_[false].rules.empty() || (below_ != nullptr && below_->has_translations());
}

}  // namespace tarnel
