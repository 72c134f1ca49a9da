#include "term/line_field.h"

#include <algorithm>
#include <cassert>

#include "core/settings.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/keyboard.h"

namespace tarnel {
namespace {

bool continues(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// "Ins" in the corner of the top row while SET SCOREBOARD asks for it and typing inserts. What it hides comes
// back; a field in that row is left alone.
class InsertMark {
 public:
  explicit InsertMark(const LineField& field)
      : saved_(settings().scoreboard && field.place.row != 0
                   ? save_area({0, screen_columns() - kWidth, 0, screen_columns() - 1})
                   : nullptr) {}
  ~InsertMark() {
    if (saved_ == nullptr) return;
    show(false);
    drop_window(saved_);
  }
  InsertMark(const InsertMark&) = delete;
  InsertMark& operator=(const InsertMark&) = delete;

  void show(bool on) const {
    if (saved_ == nullptr) return;
    const ScreenPlace corner = window_corner(*saved_), cursor = cursor_place();
    show_window(*saved_, corner);
    move_cursor(corner);
    if (on) put_text("Ins", slot_colour(0));
    move_cursor(cursor);
  }

 private:
  static constexpr int kWidth = 3;
  Window* const saved_;
};

class FieldEditor {
 public:
  explicit FieldEditor(LineField& field) : field_(field), mark_(field), at_(field.text.size()) {}

  int run() {
    for (;;) {
      draw();
      const int key = wait_for_answer();
      if (!handle(key)) return key;
    }
  }

 private:
  std::size_t before() const {
    std::size_t to = at_;
    while (to > 0 && continues(field_.text[--to])) continue;
    return to;
  }
  std::size_t behind() const {
    std::size_t to = std::min(at_ + 1, field_.text.size());
    while (to < field_.text.size() && continues(field_.text[to])) ++to;
    return to;
  }

  // The part of the text that holds the caret.
  void draw() {
    mark_.show(settings().insert);
    const std::string_view text = field_.text;
    if (at_ < start_) start_ = at_;
    while (shown_width(text.substr(start_, at_ - start_)) >= std::max(field_.width, 1)) ++start_;
    while (start_ < text.size() && start_ < at_ && continues(text[start_])) ++start_;
    move_cursor(field_.place);
    const std::string_view shown = fitting(text.substr(start_), field_.width);
    put_text(shown, field_.colour);
    const int used = cursor_place().col - field_.place.col;
    put_text(std::string(static_cast<std::size_t>(std::max(0, field_.width - used)), ' '),
             field_.colour);
    move_cursor(
        {field_.place.row, field_.place.col + shown_width(text.substr(start_, at_ - start_))});
  }

  void type(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    const bool fresh = !continues(byte);  // the other bytes of a character always go in
    if (field_.takes != nullptr && !field_.takes(code)) return ring();
    if (fresh && !settings().insert && at_ < field_.text.size())
      field_.text.erase(at_, behind() - at_);
    if (field_.text.size() >= field_.limit) return ring();
    field_.text.insert(at_++, 1, byte);
  }
  static void ring() {
    if (settings().bell) screen_device().ring();
  }

  // False for a key that ends the work.
  bool handle(int key) {
    switch (key) {
      case kKeyLeft:
        at_ = before();
        return true;
      case kKeyRight:
        at_ = behind();
        return true;
      case kKeyHome:
        at_ = 0;
        return true;
      case kKeyEnd:
        at_ = field_.text.size();
        return true;
      case kKeyBackspace: {
        const std::size_t from = before();
        field_.text.erase(from, at_ - from);
        at_ = from;
        return true;
      }
      case kKeyDelete:
        field_.text.erase(at_, behind() - at_);
        return true;
      case kKeyInsert:
        settings().insert = !settings().insert;
        return true;
      default:
        if (key < ' ' || key > 255) return false;
        type(static_cast<char>(key));
        return true;
    }
  }

  LineField& field_;
  const InsertMark mark_;
  std::size_t at_, start_ = 0;
};

}  // namespace

int edit_field(LineField& field) {
  assert(screen_open());
  return FieldEditor(field).run();
}

}  // namespace tarnel
