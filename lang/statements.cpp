#include "lang/statements.h"

#include <algorithm>
#include <iterator>

#include "lang/commands.h"
#include "lang/directives.h"
#include "lang/rule_result.h"

namespace tarnel {
namespace {

std::size_t source_length(std::span<const SourceToken> tokens) {
  const std::string_view last = tokens.back().text;
  return static_cast<std::size_t>(last.data() - tokens.front().text.data()) + last.size();
}

// The tokens as they stand: pieces of lines, with a blank for each comment and each line that goes on.
void add_source(PlacedText& statement, const SourceTokens& tokens) {
  for (std::size_t i = 0; i < tokens.size();) {
    const std::size_t begin = i;
    const SourceToken& first = tokens[i];
    if (i > 0) statement.add_at(" ", first.place);
    while (++i < tokens.size() && tokens[i].gap != SourceGap::kBreak) {
    }
    statement.add({first.text.data(), source_length(std::span(tokens).subspan(begin, i - begin))},
                  first.place);
  }
}

// Is it an expression, whatever command its first word is? Then no rule is tried: delete(x), count := 1.
bool is_expression(const SourceTokens& tokens) {
  if (!tokens[0].is_name() || tokens.size() < 2) return false;
  const SourceToken& next = tokens[1];
  if (next.kind != SourceKind::kSign) return false;
  if (next.is("(")) return next.gap == SourceGap::kNone;
  constexpr std::string_view kBehindValues[] = {
      ":=", "=", "+=", "-=", "*=", "/=", "%=", "^=", "**=", "++", "--", "[", "->", ":", "::", "."};
  return std::ranges::find(kBehindValues, next.text) != std::end(kBehindValues);
}

}  // namespace

struct StatementReader::State {
  State(SourceFiles& source_files, Diagnostics& diagnostics, std::vector<std::string> folders)
      : files(source_files),
        directives(files, diagnostics, std::move(folders), &command_rules()),
        rewriting(diagnostics) {}

  bool untouched() const;
  bool rewrite();
  bool rewrite_expression();
  bool translate();
  bool command();
  void separate();
  bool apply(const Rule& rule, std::size_t at);

  SourceFiles& files;
  Directives directives;
  Rewriting rewriting;
  SourceTokens tokens;
  std::vector<SourceTokens> rest;  // further statements of a rule, the next one last
  Match match;
  PieceKind kind = PieceKind::kStatements;
  std::string_view literal;  // of a page
  std::optional<Place> page_start;
  SourceTokens made;
  std::optional<Unmatched> unmatched;
  bool rules_applied = false;
};

// The quick way of most statements: no constant in them, and no rule begins so.
bool StatementReader::State::untouched() const {
  const RuleBook& rules = directives.rules();
  if (rules.may_begin(true, tokens[0]) && !is_expression(tokens)) return false;
  if (directives.defines().touch(tokens)) return false;
  return !rules.has_translations() ||
         std::ranges::none_of(tokens, [&](auto& token) { return rules.may_begin(false, token); });
}

// Constants, then translations anywhere, then a command; again for what they make. False when nothing is left of
// the statement.
bool StatementReader::State::rewrite() {
  for (;;) {
    if (directives.defines().touch(tokens) && !directives.defines().expand(tokens, rewriting))
      return false;
    if (translate()) continue;
    if (rewriting.failed()) return false;
    separate();
    if (tokens.empty()) return false;
    if (!command()) return !rewriting.failed();
  }
}

// The same without commands.
bool StatementReader::State::rewrite_expression() {
  for (;;) {
    if (directives.defines().touch(tokens) && !directives.defines().expand(tokens, rewriting))
      return false;
    if (!translate()) return !rewriting.failed() && !tokens.empty();
  }
}

bool StatementReader::State::translate() {
  const RuleBook& rules = directives.rules();
  if (!rules.has_translations()) return false;
  for (std::size_t at = 0; at < tokens.size(); ++at)
    if (rules.may_begin(false, tokens[at]) &&
        rules.any(false, std::span(tokens).subspan(at),
                  [&](const Rule& rule) { return apply(rule, at); }))
      return !rewriting.failed();
  return false;
}

bool StatementReader::State::command() {
  const RuleBook& rules = directives.rules();
  if (!rules.may_begin(true, tokens[0]) || is_expression(tokens)) return false;
  std::size_t furthest = 0;
  if (rules.any(true, tokens, [&](const Rule& rule) {
        const bool done = apply(rule, 0);
        furthest = std::max(furthest, match.furthest);
        return done;
      }))
    return !rewriting.failed();
  if (furthest > 0)
    unmatched = furthest < tokens.size() ? Unmatched{tokens[furthest].place, tokens[furthest].text}
                                         : Unmatched{place_behind(tokens.back()), {}};
  return false;
}

// Applies a rule where it matches. True also when that failed, so that no other is tried.
bool StatementReader::State::apply(const Rule& rule, std::size_t at) {
  if (!match_rule(rule, std::span(tokens).subspan(at), match, rewriting)) return rewriting.failed();
  made.clear();
  rules_applied = true;
  if (!rewriting.apply_rule(rule.pattern.front().word, rule.file, rule.line) ||
      !make_result(rule, match, rule.is_command ? rewriting.start() : tokens[at].place, made,
                   rewriting))
    return true;
  if (!made.empty()) made.front().gap = tokens[at].gap;
  const auto first = tokens.begin() + static_cast<std::ptrdiff_t>(at);
  const auto behind = first + static_cast<std::ptrdiff_t>(match.length);
  const SourceTokens tail(behind, tokens.end());
  tokens.erase(first, tokens.end());
  tokens.insert(tokens.end(), made.begin(), made.end());
  tokens.insert(tokens.end(), tail.begin(), tail.end());
  return true;
}

// Keeps the first of several statements and puts the others aside.
void StatementReader::State::separate() {
  const auto is_end = [](const SourceToken& token) {
    return token.kind == SourceKind::kSign && token.is(";");
  };
  if (std::ranges::none_of(tokens, is_end)) return;
  std::vector<SourceTokens> statements(1);
  for (const SourceToken& token : tokens) {
    if (!is_end(token))
      statements.back().push_back(token);
    else if (!statements.back().empty())
      statements.emplace_back();
  }
  tokens = std::move(statements.front());
  rest.insert(rest.end(), std::make_move_iterator(statements.rbegin()),
              std::make_move_iterator(statements.rend() - 1));
}

StatementReader::StatementReader(SourceFiles& files, Diagnostics& diagnostics,
                                 std::vector<std::string> include_folders)
    : state_(new State(files, diagnostics, std::move(include_folders))) {}

StatementReader::~StatementReader() = default;

void StatementReader::open(std::int32_t file) {
  if (is_page_name(state_->files[file].name)) state_->page_start = Place{file, 1, 1};
  state_->directives.open(file);
}

bool StatementReader::next(PlacedText& statement) {
  State& s = *state_;
  for (;;) {
    s.unmatched.reset();
    if (s.rewriting.failed()) s.rest.clear();
    if (!s.rest.empty()) {
      s.tokens = std::move(s.rest.back());
      s.rest.pop_back();
      s.kind = PieceKind::kStatements;
    } else {
      if (!s.directives.next(s.tokens)) return false;
      s.kind = s.directives.kind();
      if (s.kind == PieceKind::kText) {
        statement.begin(s.tokens.front().place);
        s.literal = s.tokens.front().text;
        return true;
      }
      s.rewriting.begin(s.tokens.front().place);
      if (source_length(s.tokens) > kLongestStatement) {
        s.rewriting.fail(s.rewriting.start(), "a statement longer than 1 MiB");
        continue;
      }
      if (s.kind == PieceKind::kStatements && s.untouched()) {
        statement.begin(s.rewriting.start());
        add_source(statement, s.tokens);
        return true;
      }
    }
    const bool expression = s.kind != PieceKind::kStatements;
    if (s.tokens.empty() || !(expression ? s.rewrite_expression() : s.rewrite())) continue;
    statement.begin(s.rewriting.start());
    add_tokens(statement, s.tokens);
    return true;
  }
}

PieceKind StatementReader::kind() const {
  return state_->kind;
}
std::string_view StatementReader::literal() const {
  return state_->literal;
}
std::optional<Place> StatementReader::page_start() const {
  return state_->page_start;
}

Place StatementReader::seen_from(std::optional<std::int32_t> file, Place place) const {
  return state_->directives.seen_from(file.value_or(state_->directives.outermost()), place);
}
std::optional<Unmatched> StatementReader::unmatched() const {
  return state_->unmatched;
}

bool StatementReader::rules_applied() const {
  return state_->rules_applied;
}

bool StatementReader::raw_line(std::string_view& line, Place& place) {
  SourceScanner* const scanner = state_->directives.scanner();
  return scanner != nullptr && scanner->raw_line(line, place);
}

}  // namespace tarnel
