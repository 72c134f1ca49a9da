#include "lib/memo_text.h"

#include <algorithm>
#include <optional>
#include <string>

#include "core/arrays.h"
#include "core/stacks.h"
#include "lib/arguments.h"
#include "lib/strings.h"

namespace tarnel {
namespace {

constexpr std::int32_t kLeastWidth = 4, kMostWidth = 65535, kUsualWidth = 79, kUsualTab = 4;
constexpr std::string_view kSoft = "\x8d\n";

// How a text is laid out.
struct Layout {
  std::size_t width, tab;
  bool wrap;
};

// A line, by its places in the text.
struct Line {
  std::size_t begin, end;  // what it shows, without what ends it
  std::size_t next;        // where the next one begins
};

// Bytes of the end of a line at this place, 0 when there is none.
std::size_t hard_end(std::string_view text, std::size_t at) {
  if (text[at] == '\n') return 1;
  if (text[at] != '\r') return 0;
  return at + 1 < text.size() && text[at + 1] == '\n' ? 2 : 1;
}
bool is_soft(std::string_view text, std::size_t at) {
  return text.substr(at, kSoft.size()) == kSoft;
}
bool is_blank(std::string_view text, std::size_t at) {
  return text[at] == ' ' || text[at] == '\t' || is_soft(text, at);
}

// One character of a line: its bytes, and the column behind it.
std::size_t step(std::string_view text, std::size_t at, const Layout& layout, std::size_t& column) {
  column = text[at] == '\t' ? (column / layout.tab + 1) * layout.tab : column + 1;
  return is_soft(text, at) ? kSoft.size() : 1;
}

// Where the rest of a line that is passed over ends.
std::size_t behind_line(std::string_view text, std::size_t at) {
  for (; at < text.size(); ++at) {
    if (is_soft(text, at)) return at + kSoft.size();
    if (const std::size_t end = hard_end(text, at)) return at + end;
  }
  return at;
}

// The line that begins at a place. REQUIRES: begin < text.size()
Line line_at(std::string_view text, std::size_t begin, const Layout& layout) {
  std::size_t column = 0, at = begin;
  Line broken{begin, begin, begin};  // at the last blank so far
  while (at < text.size()) {
    if (const std::size_t end = hard_end(text, at)) return {begin, at, at + end};
    if (!layout.wrap && is_soft(text, at)) return {begin, at, at + kSoft.size()};
    const bool blank = is_blank(text, at);
    const std::size_t from = at;
    at += step(text, at, layout, column);
    if (blank && layout.wrap) {
      if (broken.next != from) broken.end = from;  // the first of a run
      broken.next = at;
    }
    // A blank may stand behind the last column, where nobody sees it.
    if (column <= layout.width || (blank && layout.wrap)) continue;
    if (!layout.wrap) return {begin, from, behind_line(text, from)};
    if (broken.next > begin) return broken;
    return {begin, from, from};
  }
  return {begin, at, at};
}

// Lines one after the other.
class Lines {
 public:
  Lines(std::string_view text, const Layout& layout) : text_(text), layout_(layout) {}
  // False behind the last one, with `line` at the end of the text.
  bool next(Line& line) {
    line = {at_, at_, at_};
    if (at_ >= text_.size()) return false;
    line = line_at(text_, at_, layout_);
    at_ = line.next;
    return true;
  }
  // The nth line from 1.
  bool find(std::int32_t n, Line& line) {
    while (n > 0 && next(line))
      if (--n == 0) return true;
    return false;
  }

 private:
  std::string_view text_;
  Layout layout_;
  std::size_t at_ = 0;
};

// The width in argument 1, tab size and word wrap in `tab` and behind it; nothing when the first argument is no text
// or there can be no such lines.
std::optional<Layout> layout_of(std::int32_t argc, Var** argv, std::int32_t tab) {
  const std::int32_t width = int_argument(argc, argv, 1, kUsualWidth);
  if (!arg_is(argc, argv, 0, kText) || width < kLeastWidth || width > kMostWidth)
    return std::nullopt;
  const std::int32_t size = std::clamp(int_argument(argc, argv, tab, kUsualTab), 1, width - 1);
  const bool wrap = !arg_is(argc, argv, tab + 1, kNumeric) || truth_of(argv[tab + 1]);
  return Layout{static_cast<std::size_t>(width), static_cast<std::size_t>(size), wrap};
}

// What a line shows within its width: tabs and soft ends as blanks.
std::string shown(std::string_view text, const Line& line, const Layout& layout) {
  std::string result;
  for (std::size_t at = line.begin, column = 0; at < line.end && column < layout.width;) {
    const char c = is_blank(text, at) ? ' ' : text[at];
    at += step(text, at, layout, column);
    result.resize(std::min(column, layout.width), c);
  }
  return result;
}

Var* place(std::size_t at) {
  return TMP_INT(static_cast<std::int32_t>(at));
}

// The text with its ends of lines replaced.
Var* with_ends(std::string_view text, const std::string_view* hard, std::string_view soft) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    std::size_t n = hard != nullptr ? hard_end(text, at) : 0;
    const bool is_hard = n > 0;
    if (!is_hard && is_soft(text, at)) n = kSoft.size();
    if (n > 0)
      result += is_hard ? *hard : soft;
    else
      result += text[at];
    at += std::max<std::size_t>(n, 1);
  }
  Var* made = TMP_TEXT(result);
  return is_error(made) ? empty_text() : made;
}

}  // namespace

Var* mlcount(std::int32_t argc, Var** argv) {
  const auto layout = layout_of(argc, argv, 2);
  if (!layout) return int_zero();
  Lines lines(text_of(argv[0]), *layout);
  std::int32_t count = 0;
  for (Line line; lines.next(line);) ++count;
  return TMP_INT(count);
}

Var* memoline(std::int32_t argc, Var** argv) {
  const auto layout = layout_of(argc, argv, 3);
  Line line;
  if (!layout || !Lines(text_of(argv[0]), *layout).find(int_argument(argc, argv, 2, 1), line))
    return empty_text();
  return pad_text(shown(text_of(argv[0]), line, *layout), static_cast<std::int32_t>(layout->width),
                  ' ', Pad::kRight);
}

Var* mlpos(std::int32_t argc, Var** argv) {
  const auto layout = layout_of(argc, argv, 3);
  if (!layout) return int_zero();
  const auto text = text_of(argv[0]);
  Line line;
  const bool found = Lines(text, *layout).find(int_argument(argc, argv, 2, 1), line);
  return place(found ? line.begin + 1 : text.size());
}

Var* mlctopos(std::int32_t argc, Var** argv) {
  const auto layout = layout_of(argc, argv, 4);
  if (!layout) return int_zero();
  const auto text = text_of(argv[0]);
  Line line;
  if (!Lines(text, *layout).find(int_argument(argc, argv, 2, 1), line))
    return place(text.size() + 1);
  const auto wanted = static_cast<std::size_t>(std::max(int_argument(argc, argv, 3, 0), 0));
  std::size_t at = line.begin;
  for (std::size_t column = 0; at < line.end;) {
    const std::size_t n = step(text, at, *layout, column);
    if (column > wanted) break;
    at += n;
  }
  return place(at + 1);
}

Var* mpostolc(std::int32_t argc, Var** argv) {
  const auto layout = layout_of(argc, argv, 3);
  const std::int32_t position = int_argument(argc, argv, 2, 1);
  std::int32_t number = 0;
  std::size_t column = 0;
  if (layout && position > 0) {
    const auto text = text_of(argv[0]);
    const std::size_t wanted = std::min(static_cast<std::size_t>(position) - 1, text.size());
    Lines lines(text, *layout);
    Line line{0, 0, 0};
    do {
      ++number;
    } while (lines.next(line) && line.next <= wanted && line.next < text.size());
    for (std::size_t at = line.begin; at < std::min(wanted, line.end);)
      at += step(text, at, *layout, column);
  }
  Var* result = NEW_TEMP();
  cscreara(result, 2, kAllNil);
  SET_INT(element(result, 1), number);
  SET_INT(element(result, 2), static_cast<std::int32_t>(std::min<std::size_t>(column, kMostWidth)));
  return result;
}

Var* memotran(std::int32_t argc, Var** argv) {
  const auto hard = text_argument(argc, argv, 1, ";");
  return with_ends(text_argument(argc, argv, 0), &hard, text_argument(argc, argv, 2, " "));
}

Var* hardcr(std::int32_t argc, Var** argv) {
  return with_ends(text_argument(argc, argv, 0), nullptr, "\r\n");
}

}  // namespace tarnel
