// The cells of the screen, over a device that shows them as text.
#include "term/screen.h"

#include <deque>

#include "core/settings.h"
#include "term/colours.h"
#include "term/glyphs.h"
#include "term/key_codes.h"
#include "term/line_field.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

struct Shown {
  int paints = 0, rings = 0;
  std::deque<int> typed;
} shown;

const std::string& no_bytes() {
  static const std::string none;
  return none;
}
constexpr ScreenDevice kDevice = {
    .paint = [](bool) { ++shown.paints; },
    .read_key =
        [](int) {
          if (shown.typed.empty()) return int{kNoKey};
          const int key = shown.typed.front();
          shown.typed.pop_front();
          return key;
        },
    .key_bytes = no_bytes,
    .ring = [] { ++shown.rings; },
    .colours = [] { return false; },
    .give_back = [] {},
    .take_again = [] {},
};

class Screen : public RuntimeTest {
 protected:
  Screen() {
    shown = Shown();
    set_colours("W/N,N/W");
    attach_screen(kDevice, 4, 10);
  }
  ~Screen() override { detach_screen(); }

  // The rows, '|' between them, each without blanks at its end.
  static std::string picture() {
    std::string all;
    for (int row = 0; row < screen_rows(); ++row) {
      std::string line;
      for (int col = 0; col < screen_columns(); ++col)
        if (const char32_t c = cell_at(row, col).character; c != 0) append_utf8(line, c);
      line.erase(line.find_last_not_of(' ') + 1);
      all += (row > 0 ? "|" : "") + line;
    }
    return all;
  }
  static std::string place() {
    return std::to_string(cursor_place().row) + "," + std::to_string(cursor_place().col);
  }
};

TEST_F(Screen, TextIsCutAtTheMarginAndTheColumnGoesOn) {
  check({{"setpos", {1, 7}, "U"}, {"dispout", {"abcdef"}, "U"}});
  EXPECT_EQ(picture(), "|       abc||");
  EXPECT_EQ(place(), "1,13");
  for (const ScreenPlace at : {ScreenPlace{-1, 0}, ScreenPlace{4, 0}, ScreenPlace{2, -2}}) {
    move_cursor(at);
    put_text("abcd", {});
  }
  EXPECT_EQ(picture(), "|       abc|cd|");
}

TEST_F(Screen, ConsoleOutputWrapsScrollsAndObeysItsControlCharacters) {
  check({{"qqout", {"abcdefghijk"}, "U"}, {"qout", {1}, "U"}, {"qout", {"x"}, "U"}});
  EXPECT_EQ(picture(), "abcdefghij|k|         1|x");
  check({{"qout", {"12\r3\a\t"}, "U"}});
  EXPECT_EQ(picture(), "k|         1|x|3○");
  EXPECT_EQ(shown.rings, 1);
  settings().console = false;
  check({{"qout", {"no"}, "U"}, {"dispout", {"yes"}, "U"}});
  EXPECT_EQ(picture(), "k|         1|x|3○yes");
}

TEST_F(Screen, CharactersAreUtf8OrThoseOfThePcPage) {
  const std::pair<const char*, const char*> rows[] = {
      {"\xc4\xcd\xbf", "─═┐"},     {"\xc9\xcd\xbb a\xc3\xa4\xc3", "╔═╗ aä├"},
      {"\xc3\xa4\xc3 ", "├ñ├"},    {"ä€", "ä€"},
      {"\x01\x1b[A\x7f", "☺←[A⌂"}, {"\xc3", "├"},
      {"\xed\xa0\x80", "φáÇ"},     {"\xc0\xaf", "└»"},
      {"\xc2\x9b", "┬¢"},          {"\xf5\x80\x80\x80", "⌡ÇÇÇ"},
      {"a\u0301b", "ab"},          {"\u202eab", "ab"}};
  for (const auto& [bytes, text] : rows) {
    fill_area(whole_screen(), {});
    move_cursor({0, 0});
    put_text(bytes, {});
    EXPECT_EQ(picture(), std::string(text) + "|||");
  }
}

TEST_F(Screen, HalfAWideCharacterIsBlank) {
  const auto after = [](auto change) {
    fill_area(whole_screen(), {});
    move_cursor({0, 1});
    put_text("日本", {});
    change();
    return picture();
  };
  const auto put = [](int col, const char* text) {
    move_cursor({0, col});
    put_text(text, {});
  };
  EXPECT_EQ(after([] {}), " 日本|||");
  EXPECT_EQ(place(), "0,5");
  EXPECT_EQ(after([&] { put(2, "x"); }), "  x本|||");
  EXPECT_EQ(after([&] { put(2, "xy"); }), "  xy|||");
  EXPECT_EQ(after([&] { put(2, "界"); }), "  界|||");
  EXPECT_EQ(after([&] { put(9, "界"); }), " 日本|||");
  EXPECT_EQ(after([] { scroll_area({0, 2, 0, 9}, 0, 1, {}); }), "  本|||");
  EXPECT_EQ(after([] { scroll_area({0, 2, 0, 9}, 0, -1, {}); }), "    本|||");
  EXPECT_EQ(after([] { fill_area({0, 2, 0, 3}, {}); }), "|||");
  EXPECT_EQ(after([] { resize_screen(4, 4); }), " 日|||");
}

TEST_F(Screen, ScrollsBlanksAndSavesParts) {
  const auto fill = [] {
    fill_area(whole_screen(), {});
    for (int row = 0; row < 4; ++row) {
      move_cursor({row, 0});
      put_text(std::string(9, static_cast<char>('a' + row)) + "0", {});
    }
  };
  struct Row {
    std::vector<Arg> args;
    const char* picture;
  };
  const Row rows[] = {{{}, "|||"},
                      {{1, 1, 2, 8, 1}, "aaaaaaaaa0|bcccccccc0|c        0|ddddddddd0"},
                      {{1, 1, 2, 8, -1}, "aaaaaaaaa0|b        0|cbbbbbbbb0|ddddddddd0"},
                      {{-5, 8, 9, 99, 0, 1}, "aaaaaaaa0|bbbbbbbb0|cccccccc0|dddddddd0"},
                      {{0, 8, 0, 9, 0, -1}, "aaaaaaaa a|bbbbbbbbb0|ccccccccc0|ddddddddd0"},
                      {{1, 0, 2, 9, 7}, "aaaaaaaaa0|||ddddddddd0"}};
  for (const Row& row : rows) {
    fill();
    check({{"scroll", row.args, "U"}});
    EXPECT_EQ(picture(), row.picture);
  }
  check({{"scroll", {2, 0, 1, 0}, "E !313 SCROLL wrong par1 (2) vs. par3 (1)"},
         {"scroll", {2, 5, Nil{}, 0}, "E !313 SCROLL wrong par2 (5) vs. par4 (0)"}});
  fill();
  Var* part = call_cell("savescreen", {1, 8, 9, 9});
  EXPECT_EQ(part->type, 'S');
  CellHold kept(CPY_VAR(NEW_TEMP(), part));
  check({{"scroll", {}, "U"},
         {"restscreen", {"x"}, "E !312 RESTORE SCREEN"},
         {"restscreen", {}, "E !312 RESTORE SCREEN"}});
  CALL_SIMPLE(GET_FUNC("restscreen"), part);
  EXPECT_EQ(picture(), "|        b0|        c0|        d0");
  CALL_SIMPLE(GET_FUNC("restscreen"), TMP_INT(-1), TMP_INT(9), nil_value(), nil_value(), part);
  EXPECT_EQ(picture(), "         c|        bd|        c0|        d0");
}

TEST_F(Screen, BoxesStopAtTheEdgesOfTheScreen) {
  struct Row {
    std::vector<Arg> args;
    const char *picture, *place;
  };
  const Row rows[] = {{{}, "┌────────┐|│x       │|│        │|└────────┘", "1,1"},
                      {{1, 1, 99, 3, 2}, "x| ╔═╗| ║ ║| ╚═╝", "2,2"},
                      {{-9, 7, 1, 9, "12345678."}, "x      123|       765||", "1,8"},
                      {{0, 0, 2, 2, "12345678."}, "123|8.4|765|", "1,1"},
                      {{0, 0, 2, 2, "+"}, "+++|+ +|+++|", "1,1"},
                      {{2, 0, 1, 5}, "x|||", "0,1"},
                      {{0, 3, 0, 3}, "x  ┌|||", "1,4"}};
  for (const Row& row : rows) {
    fill_area(whole_screen(), {});
    move_cursor({std::string(row.picture).starts_with("┌──") ? 1 : 0,
                 std::string(row.picture).starts_with("┌──") ? 1 : 0});
    put_text("x", {});
    check({{"dispbox", row.args, "U"}});
    EXPECT_EQ(picture(), row.picture);
    EXPECT_EQ(place(), row.place);
  }
}

TEST_F(Screen, ColoursOfTextsAndSlots) {
  struct Row {
    const char* text;
    Colour colour;
    const char* error;
  };
  const Row rows[] = {{"W+/B", {7, 1, kBold}, ""},
                      {"gr/rgb*", {6, 7, kBlink}, ""},
                      {"R", {4, 0, 0}, ""},
                      {"/B", {0, 1, 0}, ""},
                      {"U", {7, 0, kUnderline}, ""},
                      {"+*", {7, 0, kBold | kBlink}, ""},
                      {"I", {0, 7, 0}, ""},
                      {"-RX/N", {4, 0, kDim | kInvisible}, ""},
                      {"14/9", {6, 1, kBold}, ""},
                      {"7/0,R", {7, 0, 0}, ""},
                      {"", {7, 0, 0}, ""},
                      {"BGR", {7, 0, 0}, "329 foreground color specification 'BGR' in 'BGR' "},
                      {"w/16", {7, 0, 0}, "329 color specification 7, 16 "}};
  set_error_threshold(0);
  for (const Row& row : rows) {
    EXPECT_EQ(colour_of(row.text), row.colour) << row.text;
    EXPECT_EQ(take_errors(), row.error);
  }
  set_colours("R/B,,,,G");
  check({{"_unselecte", {}, "U"},
         {"dispout", {"a"}, "U"},
         {"_enhanced", {}, "U"},
         {"dispout", {"b"}, "U"},
         {"colorselec", {9}, "U"},
         {"dispout", {"c"}, "U"},
         {"colorselec", {2}, "U"},
         {"dispout", {"d"}, "U"},
         {"setcolor", {"W"}, "C R/B, N/W,,, G"},
         {"dispout", {"e"}, "U"},
         {"dispout", {"f", "G+"}, "U"}});
  const Colour expected[] = {{2, 0, 0}, {0, 7, 0}, {0, 7, 0}, {4, 1, 0}, {7, 0, 0}, {2, 0, kBold}};
  for (int col = 0; col < 6; ++col) EXPECT_EQ(cell_at(0, col).colour, expected[col]) << col;
}

TEST_F(Screen, IsPaintedAtFlushPointsUnlessThatIsHeldOff) {
  check({{"dispout", {"a"}, "U"}});
  EXPECT_EQ(shown.paints, 0);
  check({{"inkey", {}, "I 0"}});
  EXPECT_EQ(shown.paints, 1);
  check({{"dispbegin", {}, "I 1"},
         {"dispbegin", {}, "I 2"},
         {"inkey", {}, "I 0"},
         {"dispend", {}, "I 1"}});
  EXPECT_EQ(shown.paints, 1);
  check({{"refresh", {}, "U"}});
  EXPECT_EQ(shown.paints, 2);
  check({{"dispend", {}, "I 0"}});
  EXPECT_EQ(shown.paints, 3);
}

TEST_F(Screen, ResizingKeepsCutsAndBlanks) {
  fill_area(whole_screen(), {U'x', {}});
  resize_screen(2, 12);
  EXPECT_EQ(picture(), "xxxxxxxxxx|xxxxxxxxxx");
  check({{"maxrow", {}, "I 1"}, {"maxcol", {}, "I 11"}});
  resize_screen(0, 0);
  check({{"dispbox", {}, "U"}, {"qout", {"ab\nc"}, "U"}, {"scroll", {0, 0, 0, 0, 1}, "U"}});
  EXPECT_EQ(picture(), "");
  resize_screen(300, 1000);
  EXPECT_EQ(call_cell("savescreen", {})->type, 'S');
}

// Runs what waits for keys with keys typed; the answer and the picture while it asks are told.
TEST_F(Screen, KeysComeFromTheBufferThenFromTheTerminal) {
  shown.typed = {'x', 'y', 'z'};
  check({{"nextkey", {}, "I 120"},
         {"__keyboard", {"a"}, "U"},
         {"nextkey", {}, "I 97"},
         {"inkey", {}, "I 97"},
         {"inkey", {0}, "I 120"},
         {"inkey", {2}, "I 121"},
         {"lastkey", {}, "I 121"},
         {"__keyboard", {""}, "U"},
         {"__wait", {}, "C z"}});
  EXPECT_EQ(picture(), "|Press any|key to con|tinue ...");
}

TEST_F(Screen, ALineIsEdited) {
  struct Row {
    std::deque<int> keys;
    const char* line;
  };
  const Row rows[] = {
      {{'a', 'b', kKeyEnter}, "C ab"},
      {{'a', 'b', kKeyBackspace, 'c', kKeyLineFeed}, "C ac"},
      {{'a', kKeyEscape}, "C "},
      {{0xc3, 0xa4, 'b', kKeyLeft, kKeyLeft, kKeyDelete, kKeyEnd, 'c', kKeyUp, kKeyEnter}, "C bc"},
      {{'a', 'b', kKeyHome, 'x', kKeyInsert, 'y', kKeyInsert, kKeyRight, 'z', kKeyEnter}, "C xybz"},
      {{'1', '2', '3', '4', '5', '6', '7', '8', '9', '0', '1', kKeyBackspace, kKeyEnter},
       "C 1234567890"}};
  for (const Row& row : rows) {
    shown.typed = row.keys;
    EXPECT_EQ(call("__accept", {"> "}), row.line);
    EXPECT_EQ(call("__acceptst", {}), row.line);
  }
  EXPECT_EQ(picture(), "> a|> bc|> xybz|> 567890");
  shown.typed = {'2', '*', '3', kKeyEnter};
  EXPECT_EQ(call("__input", {"> "}), "I 6");
  shown.typed = {' ', kKeyEnter};
  EXPECT_EQ(call("__input", {"> "}), "C ");
}

// The bell of a refused byte is the moment at which the row is looked at.
TEST_F(Screen, TheTopRowSaysThatTypingInserts) {
  static std::string seen;
  ScreenDevice device = kDevice;
  device.ring = [] { seen += picture().substr(0, 10) + ","; };
  attach_screen(device, 3, 10);
  put_text("abcdefghij", {});
  settings().bell = true;
  const auto never = [](unsigned char) { return false; };
  LineField field = {{1, 0}, 5, 5, {}, "", never};
  for (const bool wanted : {true, false}) {
    settings().scoreboard = wanted;
    shown.typed = {'1', kKeyInsert, '2', kKeyInsert, '3', kKeyEnter};
    EXPECT_EQ(edit_field(field), kKeyEnter);
    shown.typed = {kKeyInsert, kKeyEnter};
    edit_field(field);
    EXPECT_EQ(picture(), "abcdefghij||");
    settings().insert = false;
  }
  settings().scoreboard = true;
  settings().bell = false;
  EXPECT_EQ(seen, "abcdefghij,abcdefgIns,abcdefghij,abcdefghij,abcdefghij,abcdefghij,");
}

TEST_F(Screen, ABoxAsksAndShowsAgainWhatItHid) {
  attach_screen(kDevice, 8, 24);
  fill_area(whole_screen(), {U'.', {}});
  const std::string before = picture();
  static std::string asked;
  const auto ask = [&](std::deque<int> keys) {
    shown.typed = std::move(keys);
    Var* options = cscreara(NEW_TEMP(), 2, kAllNil);
    SET_STR(element(options, 1), "Yes");
    SET_STR(element(options, 2), "No");
    return show(CALL_SIMPLE(GET_FUNC("alert"), TMP_TEXT("Really;go on?"), options));
  };
  EXPECT_EQ(ask({kKeyEnter}), "I 1");
  EXPECT_EQ(ask({kKeyLeft, kKeyEnter}), "I 2");
  EXPECT_EQ(ask({'n'}), "I 2");
  EXPECT_EQ(ask({'x', kKeyRight, kKeyRight, kKeyEnter}), "I 1");
  EXPECT_EQ(ask({kKeyEscape}), "I 0");
  EXPECT_EQ(picture(), before);
  // A block bound to a key runs while the box asks, and looks at it.
  Var* block = TMP_BLOCK([](std::int32_t argc, Var**, Var**) {
    asked = std::to_string(argc) + picture();
    return nil_value();
  });
  CALL_SIMPLE(GET_FUNC("setkey"), TMP_INT(5), block);
  EXPECT_EQ(ask({5, 'y'}), "I 1");
  CALL_SIMPLE(GET_FUNC("setkey"), TMP_INT(5), nil_value());
  EXPECT_EQ(asked,
            "3........................|...┌───────────────┐....|...│    Really     │....|"
            "...│    go on?     │....|...│               │....|...│   Yes    No   │....|"
            "...└───────────────┘....|........................");
}

}  // namespace
}  // namespace tarnel::testing
