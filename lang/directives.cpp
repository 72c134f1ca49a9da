#include "lang/directives.h"

#include <algorithm>
#include <utility>

#include "core/file_ops.h"
#include "lib/file_names.h"

namespace tarnel {

const std::vector<std::string>& installed_include_folders() {
  static const std::vector<std::string> folders = [] {
    std::string prefix = program_folder();
    std::vector<std::string> found;
    const auto up = [&] { prefix.erase(std::min(prefix.rfind('/'), prefix.size())); };
    for (up(); found.size() < 2;) {
      up();
      found.push_back(prefix + "/share/tarnel/include");
    }
    return found;
  }();
  return folders;
}

// Their words are written whole, in any case.
struct Directives::Row {
  std::string_view word;
  void (Directives::*carry_out)(const SourceTokens&);
  bool always = false;  // also in a part that is left out
  static const Row kAll[];
};
const Directives::Row Directives::Row::kAll[] = {
    {"define", &Directives::define},
    {"undef", &Directives::undefine},
    {"ifdef", &Directives::begin_condition, true},
    {"ifndef", &Directives::begin_condition, true},
    {"else", &Directives::turn_condition, true},
    {"endif", &Directives::end_condition, true},
    {"include", &Directives::include},
    {"error", &Directives::own_error},
    {"command", &Directives::rule},
    {"translate", &Directives::rule},
    {"xcommand", &Directives::rule},
    {"xtranslate", &Directives::rule},
};

bool Directives::has_word(std::string_view word) {
  return std::ranges::any_of(Row::kAll,
                             [&](const Row& row) { return same_letters(word, row.word); });
}

Directives::Directives(SourceFiles& files, Diagnostics& diagnostics,
                       std::vector<std::string> folders, const RuleBook* older,
                       const LaterRules* later)
    : files_(files),
      diagnostics_(diagnostics),
      folders_(std::move(folders)),
      rules_(older, later) {}

void Directives::open_piece(const PagePiece& piece) {
  open(piece.place.file);
  sources_.back().scanner.begin_piece(piece);
}

void Directives::open(std::int32_t file) {
  sources_.push_back({SourceScanner(files_, file, diagnostics_)});
  if (is_page_name(files_[file].name)) {
    sources_.back().pieces = page_pieces(files_, file, diagnostics_);
    sources_.back().scanner.begin_piece({PieceKind::kStatements, 0, 0, {file, 1, 1}});
  }
  sources_.back().scanner.set_value_words(
      [](const void* rules, std::string_view name) {
        return static_cast<const RuleBook*>(rules)->has_word(name);
      },
      &rules_);
}

bool Directives::next(SourceTokens& tokens) {
  while (!sources_.empty() && !diagnostics_.full()) {
    switch (sources_.back().scanner.next(tokens)) {
      case SourceScanner::Found::kEnd: {
        bool is_text = false;
        if (!begin_piece(tokens, is_text)) close();
        if (is_text && taken()) return true;
        break;
      }
      case SourceScanner::Found::kDirective:
        if (kind() == PieceKind::kStatements || is_one_expression({})) carry_out(tokens);
        break;
      case SourceScanner::Found::kStatement:
        if (taken() && (kind() == PieceKind::kStatements || is_one_expression(tokens))) return true;
    }
  }
  return false;
}

// --- Pages.

// Goes on with the next piece of a page; false at its end. A text is all that its piece has.
bool Directives::begin_piece(SourceTokens& tokens, bool& is_text) {
  end_piece();
  Source& source = sources_.back();
  if (source.next_piece == source.pieces.size()) return false;
  const PagePiece& piece = source.pieces[source.next_piece++];
  source.kind = piece.kind;
  source.expression_read = false;
  is_text = piece.kind == PieceKind::kText;
  const std::size_t end = is_text ? piece.begin : piece.end;
  source.scanner.begin_piece({piece.kind, piece.begin, end, piece.place});
  if (is_text)
    tokens.assign({{std::string_view(files_[piece.place.file].text)
                        .substr(piece.begin, piece.end - piece.begin),
                    piece.place, SourceKind::kText}});
  return true;
}

// A tag that shows a value has one expression, and no directive.
bool Directives::is_one_expression(const SourceTokens& tokens) {
  const bool fits = !tokens.empty() && !std::exchange(sources_.back().expression_read, true);
  const PagePiece& piece = sources_.back().pieces[sources_.back().next_piece - 1];
  if (!fits && taken())
    diagnostics_.error(piece.place, "a tag that shows a value takes one expression");
  return fits;
}

void Directives::end_piece() {
  Source& source = sources_.back();
  const bool shows = source.kind == PieceKind::kShown || source.kind == PieceKind::kRaw;
  if (shows && !source.expression_read) static_cast<void>(is_one_expression({}));
  source.kind = PieceKind::kStatements;
}

void Directives::close() {
  for (const Condition& condition : sources_.back().conditions)
    diagnostics_.error(condition.place, "a condition without its #endif");
  sources_.pop_back();
}

void Directives::carry_out(const SourceTokens& tokens) {
  const std::string_view word = tokens.size() > 1 ? tokens[1].text : "";
  const auto* const row = std::ranges::find_if(
      Row::kAll, [&](const Row& known) { return same_letters(word, known.word); });
  if (row == std::end(Row::kAll)) {
    if (taken()) fail(tokens[0], "an unknown directive");
  } else if (row->always || taken()) {
    (this->*row->carry_out)(tokens);
  }
}

void Directives::define(const SourceTokens& tokens) {
  const std::string_view fault = defines_.define(std::span(tokens).subspan(2));
  if (!fault.empty()) fail(tokens[0], fault);
}

void Directives::undefine(const SourceTokens& tokens) {
  if (tokens.size() != 3 || !tokens[2].is_name()) return fail(tokens[0], "#undef takes a name");
  defines_.undefine(tokens[2].text);
}

void Directives::begin_condition(const SourceTokens& tokens) {
  const bool named = tokens.size() == 3 && tokens[2].is_name();
  if (!named && taken()) fail(tokens[0], "a condition takes a name");
  const bool wanted = same_letters(tokens[1].text, "ifdef");
  const bool outer = taken();
  sources_.back().conditions.push_back(
      {tokens[0].place, outer && named && defines_.has(tokens[2].text) == wanted, outer});
  set_taken();
}

void Directives::turn_condition(const SourceTokens& tokens) {
  auto& conditions = sources_.back().conditions;
  if (conditions.empty() || conditions.back().in_else)
    return fail(tokens[0], "#else without #ifdef or #ifndef");
  conditions.back().taken = conditions.back().outer && !conditions.back().taken;
  conditions.back().in_else = true;
  set_taken();
}

void Directives::end_condition(const SourceTokens& tokens) {
  auto& conditions = sources_.back().conditions;
  if (conditions.empty()) return fail(tokens[0], "#endif without #ifdef or #ifndef");
  conditions.pop_back();
  set_taken();
}

bool Directives::taken() const {
  const auto& conditions = sources_.back().conditions;
  return conditions.empty() || conditions.back().taken;
}

void Directives::set_taken() {
  sources_.back().scanner.be_quiet(!taken());
}

void Directives::include(const SourceTokens& tokens) {
  if (tokens.size() != 3 || tokens[2].kind != SourceKind::kText)
    return fail(tokens[0], "#include takes the name of a file in quotes");
  if (sources_.size() >= kDeepestInclude)
    return fail(tokens[0], "files that include each other more than 64 deep");
  const std::string name(tokens[2].text.substr(1, tokens[2].text.size() - 2));
  std::string fault;
  const std::int32_t file = find_include(name, fault);
  if (file < 0) return fail(tokens[2], name + ' ' + fault);
  const Place included_at = tokens[0].place;
  open(file);
  sources_.back().included_at = included_at;
}

Place Directives::seen_from(std::int32_t file, Place place) const {
  Place seen = place;
  for (std::size_t i = sources_.size(); i > 0; --i) {
    if (sources_[i - 1].scanner.file() == file) return seen;
    seen = sources_[i - 1].included_at;
  }
  return place;
}

// The first that is there: in the folder of the file that includes it, then in the others.
std::int32_t Directives::find_include(const std::string& name, std::string& fault) {
  const std::string& including = files_[sources_.back().scanner.file()].name;
  const std::string own = including.substr(0, including.rfind('/') + 1);
  std::vector<std::string> paths = {name.starts_with('/') ? name : own + name};
  if (!name.starts_with('/'))
    for (const auto& folders : {folders_, installed_include_folders()})
      for (const std::string& folder : folders) paths.push_back(folder + '/' + name);
  struct stat status;
  const auto there = std::ranges::find_if(
      paths, [&](const std::string& path) { return file_ops().stat(path.c_str(), &status) == 0; });
  return files_.read(there == paths.end() ? name : *there, fault);
}

void Directives::rule(const SourceTokens& tokens) {
  std::unique_ptr<Rule> rule =
      parse_rule(std::span(tokens).subspan(2), place_behind(tokens.back()), diagnostics_);
  if (!rule) return;
  const std::string word = lower_text(tokens[1].text);
  rule->is_command = word.ends_with("command");
  rule->whole_words = word.starts_with('x');
  rule->file = files_[tokens[0].place.file].name;
  rule->line = tokens[0].place.line;
  rules_.add(std::move(rule));
}

void Directives::own_error(const SourceTokens& tokens) {
  fail(tokens[0], tokens.size() > 2 && !tokens[2].text.empty() ? tokens[2].text : "#error");
}

}  // namespace tarnel
