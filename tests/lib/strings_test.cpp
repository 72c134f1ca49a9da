#include <string>

#include "lib/strings.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

class Strings : public LibTest {};

const std::string kNul("a\0b", 3);

TEST_F(Strings, TrimmingTakesBlanksOnlyAndNumbersByTheirText) {
  check({
      {"alltrim", {"  a b \t "}, "C a b \t"},
      {"ltrim", {"  a "}, "C a "},
      {"rtrim", {"  a "}, "C   a"},
      {"trim", {Memo{" m "}}, "C  m"},
      {"trim", {Computed{1.5, 2}}, "C          1.5"},
      {"alltrim", {Sized{2, 6, 1}}, "C 2.0"},
      {"alltrim", {"   "}, "C "},
      {"alltrim", {"a", "b"}, "C "},
      {"alltrim", {Date{5}}, "C "},
      {"rtrim", {kNul + " "}, "C " + kNul},
  });
}

TEST_F(Strings, PaddingCutsToTheFirstBytesAndTakesAnyValue) {
  check({
      {"padl", {"ab", 4}, "C   ab"},
      {"padr", {"ab", 4, "*x"}, "C ab**"},
      {"padc", {"ab", 5, "-"}, "C -ab--"},
      {"padl", {"abcdef", 3}, "C abc"},
      {"padr", {"abcdef", 3}, "C abc"},
      {"padl", {Computed{12, 0}, 5, "0"}, "C 00012"},
      {"padr", {true, 4}, "C .T. "},
      {"padl", {Date{719163}, 10}, "C   01/01/70"},
      {"padr", {"a", 3, ""}, "C a  "},
      {"padr", {"a", 3, 7}, "C a  "},
      {"padl", {"a", 0}, "C "},
      {"padl", {"a", -5}, "C "},
      {"padl", {"a", "5"}, "C "},
      {"padl", {"a"}, "C "},
      {"padl", {"a", 2147483647}, "C  !319 PADL: result too long"},
  });
}

TEST_F(Strings, PartsOfTexts) {
  check({
      {"left", {"abc", 2}, "C ab"},
      {"left", {"abc", 9}, "C abc"},
      {"left", {"abc", -1}, "C "},
      {"right", {"abc", 2}, "C bc"},
      {"right", {"abc", 9}, "C abc"},
      {"right", {"abc", -2147483647}, "C "},
      {"substr", {"abcd", -2}, "C cd"},
      {"substr", {"abcd", 0}, "C abcd"},
      {"substr", {"abcd", 2, 2}, "C bc"},
      {"substr", {"abcd", 5}, "C "},
      {"substr", {"abcd", -9, 1}, "C a"},
      {"substr", {"abcd", 2, -1}, "C "},
      {"substr", {"abcd", 2, 99}, "C bcd"},
      {"substr", {"abcd"}, "C  !311 SUBSTR: has 2 or 3 arguments, not 1 "},
      {"substr", {5, "x"}, "C  !312 SUBSTR: argument types should be 'C, N', not 'I, C' "},
      {"substr", {"abcd", 1, "x"}, "C  !312 SUBSTR: third argument type should be 'N', not 'C' "},
      {"stuff", {"abcd", 2, 2, "X"}, "C aXd"},
      {"stuff", {"abcd", 9, 2, "X"}, "C abcdX"},
      {"stuff", {"abcd", -3, 99, ""}, "C "},
      {"replicate", {"ab", 3}, "C ababab"},
      {"replicate", {"ab", -3}, "C "},
      {"replicate", {"ab", 2147483647}, "C  !319 text exceeds 2147483646 bytes"},
      {"space", {3}, "C    "},
      {"space", {0}, "C "},
      {"space", {"3"}, "C "},
  });
}

TEST_F(Strings, SearchingGoesByBytes) {
  check({
      {"at", {"b", "abcb"}, "I 2"},
      {"at", {"b", "abcb", 3}, "I 4"},
      {"at", {"b", "abcb", -3}, "I 2"},
      {"at", {"b", "abcb", 5}, "I 0"},
      {"at", {"", "abc"}, "I 0"},
      {"at", {"B", "abc"}, "I 0"},
      {"at", {std::string("\0b", 2), kNul}, "I 2"},
      {"at", {"b"}, "I 0"},
      {"rat", {"b", "abcb"}, "I 4"},
      {"rat", {"", "abcb"}, "I 0"},
      {"rat", {"b", "abcb", 1}, "N 0"},
      {"rat", {"abcde", "abcd"}, "I 0"},
  });
}

TEST_F(Strings, StrtranReplacesACountFromAnOccurrenceOn) {
  check({
      {"strtran", {"a-b-c-d", "-", "+"}, "C a+b+c+d"},
      {"strtran", {"a-b-c-d", "-"}, "C abcd"},
      {"strtran", {"a-b-c-d", "-", "==", 2, 1}, "C a-b==c-d"},
      {"strtran", {"a-b-c-d", "-", "+", 1, 0}, "C a+b-c-d"},
      {"strtran", {"a-b-c-d", "-", "+", 0}, "C a-b-c-d"},
      {"strtran", {"a-b-c-d", "-", "+", 4}, "C a-b-c-d"},
      {"strtran", {"aaaa", "aa", "b"}, "C bb"},
      {"strtran", {"aaa", "", "b"}, "C aaa"},
      {"strtran", {"abc", "b", 7, "x"}, "C ac"},
      {"strtran", {std::string("a-\0-", 4), "-", "+"}, "C a+"},
      {"strtran", {"abc"}, "E"},
      {"strtran", {5, "b"}, "E"},
  });
}

TEST_F(Strings, CharactersAndTheirClasses) {
  settings().breakkey = 3;
  check({
      {"asc", {"\xE4x"}, "I 228"},
      {"asc", {""}, "I 0"},
      {"asc", {5}, "N 0"},
      {"chr", {65}, "C A"},
      {"chr", {0}, "C " + std::string(1, '\0')},
      {"chr", {-5}, "C \x03\x05"},
      {"chr", {256}, "C "},
      {"chr", {"a"}, "C  !312 in CHR()"},
      {"chr", {}, "C  !311 in CHR()"},
      {"upper", {"aZ\xE4"}, "C AZ\xE4"},
      {"lower", {"aZ\xC4"}, "C az\xC4"},
      {"upper", {5}, "C "},
      {"isupper", {"Ab"}, "L T"},
      {"isupper", {"aB"}, "L F"},
      {"islower", {""}, "L F"},
      {"isalpha", {"9"}, "L F"},
      {"isdigit", {"9"}, "L T"},
      {"isdigit", {9}, "L F"},
  });
}

TEST_F(Strings, EmptyAndLenGoByTheType) {
  check({
      {"empty", {std::string(" \t\0", 3)}, "L T"},
      {"empty", {" x"}, "L F"},
      {"empty", {0}, "L T"},
      {"empty", {0.1}, "L F"},
      {"empty", {Date{0}}, "L T"},
      {"empty", {false}, "L T"},
      {"empty", {Nil{}}, "L T"},
      {"empty", {}, "E"},
      {"len", {kNul}, "I 3"},
      {"len", {5}, "I 0"},
      {"len", {}, "E"},
  });
  Var* undefined = NEW_TEMP();
  undefined->sclass = 'U';
  EXPECT_EQ(show(empty(1, &undefined)), "L F");
  EXPECT_EQ(show(len(1, &undefined)), "E");
}

// Long texts are mapped eight bytes at a time: the same as one by one, at every offset.
TEST_F(Strings, LongTextsAreMappedAsShortOnes) {
  std::string all;
  for (int i = 0; i < 5000; ++i) all += static_cast<char>(i * 7);
  for (std::size_t shift = 0; shift < 9; ++shift) {
    const std::string text = all.substr(shift);
    for (const char* name : {"upper", "lower"}) {
      std::string expected;
      for (const char c : text) expected += text_of(call_cell(name, {std::string(1, c)}));
      EXPECT_EQ(text_of(call_cell(name, {text})), expected) << name;
    }
  }
}

}  // namespace
}  // namespace tarnel::testing
