// What a browser asks: a line on the last row, a choice in a box, a text to look at.
#include <algorithm>
#include <memory>

#include "console/browser.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/keyboard.h"
#include "term/line_field.h"
#include "term/screen_functions.h"

namespace tarnel {
namespace {

constexpr std::size_t kLongestAnswer = 1024;

// A box in the middle of the screen that shows some of its lines; what it hides comes back.
class TextBox {
 public:
  TextBox(std::vector<std::string> lines, int height, int width) : lines_(std::move(lines)) {
    height = std::clamp(height, 3, std::max(3, screen_rows()));
    width = std::clamp(width, 3, std::max(3, screen_columns()));
    const int top = std::max(0, (screen_rows() - height) / 2),
              left = std::max(0, (screen_columns() - width) / 2);
    area_ = {top, left, top + height - 1, left + width - 1};
    saved_.reset(save_area(area_));
    set_cursor_shape(0);
  }
  ~TextBox() {
    if (screen_open()) show_window(*saved_, window_corner(*saved_));
  }
  TextBox(const TextBox&) = delete;
  TextBox& operator=(const TextBox&) = delete;

  int rows() const { return area_.height() - 2; }
  int count() const { return static_cast<int>(lines_.size()); }
  // Draws the lines from the first on that shows; one may be marked.
  void draw(int first, int marked) {
    const Colour plain = slot_colour(kStandardSlot), mark = slot_colour(kEnhancedSlot);
    draw_box(area_, kSingleBox, plain);
    for (int i = 0; i < rows() && first + i < count(); ++i) {
      move_cursor({area_.top + 1 + i, area_.left + 1});
      put_text(fitting(lines_[static_cast<std::size_t>(first + i)], area_.width() - 2),
               first + i == marked ? mark : plain);
    }
  }

 private:
  struct Drop {
    void operator()(Window* window) const { drop_window(window); }
  };
  const std::vector<std::string> lines_;
  Rect area_;
  std::unique_ptr<Window, Drop> saved_;
};

// Lines as wide as a box, broken at blanks where there are some.
std::vector<std::string> wrapped(std::string_view text, int width) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\n\r"), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end);
    if (text.starts_with("\r\n")) text.remove_prefix(1);
    if (!text.empty()) text.remove_prefix(1);
    do {
      std::string_view part = fitting(line, width);
      if (part.size() < line.size()) {
        if (const auto blank = part.rfind(' '); blank != std::string_view::npos && blank > 0)
          part = part.substr(0, blank + 1);
        if (part.empty()) part = line.substr(0, 1);
      }
      lines.emplace_back(part);
      line.remove_prefix(part.size());
    } while (!line.empty());
  }
  return lines;
}

}  // namespace

bool ask_text(const char* prompt, std::string& text) {
  const Colour plain = slot_colour(kStandardSlot);
  const int row = screen_rows() - 1;
  fill_area({row, 0, row, screen_columns() - 1}, {U' ', plain});
  move_cursor({row, 0});
  put_text(fitting(prompt, std::max(0, screen_columns() - 8)), plain);
  const ScreenPlace at = cursor_place();
  LineField field{.place = at,
                  .width = std::max(1, screen_columns() - at.col),
                  .limit = kLongestAnswer,
                  .colour = slot_colour(kEnhancedSlot),
                  .text = text};
  set_cursor_shape(1);
  int key = kNoKey;
  do {
    key = edit_field(field);
  } while (key != kKeyEnter && key != kKeyLineFeed && key != kKeyEscape);
  set_cursor_shape(0);
  if (key != kKeyEscape) text = field.text;
  return key != kKeyEscape;
}

bool ask_whether(const char* question) {
  const int row = screen_rows() - 1;
  fill_area({row, 0, row, screen_columns() - 1}, {U' ', slot_colour(kEnhancedSlot)});
  move_cursor({row, 0});
  put_text(std::string(question) + " (y/n) ", slot_colour(kEnhancedSlot));
  const int key = wait_for_answer();
  return key == 'y' || key == 'Y';
}

int ask_line(const std::vector<std::string>& lines, int current) {
  int width = 0;
  for (const std::string& line : lines) width = std::max(width, shown_width(line));
  TextBox box(lines, static_cast<int>(lines.size()) + 2, width + 2);
  for (int first = 0;;) {
    first = std::clamp(first, std::max(0, current - box.rows() + 1), current);
    box.draw(first, current);
    switch (wait_for_answer()) {
      case kKeyUp:
        current = std::max(0, current - 1);
        break;
      case kKeyDown:
        current = std::min(box.count() - 1, current + 1);
        break;
      case kKeyEnter:
      case kKeyLineFeed:
        return current;
      case kKeyEscape:
      case kNoKey:
        return -1;
      default:
        break;
    }
  }
}

int show_text_box(const std::string& text) {
  const int height = screen_rows() * 4 / 5, width = screen_columns() * 4 / 5;
  TextBox box(wrapped(text, std::max(1, width - 2)), height, width);
  for (int first = 0;;) {
    first = std::clamp(first, 0, std::max(0, box.count() - box.rows()));
    box.draw(first, -1);
    switch (const int key = wait_for_answer(); key) {
      case kKeyUp:
        --first;
        break;
      case kKeyDown:
        ++first;
        break;
      case kKeyPageUp:
        first -= box.rows();
        break;
      case kKeyPageDown:
        first += box.rows();
        break;
      case kKeyHome:
        first = 0;
        break;
      case kKeyEnd:
        first = box.count();
        break;
      default:
        return key;
    }
  }
}

}  // namespace tarnel
