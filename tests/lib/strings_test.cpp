#include <string>

#include "lib/escapes.h"
#include "lib/strings.h"
#include "lib/values.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Strings : public LibTest {};

const std::string kNul("a\0b", 3);

TEST_F(Strings, AreBytesAndTheTextsOfOtherValues) {
  check({{"alltrim", {"  a b \t "}, "C a b \t"},
         {"trim", {Memo{" m "}}, "C  m"},
         {"trim", {Computed{1.5, 2}}, "C          1.5"},
         {"alltrim", {Sized{2, 6, 1}}, "C 2.0"},
         {"alltrim", {"   "}, "C "},
         {"alltrim", {Date{5}}, "C "},
         {"rtrim", {kNul + " "}, "C " + kNul},
         {"transform", {Memo{"memo"}, "@!"}, "C "},
         {"padl", {Date{719163}, 10}, "C   01/01/70"},
         {"at", {std::string("\0b", 2), kNul}, "I 2"},
         {"strtran", {std::string("a-\0-", 4), "-", "+"}, "C a+"},
         {"strtran", {"abc"}, "E"}});
}

// Many bytes are looked at together where a text is long enough, and one by one at its end.
TEST_F(Strings, EscapesOfATextAreThoseOfItsBytes) {
  std::uint32_t chance = 1;
  const auto next = [&](std::uint32_t below) {
    chance = chance * 1103515245 + 12345;
    return (chance >> 16U) % below;
  };
  for (const char* function : {"htmlesc", "urlenc", "json"}) {
    const auto escaped = [&](const std::string& text) {
      ByteBuffer out;
      escape_json(out, text);
      return std::string(
          function == std::string_view("json") ? out.text() : text_of(call_cell(function, {text})));
    };
    for (std::uint32_t round = 0; round < 300; ++round) {
      const TempsMark mark;
      std::string text, expected;
      for (std::uint32_t left = next(400); left > 0; --left) {
        const bool special = next(round % 20 + 1) == 0;
        text += special ? "&<>\"'\\\n\x01\x7f %"[next(11)] : static_cast<char>('a' + next(26));
        expected += escaped(text.substr(text.size() - 1));
      }
      ASSERT_EQ(escaped(text), expected) << function;
    }
  }
}

TEST_F(Strings, CharactersAndTheirClasses) {
  settings().breakkey = 3;
  check({{"asc", {"\xE4x"}, "I 228"},
         {"asc", {""}, "I 0"},
         {"asc", {5}, "N 0"},
         {"chr", {0}, "C " + std::string(1, '\0')},
         {"chr", {-5}, "C \x03\x05"},
         {"chr", {256}, "C "},
         {"upper", {"aZ\xE4"}, "C AZ\xE4"},
         {"lower", {"aZ\xC4"}, "C az\xC4"},
         {"upper", {5}, "C "},
         {"isupper", {"aB"}, "L F"},
         {"islower", {""}, "L F"},
         {"isdigit", {"9"}, "L T"},
         {"isdigit", {9}, "L F"}});
}

TEST_F(Strings, EmptyAndLenGoByTheType) {
  check({{"empty", {}, "E"}, {"len", {kNul}, "I 3"}, {"len", {}, "E"}});
  Var* undefined = NEW_TEMP();
  undefined->sclass = 'U';
  EXPECT_EQ(show(empty(1, &undefined)), "L F");
  EXPECT_EQ(show(len(1, &undefined)), "E");
}

// Long texts are mapped eight bytes at a time: the same as one by one, at every offset.
TEST_F(Strings, LongTextsAreMappedAsShortOnes) {
  std::string all;
  for (int i = 0; i < 5000; ++i) all += static_cast<char>(i * 7);
  for (const char* name : {"upper", "lower"}) {
    char mapped[256];
    for (int c = 0; c < 256; ++c)
      mapped[c] = text_of(call_cell(name, {std::string(1, static_cast<char>(c))}))[0];
    for (std::size_t shift = 0; shift < 9; ++shift) {
      const std::string text = all.substr(shift);
      std::string expected = text;
      for (char& c : expected) c = mapped[static_cast<unsigned char>(c)];
      EXPECT_EQ(text_of(call_cell(name, {text})), expected) << name;
    }
  }
}

// What is written into a page or an address comes back, whatever its bytes and however they lie in the blocks
// that are looked at together; and nothing that acts there is left.
TEST_F(Strings, EscapesComeBack) {
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  for (std::size_t from = 0; from < bytes.size(); from += 7)
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{63}, std::size_t{64}, std::size_t{65}, bytes.size() - from}) {
      const TempsMark mark;
      const std::string text = std::string(from % 2 * 150, 'x') + bytes.substr(from, size);
      const std::string html(text_of(call_cell("htmlesc", {text}))),
          url(text_of(call_cell("urlenc", {text})));
      EXPECT_EQ(html.find_first_of("<>\"'"), html.npos);
      EXPECT_EQ(call("htmlunesc", {html}), "C " + text);
      EXPECT_EQ(url.find_first_not_of(
                    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~%"),
                url.npos);
      EXPECT_EQ(call("urldec", {url}), "C " + text);
    }
}

}  // namespace
}  // namespace tarnel::testing
