// Several processes at work on one table with orders, and processes killed at work.
//
// TARNEL_PROCESS_SECONDS and TARNEL_KILLS make them longer than the test run has time for.
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <random>

#include "db/dbfidx/order/index_control.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

using Clock = std::chrono::steady_clock;

int from_environment(const char* name, int usual) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::atoi(value) : usual;
}

constexpr int kBound = 5000;  // of the conditions
struct Order {
  const char *name, *key;
  bool unique = false, bounded = false, descending = false;
};
// The last has one key a page.
constexpr Order kOrders[] = {{"name", "name"},
                             {"num", "n"},
                             {"one", "n", true},
                             {"some", "name + str(n, 9, 2)", false, true},
                             {"down", "name", false, true, true},
                             {"long", "long"}};

class ProcessOrders : public TableTest {
 protected:
  ProcessOrders() {
    create("t", {{"name", "C", 12, 0}, {"n", "N", 9, 2}, {"long", "C", 238, 0}});
    open("t", Use::kExclusive);
    for (const Order& order : kOrders) {
      const std::string descending = order.descending ? ".t." : ".f.";
      if (order.bounded) run("ordcondset('n > 5000', , , , , , , , , , " + descending + ")");
      yes("dbcreateindex", {text(order.name), text(order.key), nil_value(), logical(order.unique)});
    }
    call("dbclosearea");
    EXPECT_EQ(take_errors(), "");
  }

  static bool open_all(Use use) {
    bool all = open("t", use);
    for (const Order& order : kOrders) all = all && yes("dbsetindex", {text(order.name)});
    return all;
  }

  // Does a seek come to the first record of a walk whose name begins so?
  static bool seek_agrees(const std::string& name) {
    const bool found = yes("dbseek", {text(name)});
    const int at = count("recno");
    call("dbgotop");
    while (!yes("eof") && !text_of(call("fieldget", {text("name")})).starts_with(name))
      call("dbskip");
    return at == count("recno") && found != yes("eof");
  }

  // One random operation; false when an error was raised, or a seek of a process that works alone
  // went astray.
  static bool work(std::mt19937& random, bool alone = false) {
    const std::int32_t mark = temp_top();
    const int last = count("lastrec"), dice = static_cast<int>(random() % 100);
    const std::string name(1 + random() % 12, static_cast<char>('a' + random() % 26));
    if (dice < 30 || last < 50) {
      if (yes("dbappend") && dice < 25) fill(name, random);
    } else if (dice < 60) {
      call("dbgoto", {integer(1 + static_cast<int>(random() % static_cast<unsigned>(last)))});
      if (yes("rlock")) fill(name, random);
    } else if (dice < 65) {
      call("dbgoto", {integer(1 + static_cast<int>(random() % static_cast<unsigned>(last)))});
      if (yes("rlock")) call("dbdelete");
    } else if (dice < 90) {
      call("dbsetorder", {integer(1)});
      const std::string front = name.substr(0, 2);
      if (!alone)
        call("dbseek", {text(front)});
      else if (!seek_agrees(front))
        return ADD_FAILURE() << front, false;
    } else {
      call("dbsetorder", {integer(static_cast<int>(random() % (std::size(kOrders) + 1)))});
      call(random() % 2 != 0 ? "dbgotop" : "dbgobottom");
      for (int i = 0; i < 5; ++i) call("dbskip", {integer(random() % 2 != 0 ? 1 : -1)});
    }
    if (dice % 10 == 0) call("dbunlock");
    if (dice % 10 == 1) call("dbcommit");
    POP_TEMPS(mark);
    const std::string errors = take_errors();
    if (!errors.empty()) std::fprintf(stderr, "%s\n", errors.c_str());
    return errors.empty();
  }

  static void fill(const std::string& name, std::mt19937& random) {
    put("name", text(name));
    put("n", number(static_cast<double>(random() % (200 * kBound)) / 100, 2));
    put("long", text(std::string(226, name[0]) + name));
  }

  static void expect_agreement() {
    const int counter = static_cast<unsigned char>(read_file("t.dbf")[31]);
    for (const Order& order : kOrders)
      EXPECT_EQ(check_idx(std::string(order.name) + ".idx").counter, counter) << order.name;
  }

  // Compares the file of each order that isn't in `told`, a bit for each, with the records. Empty,
  // or what is wrong.
  static std::string compare_with_records(unsigned told = 0) {
    std::map<std::uint32_t, std::string> keys[std::size(kOrders)];
    if (!open("t", Use::kReadOnly)) return "can't open";
    for (call("dbgotop"); !yes("eof"); call("dbskip")) {
      const std::int32_t mark = temp_top();
      const std::string name(text_of(call("fieldget", {text("name")})));
      const double n = number_of(call("fieldget", {text("n")}));
      const std::string shown = format_text("%.17g", n);
      const std::string own[] = {name,  shown,
                                 shown, name + format_text("%9.2f", n),
                                 name,  std::string(text_of(call("fieldget", {text("long")})))};
      for (std::size_t i = 0; i < std::size(kOrders); ++i)
        if (!kOrders[i].bounded || n > kBound)
          keys[i][static_cast<std::uint32_t>(count("recno"))] = own[i];
      POP_TEMPS(mark);
    }
    call("dbclosearea");
    for (std::size_t i = 0; i < std::size(kOrders); ++i) {
      if ((told >> i & 1) != 0) continue;
      const std::string order = kOrders[i].name;
      const IdxFile file = check_idx(order + ".idx");
      if (!file.fault.empty()) return order + ": " + file.fault;
      if (!kOrders[i].unique && file.keys.size() != keys[i].size())
        return format_text("%s: %zu keys for %zu records", order.c_str(), file.keys.size(),
                           keys[i].size());
      for (const auto& [key, recno] : file.keys)
        if (const auto it = keys[i].find(recno); it == keys[i].end() || it->second != key)
          return order + ": key of record " + std::to_string(recno);
    }
    return {};
  }
};

TEST_F(ProcessOrders, OneProcessFindsWhatItsRecordsSay) {
  std::mt19937 random(11);
  for (const Use use : {Use::kExclusive, Use::kShared, Use::kExclusive}) {
    ASSERT_TRUE(open_all(use));
    for (int i = 0; i < 700; ++i) ASSERT_TRUE(work(random, true)) << i;
    call("dbclosearea");
    ASSERT_EQ(compare_with_records(), "");
    expect_agreement();
  }
}

TEST_F(ProcessOrders, EightProcessesLeaveEveryOrderWhole) {
  const auto end =
      Clock::now() + std::chrono::seconds(from_environment("TARNEL_PROCESS_SECONDS", 3));
  const int failed = run_processes(8, [&](int index) {
    if (!open_all(Use::kShared)) return false;
    std::mt19937 random(static_cast<unsigned>(index) + 1);
    while (Clock::now() < end)
      if (!work(random)) return false;
    return true;
  });
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(compare_with_records(), "");
  expect_agreement();
}

TEST_F(ProcessOrders, KilledProcessLeavesOrdersWholeOrReported) {
  std::mt19937 random(77);
  settings().developer = true;
  int whole = 0, reported = 0;
  for (int i = from_environment("TARNEL_KILLS", 12); i > 0; --i) {
    const Use use = i % 2 == 0 ? Use::kShared : Use::kExclusive;
    const auto seed = static_cast<unsigned>(random());
    const pid_t worker = start_process([&] {
      if (!open_all(use)) _exit(1);
      std::mt19937 its_random(seed);
      while (work(its_random)) continue;
    });
    usleep(static_cast<useconds_t>(2000 + random() % 60000));
    kill(worker, SIGKILL);
    ASSERT_FALSE(ended_well(worker));
    // Which orders are reported at their first use?
    unsigned told = 0;
    for (std::size_t order = 0; order < std::size(kOrders); ++order) {
      take_errors();
      ASSERT_TRUE(open("t", Use::kShared));
      yes("dbsetindex", {text(kOrders[order].name)});
      run("dbgotop(), dbskip()");
      told |= (take_errors().empty() ? 0U : 1U) << order;
      call("dbclosearea");
    }
    EXPECT_EQ(compare_with_records(told), "") << "silently wrong";
    (told != 0 ? reported : whole) += 1;
    ASSERT_TRUE(open_all(Use::kExclusive));
    take_errors();
    EXPECT_TRUE(yes("dbreindex"));
    call("dbclosearea");
    EXPECT_EQ(compare_with_records(), "");
    EXPECT_EQ(take_errors(), "");
    expect_agreement();
  }
  std::printf("whole %d, reported %d\n", whole, reported);
}

}  // namespace
}  // namespace tarnel::testing
