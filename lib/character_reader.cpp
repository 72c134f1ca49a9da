#include "lib/character_reader.h"

#include <algorithm>
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

std::string assumed_utf8(std::string_view text) {
  std::string result;
  for (CharacterReader reader(text); !reader.at_end();) {
    const char c = reader.rest().front();
    const char32_t shown = reader.next();
    append_utf8(result, c >= 0 && c < ' ' ? static_cast<char32_t>(c) : shown);
  }
  return result;
}

}  // namespace tarnel
