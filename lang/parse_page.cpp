// Pages: their texts, what they show, and the procedure that all of it makes.
#include <algorithm>

#include "lang/parse_statement.h"

namespace tarnel {
namespace {

constexpr std::string_view kParameters[] = {"aEnv", "aForm", "oState"};

bool is_blank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

void Parser::begin_page() {
  const std::optional<Place> start = reader_.page_start();
  if (!start) return;
  for (const std::string_view name : kParameters) {
    PlacedText parameter;
    parameter.begin(*start);
    parameter.add_at(name, *start);
    page_parameters_.push_back({{tree_.text.text().size(), name.size()}, {}, {}});
    tree_.text.append(parameter);
  }
}

// A page is one procedure, also an empty one.
void Parser::end_page() {
  if (!reader_.page_start()) return;
  const bool there = std::ranges::any_of(
      tree_.procedures, [](const auto& one) { return one.kind == ProcedureKind::kPage; });
  if (!there) tree_.procedures.insert(tree_.procedures.begin(), page_procedure());
}

// Nobody calls it: a page named like a function doesn't take its place.
ProcedureTree Parser::page_procedure() const {
  ProcedureTree made;
  made.own_name = name_;
  made.place = *reader_.page_start();
  made.kind = ProcedureKind::kPage;
  made.parameters = page_parameters_;
  return made;
}

bool Parser::behind_page() const {
  return in_class_ || !tree_.classes.empty() ||
         (!tree_.procedures.empty() && tree_.procedures.back().kind != ProcedureKind::kPage);
}

void Parser::page_text() {
  const std::string_view text = reader_.literal();
  const bool before_case = !open_.empty() && open_.back().statement.arms.empty();
  if (is_blank(text) && (behind_page() || before_case)) return;
  if (behind_page())
    return error(place_, "procedures and classes stand behind all texts of a page");
  Statement made{StatementKind::kText, line()};
  made.literal = text;
  add(std::move(made));
}

void Parser::page_value(const StatementLexer& words) {
  if (behind_page())
    return error(place_, "procedures and classes stand behind all that a page shows");
  Statement made{StatementKind::kShow, line(), {words.rest_span()}};
  made.literal = reader_.kind() == PieceKind::kRaw ? "__tnraw" : "__tnshow";
  add(std::move(made));
}

}  // namespace tarnel
