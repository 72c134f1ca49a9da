#include "term/colours.h"

#include <array>
#include <charconv>
#include <optional>

#include "core/errors.h"
#include "core/settings.h"
#include "core/text.h"
#include "lib/arguments.h"
#include "term/screen_functions.h"

namespace tarnel {
namespace {

constexpr std::uint8_t kBlack = 0, kWhite = 7;
constexpr int kBrightNumber = 8, kMostColours = 16;

struct Slot {
  std::string text;
  Colour colour;
};
struct ColourState {
  std::array<Slot, kColourSlots> slots = {
      {{"W/N", {}}, {"N/W", {kBlack, kWhite}}, {}, {}, {"N/W", {kBlack, kWhite}}}};
  int selected = kStandardSlot;
} state;

struct ColourName {
  std::string_view letters;
  int number;
};
constexpr ColourName kNames[] = {{"", 0},   {"N", 0}, {"B", 1},  {"G", 2},  {"BG", 3},
                                 {"GB", 3}, {"R", 4}, {"RB", 5}, {"BR", 5}, {"GR", 6},
                                 {"RG", 6}, {"W", 7}, {"RGB", 7}};

struct MarkLetter {
  char letter;
  std::uint8_t mark;
};
constexpr char kInverse = 'I';
constexpr MarkLetter kMarks[] = {{'+', kBold},      {'-', kDim},       {'*', kBlink},
                                 {'U', kUnderline}, {'X', kInvisible}, {kInverse, 0}};

// One half of an item, without its marks.
struct Half {
  std::string text;
  std::uint8_t marks = 0;
  bool marked = false, inverse = false;
};

Half read_half(std::string_view part) {
  Half half;
  for (const char c : part) {
    char kept = c;
    for (const MarkLetter& row : kMarks)
      if (c == row.letter) {
        half.marks |= row.mark;
        half.marked = true;
        half.inverse |= c == kInverse;
        kept = ' ';
      }
    half.text += kept;
  }
  half.text = trim_blanks(half.text);
  return half;
}

std::optional<int> colour_number(std::string_view text) {
  for (const ColourName& name : kNames)
    if (name.letters == text) return name.number;
  int number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

void wrong_half(const char* which, const Half& half, const std::string& item) {
  RT_WARNING(329,
             std::string(which) + " color specification '" + half.text + "' in '" + item + "' ");
}

// The colour that an item, in upper case, names; `before` is what one of marks alone keeps. None, after
// a notice, for a wrong one.
std::optional<Colour> read_item(const std::string& item, Colour before) {
  const std::size_t slash = item.find('/');
  const Half front = read_half(std::string_view(item).substr(0, slash));
  const Half back =
      slash == std::string::npos ? Half{} : read_half(std::string_view(item).substr(slash + 1));
  const auto front_number = colour_number(front.text), back_number = colour_number(back.text);
  if (!front_number) wrong_half("foreground", front, item);
  if (!back_number) wrong_half("background", back, item);
  if (!front_number || !back_number) return std::nullopt;
  if (*front_number >= kMostColours || *back_number >= kMostColours) {
    RT_WARNING(329, format_text("color specification %d, %d ", *front_number, *back_number));
    return std::nullopt;
  }
  Colour colour{static_cast<std::uint8_t>(*front_number % kBrightNumber),
                static_cast<std::uint8_t>(*back_number % kBrightNumber), 0};
  if (front.text.empty() && back.text.empty() && (front.marked || back.marked)) {
    colour.front = before.front;
    colour.back = before.back;
  }
  colour.marks = front.marks | back.marks;
  if (*front_number >= kBrightNumber) colour.marks |= kBold;
  if (front.inverse || back.inverse) {
    colour.front = kBlack;
    colour.back = kWhite;
  }
  return colour;
}

// Takes the first item off a text; trimmed, in upper case.
std::string take_item(std::string_view& text) {
  const std::size_t end = std::min(text.find(','), text.size());
  std::string item = upper_text(trim_blanks(text.substr(0, end)));
  text.remove_prefix(std::min(end + 1, text.size()));
  return item;
}

std::string colour_text() {
  std::string text;
  for (std::size_t i = 0; i < state.slots.size(); ++i) {
    if (i > 0) text += ',';
    if (i > 0 && !state.slots[i].text.empty()) text += ' ';
    text += state.slots[i].text;
  }
  return text;
}

Var* select_slot(const char* function, int slot) {
  if (!screen_wanted(function)) return error_value();
  if (slot >= 0 && slot < kColourSlots) state.selected = slot;
  return nil_value();
}

}  // namespace

Colour slot_colour(int slot) {
  const Slot& wanted = state.slots[static_cast<std::size_t>(slot)];
  return wanted.text.empty() ? state.slots[kStandardSlot].colour : wanted.colour;
}
Colour current_colour() {
  return slot_colour(state.selected);
}

Colour colour_of_item(std::string_view text, int n) {
  std::string item = take_item(text);
  for (; n > 0; --n) item = take_item(text);
  return item.empty() ? current_colour()
                      : read_item(item, current_colour()).value_or(current_colour());
}
Colour colour_of(std::string_view text) {
  return colour_of_item(text, 0);
}

void set_colours(std::string_view text) {
  for (std::size_t i = 0; i < state.slots.size(); ++i) {
    const std::string item = take_item(text);
    if (item.empty()) continue;
    if (const auto colour = read_item(item, slot_colour(static_cast<int>(i))))
      state.slots[i] = {item, *colour};
  }
  state.selected = kStandardSlot;
  settings().color = colour_text();
}

Var* setcolor(std::int32_t argc, Var** argv) {
  Var* old = TMP_TEXT(colour_text());
  if (arg_is(argc, argv, 0, kText)) set_colours(std::string(text_of(argv[0])));
  return old;
}

Var* colorselec(std::int32_t argc, Var** argv) {
  return select_slot("ColorSelect()", int_argument(argc, argv, 0, -1));
}
Var* slot_standard(std::int32_t, Var**) {
  return select_slot("Standard()", 0);
}
Var* slot_enhanced(std::int32_t, Var**) {
  return select_slot("Enhanced()", 1);
}
Var* slot_unselected(std::int32_t, Var**) {
  return select_slot("Unselected()", 4);
}

Var* setcol2get(std::int32_t argc, Var** argv) {
  std::string_view text = text_argument(argc, argv, 0);
  take_item(text);
  const std::string item = take_item(text);
  return TMP_TEXT(item.empty() ? "N/W" : item);
}

}  // namespace tarnel
