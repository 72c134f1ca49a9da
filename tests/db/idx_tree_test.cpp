// The key tree by itself, against a set, with a walk of the file's bytes after the work.
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <random>
#include <set>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "db/dbfidx/order/key_tree.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class KeyTreeTest : public TableTest {
 protected:
  ~KeyTreeTest() override {
    if (fd_ >= 0) ::close(fd_);
  }

  // A new file for keys of `length` bytes of text, or of numbers with two decimals when 0.
  void make(int length, std::uint8_t flags = 0, bool exclusive = true) {
    idx::Header header;
    header.type = length > 0 ? 'C' : 'N';
    header.size = static_cast<std::uint8_t>(length > 0 ? length : 2);
    header.flags = flags;
    header.expression = "KEY";
    idx::lay_out(header);
    fd_ = open_file(path().c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ASSERT_TRUE(idx::write_header(fd_, header) && idx::write_extension(fd_, {}));
    tree_.attach(fd_, header, exclusive);
  }
  void reopen(bool exclusive) {
    tree_.flush();
    idx::Header header;
    ASSERT_TRUE(idx::read_header(fd_, header));
    tree_.attach(fd_, header, exclusive);
    begin();
  }
  void begin() {
    tree_.begin(true);
    tree_.refresh();
  }
  std::string path() const { return directory() + "/tree.idx"; }

  Key key(Var* value) {
    Key made;
    EXPECT_TRUE(make_key(made, value, tree_.header().type));
    return made;
  }
  bool find(const Key& k, std::uint32_t recno) {
    return tree_.seek_exact(KeyComparer(k, tree_.header(), TextRule::kWhole, NumberRule::kExact),
                            recno);
  }
  void add(std::string_view k, std::uint32_t recno) {
    const Key made = key(TMP_TEXT(k));
    EXPECT_FALSE(find(made, recno));
    EXPECT_TRUE(tree_.insert(made, recno));
  }
  // Two keys a page: the letters A to I.
  void make_nine() {
    make(232);
    begin();
    for (std::uint32_t i = 0; i < 9; ++i) add(std::string(1, static_cast<char>('A' + i)), i + 1);
  }
  void drop(std::string_view k, std::uint32_t recno) {
    EXPECT_TRUE(find(key(TMP_TEXT(k)), recno)) << k << recno;
    EXPECT_TRUE(tree_.remove());
  }
  IdxFile check() {
    EXPECT_TRUE(tree_.flush());
    EXPECT_EQ(tree_.failed_sector(), -1);
    IdxFile file = check_idx(path());
    EXPECT_EQ(file.fault, "");
    return file;
  }

  KeyTree tree_;
  int fd_ = -1;
};

using Entries = std::vector<std::pair<std::string, std::uint32_t>>;

struct RandomRow {
  int length;
  std::uint8_t flags;
  bool exclusive;
  int rounds;
};
class RandomWork : public KeyTreeTest, public ::testing::WithParamInterface<RandomRow> {};
// The last three have two keys a page, and one.
INSTANTIATE_TEST_SUITE_P(Trees, RandomWork,
                         ::testing::Values(RandomRow{10, 0, true, 60}, RandomRow{10, 0, false, 40},
                                           RandomRow{30, idx::kDescendingBit, true, 40},
                                           RandomRow{232, 0, true, 60}, RandomRow{238, 0, true, 60},
                                           RandomRow{233, 0, false, 30}));
// Adds and drops random keys and compares with a set after each round.
TEST_P(RandomWork, LeavesASoundTree) {
  const auto [length, flags, exclusive, rounds] = GetParam();
  make(length, flags, exclusive);
  std::mt19937 random(static_cast<unsigned>(length + rounds));
  std::set<std::pair<std::string, std::uint32_t>> model;
  std::map<std::uint32_t, std::string> of_record;
  const bool descending = (flags & idx::kDescendingBit) != 0;
  for (int round = 0; round < rounds; ++round) {
    begin();
    // Waves: mostly adding, then mostly dropping, down to an empty file now and then.
    const unsigned adding = round / 8 % 2 == 0 ? 80 : 10;
    for (int i = 0; i < 60; ++i) {
      if (of_record.empty() || random() % 100 < adding) {
        std::string k(random() % 3 == 0 ? static_cast<std::size_t>(length) : random() % 3 + 1, 'x');
        for (std::size_t at = 0; at < k.size(); at += 1 + random() % 50)
          k[at] = static_cast<char>('a' + random() % 4);
        const auto recno = static_cast<std::uint32_t>(random() % 100000 + 1);
        if (of_record.count(recno) != 0) continue;
        add(k, recno);
        of_record[recno] = k;
        model.insert({k, recno});
      } else {
        const auto it =
            std::next(of_record.begin(), static_cast<long>(random() % of_record.size()));
        drop(it->second, it->first);
        model.erase({it->second, it->first});
        of_record.erase(it);
      }
    }
    const IdxFile file = check();
    Entries expected(model.begin(), model.end());
    if (descending)
      std::stable_sort(expected.begin(), expected.end(),
                       [](const auto& a, const auto& b) { return a.first > b.first; });
    ASSERT_EQ(file.keys, expected) << "round " << round;
  }
  // The engine's own walks see the same, both ways.
  begin();
  const auto here = [&] {
    return std::pair(reinterpret_cast<const char*>(tree_.key()), tree_.record());
  };
  Entries there, back;
  for (bool ok = tree_.go_first(); ok; ok = tree_.step_forward()) there.push_back(here());
  for (bool ok = tree_.go_last(); ok; ok = tree_.step_back()) back.push_back(here());
  std::reverse(back.begin(), back.end());
  EXPECT_EQ(there.size(), model.size());
  EXPECT_EQ(there, back);
}

// An emptied file keeps its root page; with one key a page, a key takes one sector.
TEST_F(KeyTreeTest, SectorsThatAreTaken) {
  make(238);
  begin();
  for (int round = 0; round < 5; ++round) add("A", 1), drop("A", 1);
  EXPECT_EQ(check().nextSector, 4U);
  for (std::uint32_t i = 1; i <= 50; ++i) add(std::to_string(i * 7919 % 1000), i);
  EXPECT_EQ(check().nextSector, 53U);
}

TEST_F(KeyTreeTest, LastFreedSectorIsTakenFirst) {
  make_nine();
  drop("A", 1);
  drop("C", 3);
  const IdxFile freed = check();
  ASSERT_NE(freed.freeList, 0U);
  add("J", 10), add("K", 11), add("L", 12);
  EXPECT_NE(check().freeList, freed.freeList);
}

TEST_F(KeyTreeTest, NumbersMatchWithinHalfTheLastDecimalOnlyWhenTolerant) {
  make(0);
  begin();
  ASSERT_TRUE(tree_.insert((find(key(TMP_NUM(10.00, 2)), 1), key(TMP_NUM(10.00, 2))), 1));
  for (const double value : {9.994, 9.996, 10.0, 10.004, 10.006}) {
    const Key k = key(TMP_NUM(value, 3));
    const KeyComparer compare(k, tree_.header(), TextRule::kPrefix, NumberRule::kTolerant);
    EXPECT_EQ(tree_.seek(compare, Hit::kFirst), value > 9.995 && value < 10.005) << value;
    EXPECT_EQ(find(k, 1), value == 10.0) << value;
  }
}

TEST_F(KeyTreeTest, FileCutShortUnderASharedOrderIsAFailure) {
  make(10, 0, false);
  begin();
  for (std::uint32_t i = 1; i <= 2000; ++i) add(std::to_string(i), i);
  ASSERT_TRUE(tree_.flush());
  begin();
  ASSERT_TRUE(tree_.go_last());
  ASSERT_EQ(::ftruncate(fd_, 2048), 0);
  begin();
  EXPECT_FALSE(tree_.go_last());
  EXPECT_GE(tree_.failed_sector(), 3);
}

TEST_F(KeyTreeTest, PagesOfACircleAreAFailureNotAHang) {
  make_nine();
  const IdxFile file = check();
  // Every child of the root is the root.
  std::string bytes = file.bytes;
  for (std::size_t i = 0; i < 3; ++i)
    bytes.replace(file.root * 512UL + 12 + i * 240, 4, le32(file.root));
  write_file(path(), bytes);
  for (const bool exclusive : {true, false}) {
    reopen(exclusive);
    EXPECT_FALSE(tree_.go_first());
    EXPECT_GE(tree_.failed_sector(), 3);
  }
}

// A walk of many operations, each under a lock of its own, that comes to the same page again.
TEST_F(KeyTreeTest, StepOutOfTheOrderOfKeysIsAFailureInSharedUse) {
  make_nine();
  const IdxFile file = check();
  // Behind the root's first key comes the page before it again.
  std::string bytes = file.bytes;
  const std::size_t first = file.root * 512UL + 12;
  bytes.replace(first + 240, 4, bytes, first, 4);
  write_file(path(), bytes);
  reopen(false);
  int steps = 0;
  std::string at;
  for (bool on = tree_.go_first(); on && steps < 100; ++steps) {
    at = reinterpret_cast<const char*>(tree_.key());
    const std::uint32_t recno = tree_.record();
    begin();
    on = find(key(TMP_TEXT(at)), recno) && tree_.step_forward();
  }
  EXPECT_LT(steps, 9);
  EXPECT_GE(tree_.failed_sector(), 3);
}

}  // namespace
}  // namespace tarnel::testing
