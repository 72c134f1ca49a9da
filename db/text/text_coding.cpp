#include "db/text/text_coding.h"

#include <algorithm>

namespace tarnel {
namespace {

// How many bytes at the end of a text begin a character that isn't all there.
std::size_t cut_character(std::string_view text) {
  for (std::size_t n = 1; n <= std::min<std::size_t>(text.size(), 3); ++n) {
    const auto byte = static_cast<unsigned char>(text[text.size() - n]);
    if (byte < 0x80) return 0;
    if (byte >= 0xc0) return n < (byte < 0xe0 ? 2U : byte < 0xf0 ? 3U : 4U) ? n : 0;
  }
  return 0;
}

}  // namespace

TextCoding*& text_coding() {
  static TextCoding* in_force = nullptr;
  return in_force;
}

void TextCoding::to_file(std::string& line) {
  std::string characters, bytes;
  Unconverted missing = to_utf8(characters, line, table);
  const bool from_table = static_cast<bool>(missing);
  // The signs that stand for bytes of the table count once.
  if (const Unconverted more = from_utf8(bytes, characters, file); !from_table) missing = more;
  if (missing && !lost) {
    lost = missing;
    lost_in = from_table ? table : file;
  } else {
    lost.count += missing.count;
  }
  line = std::move(bytes);
}

bool TextCoding::to_table(std::string& out, std::string& bytes, bool last) {
  const std::size_t cut = last || file != CodePage::kUtf8 ? 0 : cut_character(bytes);
  const std::string rest = bytes.substr(bytes.size() - cut);
  bytes.resize(bytes.size() - cut);
  std::string characters;
  if ((lost = to_utf8(characters, bytes, file))) {
    lost_in = file;
    characters.clear();
    static_cast<void>(to_utf8(characters, std::string_view(bytes).substr(0, lost.position), file));
  }
  const std::size_t before = out.size();
  if (const Unconverted more = from_utf8(out, characters, table)) {
    lost = more;
    lost_in = table;
    out.resize(before);
    static_cast<void>(from_utf8(out, std::string_view(characters).substr(0, more.position), table));
  }
  bytes = rest;
  return !lost;
}

}  // namespace tarnel
