#include "lang/commands.h"

#include <algorithm>
#include <bitset>
#include <cassert>
#include <cctype>
#include <utility>

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
  bool loaded = false;
};

const LaterRules& later_rules();

// Most programs use a few of the commands: each is read when a statement may begin with its word.
class Commands {
 public:
  Commands() : directives_(files_, diagnostics_, {}, nullptr, &later_rules()) {
    file_ = files_.add("commands.ch", std::string(commands_text()));
    find_pieces(files_[file_].text);
  }

  const RuleBook& rules() const { return directives_.rules(); }

  static Commands& all();

  bool has(std::uint32_t key) const {
    return beginnings_[bit(key)] && std::ranges::find(pieces_, key, &Piece::key) != pieces_.end();
  }

  void load(std::uint32_t key, std::uint32_t second) {
    if (!beginnings_[bit(key)]) return;
    for (Piece& piece : pieces_)
      if (piece.key == key && (piece.second == 0 || piece.second == second)) load(piece);
  }

  void load_all() {
    if (std::exchange(all_loaded_, true)) return;
    for (Piece& piece : pieces_) load(piece);
  }

 private:
  void find_pieces(std::string_view text) {
    pieces_.reserve(256);
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
      pieces_.push_back(piece);
      beginnings_.set(bit(key));
      at = piece.end + 1;
    }
  }

  static std::size_t bit(std::uint32_t key) { return key * 0x9E3779B1U >> 22; }

  // The key of the name or sign that stands here, which is taken; 0 where a marker, a clause or the result begins.
  static std::uint32_t take_key(std::string_view& rule) {
    rule.remove_prefix(std::min(rule.find_first_not_of(' '), rule.size()));
    if (rule.empty() || rule.starts_with("=>") || rule[0] == '<' || rule[0] == '[') return 0;
    const auto in_name = [](char c) {
      return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
    };
    std::size_t end = 1;
    while (in_name(rule[0]) && end < rule.size() && in_name(rule[end])) ++end;
    const std::uint32_t key = word_key(rule.substr(0, end));
    rule.remove_prefix(end);
    return key;
  }

  void load(Piece& piece) {
    if (std::exchange(piece.loaded, true)) return;
    directives_.open_piece(
        {PieceKind::kStatements, piece.begin, piece.end, {file_, piece.line, 1}});
    SourceTokens tokens;
    while (directives_.next(tokens)) {
    }
    assert(diagnostics_.errors() == 0);
  }

  SourceFiles files_;
  Diagnostics diagnostics_{files_};
  Directives directives_;
  std::int32_t file_ = 0;
  std::vector<Piece> pieces_;     // in the order of their lines
  std::bitset<1024> beginnings_;  // most words are told apart by it
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

const RuleBook& command_rules() {
  return Commands::all().rules();
}

}  // namespace tarnel
