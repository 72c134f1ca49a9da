#include "console/row_writer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"
#include "term/glyphs.h"

namespace tarnel {
namespace {

constexpr int kWidestColumn = 40;
// Rows that are looked at before a table is begun: a list of any length takes no more memory.
constexpr std::size_t kKeptRows = 1000, kKeptBytes = 512 * 1024;
constexpr std::string_view kGap = "  ";

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
  std::string text;
  ByteBuffer out([&](std::string_view bytes) {
    text = bytes;
    return true;
  });
  put_json_text(out, name);
  out.flush();
  return text;
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

RowStyle& session_style() {
  static RowStyle style;
  return style;
}

RowWriter::RowWriter(const RowStyle& style, std::vector<RowColumn> columns, std::string table,
                     int window, ByteBuffer::Sink sink)
    : style_(style),
      columns_(std::move(columns)),
      table_(std::move(table)),
      window_(style.chosen ? 0 : window),
      out_(std::move(sink)) {
  if (is_aligned()) return;
  settled_ = true;
  open();
}

bool RowWriter::add(std::span<const RowCell> cells) {
  if (settled_) {
    write(cells);
    return out_.flush_many();
  }
  keep(cells);
  if (kept_.size() >= kKeptRows || kept_bytes_ >= kKeptBytes) settle(false);
  return out_.flush_many();
}

bool RowWriter::finish() {
  if (!settled_) settle(true);
  close();
  return out_.flush();
}

void RowWriter::keep(std::span<const RowCell> cells) {
  std::vector<KeptCell>& row = kept_.emplace_back();
  for (const RowCell& cell : cells) {
    row.push_back({cell.kind, std::string(cell.text)});
    kept_bytes_ += cell.text.size() + sizeof(KeptCell);
  }
}

// The widths are known, or that lines are the better form: writes what was kept. `all`: no row follows.
void RowWriter::settle(bool all) {
  measure(all);
  if (window_ > 0 && total_width() > window_) style_.mode = RowMode::kLine;
  settled_ = true;
  open();
  std::vector<RowCell> cells(columns_.size());
  for (const std::vector<KeptCell>& row : kept_) {
    std::ranges::transform(row, cells.begin(), [](const KeptCell& kept) {
      return RowCell{kept.kind, kept.text};
    });
    write(cells);
  }
  kept_.clear();
}

// Where rows follow that nobody has seen, a column is as wide as its field.
void RowWriter::measure(bool all) {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    int width = style_.headers && !columns_[i].is_mark ? shown_width(columns_[i].name) : 0;
    if (!all) width = std::max(width, columns_[i].width);
    for (const std::vector<KeptCell>& row : kept_)
      width = std::max(width, row[i].kind == CellKind::kNothing
                                  ? shown_width(style_.nothing)
                                  : shown_width(shown_cell({row[i].kind, row[i].text})));
    const int wanted = i < style_.widths.size() ? style_.widths[i] : 0;
    widths_.push_back(wanted != 0 ? std::abs(wanted) : std::min(width, kWidestColumn));
  }
}

int RowWriter::total_width() const {
  const int between = style_.mode == RowMode::kBox ? 3 : static_cast<int>(kGap.size());
  int total = style_.mode == RowMode::kBox ? 1 : -between;
  for (const int width : widths_) total += width + between;
  return total;
}

// --- What stands around cells.

void RowWriter::fence_fields(std::string_view first, std::string_view between,
                             std::string_view end) {
  for (std::size_t i = 0; i < columns_.size(); ++i) fences_.emplace_back(i == 0 ? first : between);
  fences_.emplace_back(end);
}

void RowWriter::fence_names() {
  for (std::size_t i = 0; i < columns_.size(); ++i)
    fences_.push_back((i == 0 ? "{" : ",") + json_name(columns_[i].name) + ":");
  fences_.emplace_back("}");
}

void RowWriter::make_fences() {
  switch (style_.mode) {
    case RowMode::kCsv:
      return fence_fields("", ",", "\n");
    case RowMode::kTsv:
      return fence_fields("", "\t", "\n");
    case RowMode::kJson:
    case RowMode::kJsonl:
      return fence_names();
    case RowMode::kMarkdown:
      return fence_fields("| ", " | ", " |\n");
    case RowMode::kHtml:
      return fence_fields("<tr><td>", "</td><td>", "</td></tr>\n");
    case RowMode::kInsert:
      return fence_fields("INSERT INTO " + sql_name(table_) + " VALUES(", ",", ");\n");
    default: {  // names to the right, all as wide as the widest
      int widest = 0;
      for (const RowColumn& column : columns_) widest = std::max(widest, shown_width(column.name));
      for (const RowColumn& column : columns_) {
        const auto padding = static_cast<std::size_t>(widest - shown_width(column.name));
        fences_.push_back(std::string(padding, ' ') + column.name + " = ");
      }
    }
  }
}

void RowWriter::open() {
  make_fences();
  switch (style_.mode) {
    case RowMode::kBox:
      write_rule("┌", "┬", "┐");
      [[fallthrough]];
    case RowMode::kTable: {
      std::vector<RowCell> names;
      for (const RowColumn& column : columns_)
        names.push_back({CellKind::kText, column.is_mark ? std::string_view() : column.name});
      if (style_.headers) write_aligned(names);
      if (style_.headers && style_.mode == RowMode::kBox) write_rule("├", "┼", "┤");
      return;
    }
    case RowMode::kMarkdown:
      return open_markdown();
    case RowMode::kJson:
      return out_.put('[');
    case RowMode::kInsert:
      return open_sql();
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
void RowWriter::open_delimited() {
  if (!style_.headers) return;
  const bool html = style_.mode == RowMode::kHtml;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    out_.put(html ? (i == 0 ? "<tr><th>" : "</th><th>") : std::string_view(fences_[i]));
    row_of(style_.mode).put(out_, {CellKind::kText, columns_[i].name});
  }
  out_.put(html ? "</th></tr>\n" : std::string_view(fences_.back()));
}

void RowWriter::open_sql() {
  if (!style_.makes_table) return;
  out_.put("BEGIN;\nCREATE TABLE " + sql_name(table_) + "(");
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i > 0) out_.put(',');
    out_.put(sql_name(columns_[i].name) + " " + sql_type(columns_[i]));
  }
  out_.put(");\n");
}

void RowWriter::open_markdown() {
  for (const RowColumn& column : columns_) {
    out_.put("| ");
    put_markdown(out_, {CellKind::kText, style_.headers ? column.name : std::string_view()});
    out_.put(' ');
  }
  out_.put("|\n");
  for (const RowColumn& column : columns_)
    out_.put(column.type == 'N' || column.type == 'F' ? "|--:" : "|---");
  out_.put("|\n");
}

void RowWriter::close() {
  switch (style_.mode) {
    case RowMode::kBox:
      return write_rule("└", "┴", "┘");
    case RowMode::kJson:
      return out_.put("]\n");
    case RowMode::kInsert:
      return out_.put(style_.makes_table ? "COMMIT;\n" : "");
    case RowMode::kHtml:
      return out_.put("</table>\n");
    default:
      return;
  }
}

// --- Rows.

void RowWriter::write(std::span<const RowCell> cells) {
  if (is_aligned())
    write_aligned(cells);
  else if (style_.mode == RowMode::kLine)
    write_lines(cells);
  else
    write_fenced(cells);
  ++rows_;
}

void RowWriter::write_fenced(std::span<const RowCell> cells) {
  const auto put = row_of(style_.mode).put;
  if (style_.mode == RowMode::kJson && rows_ > 0) out_.put(",\n");
  const bool null = style_.mode == RowMode::kJson || style_.mode == RowMode::kJsonl;
  std::string_view nothing = style_.nothing;
  if (style_.mode == RowMode::kInsert) nothing = "NULL";
  if (null) nothing = "null";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    out_.put(fences_[i]);
    if (cells[i].kind != CellKind::kNothing)
      put(out_, cells[i]);
    else
      out_.put(nothing);
  }
  out_.put(fences_.back());
  if (style_.mode == RowMode::kJsonl) out_.put('\n');
}

// A field a line; further lines of a text stand below its first.
void RowWriter::write_lines(std::span<const RowCell> cells) {
  if (rows_ > 0) out_.put('\n');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string text =
        cells[i].kind == CellKind::kNothing ? style_.nothing : shown_lines(cells[i]);
    if (columns_[i].is_mark && text.empty()) continue;
    out_.put(fences_[i]);
    const auto indent = static_cast<std::size_t>(shown_width(fences_[i]));
    for (const char c : text) {
      out_.put(c);
      if (c == '\n') out_.put(indent, ' ');
    }
    out_.put('\n');
  }
}

void RowWriter::write_aligned(std::span<const RowCell> cells) {
  const bool box = style_.mode == RowMode::kBox;
  std::size_t blanks = 0;  // those that end a line of a table are left out
  for (std::size_t i = 0; i < cells.size(); ++i) {
    std::string text = cells[i].kind == CellKind::kNothing ? style_.nothing : shown_cell(cells[i]);
    int width = shown_width(text);
    if (width > widths_[i]) {
      const int dots = std::min(3, widths_[i]);
      text = std::string(fitting(text, widths_[i] - dots)).append(std::size_t(dots), '.');
      width = shown_width(text);
    }
    const auto padding = static_cast<std::size_t>(widths_[i] - width);
    const int wanted = i < style_.widths.size() ? style_.widths[i] : 0;
    const bool right = wanted < 0 || (wanted == 0 && (cells[i].kind == CellKind::kNumber));
    if (box)
      out_.put("│ ");
    else if (i > 0)
      blanks += kGap.size();
    const std::size_t before = right ? padding : 0;
    if (!text.empty() || box) {
      out_.put(blanks + before, ' ');
      out_.put(text);
      blanks = 0;
    } else {
      blanks += before;
    }
    blanks += padding - before;
    if (box) out_.put(std::exchange(blanks, 0) + 1, ' ');
  }
  out_.put(box ? std::string_view("│\n") : std::string_view("\n"));
}

void RowWriter::write_rule(std::string_view left, std::string_view between,
                           std::string_view right) {
  for (std::size_t i = 0; i < widths_.size(); ++i) {
    out_.put(i == 0 ? left : between);
    for (int n = 0; n < widths_[i] + 2; ++n) out_.put("─");
  }
  out_.put(right);
  out_.put('\n');
}

}  // namespace tarnel
