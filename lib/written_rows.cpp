#include "lib/written_rows.h"

#include <algorithm>
#include <cassert>

#include "core/text.h"

namespace tarnel {
namespace {

struct ModeRow {
  RowMode mode;
  std::string_view name, extension;
  void (*put)(ByteBuffer& out, const RowCell& cell);
};
constexpr ModeRow kModes[] = {
    {RowMode::kTable, "table", "", nullptr},
    {RowMode::kBox, "box", "", nullptr},
    {RowMode::kLine, "line", "", nullptr},
    {RowMode::kCsv, "csv", "csv", put_csv},
    {RowMode::kTsv, "tsv", "tsv", put_tsv},
    {RowMode::kJson, "json", "json", put_json},
    {RowMode::kJsonl, "jsonl", "jsonl", put_json},
    {RowMode::kMarkdown, "markdown", "md", put_markdown},
    {RowMode::kHtml, "html", "html", put_html},
    {RowMode::kInsert, "insert", "sql", put_sql},
};
static_assert(std::ranges::is_sorted(kModes, {}, &ModeRow::mode));

const ModeRow& row_of(RowMode mode) {
  return kModes[static_cast<std::size_t>(mode)];
}

// A name in a statement of SQL.
std::string sql_name(std::string_view name) {
  return '"' + std::string(name) + '"';
}

const char* sql_type(const RowColumn& column) {
  const bool numeric = column.type == 'N' || column.type == 'F';
  if (column.type == 'L' || (column.type == 'N' && column.decimals == 0)) return "INTEGER";
  return numeric ? "NUMERIC" : "TEXT";
}

std::string json_name(std::string_view name) {
  ByteBuffer out;
  put_json_text(out, name);
  return std::string(out.text());
}

}  // namespace

bool find_mode(std::string_view name, RowMode& mode) {
  for (const ModeRow& row : kModes)
    if (same_letters(name, row.name) || (!name.empty() && same_letters(name, row.extension))) {
      mode = row.mode;
      return true;
    }
  return false;
}

std::string_view mode_name(RowMode mode) {
  return row_of(mode).name;
}

WrittenRows::WrittenRows(const RowForm& form, const std::vector<RowColumn>& columns,
                         std::string_view table, ByteBuffer& out)
    : form_(form), columns_(columns), out_(out), nothing_(form_.nothing) {
  assert(!is_for_person(form.mode));
  if (form_.mode == RowMode::kInsert) nothing_ = "NULL";
  if (form_.mode == RowMode::kJson || form_.mode == RowMode::kJsonl) nothing_ = "null";
  make_fences(table);
  open(table);
}

void WrittenRows::fence_fields(std::string_view first, std::string_view between,
                               std::string_view end) {
  for (std::size_t i = 0; i < columns_.size(); ++i) fences_.emplace_back(i == 0 ? first : between);
  fences_.emplace_back(end);
}

void WrittenRows::fence_names() {
  for (std::size_t i = 0; i < columns_.size(); ++i)
    fences_.push_back((i == 0 ? "{" : ",") + json_name(columns_[i].name) + ":");
  fences_.emplace_back("}");
}

void WrittenRows::make_fences(std::string_view table) {
  switch (form_.mode) {
    case RowMode::kCsv:
      return fence_fields("", ",", "\n");
    case RowMode::kTsv:
      return fence_fields("", "\t", "\n");
    case RowMode::kMarkdown:
      return fence_fields("| ", " | ", " |\n");
    case RowMode::kHtml:
      return fence_fields("<tr><td>", "</td><td>", "</td></tr>\n");
    case RowMode::kInsert:
      return fence_fields("INSERT INTO " + sql_name(table) + " VALUES(", ",", ");\n");
    default:
      return fence_names();
  }
}

void WrittenRows::open(std::string_view table) {
  switch (form_.mode) {
    case RowMode::kMarkdown:
      return open_markdown();
    case RowMode::kJson:
      return out_.put('[');
    case RowMode::kInsert:
      return open_sql(table);
    case RowMode::kHtml:
      out_.put("<table>\n");
      [[fallthrough]];
    case RowMode::kCsv:
    case RowMode::kTsv:
      return open_delimited();
    default:
      return;
  }
}

// The names as a row of texts.
void WrittenRows::open_delimited() {
  if (!form_.headers) return;
  const bool html = form_.mode == RowMode::kHtml;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    out_.put(html ? (i == 0 ? "<tr><th>" : "</th><th>") : std::string_view(fences_[i]));
    row_of(form_.mode).put(out_, {CellKind::kText, columns_[i].name});
  }
  out_.put(html ? "</th></tr>\n" : std::string_view(fences_.back()));
}

void WrittenRows::open_sql(std::string_view table) {
  if (!form_.makes_table) return;
  out_.put("BEGIN;\nCREATE TABLE " + sql_name(table) + "(");
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i > 0) out_.put(',');
    out_.put(sql_name(columns_[i].name) + " " + sql_type(columns_[i]));
  }
  out_.put(");\n");
}

void WrittenRows::open_markdown() {
  for (const RowColumn& column : columns_) {
    out_.put("| ");
    put_markdown(out_, {CellKind::kText, form_.headers ? column.name : std::string_view()});
    out_.put(' ');
  }
  out_.put("|\n");
  for (const RowColumn& column : columns_)
    out_.put(column.type == 'N' || column.type == 'F' ? "|--:" : "|---");
  out_.put("|\n");
}

void WrittenRows::finish() {
  switch (form_.mode) {
    case RowMode::kJson:
      return out_.put("]\n");
    case RowMode::kInsert:
      return out_.put(form_.makes_table ? "COMMIT;\n" : "");
    case RowMode::kHtml:
      return out_.put("</table>\n");
    default:
      return;
  }
}

void WrittenRows::add(std::span<const RowCell> cells) {
  const auto put = row_of(form_.mode).put;
  if (form_.mode == RowMode::kJson && any_) out_.put(",\n");
  any_ = true;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    out_.put(fences_[i]);
    if (cells[i].kind != CellKind::kNothing)
      put(out_, cells[i]);
    else
      out_.put(nothing_);
  }
  out_.put(fences_.back());
  if (form_.mode == RowMode::kJsonl) out_.put('\n');
}

}  // namespace tarnel
