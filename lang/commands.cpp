#include "lang/commands.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cassert>
#include <utility>

#include "commands_text.h"
#include "lang/directives.h"

namespace tarnel {
namespace {

constexpr std::string_view kDirective = "#command ";

// A rule's lines in the text, by the keys of its first words.
struct Piece {
  std::uint32_t key;
  std::uint32_t second;  // 0 when that may differ
  std::size_t begin, end;
  std::int32_t line;
};

constexpr bool in_name(char c) {
  return c == '_' || (c >= '0' && c <= '9') || (lower_letter(c) >= 'a' && lower_letter(c) <= 'z');
}

// The key of the name or sign that stands here, which is taken; 0 where a marker, a clause or the result begins.
constexpr std::uint32_t take_key(std::string_view& rule) {
  rule.remove_prefix(std::min(rule.find_first_not_of(' '), rule.size()));
  if (rule.empty() || rule.starts_with("=>") || rule[0] == '<' || rule[0] == '[') return 0;
  std::size_t end = 1;
  while (in_name(rule[0]) && end < rule.size() && in_name(rule[end])) ++end;
  const std::uint32_t key = word_key(rule.substr(0, end));
  rule.remove_prefix(end);
  return key;
}

// Calls what is given with each rule's piece, in the order of their lines.
template <typename Take>
constexpr void find_pieces(std::string_view text, Take take) {
  std::int32_t line = 1;
  for (std::size_t at = 0; at < text.size(); ++line) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    if (text[at] != '#') {
      at = end + 1;
      continue;
    }
    assert(text.substr(at).starts_with(kDirective));
    std::string_view rule = text.substr(at + kDirective.size());
    const std::uint32_t key = take_key(rule), second = take_key(rule);
    Piece piece{key, second, at, end, line};
    for (; text[piece.end - 1] == ';'; ++line)
      piece.end = std::min(text.find('\n', piece.end + 1), text.size());
    take(piece);
    at = piece.end + 1;
  }
}

// Found by the compiler: that takes longer than a small page does.
constexpr std::size_t count_pieces() {
  std::size_t count = 0;
  find_pieces(kCommandsText, [&](const Piece&) { ++count; });
  return count;
}
constexpr auto kPieces = [] {
  std::array<Piece, count_pieces()> pieces{};
  find_pieces(kCommandsText, [&, i = std::size_t{0}](const Piece& p) mutable { pieces[i++] = p; });
  return pieces;
}();

// Most words are told apart by ten bits of their keys.
constexpr std::size_t bits_of(std::uint32_t key) {
  return key * 0x9E3779B1U >> 22;
}
constexpr auto kBeginnings = [] {
  std::array<bool, 1024> beginnings{};
  for (const Piece& piece : kPieces) beginnings[bits_of(piece.key)] = true;
  return beginnings;
}();

const LaterRules& later_rules();

// Most programs use a few of the commands: each is read when a statement may begin with its word.
class Commands {
 public:
  Commands() : directives_(files_, diagnostics_, {}, nullptr, &later_rules()) {
    file_ = files_.add_constant("commands.ch", kCommandsText);
  }

  const RuleBook& rules() const { return directives_.rules(); }

  static Commands& all();

  bool has(std::uint32_t key) const {
    return kBeginnings[bits_of(key)] &&
           std::ranges::find(kPieces, key, &Piece::key) != kPieces.end();
  }

  void load(std::uint32_t key, std::uint32_t second) {
    if (!kBeginnings[bits_of(key)]) return;
    for (std::size_t i = 0; i < kPieces.size(); ++i)
      if (kPieces[i].key == key && (kPieces[i].second == 0 || kPieces[i].second == second)) load(i);
  }

  void load_all() {
    if (std::exchange(all_loaded_, true)) return;
    for (std::size_t i = 0; i < kPieces.size(); ++i) load(i);
  }

 private:
  void load(std::size_t i) {
    if (loaded_[i]) return;
    loaded_.set(i);
    const Piece& piece = kPieces[i];
    directives_.open_piece(
        {PieceKind::kStatements, piece.begin, piece.end, {file_, piece.line, 1}});
    while (directives_.next(tokens_)) {
    }
    assert(diagnostics_.errors() == 0);
  }

  SourceFiles files_;
  Diagnostics diagnostics_{files_};
  Directives directives_;
  SourceTokens tokens_;  // of the last one, whose room the next one takes
  std::int32_t file_ = 0;
  std::bitset<kPieces.size()> loaded_;
  bool all_loaded_ = false;
};

Commands& Commands::all() {
  static Commands commands;
  return commands;
}

const LaterRules& later_rules() {
  static constexpr LaterRules kLater = {
      [](std::uint32_t key) { return Commands::all().has(key); },
      [](std::uint32_t first, std::uint32_t second) { Commands::all().load(first, second); },
      [] { Commands::all().load_all(); }};
  return kLater;
}

}  // namespace

std::string_view commands_text() {
  return kCommandsText;
}

const RuleBook& command_rules() {
  return Commands::all().rules();
}

}  // namespace tarnel
