// Orders as a program uses them, with their files checked byte by byte.
#include <algorithm>
#include <map>
#include <random>

#include "core/blocks.h"
#include "db/dbfidx/order/index_control.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

Var* truth(bool value) {
  return logical(value);
}
Var* block(const char* expression) {
  return ogmakecb(expression);
}
bool index_on(const char* file, const char* key, bool unique = false) {
  return yes("dbcreateindex", {text(file), text(key), nil_value(), truth(unique)});
}
bool condition(const char* filter, bool descending = false) {
  return yes("ordcondset",
             {text(filter), block(filter), nil_value(), nil_value(), nil_value(), nil_value(),
              nil_value(), nil_value(), nil_value(), nil_value(), truth(descending)});
}
void append_pair(const char* name, double n) {
  call("dbappend");
  put("name", text(name));
  put("n", number(n, 2));
}
// Names of the records in the order under the cursor, from the first to the last.
std::string names() {
  std::string all;
  for (call("dbgotop"); !yes("eof"); call("dbskip")) {
    const std::string_view name = text_of(call("fieldget", {text("name")}));
    all += std::string(name.substr(0, name.find(' '))) + " ";
  }
  return all;
}

class OrdersTest : public TableTest {
 protected:
  void make(Use use = Use::kExclusive) {
    ASSERT_TRUE(create(
        "t", {{"name", "C", 10, 0}, {"n", "N", 8, 2}, {"d", "D", 8, 0}, {"long", "C", 238, 0}}));
    ASSERT_TRUE(open("t", use));
  }
  void fill() {
    append_pair("delta", 4), append_pair("alpha", 1), append_pair("charlie", 3);
    append_pair("bravo", 2), append_pair("alpine", 1.5);
  }
  // Closes the table and walks the order's file.
  IdxFile check(const char* file) {
    call("dbclosearea");
    IdxFile idx = check_idx(std::string(file) + ".idx");
    EXPECT_EQ(idx.fault, "") << file;
    return idx;
  }
};

TEST_F(OrdersTest, FileOfASmallOrderIsPinnedByItsBytes) {
  ASSERT_TRUE(create("t", {{"c", "C", 2, 0}}));
  ASSERT_TRUE(open("t", Use::kExclusive));
  for (const char* c : {"bb", "aa"}) call("dbappend"), put("c", text(c));
  ASSERT_TRUE(index_on("i", "c"));
  call("dbclosearea");
  const std::string idx = read_file("i.idx"), dbf = read_file("t.dbf");
  ASSERT_EQ(idx.size(), 2048U);
  std::string header = std::string("Q\0\0\2", 4) + le32(2) + le32(3) + le32(0) + le32(4) +
                       std::string("C\0", 2) + le16(512) + le32(4) + le32(40) + "c";
  header.resize(1024);
  std::string extension = std::string("Q") + dbf[31] + std::string(4, '\0') + "t.dbf";
  extension.resize(512);
  const std::string entries = le32(0) + le32(2) + std::string("aa\0", 3) + '\0' + le32(0) +
                              le32(1) + std::string("bb\0", 3) + '\0' + le32(0);
  std::string page = le32(2) + le32(0) + le32(0) + entries;
  page.resize(512);
  EXPECT_EQ(idx.substr(0, 1024), header);
  EXPECT_EQ(idx.substr(1024, 512), extension);
  EXPECT_EQ(idx.substr(1536), page);
}

TEST_F(OrdersTest, ChangedKeysFollowTheirRecordsInAllOrders) {
  for (const Use use : {Use::kExclusive, Use::kShared}) {
    make();
    fill();
    ASSERT_TRUE(index_on("one", "name", true));
    ASSERT_TRUE(condition("n > 2"));
    ASSERT_TRUE(index_on("some", "name"));
    ASSERT_TRUE(index_on("all", "name"));
    call("dbclosearea");
    ASSERT_TRUE(open("t", use));
    for (const char* file : {"all", "one", "some"}) ASSERT_TRUE(yes("dbsetindex", {text(file)}));
    ASSERT_TRUE(yes("dbseek", {text("bravo")}));
    run("rlock(), name := 'zulu', n := 7");
    EXPECT_EQ(names(), "alpha alpine charlie delta zulu ");
    append_pair("alpha", 1);
    ASSERT_TRUE(yes("dbseek", {text("delta")}));
    run("rlock(), n := 0, dbsetorder(2)");
    EXPECT_EQ(names(), "alpha alpine charlie delta zulu ");
    call("dbsetorder", {integer(3)});
    EXPECT_EQ(names(), "charlie zulu ");
    EXPECT_EQ(take_errors(), "");
    for (const char* file : {"all", "one", "some"}) check(file);
    EXPECT_EQ(check_idx("all.idx").keys.size(), 6U);
  }
}

TEST_F(OrdersTest, CreationIsRefused) {
  make();
  fill();
  struct Row {
    std::string key, filter, error;
  };
  for (const Row& row : {
           Row{"trim(name)", "", "index key length error"},
           {"name + space(228)", "", ""},
           {"name + space(229)", "", "index key length error"},
           {"name" + std::string(414, ' ') + "+''", "", "index expression length error"},
           {"name", "n > 0" + std::string(194, ' '), ""},
           {"name", "n > 0" + std::string(195, ' '), "index FOR expression length error"},
           {"{1}", "", "unsupported index key type"},
       }) {
    if (!row.filter.empty()) condition(row.filter.c_str());
    EXPECT_EQ(index_on("x", row.key.c_str()), row.error.empty()) << row.error;
    const std::string errors = take_errors();
    EXPECT_NE(errors.find(row.error), std::string::npos) << errors;
    call("ordlistclear");
    EXPECT_EQ(read_file("x.idx").empty(), !row.error.empty()) << row.error;
    std::remove("x.idx");
  }
  yes("ordcreate", {nil_value(), nil_value(), text("name")});
  EXPECT_NE(take_errors().find("index name expected"), std::string::npos);
}

TEST_F(OrdersTest, SeventeenthOrderIsRefused) {
  make();
  ASSERT_TRUE(index_on("i", "name"));
  call("ordlistclear");
  const std::string bytes = read_file("i.idx");
  for (int i = 1; i <= 17; ++i) {
    const std::string file = "i" + std::to_string(i);
    write_file(file + ".idx", bytes);
    EXPECT_EQ(yes("ordlistadd", {text(file)}), i <= 16) << i;
    EXPECT_EQ(yes("neterr"), i > 16) << i;
  }
}

TEST_F(OrdersTest, QuestionsAboutAnOrder) {
  make();
  fill();
  ASSERT_TRUE(index_on("byname", "name"));
  ASSERT_TRUE(index_on("bynum", "n"));
  ASSERT_TRUE(yes("ordlistadd", {text("byname")}));
  struct Row {
    int code;
    Var* order;
    const char* answer;
  };
  for (const Row& row : {Row{2, integer(1), "C n"},
                         {2, text("byname"), "C name"},
                         {5, integer(2), "C byname"},
                         {6, text("byname"), "I 2"},
                         {6, text("nowhere"), "I 1"},
                         {22, integer(1), "L F"},
                         {24, integer(1), "C N"},
                         {25, integer(2), "I 12"},
                         {26, integer(2), "I 5"},
                         {28, integer(2), "I 10"},
                         {28, integer(1), "I 2"},
                         {43, integer(2), "L F"},
                         {44, integer(1), "I 1"},
                         {5001, integer(1), "C t.dbf"},
                         {5002, integer(2), "I 0"},
                         {99, integer(1), "U"}})
    EXPECT_EQ(show(call("dborderinfo", {integer(row.code), nil_value(), row.order})), row.answer)
        << row.code;
  EXPECT_EQ(run("indexkey(2)"), "C name");
  EXPECT_EQ(run("ordsetfocus('byname')"), "C bynum");
  EXPECT_EQ(count("indexord"), 2);
  EXPECT_EQ(run("ordsetfocus('nowhere')"), "C byname");
  EXPECT_EQ(count("indexord"), 2);
  EXPECT_EQ(take_errors(), "");
}

// Another number of keys than of records: the order is closed.
TEST_F(OrdersTest, AnOrderThatLacksRecordsIsClosed) {
  make();
  fill();
  ASSERT_TRUE(index_on("i", "name"));
  call("ordlistclear");
  settings().developer = true;
  append_pair("more", 1);
  ASSERT_TRUE(yes("ordlistadd", {text("i")}));
  call("dbgotop");
  EXPECT_EQ(take_errors(), "331 DBFIDX:Hidden_Index_Method;area T;331 (Index file corrupted)");
  EXPECT_EQ(count("indexord"), 0);
}

TEST_F(OrdersTest, SeekEvalStopsAtTheFirstKeyTheBlockWants) {
  make();
  fill();
  ASSERT_TRUE(index_on("byname", "name"));
  call("dbgotop");
  Var* argv[] = {current_server(), ogmakecb("n == 3")};
  EXPECT_TRUE(truth_of(call_member(argv[0], "gotop", server_slot("gotop"))));
  EXPECT_TRUE(truth_of(csdometh("seekeval", server_slot("seekeval"), 0, 2, argv)));
  EXPECT_EQ(count("recno"), 3);
  argv[1] = ogmakecb(".f.");
  EXPECT_FALSE(truth_of(csdometh("seekeval", server_slot("seekeval"), 0, 2, argv)));
  EXPECT_TRUE(yes("eof"));
}

TEST_F(OrdersTest, KeptIndexSuppliesTheRecords) {
  make();
  fill();
  ASSERT_TRUE(index_on("byname", "name"));
  call("dbseek", {text("bravo")});
  ASSERT_TRUE(condition("n > 2.5"));
  ASSERT_TRUE(yes("ordcreate", {text("part"), nil_value(), text("n"), nil_value(), nil_value(),
                                nil_value(), truth(true)}));
  EXPECT_EQ(names(), "charlie delta ");
  EXPECT_EQ(take_errors(), "");
}

// --- Random work against a model.

struct Model {
  std::map<int, std::pair<std::string, double>> records;  // by number
};

class RandomOrders : public OrdersTest {
 protected:
  void run(Use use, unsigned seed, int operations) {
    make();
    ASSERT_TRUE(index_on("name", "name"));
    ASSERT_TRUE(index_on("num", "n"));
    ASSERT_TRUE(index_on("one", "n", true));
    ASSERT_TRUE(condition("n > 500", true));
    ASSERT_TRUE(index_on("some", "name"));
    ASSERT_TRUE(index_on("long", "long"));
    call("dbclosearea");
    reopen(use);
    std::mt19937 random(seed);
    for (int i = 0; i < operations; ++i) {
      const std::int32_t mark = temp_top();
      step(random, static_cast<int>(random() % 100));
      POP_TEMPS(mark);
      if (HasFatalFailure() || HasNonfatalFailure()) return;
      if (i % 500 == 499) verify(use);
    }
    verify(use);
  }

 private:
  static constexpr const char* kOrders[] = {"name", "num", "one", "some", "long"};

  void reopen(Use use) {
    ASSERT_TRUE(open("t", use));
    for (const char* order : kOrders) ASSERT_TRUE(yes("dbsetindex", {text(order)}));
  }

  void step(std::mt19937& random, int dice) {
    const int last = static_cast<int>(model_.records.size());
    const std::string name(1 + random() % 4, static_cast<char>('a' + random() % 26));
    const double n = static_cast<double>(random() % 100000) / 100;
    if (dice < 35 || last == 0) {
      ASSERT_TRUE(yes("dbappend"));
      if (dice < 30)
        set(last + 1, name, n);
      else
        model_.records[last + 1] = {"", 0};
    } else if (dice < 70) {
      call("dbgoto", {integer(1 + static_cast<int>(random() % static_cast<unsigned>(last)))});
      const int recno = count("recno");
      yes("rlock");
      set(recno, name, dice < 60 ? n : model_.records[recno].second);
    } else if (dice < 90) {
      call("dbsetorder", {integer(1)});
      seek(name);
    } else {
      call("dbsetorder", {integer(static_cast<int>(random() % 6))});
      call("dbskip", {integer(static_cast<int>(random() % 7) - 3)});
    }
    EXPECT_EQ(take_errors(), "");
  }

  void set(int recno, const std::string& name, double n) {
    put("name", text(name)), put("n", number(n, 2));
    put("long", text(std::string(230, name[0]) + name));
    model_.records[recno] = {name, n};
  }

  void seek(const std::string& name) {
    int expected = 0;
    std::string best;
    for (const auto& [recno, record] : model_.records) {
      std::string padded = record.first;
      padded.resize(10, ' ');
      if (padded.compare(0, name.size(), name) != 0) continue;
      if (expected == 0 || padded < best) best = padded, expected = recno;
    }
    EXPECT_EQ(yes("dbseek", {text(name)}), expected != 0) << name;
    if (expected == 0) expected = static_cast<int>(model_.records.size()) + 1;
    EXPECT_EQ(count("recno"), expected) << name;
  }

  void verify(Use use) {
    call("dbclosearea");
    for (const char* order : kOrders) {
      const IdxFile file = check_idx(std::string(order) + ".idx");
      ASSERT_EQ(file.fault, "") << order;
      EXPECT_EQ(file.counter, static_cast<unsigned char>(read_file("t.dbf")[31])) << order;
      std::size_t expected = model_.records.size();
      if (std::string(order) == "some")
        expected = static_cast<std::size_t>(
            std::count_if(model_.records.begin(), model_.records.end(),
                          [](const auto& r) { return r.second.second > 500; }));
      if (std::string(order) == "one") expected = file.keys.size();
      EXPECT_EQ(file.keys.size(), expected) << order;
      for (const auto& [key, recno] : file.keys) {
        const auto& record = model_.records[static_cast<int>(recno)];
        if (order == kOrders[0]) {
          EXPECT_EQ(key.substr(0, record.first.size()), record.first);
        } else if (order == kOrders[1] || order == kOrders[2]) {
          EXPECT_EQ(std::stod(key), record.second);
        }
      }
    }
    reopen(use);
  }

  Model model_;
};

TEST_F(RandomOrders, AgreeWithAModelInExclusiveUse) {
  run(Use::kExclusive, 11, 1500);
}
TEST_F(RandomOrders, AgreeWithAModelInSharedUse) {
  run(Use::kShared, 12, 1500);
}

}  // namespace
}  // namespace tarnel::testing
