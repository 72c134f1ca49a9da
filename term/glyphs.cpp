#include "term/glyphs.h"

#include <algorithm>
#include <iterator>

#include "lib/character_reader.h"

namespace tarnel {
namespace {

struct Range {
  char32_t first, last;
};
constexpr Range kJoining[] = {
    {0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},   {0x610, 0x61a},
    {0x64b, 0x65f},   {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x200b, 0x200f},
    {0x2028, 0x202e}, {0x2060, 0x2064}, {0x20d0, 0x20ff}, {0x3099, 0x309a},
    {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xfeff, 0xfeff}, {0xe0000, 0xe0fff}};
constexpr Range kWide[] = {
    {0x1100, 0x115f}, {0x2e80, 0x303e},   {0x3041, 0x3098},   {0x309b, 0x4dbf},  {0x4e00, 0xa4cf},
    {0xa960, 0xa97c}, {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe30, 0xfe6f},  {0xff00, 0xff60},
    {0xffe0, 0xffe6}, {0x1f300, 0x1f64f}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};

template <std::size_t N>
bool lies_in(const Range (&ranges)[N], char32_t c) {
  const auto* range =
      std::lower_bound(std::begin(ranges), std::end(ranges), c,
                       [](const Range& r, char32_t wanted) { return r.last < wanted; });
  return range != std::end(ranges) && range->first <= c;
}

}  // namespace

std::u32string decode_text(std::string_view text) {
  std::u32string all;
  for (CharacterReader reader(text); !reader.at_end();) all += reader.next();
  return all;
}

int shown_width(char32_t c) {
  if (c < 0x300) return 1;
  return lies_in(kJoining, c) ? 0 : lies_in(kWide, c) ? 2 : 1;
}

int shown_width(std::string_view text) {
  int columns = 0;
  for (CharacterReader reader(text); !reader.at_end();) columns += shown_width(reader.next());
  return columns;
}

std::string_view fitting(std::string_view text, int columns) {
  std::size_t fits = 0;
  for (CharacterReader reader(text); !reader.at_end(); fits = text.size() - reader.rest().size())
    if ((columns -= shown_width(reader.next())) < 0) break;
  return text.substr(0, fits);
}

}  // namespace tarnel
