#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>

#include "term/character_map.h"
#include "term/key_decoder.h"
#include "tests/lib/call.h"

namespace tarnel::testing {
namespace {

constexpr int kNone = 9999;  // in the map of a byte: nothing was read

TEST(MapFiles, EveryFormOfALineAndEveryError) {
  struct Row {
    const char* text;
    MapRead result;
    int line;
    int byte, target;
  };
  const std::string long_line = ":t\n 65:66" + std::string(2000, 'x') + "\n 66:67\n";
  const Row rows[] = {
      {"", MapRead::kNoEntry, 0, 65, 65},
      {":t", MapRead::kDone, 1, 65, 65},
      {"#\n \t\r\n:t\n\t65:66\n", MapRead::kDone, 4, 65, 66},
      {":t\r\n 65 : 66 comment\r\n", MapRead::kDone, 2, 65, 66},
      {":u|t|v\n 65:66\n:t\n 65:67", MapRead::kDone, 3, 65, 66},
      {":tt|u\n 65:66\n x\n:t\n 65:67", MapRead::kDone, 5, 65, 67},
      {":u|\n# no\n\n  t\n 65:66", MapRead::kDone, 5, 65, 66},
      {":u| t\n 65:66", MapRead::kNoEntry, 2, 65, 65},
      {":u\n 65:66", MapRead::kNoEntry, 2, 65, 65},
      {":t\n 65:66\n 65:67", MapRead::kDone, 3, 65, 67},
      {":t\n 65:322", MapRead::kDone, 2, 65, 66},
      {":t\n 65:99999999999999999999", MapRead::kDone, 2, 66, 66},
      {":t\n 65-70:9", MapRead::kDone, 2, 70, 9},
      {":t\n 65 - 90:0*+32", MapRead::kDone, 2, 90, 122},
      {":t\n 65-90:*-66", MapRead::kDone, 2, 65, 255},
      {":t\n 97-122:*&223", MapRead::kDone, 2, 97, 65},
      {":t\n 0-255:5*|128", MapRead::kDone, 2, 65, 193},
      {":t\n 65:66\n 65:7*", MapRead::kDone, 3, 65, 65},
      {":t\n 65:66 *+1", MapRead::kDone, 2, 65, 66},
      {long_line.c_str(), MapRead::kDone, 3, 66, 67},
      {" 65:66", MapRead::kWrongLine, 1, 65, 65},
      {"x", MapRead::kWrongLine, 1, 65, 65},
      {":u\nx\n:t\nx", MapRead::kWrongLine, 4, 65, 65},
      {":t\n 65 66", MapRead::kWrongLine, 2, 65, 65},
      {":t\n :66", MapRead::kWrongLine, 2, 65, 65},
      {":t\n 65:", MapRead::kWrongLine, 2, 65, 65},
      {":t\n 65:66*+", MapRead::kWrongLine, 2, 65, 65},
      {":t\n 70-65:1", MapRead::kWrongLine, 2, 65, 65},
      {":t\n 0-256:1", MapRead::kWrongLine, 2, 65, 65},
      {":t\n 4294967361:1", MapRead::kWrongLine, 2, 65, 65},
  };
  for (const Row& row : rows) {
    ByteMap map = identity_map();
    int line = kNone;
    EXPECT_EQ(parse_map(row.text, "t", map, line), row.result) << row.text;
    EXPECT_EQ(line, row.line) << row.text;
    EXPECT_EQ(map[static_cast<std::size_t>(row.byte)], row.target) << row.text;
  }
}

KeyDecoder decoder_of_tests() {
  KeyDecoder decoder;
  decoder.learn("\x1b[A", kKeyUp);
  decoder.learn("\x1bOP", kKeyF1);
  decoder.learn("\x1b[15~", -4);
  decoder.learn("\x1b[15;2~", -14);
  decoder.learn("x", kKeyF1);
  return decoder;
}

TEST(KeyDecoder, MakesKeysOfBytes) {
  const std::pair<const char*, std::vector<int>> rows[] = {
      {"ax\x7f\b\r\n", {'a', 'x', 8, 8, 13, 10}},
      {"\xc3\xa4", {0xc3, 0xa4}},
      {"\x1b[A\x1bOPa", {kKeyUp, kKeyF1, 'a'}},
      {"\x1b[15~\x1b[15;2~", {-4, -14}},
      {"\x1bq\x1b"
       "0\x1b\x7f",
       {272, 385, 270}},
      {"\x1b\x1b[A", {257, '[', 'A'}},
      {"\x1b[99;9Zb\x1b[<0;1;2Mc", {'b', 'c'}},
      {"\x1b\xc3", {kKeyEscape, 0xc3}},
      {"\x1b[1\x01", {kKeyEscape, '[', '1', 1}},
      {"\x1b", {kKeyEscape}},
      {"\x1bO", {280}},
  };
  for (const auto& [bytes, keys] : rows) {
    KeyDecoder decoder = decoder_of_tests();
    decoder.add(bytes, 0);
    std::vector<int> got;
    for (int key; (key = decoder.next(1000, 1000)) != kNoKey;) got.push_back(key);
    EXPECT_EQ(got, keys) << bytes;
  }
}

TEST(KeyDecoder, WaitsForTheRestOfASequenceAndTellsEscFromAlt) {
  KeyDecoder decoder = decoder_of_tests();
  EXPECT_EQ(decoder.patience(0, 100), -1);
  decoder.add("\x1b", 10);
  EXPECT_EQ(decoder.next(20, 100), kNoKey);
  EXPECT_EQ(decoder.patience(20, 100), 90);
  decoder.add("[", 60);
  EXPECT_EQ(decoder.next(60, 100), kNoKey);
  decoder.add("A", 109);
  EXPECT_EQ(decoder.next(109, 100), kKeyUp);
  EXPECT_EQ(decoder.last_bytes(), "\x1b[A");
  decoder.add("\x1b", 200);
  EXPECT_EQ(decoder.next(300, 100), kKeyEscape);
  decoder.add("\x1b", 400);
  decoder.add("q", 400 + KeyDecoder::kAltTime + 1);
  EXPECT_EQ(decoder.next(460, 100), kKeyEscape);
  EXPECT_EQ(decoder.next(460, 100), 'q');
}

TEST(Keys, EachFunctionKeyHasOneCodeAndAName) {
  std::set<int> codes;
  for (int n = 1; n <= 63; ++n)
    if (const int code = function_key(n); code != kNoKey) {
      EXPECT_TRUE(codes.insert(code).second) << n;
      EXPECT_NE(key_name(code).find('F'), std::string::npos) << n;
    }
  EXPECT_EQ(codes.size(), 48u);
  EXPECT_EQ(*codes.begin(), -47);
  EXPECT_EQ(key_name(-22), "Ctrl-F3");
  EXPECT_EQ(key_name(-45), "Ctrl-F12");
}

class Keyboard : public RuntimeTest {};

// A busy machine may be late, but not each time.
TEST_F(Keyboard, AWaitTakesTheTenthsThatItWasAskedFor) {
  using Clock = std::chrono::steady_clock;
  const std::pair<double, int> rows[] = {{0.01, 100}, {0.05, 100}, {0.29, 200}};
  for (const auto& [seconds, milliseconds] : rows) {
    auto least = std::chrono::milliseconds::max();
    for (int i = 0; i < 20 && least.count() >= milliseconds + 80; ++i) {
      const auto start = Clock::now();
      EXPECT_EQ(call("inkey", {seconds}), "I 0");
      least = std::min(least,
                       std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start));
    }
    EXPECT_GE(least.count(), milliseconds) << seconds;
    EXPECT_LT(least.count(), milliseconds + 80) << seconds;
  }
}

}  // namespace
}  // namespace tarnel::testing
