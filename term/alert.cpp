#include "term/alert.h"

#include <poll.h>

#include <algorithm>
#include <cassert>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/output.h"
#include "core/runtime.h"
#include "core/settings.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/text.h"
#include "lib/arguments.h"
#include "lib/value_text.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/keyboard.h"
#include "term/screen_functions.h"

namespace tarnel {
namespace {

constexpr int kBoxMargin = 2;  // columns between frame and text

// Draws over a part of the screen as long as it lives; cursor and painting are as before afterwards.
class Overlay {
 public:
  explicit Overlay(Rect area)
      : saved_(save_area(area), drop_window),
        cursor_(cursor_place()),
        shape_(cursor_shape()),
        holds_(change_holds(0)) {
    change_holds(-holds_);
    set_cursor_shape(0);
  }
  ~Overlay() {
    if (screen_open()) show_window(*saved_, window_corner(*saved_));
    move_cursor(cursor_);
    set_cursor_shape(shape_);
    show_screen();
    change_holds(holds_);
  }
  Overlay(const Overlay&) = delete;
  Overlay& operator=(const Overlay&) = delete;

 private:
  const std::unique_ptr<Window, void (*)(Window*)> saved_;
  const ScreenPlace cursor_;
  const int shape_, holds_;
};

Rect centred(int height, int width) {
  const int top = std::max(0, (screen_rows() - height) / 2),
            left = std::max(0, (screen_columns() - width) / 2);
  return {top, left, top + height - 1, left + width - 1};
}

std::vector<std::string> lines_of(std::string_view message) {
  std::vector<std::string> lines;
  for (;;) {
    const std::size_t end = std::min(message.find(';'), message.size());
    std::string_view line = message.substr(0, end);
    // What is wider than the screen goes on in the next line.
    const int width = std::max(1, screen_columns() - 2 * kBoxMargin - 2);
    for (;;) {
      std::string_view part = fitting(line, width);
      if (part.empty()) part = line.substr(0, 1);
      lines.emplace_back(part);
      line.remove_prefix(part.size());
      if (line.empty()) break;
    }
    if (end == message.size()) return lines;
    message.remove_prefix(end + 1);
  }
}

std::vector<std::string> texts_of(const Var* options) {
  std::vector<std::string> texts;
  for (std::int32_t i = 1; options->type == 'A' && i <= element_count(options); ++i)
    if (is_text(element(options, i))) texts.emplace_back(text_of(element(options, i)));
  if (texts.empty()) texts.emplace_back("Ok");
  return texts;
}

class AlertBox {
 public:
  AlertBox(std::string_view message, std::vector<std::string> options, Colour colour, Colour chosen)
      : lines_(lines_of(message)),
        options_(std::move(options)),
        colour_(colour),
        chosen_colour_(chosen) {
    int width = row_width();
    for (const std::string& line : lines_) width = std::max(width, shown_width(line));
    const int most = std::max(1, screen_rows() - 4);
    if (static_cast<int>(lines_.size()) > most) lines_.resize(static_cast<std::size_t>(most));
    area_ = centred(static_cast<int>(lines_.size()) + 4, width + 2 * kBoxMargin + 2);
  }

  std::int32_t ask() {
    const Overlay overlay(area_);
    draw_box(area_, kSingleBox, colour_);
    for (std::size_t i = 0; i < lines_.size(); ++i)
      write_centred(area_.top + 1 + static_cast<int>(i), lines_[i]);
    for (;;) {
      draw_options();
      const int key = wait_for_answer();
      if (key == kKeyEnter || key == kKeyLineFeed) return static_cast<std::int32_t>(chosen_ + 1);
      if (key == kKeyEscape || !screen_open()) return 0;
      if (move(key)) return static_cast<std::int32_t>(chosen_ + 1);
    }
  }

 private:
  int row_width() const {
    int width = 0;
    for (const std::string& option : options_) width += shown_width(option) + 4;
    return width - 2;
  }
  void write_centred(int row, std::string_view text) {
    const int room = area_.width() - 2;
    move_cursor({row, area_.left + 1 + std::max(0, (room - shown_width(text)) / 2)});
    put_text(fitting(text, room), colour_);
  }
  void draw_options() {
    int at = area_.left + 1 + std::max(0, (area_.width() - 2 - row_width()) / 2);
    for (std::size_t i = 0; i < options_.size(); ++i) {
      move_cursor({area_.bottom - 1, at});
      put_text(" " + options_[i] + " ", i == chosen_ ? chosen_colour_ : colour_);
      at += shown_width(options_[i]) + 4;
    }
  }
  // True when the key chose.
  bool move(int key) {
    const std::size_t n = options_.size();
    if (key == kKeyLeft) chosen_ = (chosen_ + n - 1) % n;
    if (key == kKeyRight) chosen_ = (chosen_ + 1) % n;
    if (key < ' ' || key > 255) return false;
    for (std::size_t i = 0; i < n; ++i)
      if (!options_[i].empty() &&
          same_letters(options_[i].substr(0, 1), std::string(1, static_cast<char>(key)))) {
        chosen_ = i;
        return true;
      }
    return false;
  }

  std::vector<std::string> lines_;
  const std::vector<std::string> options_;
  const Colour colour_, chosen_colour_;
  Rect area_;
  std::size_t chosen_ = 0;
};

}  // namespace

std::int32_t ask_in_box(std::string_view message, Var* options, Var* colour) {
  assert(screen_open());
  const std::int32_t mark = temp_top();
  std::string_view text = is_text(colour) ? text_of(colour) : std::string_view();
  if (text.empty() && screen_device().colours()) text = "W+/BG,W+/R";
  const Colour box = text.empty() ? slot_colour(kStandardSlot) : colour_of_item(text, 0);
  const Colour chosen = text.empty() ? slot_colour(kEnhancedSlot) : colour_of_item(text, 1);
  const std::int32_t answer = AlertBox(message, texts_of(options), box, chosen).ask();
  POP_TEMPS(mark);
  return answer;
}

void ask_about_interrupt() {
  using Clock = std::chrono::steady_clock;
  constexpr int kLeft = 9, kWidth = 56;
  constexpr auto kTime = std::chrono::seconds(5);
  static constexpr const char* kLines[] = {
      "  DO YOU REALLY WANT TO EXIT ???", "Press Interrupt_key again to exit.",
      "      Waiting 5 seconds !!! ", "******************************************************",
      "************* Arrows move, <ESC> exits ***************"};
  if (!settings().cancel) return;
  const Rect area = centred(7, kWidth);
  const Colour colour = slot_colour(kStandardSlot);
  const Overlay overlay(area);
  draw_box(area, kSingleBox, colour);
  for (int i = 0; i < 5; ++i) {
    move_cursor({area.top + 2 + i, area.left + (i < 3 ? kLeft : 1)});
    put_text(kLines[i], colour);
  }
  show_screen();
  for (const auto end = Clock::now() + kTime; Clock::now() < end && !signal_waits();)
    poll(
        nullptr, 0,
        static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count()));
  if (take_interrupt()) end_by_signal(SIGINT);
}

Var* alert(std::int32_t argc, Var** argv) {
  std::string message;
  if (NumberBuffer buffer; argc > 0) message = varToText(argv[0], buffer);
  if (!screen_open()) {
    write_output("\n" + message);
    return int_zero();
  }
  return TMP_INT(
      ask_in_box(message, argc > 1 ? argv[1] : nil_value(), argc > 2 ? argv[2] : nil_value()));
}

}  // namespace tarnel
