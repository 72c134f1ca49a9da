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

class ProcessOrders : public TableTest {
 protected:
  static constexpr const char* kOrders[] = {"name", "num", "some"};

  ProcessOrders() {
    create("t", {{"name", "C", 12, 0}, {"n", "N", 9, 0}});
    open("t", Use::kExclusive);
    run("dbcreateindex('name', 'name'), dbcreateindex('num', 'n'), ordcondset('n > 5000')");
    run("dbcreateindex('some', 'name + str(n, 9)'), dbclosearea()");
    EXPECT_EQ(take_errors(), "");
  }

  static bool open_all(Use use) {
    bool all = open("t", use);
    for (const char* order : kOrders) all = all && yes("dbsetindex", {text(order)});
    return all;
  }

  // One random operation; false when an error was raised.
  static bool work(std::mt19937& random) {
    const std::int32_t mark = temp_top();
    const int last = count("lastrec"), dice = static_cast<int>(random() % 100);
    const std::string name(1 + random() % 12, static_cast<char>('a' + random() % 26));
    if (dice < 30 || last < 50) {
      if (yes("dbappend")) fill(name, random);
    } else if (dice < 60) {
      call("dbgoto", {integer(1 + static_cast<int>(random() % static_cast<unsigned>(last)))});
      if (yes("rlock")) fill(name, random);
    } else if (dice < 65) {
      call("dbgoto", {integer(1 + static_cast<int>(random() % static_cast<unsigned>(last)))});
      if (yes("rlock")) call("dbdelete");
    } else if (dice < 90) {
      call("dbsetorder", {integer(1)});
      call("dbseek", {text(name.substr(0, 2))});
    } else {
      call("dbsetorder", {integer(static_cast<int>(random() % 4))});
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
    put("n", integer(static_cast<int>(random() % 10000)));
  }

  static void expect_agreement() {
    const int counter = static_cast<unsigned char>(read_file("t.dbf")[31]);
    for (const char* order : kOrders)
      EXPECT_EQ(check_idx(std::string(order) + ".idx").counter, counter) << order;
  }

  // Compares each order's file with the records. Empty, or what is wrong.
  static std::string compare_with_records() {
    std::map<std::uint32_t, std::string> name, num, some;
    if (!open("t", Use::kReadOnly)) return "can't open";
    for (call("dbgotop"); !yes("eof"); call("dbskip")) {
      const std::int32_t mark = temp_top();
      const auto recno = static_cast<std::uint32_t>(count("recno"));
      name[recno] = text_of(call("fieldget", {text("name")}));
      const double n = number_of(call("fieldget", {text("n")}));
      num[recno] = format_text("%.17g", n);
      if (n > 5000) some[recno] = name[recno] + format_text("%9.0f", n);
      POP_TEMPS(mark);
    }
    call("dbclosearea");
    int i = 0;
    for (const auto* records : {&name, &num, &some}) {
      const std::string order = kOrders[i++];
      const IdxFile file = check_idx(order + ".idx");
      if (!file.fault.empty()) return order + ": " + file.fault;
      if (file.keys.size() != records->size())
        return format_text("%s: %zu keys for %zu records", order.c_str(), file.keys.size(),
                           records->size());
      for (const auto& [key, recno] : file.keys)
        if (const auto it = records->find(recno); it == records->end() || it->second != key)
          return order + ": key of record " + std::to_string(recno);
    }
    return {};
  }
};

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
    bool told = false;
    for (const char* order : kOrders) {
      take_errors();
      ASSERT_TRUE(open("t", Use::kShared));
      yes("dbsetindex", {text(order)});
      run("dbgotop(), dbskip()");
      told |= !take_errors().empty();
      call("dbclosearea");
    }
    const std::string wrong = compare_with_records();
    EXPECT_TRUE(told || wrong.empty()) << "silently wrong: " << wrong;
    (told ? reported : whole) += 1;
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
