#include "lang/page_text.h"

#include <algorithm>

#include "core/text.h"

namespace tarnel {
namespace {

constexpr std::string_view kOpen = "<%", kClose = "%>", kCommentOpen = "--", kCommentClose = "--%>";

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

// Goes over a tag for its end.
class TagScan {
 public:
  TagScan(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  // Where its %> begins, npos without one.
  std::size_t end() {
    bool first = true;  // of a statement
    char before = '\0';
    while (at_ < text_.size() && !text_.substr(at_).starts_with(kClose)) {
      const char c = text_[at_];
      if (begins_comment(first)) {
        skip_comment();
        continue;
      }
      if (opens_text(c, before)) {
        skip_text(c == '[' ? ']' : c == '`' ? '\'' : c);
        before = ')';
        first = false;
        continue;
      }
      if (c == '\n' || c == ';') {
        first = true;
        before = '\0';
      } else if (!is_blank(c)) {
        first = false;
        before = c;
      }
      ++at_;
    }
    return at_ < text_.size() ? at_ : std::string_view::npos;
  }

 private:
  bool begins_comment(bool first) const {
    const std::string_view rest = text_.substr(at_);
    if (first && rest.starts_with('*')) return true;
    return rest.starts_with("&&") || rest.starts_with("/*") ||
           (rest.starts_with("//") && !is_empty_date());
  }

  // {//}, with blanks or without.
  bool is_empty_date() const {
    const auto next = [&](std::size_t i, std::size_t step) {
      while (i < text_.size() && is_blank(text_[i])) i += step;
      return i < text_.size() ? text_[i] : '\0';
    };
    return next(at_ - 1, static_cast<std::size_t>(-1)) == '{' && next(at_ + 2, 1) == '}';
  }

  // To its end, or to the end of the tag in it.
  void skip_comment() {
    if (tag_end_ < at_) tag_end_ = std::min(text_.find(kClose, at_), text_.size());
    const std::string_view rest = text_.substr(0, tag_end_);
    const bool over_lines = rest.substr(at_).starts_with("/*");
    const std::size_t end = over_lines ? rest.find("*/", at_ + 2) : rest.find('\n', at_);
    at_ = end == std::string_view::npos ? tag_end_ : end + (over_lines ? 2 : 0);
  }

  static bool opens_text(char c, char before) {
    if (c == '"' || c == '\'' || c == '`') return true;
    const char letter = lower_letter(before);
    const bool value = (letter >= 'a' && letter <= 'z') || (before >= '0' && before <= '9') ||
                       before == '_' || before == ')' || before == ']' || before == '}';
    return c == '[' && !value;
  }

  // A quote that isn't closed in its line opens no text.
  void skip_text(char close) {
    if (line_end_ <= at_) {
      line_end_ = std::min(text_.find('\n', at_), text_.size());
      unclosed_.clear();
    }
    ++at_;
    if (unclosed_.find(close) != std::string::npos) return;
    const std::size_t end = text_.substr(0, line_end_).find(close, at_);
    if (end == std::string_view::npos)
      unclosed_ += close;
    else
      at_ = end + 1;
  }

  std::string_view text_;
  std::size_t at_;
  // What was found lying ahead, so that nothing is gone over for each sign anew.
  std::size_t tag_end_ = 0, line_end_ = 0;
  std::string unclosed_;  // quotes that the rest of the line doesn't have
};

class PageCutter {
 public:
  PageCutter(const SourceFiles& files, std::int32_t file, Diagnostics& diagnostics)
      : text_(files[file].text), file_(file), diagnostics_(diagnostics) {}

  std::vector<PagePiece> run() {
    for (;;) {
      const std::size_t open = text_.find(kOpen, at_);
      add(PieceKind::kText, at_, std::min(open, text_.size()));
      if (open == std::string_view::npos || !tag(open)) return std::move(pieces_);
    }
  }

 private:
  // The tag that begins at `open`; false when it has no end.
  bool tag(std::size_t open) {
    const std::size_t inner = open + kOpen.size();
    const std::string_view rest = text_.substr(inner);
    if (rest.starts_with('%')) {
      add(PieceKind::kText, open, inner);
      at_ = inner + 1;
      return true;
    }
    if (rest.starts_with(kCommentOpen)) {
      const std::size_t close = text_.find(kCommentClose, inner + kCommentOpen.size());
      if (close == std::string_view::npos) return no_end(open, "a comment without its --%>");
      at_ = close + kCommentClose.size();
      return true;
    }
    const PieceKind kind = rest.starts_with("==")  ? PieceKind::kRaw
                           : rest.starts_with('=') ? PieceKind::kShown
                                                   : PieceKind::kStatements;
    const std::size_t begin = inner + (kind == PieceKind::kRaw     ? 2
                                       : kind == PieceKind::kShown ? 1
                                                                   : 0);
    const std::size_t close = TagScan(text_, begin).end();
    if (close == std::string_view::npos) return no_end(open, "a tag without its %>");
    add(kind, begin, close);
    at_ = close + kClose.size();
    if (kind == PieceKind::kStatements) skip_line_feed();
    return true;
  }

  void skip_line_feed() {
    const std::string_view rest = text_.substr(at_);
    at_ += rest.starts_with('\n') ? 1 : rest.starts_with("\r\n") ? 2 : 0;
  }

  bool no_end(std::size_t open, std::string_view words) {
    diagnostics_.error(place_of(open), words);
    return false;
  }

  void add(PieceKind kind, std::size_t begin, std::size_t end) {
    if (kind == PieceKind::kText && begin == end) return;
    pieces_.push_back({kind, begin, end, place_of(begin)});
  }

  // Places are asked for in ascending order.
  Place place_of(std::size_t offset) {
    for (; line_end_ < offset; ++line_) {
      line_begin_ = line_end_ + 1;
      line_end_ = text_.find('\n', line_begin_);
    }
    return {file_, line_, static_cast<std::int32_t>(offset - line_begin_) + 1};
  }

  std::string_view text_;
  std::int32_t file_;
  Diagnostics& diagnostics_;
  std::vector<PagePiece> pieces_;
  std::size_t at_ = 0;
  std::size_t line_begin_ = 0, line_end_ = text_.find('\n');
  std::int32_t line_ = 1;
};

}  // namespace

bool is_page_name(std::string_view name) {
  return name.ends_with(".tnp");
}

std::vector<PagePiece> page_pieces(const SourceFiles& files, std::int32_t file,
                                   Diagnostics& diagnostics) {
  return PageCutter(files, file, diagnostics).run();
}

}  // namespace tarnel
