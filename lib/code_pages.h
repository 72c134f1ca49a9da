// The character sets that texts come in: pages of single bytes, whose lower half is ASCII, and UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnel {

// The name is the one that people see.
#define CODE_PAGES(X)  \
  X(kUtf8, "utf-8")    \
  X(kLatin1, "latin1") \
  X(kCp437, "cp437")   \
  X(kCp850, "cp850")   \
  X(kCp852, "cp852")   \
  X(kCp866, "cp866")   \
  X(kCp1250, "cp1250") \
  X(kCp1251, "cp1251") \
  X(kCp1252, "cp1252")

#define CODE_PAGE_MEMBER(member, name) member,
enum class CodePage : std::uint8_t { CODE_PAGES(CODE_PAGE_MEMBER) };

std::string_view name_of(CodePage page);
// All names, parted by commas, for a complaint about another one.
std::string code_page_names();
// The page of a name in any letters, with or without separators and under its usual aliases: "CP850", "ibm-850",
// "ISO-8859-1", "Windows-1252".
std::optional<CodePage> code_page_named(std::string_view name);

// The bytes of the character that a text in a page begins with, 0 when it begins with none. REQUIRES: a text that isn't
// empty.
std::size_t character_at(std::string_view bytes, CodePage page, char32_t& character);
// The byte of a character, none where the page hasn't it. REQUIRES: a page of single bytes.
std::optional<unsigned char> byte_of(CodePage page, char32_t character);

// What a conversion had no counterpart for.
struct Unconverted {
  std::size_t count = 0;
  // Of the first: its place in bytes from the beginning of what was converted, and the character, or the byte where
  // none stands there.
  std::size_t position = 0;
  char32_t character = 0;
  bool is_byte = false;
  explicit operator bool() const { return count > 0; }
};
// The first of them in words: "é (U+00E9)", "byte 0x81".
std::string words_of(const Unconverted& lost);

// Each appends to `out`, and says what it could not carry over.

// UTF-8 of a text in a page. A byte that is no character becomes U+FFFD.
[[nodiscard]] Unconverted to_utf8(std::string& out, std::string_view bytes, CodePage page);
// The same without loss: such a byte becomes half of a surrogate pair, U+DC00 and the byte, which no text has.
void to_utf8_exactly(std::string& out, std::string_view bytes, CodePage page);
constexpr char32_t kCarriedByte = 0xdc00;
// The bytes of a text in UTF-8. What the page hasn't becomes a question mark, and so does, each by itself, a byte
// that is no UTF-8; of these UTF-8 makes U+FFFD.
[[nodiscard]] Unconverted from_utf8(std::string& out, std::string_view text, CodePage page);

}  // namespace tarnel
