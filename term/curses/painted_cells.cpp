#include "term/curses/painted_cells.h"

#include <langinfo.h>

#include <climits>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "term/glyphs.h"

namespace tarnel {
namespace {

constexpr int kColours = 8;

struct PaintState {
  bool colours = false;
  bool unicode = false;  // the user's characters are
} state;

// Blue and red change places.
int library_colour(std::uint8_t colour) {
  return ((colour & 1) << 2) | (colour & 2) | ((colour & 4) >> 2);
}
// White on black is pair 0, so that a terminal of 64 pairs has them all.
int pair_of(int front, int back) {
  return back * kColours + (kColours - 1 - front);
}

// How light a colour is, for terminals without colours.
int lightness(std::uint8_t colour) {
  return (colour & 2) * 3 + ((colour & 4) >> 2) * 3 + (colour & 1);
}

attr_t marks_of(const Colour& colour) {
  struct Row {
    std::uint8_t mark;
    attr_t attribute;
  };
  constexpr Row kRows[] = {{kBold, WA_BOLD},
                           {kDim, WA_DIM},
                           {kBlink, WA_BLINK},
                           {kUnderline, WA_UNDERLINE},
                           {kInvisible, WA_INVIS}};
  attr_t attributes = 0;
  for (const Row& row : kRows)
    if ((colour.marks & row.mark) != 0) attributes |= row.attribute;
  if (!state.colours && lightness(colour.back) > lightness(colour.front)) attributes |= WA_REVERSE;
  return attributes;
}

// The single line that a character of a frame falls back to, or 0.
char32_t single_line(char32_t c) {
  constexpr std::u32string_view kFrames[] = {U"─═",   U"│║",   U"┌╒╓╔", U"┐╕╖╗", U"└╘╙╚", U"┘╛╜╝",
                                             U"├╞╟╠", U"┤╡╢╣", U"┬╤╥╦", U"┴╧╨╩", U"┼╪╫╬"};
  for (const std::u32string_view row : kFrames)
    if (row.find(c) != std::u32string_view::npos) return row[0];
  return 0;
}

// The library's own form of a frame character, which any terminal shows in some way; null for others.
const cchar_t* line_character(char32_t c) {
  switch (single_line(c)) {
    case U'─':
      return WACS_HLINE;
    case U'│':
      return WACS_VLINE;
    case U'┌':
      return WACS_ULCORNER;
    case U'┐':
      return WACS_URCORNER;
    case U'└':
      return WACS_LLCORNER;
    case U'┘':
      return WACS_LRCORNER;
    case U'├':
      return WACS_LTEE;
    case U'┤':
      return WACS_RTEE;
    case U'┬':
      return WACS_TTEE;
    case U'┴':
      return WACS_BTEE;
    case U'┼':
      return WACS_PLUS;
    default:
      return nullptr;
  }
}

bool can_be_shown(char32_t c) {
  char bytes[MB_LEN_MAX];
  std::mbstate_t none{};
  return std::wcrtomb(bytes, static_cast<wchar_t>(c), &none) != static_cast<std::size_t>(-1) &&
         wcwidth(static_cast<wchar_t>(c)) == shown_width(c);
}

}  // namespace

void init_cell_painting() {
  state.unicode = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  state.colours = has_colors() && start_color() == OK && COLORS >= kColours &&
                  COLOR_PAIRS >= kColours * kColours;
  if (!state.colours) return;
  assume_default_colors(COLOR_WHITE, COLOR_BLACK);
  for (short back = 0; back < kColours; ++back)
    for (short front = 0; front < kColours; ++front)
      if (const int pair = pair_of(front, back); pair != 0)
        init_pair(static_cast<short>(pair), front, back);
}

bool terminal_has_colours() {
  return state.colours;
}

cchar_t painted(const Cell& cell) {
  cchar_t result{};
  wchar_t text[CCHARW_MAX + 1] = {static_cast<wchar_t>(cell.character), 0};
  attr_t attributes = marks_of(cell.colour);
  const int pair =
      state.colours ? pair_of(library_colour(cell.colour.front), library_colour(cell.colour.back))
                    : 0;
  if (cell.character >= 0x80 && !(state.unicode && can_be_shown(cell.character))) {
    attr_t drawn = 0;
    short ignored = 0;
    const cchar_t* line = line_character(cell.character);
    if (line != nullptr)
      getcchar(line, text, &drawn, &ignored, nullptr);
    else if (!can_be_shown(cell.character))
      text[0] = L'?';
    attributes |= drawn;
  }
  setcchar(&result, text, attributes, static_cast<short>(pair), nullptr);
  return result;
}

}  // namespace tarnel
