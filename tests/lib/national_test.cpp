#include "lib/national.h"

#include "core/operators.h"
#include "lib/language_file.h"
#include "tests/lib/call.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

const std::string kSwedish = std::string(TARNEL_SOURCE_DIR) + "/examples/swedish.lng";

class National : public LibTest {
 protected:
  ~National() override {
    select_language(0);
    for (int n = 1; n <= kLanguages; ++n) language_record(n).loaded = false;
  }
  static void use_swedish() {
    ASSERT_EQ(call("loadlang", {3, kSwedish}), "L T");
    ASSERT_EQ(call("setlang", {3}), "I 0");
  }
  static int compare(std::string_view a, std::string_view b) {
    return nastrcmp(a.data(), b.data(), static_cast<std::int32_t>(a.size()),
                    static_cast<std::int32_t>(b.size()));
  }
};

TEST_F(National, SwedishSortsItsThreeLettersBehindZ) {
  EXPECT_LT(compare("\xE4", "\xE5"), 0) << "by bytes";
  use_swedish();
  settings().exact = true;
  // zebra, ål, äl, öl; Ü sorts with Y, É with E, and capitals stand in front.
  const char* const sorted[] = {"Eva",  "eva",   "\xC9va", "Fia",   "y",
                                "\xDC", "zebra", "\xE5l",  "\xE4l", "\xF6l"};
  for (std::size_t i = 0; i + 1 < std::size(sorted); ++i)
    EXPECT_LT(compare(sorted[i], sorted[i + 1]), 0) << sorted[i];
  Var* less = csultu(cell_of("zebra"), cell_of("\xE5ra"));
  EXPECT_EQ(show(less), "L T");
}

TEST_F(National, DescendTurnsTheOrderRound) {
  use_swedish();
  settings().exact = true;
  const auto mirror = [](const char* text) {
    return std::string(text_of(call_cell("descend", {text})));
  };
  EXPECT_GT(compare(mirror("zebra"), mirror("\xE5ra")), 0);
  EXPECT_LT(compare(mirror("\xF6l"), mirror("\xE4l")), 0);
  EXPECT_EQ(mirror(mirror("\xE5sna ab").c_str()), "\xE5sna ab");
}

TEST_F(National, CaseClassesAndNamesComeFromTheLanguage) {
  use_swedish();
  check({{"upper", {"\xE5\xE4\xF6\xFC x"}, "C \xC5\xC4\xD6\xDC X"},
         {"lower", {"\xC5NG"}, "C \xE5ng"},
         {"isalpha", {"\xF6"}, "L T"},
         {"isupper", {"\xC4"}, "L T"},
         {"islower", {"\xC4"}, "L F"},
         {"cdow", {Date{719163}}, "C torsdag"},
         {"cmonth", {Date{719163}}, "C januari"},
         {"_langnames", {1}, "C Infoga"},
         {"_langnames", {4}, "C "},
         {"transform", {true, "Y"}, "C J"},
         {"transform", {"\xE5r", "@! AA"}, "C \xC5R"},
         {"setlang", {}, "I 3"},
         {"setlang", {0}, "I 3"},
         {"cdow", {Date{719163}}, "C Thursday"},
         {"_langnames", {2}, "C Range is"},
         {"transform", {true, "Y"}, "C Y"}});
}

TEST_F(National, WrongCallsNameTheirReason) {
  use_swedish();
  const std::string wrong = TARNEL_SOURCE_DIR "/examples/user.prg";
  EXPECT_EQ(call("loadlang", {3, wrong}).substr(0, 9), "L F !320 ");
  check({{"upper", {"\xE5"}, "C \xC5"},
         {"cdow", {Date{719163}}, "C torsdag"},
         {"setlang", {0}, "I 3"}});
  check({{"setlang", {"x"}, "E !312 SETLANG() requires numeric argument not 'C'"},
         {"setlang", {11}, "E !313 SETLANG() requires numeric argument in the range 0 to 10"},
         {"setlang", {2}, "E !320 SETLANG(): language # 2 has not been loaded"},
         {"loadlang",
          {"x", "f"},
          "L F !312 LOADLANG(): requires language number as first argument, not 'C'"},
         {"loadlang", {1}, "L F !312 LOADLANG(): requires filename as second argument, not 'U'"},
         {"loadlang", {1, "no such.lng"}, "L F !323 LOADLANG(): cannot open 'no such.lng'"},
         {"ov_set",
          {"loadlanguage", 1, "no such.lng"},
          "L F !323 LOADLANG(): cannot open 'no such.lng'"}});
}

TEST_F(National, FilesThatStopSayWhy) {
  struct Row {
    std::string bytes;
    const char* error;
  };
  for (const Row& row : std::initializer_list<Row>{
           {"a a a A\n", "section should be declared before data"},
           {"!! WEEKDAYS\n", "invalid section name 'WEEKDAYS'"},
           {"!!\n", "invalid section name ''"},
           {"!! DAYNAMES\n" + repeat("x\n", 8), "too many day names defined"},
           {"!! MONTHNAMES\n" + repeat("x\n", 13), "too many month names defined"},
           {"!! SCOREBOARD\n" + repeat("x\n", 5), "too many scoreboard messages defined"},
           {"!! DIR\n" + repeat("x\n", 6), "too many dir messages defined"},
           {"!! LOGICAL\n" + repeat("x\n", 4), "too many logical keycodes defined"},
           {"!! ALPHABET\n" + repeat("1 1 1\n", 257), "too many characters names defined"},
           {"!! DIR\n" + std::string(500, 'x') + "\n" + std::string(20, 'y'),
            "description too long (512 bytes max)"}}) {
    EXPECT_FALSE(parse_language(row.bytes, language_record(1)));
    EXPECT_EQ(take_errors(), std::string("320 LOADLANG(): ") + row.error);
    EXPECT_FALSE(language_record(1).loaded);
  }
}

TEST_F(National, OddLinesAreReadAsFarAsTheyGo) {
  Language& record = language_record(1);
  EXPECT_TRUE(parse_language("# comment\n\n!! ALPHABET\n0x41 0101 97 AU\n300 'b '\n", record));
  EXPECT_EQ(take_errors(),
            "320 LOADLANG(): does not describe a character '300'; "
            "320 LOADLANG(): does not describe a character '''");
  EXPECT_EQ(record.upperMap['A'], 'A');
  EXPECT_EQ(record.lowerMap['A'], 'a');
  EXPECT_EQ(record.classes['A'], kLetter | kUpper);
  EXPECT_EQ(record.order[0], 1) << "what describes no character is character 0";
}

// The groups of messages overlap by one slot, and a later line wins.
TEST_F(National, MessageGroupsShareTheirLastSlot) {
  Language& record = language_record(1);
  EXPECT_TRUE(parse_language(
      "!! SCOREBOARD\na\nb\nc\nd\n!! DIR\n1\n2\n3\n4\n5\n!! LOGICAL\nWw\nFf\nthird\n", record));
  EXPECT_STREQ(record.messages[kDirSlot], "1");
  EXPECT_STREQ(record.messages[kLogicalSlot], "Ww");
  EXPECT_TRUE(parse_language("!! LOGICAL\nWw\n!! DIR\n1\n2\n3\n4\n5\n", record));
  EXPECT_STREQ(record.messages[kLogicalSlot], "5");
}

}  // namespace
}  // namespace tarnel::testing
