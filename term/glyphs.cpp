#include "term/glyphs.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "lib/code_pages.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

// The customary PC code page: its pictures of the control characters.
constexpr char32_t kLowPage[] = U" ☺☻♥♦♣♠•◘○◙♂♀♪♫☼►◄↕‼¶§▬↨↑↓→←∟↔▲▼";
constexpr char32_t kDelete = U'⌂';
static_assert(std::size(kLowPage) == 32 + 1);

char32_t of_page(unsigned char byte) {
  if (byte < 32) return kLowPage[byte];
  if (byte == 127) return kDelete;
  char32_t c = 0;
  const char text = static_cast<char>(byte);
  character_at({&text, 1}, CodePage::kCp437, c);
  return c;
}

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

// The length of the UTF-8 character outside ASCII that a text begins with, 0 for none; the second set of control
// characters counts as none.
std::size_t high_length(std::string_view text, char32_t& c) {
  const std::size_t n = utf8_length(text, c);
  return c < 0xa0 ? 0 : n;
}

// Is a text, which is no character, the beginning of one?
bool is_cut_short(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  const std::size_t wanted = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : first >= 0xc2 ? 2 : 0;
  return text.size() < wanted &&
         std::all_of(text.begin() + 1, text.end(), [](char c) { return (c & 0xc0) == 0x80; });
}

// The bytes outside ASCII that a text begins with, as far as they are read in one way.
std::size_t run_length(std::string_view text, bool& by_page) {
  const auto* end = std::find_if(text.begin(), text.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  const auto run = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  char32_t c = 0;
  std::size_t at = 0;
  for (std::size_t n = 0; at < run.size() && (n = high_length(run.substr(at), c)) > 0;) at += n;
  by_page =
      at == 0 || (at < run.size() && (run.size() < text.size() || !is_cut_short(run.substr(at))));
  return by_page ? run.size() : at;
}

}  // namespace

char32_t CharacterReader::next() {
  const auto first = static_cast<unsigned char>(rest_.front());
  char32_t c = of_page(first);
  std::size_t n = 1;
  if (first >= 0x80) {
    if (run_left_ == 0) run_left_ = run_length(rest_, by_page_);
    if (!by_page_) n = high_length(rest_, c);
    run_left_ -= n;
  }
  rest_.remove_prefix(n);
  return c;
}

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
