// The check of tables against files that were damaged by hand, at random, and against tables that others
// change meanwhile.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "db/dbfidx/check/check.h"
#include "db/dbfidx/check/repair.h"
#include "tests/db/die_at_each_call.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_checker.h"
#include "tests/db/table_files.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

constexpr int kRecords = 60;
constexpr std::size_t kHeader = 32 + 6 * 32 + 1, kRecord = 1 + 12 + 8 + 10 + 8 + 1 + 10;
constexpr std::size_t kStride = 20;  // of an entry in NAME.idx
const char* const kFiles[] = {"t.dbf", "t.dbt", "name.idx"};

class CheckTest : public TableTest {
 protected:
  CheckTest() {
    EXPECT_TRUE(create("t", {{"name", "C", 12, 0},
                             {"n", "N", 8, 2},
                             {"f", "F", 10, 0},
                             {"d", "D", 8, 0},
                             {"l", "L", 1, 0},
                             {"m", "M", 10, 0}}));
    EXPECT_TRUE(open("t", Use::kExclusive));
    for (int i = 0; i < kRecords; ++i) {
      call("dbappend");
      put("name", text("name " + std::to_string(1000 + i * 37 % kRecords)));
      put("n", number(i / 4.0, 2));
      put("f", number(i * 1e30));
      put("d", TMP_DATE(730000 + i));
      put("l", logical(i % 2 == 0));
      put("m", text(std::string(static_cast<std::size_t>(100 * (i % 8)), 'x')));
    }
    EXPECT_TRUE(yes("dbcreateindex", {text("name"), text("name")}));
    call("dbclosearea");
    whole_ = read_files({kFiles[0], kFiles[1], kFiles[2]});
    EXPECT_EQ(independent(), "");
  }

  // The lines that the check writes, a bar between them.
  static std::string check(const char* file = "t") {
    std::string lines;
    const CheckResult result = check_table(
        file, {}, [&](const std::string& line) { lines += (lines.empty() ? "" : "|") + line; });
    EXPECT_EQ(take_errors(), "");
    return result.system_error == 0 && result.refused.empty() ? lines : "refused";
  }
  static bool repair() {
    TableRepair repair("t", [](const std::string&) {});
    return repair.plan() && repair.run();
  }
  // What the checkers that know nothing of the engine find; "" when nothing.
  static std::string independent() {
    if (std::string fault = table_fault("t"); !fault.empty()) return fault;
    const IdxFile order = check_idx("name.idx");
    if (!order.fault.empty()) return order.fault;
    if (order.counter != static_cast<unsigned char>(read_file("t.dbf")[31])) return "counter";
    return order_fault("name.idx", "t.dbf", records_of("t"), {1, 12});
  }
  // The first sector that hangs below the root; one without children, and with several keys.
  std::size_t child() const { return word(page(root()) + 12); }
  std::size_t leaf() const {
    std::size_t at = 3;
    while (word(page(at)) < 2 || word(page(at) + 12) != 0 || at == root()) ++at;
    return at;
  }
  std::size_t root() const { return word(8); }
  std::size_t word(std::size_t at) const {
    const std::string& s = whole_.at("name.idx");
    return static_cast<unsigned char>(s[at]) + 256U * static_cast<unsigned char>(s[at + 1]);
  }
  static std::size_t page(std::size_t sector) { return 512 * sector; }
  static std::size_t entry(std::size_t sector, std::size_t i) {
    return page(sector) + 12 + i * kStride;
  }
  static std::size_t record(int n) { return kHeader + static_cast<std::size_t>(n - 1) * kRecord; }

  Files whole_;
};

enum class Repair { kWhole, kValueStays, kRefused };
using enum Repair;
struct Damage {
  const char* file;
  std::size_t at;  // where the bytes go; at the end of the file: they are added
  std::string bytes;
  std::string finding;  // in this file, those of t.dbt in t.dbf
  Repair repair = Repair::kWhole;
};

TEST_F(CheckTest, EveryDamageIsFoundWithItsPlace) {
  EXPECT_EQ(check(), "");
  const std::size_t size = whole_["t.dbf"].size(), pages = whole_["name.idx"].size() / 512;
  const std::string leaf_page = "page " + std::to_string(leaf());
  const std::string root_page = "page " + std::to_string(root());
  const std::string_view first = std::string_view(whole_["name.idx"]).substr(entry(leaf(), 0), 20);
  const std::string_view second = std::string_view(whole_["name.idx"]).substr(entry(leaf(), 1), 20);
  const std::uint32_t keys = static_cast<unsigned char>(whole_["name.idx"][page(leaf())]);
  const auto descriptor = [](std::size_t field, std::size_t at) { return 32 * field + at; };
  const auto same = [](std::string_view entry) {
    return std::to_string(static_cast<unsigned char>(entry[4]));
  };
  const Damage damages[] = {
      {"t.dbf", 0, "\x30", "header: is no table of this kind: version 0x30", kRefused},
      {"t.dbf", 8, le16(60000), "header: header size: 60000, the file has 3225"},
      {"t.dbf", 10, le16(0), "header: record size 0"},
      {"t.dbf", 10, le16(51),
       "header: the fields don't make the record size: 6 lie in it, the record size is 51"},
      {"t.dbf", 4, le32(61), "header: counts more records than the file holds: 61 and 60"},
      {"t.dbf", 4, le32(58), "header: bytes behind the last record: 100, 2 whole records"},
      {"t.dbf", 4, le32(0xFFFFFFFF),
       "header: counts more records than a table can have: 4294967295"},
      {"t.dbf", size, "abc", "header: bytes behind the last record: 3, 0 whole records"},
      {"t.dbf", 2, "\x0D", "header: no date of the last change: 2"},
      {"t.dbf", kHeader - 1, " ", "header: no end mark behind the fields"},
      {"t.dbf", descriptor(2, 0), std::string(1, '\0'), "field 2 : no name of a field", kRefused},
      {"t.dbf", descriptor(3, 0), "n", "field 3 n: a name that another field has", kValueStays},
      {"t.dbf", descriptor(4, 11), "X", "field 4 D: no type of a field: X", kRefused},
      {"t.dbf", descriptor(4, 16), "\x09", "field 4 D: a length that the type doesn't have: D 9",
       kRefused},
      {"t.dbf", 0, "\x03",
       "header: memo fields and memo file don't go together: fields, no memo file"},
      {"t.dbf", record(7), "?", "record 7: no delete mark: 0x3f"},
      {"t.dbf", record(7) + 13, "   1x2  ", "record 7, field N: no number:    1x2  ", kValueStays},
      {"t.dbf", record(60) + 21, "******", "record 60, field F: no number: ******", kValueStays},
      {"t.dbf", record(7) + 31, "20230229", "record 7, field D: no date: 20230229", kValueStays},
      {"t.dbf", record(7) + 39, "y", "record 7, field L: neither T nor F: y", kValueStays},
      {"t.dbf", record(2) + 40, "         x", "record 2, field M: no number of a block"},
      {"t.dbf", record(1) + 40, "      9999",
       "record 1, field M, block 9999: outside of the memo file"},
      {"t.dbf", record(3) + 40, whole_["t.dbf"].substr(record(2) + 40, 10),
       "record 3, field M, block 1: shared with another memo"},
      {"t.dbt", 512 + 100, "y", "record 3, field M, block 2: shared with another memo"},
      {"t.dbt", whole_["t.dbt"].rfind('\x1A'), "y", "record 60, field M, block 66: no end mark"},
      {"t.dbt", 0, le32(5), "record 6, field M, block 5: the next memo will be written there"},
      {"t.dbt", 0, le32(0), "memo file, block 0: no next free block: 0, memos reach"},
      {"name.idx", 0, "R", "header: header contradicts itself: version"},
      {"name.idx", 20, "Z", "header: header contradicts itself: unknown key type"},
      {"name.idx", 28, le32(40), "header: header contradicts itself: keys in a page"},
      {"name.idx", 16, le32(999),
       "header: more pages than the file holds: 999 and " + std::to_string(pages)},
      {"name.idx", 1025, "\x77", "header: lacks changes of the table: change 119 of "},
      {"name.idx", 4, le32(61), "header: number of keys: 61, the table has 60 records"},
      {"name.idx", 4, le32(59), "header: number of keys: 59, the pages have 60"},
      {"name.idx", 8, le32(2), "page 2: no page of the file"},
      {"name.idx", page(leaf()), le32(0), leaf_page + ": no key in it"},
      {"name.idx", page(leaf()), le32(255),
       leaf_page + ": more keys than a page has room for: 255"},
      {"name.idx", page(leaf()), le32(keys - 1), "record "},
      {"name.idx", entry(root(), 1), whole_["name.idx"].substr(entry(root(), 0), 4),
       "page " + std::to_string(child()) + ": hangs in two places"},
      {"name.idx", entry(leaf(), 0), le32(static_cast<unsigned>(root())),
       root_page + ": hangs in two places"},
      {"name.idx", entry(leaf(), keys - 1) + 4, le32(999),
       leaf_page + ": of a record that isn't there: key " + std::to_string(keys) + ", record 999"},
      {"name.idx", entry(leaf(), keys - 1) + 4, le32(0),
       leaf_page + ": of a record that isn't there: key " + std::to_string(keys) + ", record 0"},
      {"name.idx", entry(leaf(), 0) + 8, "name 0",
       leaf_page + ": not the key of its record: key 1"},
      {"name.idx", entry(leaf(), 0), std::string(second) + std::string(first),
       leaf_page + ": not where it belongs: key 2, record " + same(first)},
      {"name.idx", entry(leaf(), 0), std::string(second),
       leaf_page + ": not where it belongs: key 2, record " + same(second)},
      {"name.idx", 16, le32(static_cast<unsigned>(pages) - 1), "page "},
      {"name.idx", 12, le32(static_cast<unsigned>(leaf())),
       leaf_page + ": hangs in two places: free"},
  };
  for (const Damage& damage : damages) {
    std::string bytes = whole_[damage.file];
    bytes.replace(damage.at, std::min(damage.bytes.size(), bytes.size() - damage.at), damage.bytes);
    write_file(damage.file, bytes);
    SCOPED_TRACE(damage.finding);
    const std::string file = damage.file, in = file == "t.dbt" ? "t.dbf" : file;
    const std::string found = "|" + check();
    EXPECT_NE(found.find("|" + in + ": " + damage.finding), std::string::npos) << found;
    EXPECT_NE(independent(), "");
    EXPECT_EQ(read_file(damage.file), bytes) << "nothing is written";
    EXPECT_EQ(repair(), damage.repair != kRefused);
    EXPECT_EQ(independent() == "", damage.repair == kWhole) << independent();
    EXPECT_EQ(check() == "", damage.repair == kWhole) << check();
    write_files(whole_);
  }
  std::filesystem::remove("t.dbt");
  EXPECT_EQ(check(),
            "t.dbt: no such file: No such file or directory|t.dbf: note: the table can't be "
            "opened as it is, its orders were not looked at");
  EXPECT_EQ(check("nowhere"), "refused");
  EXPECT_TRUE(repair());
  EXPECT_EQ(check() + independent(), "");
}

// The count is 2 short, a delete mark is none, and record 2 has lost its memo.
class RepairTest : public CheckTest {
 protected:
  RepairTest() {
    before_ = records_of("t");
    std::string& table = whole_["t.dbf"];
    table.replace(4, 4, le32(kRecords - 2));
    table[record(7)] = '?';
    table.replace(record(2) + 40, 10, "      9999");
    write_files(whole_);
    before_[1].replace(40, std::string::npos, "");
  }
  // Damaged or repaired, nothing between.
  void expect_one_or_the_other() {
    if (read_file("t.dbf") == whole_["t.dbf"]) {
      EXPECT_EQ(read_file("t.dbt"), whole_["t.dbt"]);
      return;
    }
    EXPECT_EQ(table_fault("t"), "");
    EXPECT_TRUE(records_of("t") == before_);
    EXPECT_EQ(order_fault("name.idx", "t.dbf", records_of("t"), {1, 12}), "");
  }
  static int files() {
    const std::filesystem::directory_iterator all(".");
    return static_cast<int>(std::distance(begin(all), end(all)));
  }
  std::vector<std::string> before_;  // the records, as a repair leaves them
};

TEST_F(RepairTest, AProcessMayDieAtEachCall) {
  const int files_before = files();
  die_at_each_call([&] { write_files(whole_); }, [] { return repair(); },
                   [&](int) {
                     {
                       TableRepair next("t", [](const std::string&) {});
                       ASSERT_TRUE(next.plan());  // finishes what hangs between two renames
                     }
                     expect_one_or_the_other();
                     const auto an_hour_ago =
                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
                     for (const auto& entry : std::filesystem::directory_iterator("."))
                       if (entry.path().stem().string().starts_with("new"))
                         last_write_time(entry, an_hour_ago);  // nobody is at what it left
                     ASSERT_TRUE(repair());
                     EXPECT_EQ(check() + independent(), "");
                     EXPECT_TRUE(records_of("t") == before_);
                     EXPECT_EQ(files(), files_before);
                   });
}

TEST_F(RepairTest, FaultsOfTheSystemLeaveTheTableWholeAndNothingBesideIt) {
  const int files_before = files();
  const int runs = fail_each_call(
      {kDiskFull, kIoError}, [&] { write_files(whole_); }, [] { static_cast<void>(repair()); },
      [&](const Fault*) {
        TableRepair next("t", [](const std::string&) {});
        EXPECT_TRUE(next.plan());
        expect_one_or_the_other();
        EXPECT_EQ(files(), files_before);
        take_errors();
      });
  EXPECT_GT(runs, 50);
}

TEST_F(CheckTest, WhatTheIndependentCheckersFindInDamagedBytesIsFoundToo) {
  std::mt19937 random(7);
  int faulty = 0, disagreed = 0;
  for (int i = 0; i < 300; ++i) {
    const std::string file = kFiles[random() % 3];
    std::string bytes = whole_[file];
    for (std::size_t n = random() % 3 + 1; n > 0; --n) {
      const std::size_t head =
          file == "t.dbf" ? kHeader : std::min<std::size_t>(bytes.size(), 1536);
      const std::size_t at = random() % (random() % 2 == 0 ? head : bytes.size());
      if (random() % 20 == 0)
        bytes.resize(at + 1);
      else
        bytes[at] = random() % 4 == 0 ? "\0\x1A 9"[random() % 4] : static_cast<char>(random());
    }
    write_file(file, bytes);
    const std::string expected = independent(), found = check();
    faulty += expected.empty() ? 0 : 1;
    const bool good = found.empty() || (found.find("note:") != found.npos && expected.empty());
    if (expected.empty() != good && ++disagreed < 10)
      ADD_FAILURE() << file << " " << i << ": " << expected << " / " << found;
    write_files(whole_);
  }
  EXPECT_GT(faulty, 100);
}

TEST_F(CheckTest, NothingIsFoundInATableThatOthersChange) {
  ASSERT_TRUE(open("t", Use::kExclusive));
  run("aeval(array(2000), {|x, i| dbappend(), name := 'more ' + ltrim(str(i * 7919 % 10007))})");
  ASSERT_EQ(run("dbcreateindex('name', 'name'), ordcondset('n > 5'), ordcreate('some', , 'n'), "
                "dbclosearea()"),
            "L T");
  int gate[2], busy[2];
  ASSERT_TRUE(pipe(gate) == 0 && pipe(busy) == 0);
  std::vector<pid_t> writers;
  for (int w = 0; w < 3; ++w)
    writers.push_back(start_process([&, w] {
      ::close(gate[1]);
      ::close(busy[0]);
      fcntl(gate[0], F_SETFL, O_NONBLOCK);
      if (!open("t", Use::kShared) || run("ordlistadd('name') .and. ordlistadd('some')") != "L T")
        _exit(2);
      std::mt19937 random(static_cast<unsigned>(w));
      int changes = 0;
      for (char c; ::read(gate[0], &c, 1) != 0; ++changes) {
        const std::int32_t mark = temp_top();
        if (random() % 8 == 0) {
          call("dbappend");
        } else {
          call("dbgoto", {integer(static_cast<int>(random() % 2000) + 1)});
          if (!yes("rlock")) continue;
        }
        put("name", text("w" + std::to_string(random() % 100000)));
        put("n", integer(static_cast<int>(random() % 10)));
        // No whole number of blocks: such a text, put in the place of a shorter one, runs into the next.
        if (random() % 4 == 0)
          put("m", text(std::string(random() % 6 * 512 + 1 + random() % 511, 'm')));
        call("dbcommit");
        if (changes == 100 && ::write(busy[1], "", 1) != 1) _exit(3);
        POP_TEMPS(mark);
        usleep(100);
      }
      call("dbunlock");
    }));
  ::close(gate[0]);
  ::close(busy[1]);
  fcntl(busy[0], F_SETFL, O_NONBLOCK);
  // The checks go on until each writer has made its hundred changes beside them, or none is left to make any.
  ssize_t told = -1;
  for (int i = 0, writing = 3; i < 20 || (writing > 0 && told != 0); ++i) {
    EXPECT_EQ(check(), "");
    char c;
    if ((told = ::read(busy[0], &c, 1)) == 1) --writing;
  }
  EXPECT_NE(told, 0);
  ::close(gate[1]);
  for (const pid_t pid : writers) EXPECT_TRUE(ended_well(pid));
  EXPECT_EQ(check(), "");
}

}  // namespace
}  // namespace tarnel::testing
