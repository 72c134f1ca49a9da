#include "lib/code_pages.h"

#include <gtest/gtest.h>

#include <string>

#include "lib/utf8.h"

namespace tarnel {
namespace {

constexpr CodePage kPages[] = {CodePage::kLatin1, CodePage::kCp437, CodePage::kCp850,
                               CodePage::kCp852,  CodePage::kCp866, CodePage::kCp1250,
                               CodePage::kCp1251, CodePage::kCp1252};

TEST(CodePages, EveryByteThatIsACharacterComesBack) {
  constexpr std::size_t kHoles[] = {0, 0, 0, 0, 0, 5, 1, 5};
  std::string bytes;
  for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  for (std::size_t i = 0; i < std::size(kPages); ++i) {
    std::string text, back;
    EXPECT_EQ(to_utf8(text, bytes, kPages[i]).count, kHoles[i]) << name_of(kPages[i]);
    EXPECT_EQ(from_utf8(back, text, kPages[i]).count, kHoles[i]) << name_of(kPages[i]);
    ASSERT_EQ(back.size(), bytes.size());
    char32_t c = 0;
    for (std::size_t b = 0; b < bytes.size(); ++b) {
      const bool hole = character_at(std::string_view(bytes).substr(b), kPages[i], c) == 0;
      EXPECT_EQ(back[b], hole ? '?' : bytes[b]) << name_of(kPages[i]);
    }
  }
}

TEST(CodePages, WordsAreThoseOfTheirCountries) {
  const struct {
    CodePage page;
    std::string bytes, text;
  } kRows[] = {{CodePage::kLatin1, "\xe4\xff\x80", "äÿ\u0080"},
               {CodePage::kCp437, "\x84\xe1 \xe3\xfd", "äß π²"},
               {CodePage::kCp850, "\x9b\x9d\xd5\xf5", "øØı§"},
               {CodePage::kCp852,
                "\x9c\xa2"
                "d\xab",
                "ťódź"},
               {CodePage::kCp866, "\x8c\xa8\xe0 \xfc", "Мир №"},
               {CodePage::kCp1250,
                "\xa3\xf3"
                "d\x9f \x8a",
                "Łódź Š"},
               {CodePage::kCp1251, "\xcc\xe8\xf0\xb9", "Мир№"},
               {CodePage::kCp1252, "\x80 \x99 na\xefve \x9f", "€ ™ naïve Ÿ"},
               {CodePage::kUtf8, "né €\U0001F600", "né €\U0001F600"}};
  for (const auto& row : kRows) {
    std::string text, bytes;
    EXPECT_FALSE(to_utf8(text, row.bytes, row.page)) << name_of(row.page);
    EXPECT_EQ(text, row.text) << name_of(row.page);
    EXPECT_FALSE(from_utf8(bytes, row.text, row.page)) << name_of(row.page);
    EXPECT_EQ(bytes, row.bytes) << name_of(row.page);
  }
}

TEST(CodePages, TellWhatCouldNotBeCarriedOver) {
  const struct {
    bool to;
    CodePage page;
    std::string from, result;
    std::size_t count, position;
    std::string words;
  } kRows[] = {
      {true, CodePage::kCp1252, "abcdefghi\x81\x8d", "abcdefghi\ufffd\ufffd", 2, 9, "byte 0x81"},
      {true, CodePage::kUtf8, "a\xc3(\xed\xa0\x80", "a\ufffd(\ufffd\ufffd\ufffd", 4, 1,
       "byte 0xc3"},
      {false, CodePage::kCp437,
       "é€\xff"
       "Ω\ufffd",
       "\x82??\xea?", 3, 2, "€ (U+20AC)"},
      {false, CodePage::kLatin1, "\U0001F600", "?", 1, 0, "\U0001F600 (U+1F600)"},
      {false, CodePage::kCp866, "\u0085x", "?x", 1, 0, "U+0085"},
      {false, CodePage::kUtf8, "\xf0\x9f\x98", "\ufffd\ufffd\ufffd", 3, 0, "byte 0xf0"}};
  for (const auto& row : kRows) {
    std::string result = "x";
    const Unconverted lost =
        row.to ? to_utf8(result, row.from, row.page) : from_utf8(result, row.from, row.page);
    EXPECT_EQ(result, "x" + row.result) << row.from;
    EXPECT_EQ(lost.count, row.count) << row.from;
    EXPECT_EQ(lost.position, row.position) << row.from;
    EXPECT_EQ(words_of(lost), row.words);
  }
}

TEST(CodePages, HaveTheirNamesInAnyForm) {
  for (const CodePage page : kPages) EXPECT_EQ(code_page_named(name_of(page)), page);
  for (const char* name : {"UTF-8", "utf8", "Utf_8", "cp65001"})
    EXPECT_EQ(code_page_named(name), CodePage::kUtf8) << name;
  for (const char* name : {"ISO-8859-1", "iso8859_1", "Latin-1", "L1"})
    EXPECT_EQ(code_page_named(name), CodePage::kLatin1) << name;
  for (const char* name : {"850", "CP-850", "ibm850", "IBM 850"})
    EXPECT_EQ(code_page_named(name), CodePage::kCp850) << name;
  EXPECT_EQ(code_page_named("Windows-1252"), CodePage::kCp1252);
  for (const char* name : {"", "cp", "cp851", "latin", "xcp850", "850850", "utf-16"})
    EXPECT_FALSE(code_page_named(name)) << name;
}

TEST(Utf8, AsciiIsFoundAtAnyPlace) {
  for (std::size_t n = 0; n < 40; ++n) {
    EXPECT_EQ(ascii_length(std::string(n, '\x7f')), n);
    EXPECT_EQ(ascii_length(std::string(n, 'a') + "\x80" + std::string(9, 'a')), n);
  }
}

}  // namespace
}  // namespace tarnel
