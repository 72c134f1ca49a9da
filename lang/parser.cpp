#include "lang/parser.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/signals.h"
#include "core/text.h"
#include "lang/parse_statement.h"

namespace tarnel {

ProgramTree parse_program(StatementReader& reader, Diagnostics& diagnostics,
                          std::string_view name) {
  return Parser(reader, diagnostics, name).parse();
}

ProgramTree Parser::parse() {
  begin_page();
  for (PlacedText statement; !diagnostics_.full() && reader_.next(statement);) {
    look_at_signals();
    told_ = false;
    if (reader_.kind() == PieceKind::kText) {
      place_ = statement.start();
      page_text();
      continue;
    }
    const std::size_t offset = tree_.text.text().size();
    tree_.text.append(statement);
    place_ = statement.start();
    StatementLexer words(tree_.text.text().substr(offset, statement.text().size()), offset);
    if (reader_.kind() == PieceKind::kStatements)
      this->statement(words);
    else
      page_value(words);
  }
  end_procedure();
  end_page();
  return std::move(tree_);
}

// A statement that an included text puts into a procedure is where that is included.
std::int32_t Parser::line() const {
  std::optional<std::int32_t> file;
  if (reading_) file = tree_.procedures.back().place.file;
  return reader_.seen_from(file, place_).line;
}

// --- Bodies and blocks.

Body& Parser::body() {
  if (!open_.empty()) return open_.back().statement.arms.back().body;
  return procedure().body;
}

// The procedure that is being read. Statements before the first declaration make one named after the file.
ProcedureTree& Parser::procedure() {
  if (!reading_) {
    if (!tree_.procedures.empty()) error(place_, "a statement outside of a procedure");
    tree_.procedures.push_back(reader_.page_start() ? page_procedure() : ProcedureTree{});
    tree_.procedures.back().own_name = name_;
    tree_.procedures.back().place =
        reader_.page_start().value_or(reader_.seen_from(std::nullopt, place_));
    reading_ = true;
  }
  return tree_.procedures.back();
}

void Parser::add(Statement statement) {
  if (!open_.empty() && open_.back().statement.arms.empty()) {
    error(place_, "a statement between DO CASE and its first CASE");
    return;
  }
  body().push_back(std::move(statement));
}

void Parser::open(Statement statement) {
  if (open_.size() >= kDeepestBlocks) {
    error(place_, "statements are nested too deeply");
    return;
  }
  if (open_.empty()) static_cast<void>(procedure());
  open_.push_back({std::move(statement), place_});
}

void Parser::close() {
  Statement done = std::move(open_.back().statement);
  open_.pop_back();
  add(std::move(done));
}

void Parser::end_procedure() {
  while (!open_.empty()) {
    const Open& left = open_.back();
    ++tree_.without_end;
    error(place_, std::string(block_words(left.statement.kind).name) + " of line " +
                      std::to_string(left.place.line) + " has no " +
                      std::string(block_words(left.statement.kind).end));
    open_.pop_back();
  }
  reading_ = false;
  if (std::exchange(in_class_, false))
    error(tree_.classes.back().place,
          "CLASS of line " + std::to_string(tree_.classes.back().place.line) + " has no ENDCLASS");
}

// --- Statements.

namespace {

struct Word {
  std::string_view word;
  void (Parser::*read)(StatementLexer& words);
  enum Begins { kName, kExpression, kAlone } begins;  // what the statement goes on with
};

// Signs behind a word that make it the variable of an assignment.
bool assigns(Token token) {
  return (token >= Token::kAssign && token <= Token::kPowerAssign) || token == Token::kArrow;
}

}  // namespace

// Words, and what has to stand behind them; with anything else they are names in an expression.
static constexpr Word kWords[] = {
    {"if", &Parser::if_statement, Word::kExpression},
    {"else", &Parser::else_statement, Word::kAlone},  // before the word that begins so
    {"elseif", &Parser::elseif_statement, Word::kExpression},
    {"endif", &Parser::end_if, Word::kAlone},
    {"do", &Parser::do_statement, Word::kName},
    {"while", &Parser::while_statement, Word::kExpression},
    {"enddo", &Parser::end_do, Word::kAlone},
    {"for", &Parser::for_statement, Word::kName},
    {"next", &Parser::next_statement, Word::kAlone},
    {"case", &Parser::case_statement, Word::kExpression},
    {"otherwise", &Parser::otherwise_statement, Word::kAlone},
    {"endcase", &Parser::end_case, Word::kAlone},
    {"loop", &Parser::loop_statement, Word::kAlone},
    {"exit", &Parser::exit_statement, Word::kAlone},
    {"return", &Parser::return_statement, Word::kExpression},
    {"begin", &Parser::begin_statement, Word::kName},
    {"recover", &Parser::recover_statement, Word::kAlone},
    {"endsequence", &Parser::end_sequence, Word::kAlone},
    {"break", &Parser::break_statement, Word::kExpression},
    {"end", &Parser::end_statement, Word::kAlone},
    {"local", &Parser::local_statement, Word::kName},
    {"static", &Parser::static_statement, Word::kName},
    {"private", &Parser::private_statement, Word::kName},
    {"public", &Parser::public_statement, Word::kName},
    {"parameters", &Parser::parameters_statement, Word::kName},
    {"memvar", &Parser::memvar_statement, Word::kName},
    {"field", &Parser::field_statement, Word::kName},
    {"procedure", &Parser::procedure_statement, Word::kName},
    {"function", &Parser::function_statement, Word::kName},
    {"init", &Parser::init_statement, Word::kName},
    {"text", &Parser::text_statement, Word::kAlone},
    {"class", &Parser::class_statement, Word::kName},
    {"method", &Parser::method_statement, Word::kName},
    {"var", &Parser::var_statement, Word::kName},
    {"endclass", &Parser::end_class, Word::kAlone},
};

// What begins as a command does may be an expression only if a sign follows its first word: a name alone does nothing.
static bool may_be_expression(const StatementLexer& words) {
  if (words.token() != Token::kName) return false;
  switch (words.following().token()) {
    case Token::kEnd:
    case Token::kName:
    case Token::kNumber:
    case Token::kText:
    case Token::kTrue:
    case Token::kFalse:
    case Token::kInvalid:
      return false;
    default:
      return true;
  }
}

// Is the word followed by what its statement goes on with?
static bool goes_on(const Word& word, StatementLexer words) {
  const bool call = words.before_paren();
  words.next();
  switch (word.begins) {
    case Word::kName:
      return words.token() == Token::kName || words.token() == Token::kAmpersand;
    case Word::kAlone:  // what follows is for the statement to judge, if it can be nothing else
      return words.at_end() || words.token() == Token::kName;
    case Word::kExpression:
      break;
  }
  if (assigns(words.token()) || words.token() == Token::kEqual) return false;
  if (!call || word.word != "if") return true;
  words.next();  // if(a, b, c)
  words.take_expression();
  return words.token() != Token::kComma;
}

void Parser::statement(StatementLexer words) {
  if (in_class_ &&
      (words.at_word("procedure") || words.at_word("function") || words.at_word("class")))
    end_procedure();  // tells that the class lacks its end
  if (in_class_ && !words.at_word("method") && !words.at_word("var") && !words.at_word("endclass"))
    return error(place_, "only VAR and METHOD may stand between CLASS and ENDCLASS");
  if (words.token() == Token::kName) {
    const auto* const known = std::ranges::find_if(
        kWords, [&](const Word& w) { return words.at_word(w.word) && goes_on(w, words); });
    if (known != std::end(kWords)) {
      words.next();
      return (this->*known->read)(words);
    }
  }
  if (const auto unmatched = reader_.unmatched(); unmatched && !may_be_expression(words))
    return unexpected(unmatched->place, unmatched->token);
  add({StatementKind::kExpression, line(), {words.rest_span()}});
}

// Nothing may stand behind a statement that is complete.
void Parser::expect_end(const StatementLexer& words) {
  if (!words.at_end()) unexpected(words);
}

void Parser::unexpected(const StatementLexer& words) {
  const std::string_view found =
      words.lexeme().empty() ? words.rest().substr(0, 1) : words.lexeme();
  unexpected(tree_.text.place_at(words.place()), words.at_end() ? std::string_view() : found);
}

// Once in a statement: what follows is wrong for the same reason.
void Parser::unexpected(Place where, std::string_view token) {
  if (std::exchange(told_, true)) return;
  error(where, token.empty() ? "the statement lacks its end"
                             : quoted_token(token) + " isn't expected here");
}

// --- Conditions.

Span Parser::condition(const StatementLexer& words) {
  if (words.at_end()) unexpected(words);
  return words.rest_span();
}

void Parser::if_statement(StatementLexer& words) {
  open({StatementKind::kIf, line(), {}, {{line(), condition(words), {}}}});
}

// The innermost block, if it is one of that kind; else an error.
Parser::Open* Parser::innermost(StatementKind kind, std::string_view word) {
  if (!open_.empty() && open_.back().statement.kind == kind) return &open_.back();
  if (open_.empty())
    error(place_, std::string(word) + " without " + std::string(block_words(kind).name));
  else
    error(place_, std::string(word) + " within the " +
                      std::string(block_words(open_.back().statement.kind).name) + " of line " +
                      std::to_string(open_.back().place.line));
  return nullptr;
}

void Parser::another_arm(StatementKind kind, std::string_view word, Span condition) {
  Open* const block = innermost(kind, word);
  if (block == nullptr) return;
  if (block->last_arm) return error(place_, std::string(word) + " behind the last branch");
  block->last_arm = condition.empty();
  block->statement.arms.push_back({line(), condition, {}});
}

void Parser::elseif_statement(StatementLexer& words) {
  another_arm(StatementKind::kIf, "ELSEIF", condition(words));
}
void Parser::else_statement(StatementLexer& words) {
  expect_end(words);
  another_arm(StatementKind::kIf, "ELSE", {});
}
void Parser::case_statement(StatementLexer& words) {
  another_arm(StatementKind::kCase, "CASE", condition(words));
}
void Parser::otherwise_statement(StatementLexer& words) {
  expect_end(words);
  another_arm(StatementKind::kCase, "OTHERWISE", {});
}

// --- Loops.

void Parser::do_statement(StatementLexer& words) {
  if (words.take_word("while")) return while_statement(words);
  if (words.at_word("case") && words.following().at_end()) {
    open({StatementKind::kCase, line()});
    return;
  }
  add({StatementKind::kDo, line(), {words.rest_span()}});
}

void Parser::while_statement(StatementLexer& words) {
  open({StatementKind::kWhile, line(), {}, {{line(), condition(words), {}}}});
}

void Parser::for_statement(StatementLexer& words) {
  if (words.at_word("each") && words.following().token() == Token::kName) return for_each(words);
  Span parts[4];  // counter, first value, limit, step
  parts[0] = take_target(words);
  const bool right = (words.take(Token::kAssign) || words.take(Token::kEqual)) &&
                     !(parts[1] = words.take_expression({"to"})).empty() && words.take_word("to") &&
                     !(parts[2] = words.take_expression({"step"})).empty() &&
                     (!words.take_word("step") || !(parts[3] = words.take_expression()).empty()) &&
                     words.at_end();
  if (!right) unexpected(words);
  open({StatementKind::kFor, line(), {parts[0], parts[1], parts[2], parts[3]}, {{line(), {}, {}}}});
}

void Parser::for_each(StatementLexer& words) {
  words.next();
  const Span variable = words.take_expression({"in"});
  if (!words.take_word("in") || words.at_end()) unexpected(words);
  open({StatementKind::kForEach, line(), {variable, words.rest_span()}, {{line(), {}, {}}}});
}

// NEXT may name the counter.
void Parser::next_statement(StatementLexer& words) {
  if (!open_.empty() && open_.back().statement.kind == StatementKind::kForEach)
    return end_block(StatementKind::kForEach, "NEXT", words, true);
  end_block(StatementKind::kFor, "NEXT", words, true);
}

void Parser::loop_statement(StatementLexer& words) {
  jump_statement(StatementKind::kLoop, "LOOP", words);
}

void Parser::exit_statement(StatementLexer& words) {
  if (words.at_word("procedure")) {
    words.next();
    return declaration(words, ProcedureKind::kExit, false);
  }
  jump_statement(StatementKind::kExit, "EXIT", words);
}

void Parser::jump_statement(StatementKind kind, std::string_view word, StatementLexer& words) {
  expect_end(words);
  const bool within = std::ranges::any_of(
      open_, [](const Open& block) { return block_words(block.statement.kind).is_loop; });
  if (!within) error(place_, std::string(word) + " outside of a loop");
  add({kind, line()});
}

// --- Ends.

void Parser::end_block(StatementKind kind, std::string_view word, StatementLexer& words,
                       bool names_counter) {
  Open* const block = innermost(kind, word);
  if (block == nullptr) return;
  if (names_counter && !words.at_end()) {
    const std::string_view counter = tree_[block->statement.spans[0]];
    if (!same_letters(counter, words.rest()))
      error(tree_.text.place_at(words.place()), "NEXT of line " +
                                                    std::to_string(block->place.line) +
                                                    " belongs to " + std::string(counter));
  } else {
    expect_end(words);
  }
  close();
}

void Parser::end_if(StatementLexer& words) {
  end_block(StatementKind::kIf, "ENDIF", words);
}
void Parser::end_do(StatementLexer& words) {
  end_block(StatementKind::kWhile, "ENDDO", words);
}
void Parser::end_case(StatementLexer& words) {
  end_block(StatementKind::kCase, "ENDCASE", words);
}
void Parser::end_sequence(StatementLexer& words) {
  end_block(StatementKind::kSequence, "ENDSEQUENCE", words);
}

// END ends the innermost block; a word behind it tells which that has to be.
void Parser::end_statement(StatementLexer& words) {
  if (words.at_end()) {
    if (open_.empty()) return error(place_, "END without a block that it could end");
    return close();
  }
  for (const StatementKind kind : {StatementKind::kIf, StatementKind::kWhile, StatementKind::kCase,
                                   StatementKind::kSequence, StatementKind::kFor}) {
    if (!words.take_word(block_words(kind).end_word)) continue;
    const bool each = kind == StatementKind::kFor && !open_.empty() &&
                      open_.back().statement.kind == StatementKind::kForEach;
    return end_block(each ? StatementKind::kForEach : kind, "END", words);
  }
  unexpected(words);
}

// --- Sequences and ways out.

void Parser::begin_statement(StatementLexer& words) {
  if (!words.take_word("sequence")) return unexpected(words);
  expect_end(words);
  open({StatementKind::kSequence, line(), {{}}, {{line(), {}, {}}}});
}

void Parser::recover_statement(StatementLexer& words) {
  Open* const block = innermost(StatementKind::kSequence, "RECOVER");
  if (block == nullptr) return;
  if (block->last_arm) return error(place_, "a second RECOVER");
  block->last_arm = true;
  if (!words.at_end()) {
    if (!words.take_word("using") || words.at_end()) return unexpected(words);
    block->statement.spans[0] = words.rest_span();
  }
  block->statement.arms.push_back({line(), {}, {}});
}

void Parser::return_statement(StatementLexer& words) {
  add({StatementKind::kReturn, line(), {words.rest_span()}});
}
void Parser::break_statement(StatementLexer& words) {
  const bool nothing = words.rest() == "()";  // as the function without an argument
  add({StatementKind::kBreak, line(), {nothing ? Span{} : words.rest_span()}});
}

// Lines as they stand, up to one of ENDTEXT.
void Parser::text_statement(StatementLexer& words) {
  expect_end(words);
  Statement text{StatementKind::kText, line()};
  std::string_view raw;
  for (Place place; reader_.raw_line(raw, place);) {
    if (is_word(trim_blanks(raw), "endtext")) return add(std::move(text));
    text.literal.append(raw).append("\n");
  }
  ++tree_.without_end;
  error(place_, "TEXT of line " + std::to_string(place_.line) + " has no ENDTEXT");
}

}  // namespace tarnel
