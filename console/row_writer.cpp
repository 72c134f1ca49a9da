#include "console/row_writer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "console/shown_text.h"
#include "term/glyphs.h"

namespace tarnel {
namespace {

constexpr int kWidestColumn = 40;
// Rows that are looked at before a table is begun: a list of any length takes no more memory.
constexpr std::size_t kKeptRows = 1000, kKeptBytes = 512 * 1024;
constexpr std::string_view kGap = "  ";

}  // namespace

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

void RowWriter::name_lines() {
  int widest = 0;
  for (const RowColumn& column : columns_) widest = std::max(widest, shown_width(column.name));
  for (const RowColumn& column : columns_) {
    const auto padding = static_cast<std::size_t>(widest - shown_width(column.name));
    names_.push_back(std::string(padding, ' ') + column.name + " = ");
  }
}

void RowWriter::open() {
  if (!is_for_person(style_.mode)) {
    written_.emplace(style_, columns_, table_, out_);
    return;
  }
  if (style_.mode == RowMode::kLine) return name_lines();
  const bool box = style_.mode == RowMode::kBox;
  if (box) write_rule("┌", "┬", "┐");
  if (!style_.headers) return;
  std::vector<RowCell> names;
  for (const RowColumn& column : columns_)
    names.push_back({CellKind::kText, column.is_mark ? std::string_view() : column.name});
  write_aligned(names);
  if (box) write_rule("├", "┼", "┤");
}

void RowWriter::close() {
  if (written_) written_->finish();
  if (style_.mode == RowMode::kBox) write_rule("└", "┴", "┘");
}

// --- Rows.

void RowWriter::write(std::span<const RowCell> cells) {
  if (written_)
    written_->add(cells);
  else if (is_aligned())
    write_aligned(cells);
  else
    write_lines(cells);
  ++rows_;
}

// A field a line; further lines of a text stand below its first.
void RowWriter::write_lines(std::span<const RowCell> cells) {
  if (rows_ > 0) out_.put('\n');
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string text =
        cells[i].kind == CellKind::kNothing ? style_.nothing : shown_lines(cells[i]);
    if (columns_[i].is_mark && text.empty()) continue;
    out_.put(names_[i]);
    const auto indent = static_cast<std::size_t>(shown_width(names_[i]));
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
