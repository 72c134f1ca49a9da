// What scans, filters and relations leave behind when code of the language leaves them by break.
#include <algorithm>
#include <numeric>
#include <random>

#include "core/arrays.h"
#include "core/sequence.h"
#include "core/settings.h"
#include "core/symbols.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Scans : public TableTest {};

TEST_F(Scans, ABreakLeavesSelectionLocksAndRelationsAsTheyWere) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && create("u", {{"n", "N", 5, 0}}));
  ASSERT_TRUE(open("u", Use::kShared) && open("t", Use::kShared));
  run("aeval({1, 2, 3}, {|x| dbappend(), fieldput(1, x)}), dbunlock()");
  // Each selects the other area and breaks when it comes to the second record.
  const std::string leave = "iif(n = 2, {dbselectarea('u'), break(1)}[1], n > 0)";
  const std::string block = "{|| " + leave + "}", quoted = "\"" + leave + "\"";
  const std::string whole[] = {
      "dbeval(" + block + ")",
      "dbeval({|| .T.}, " + quoted + ")",
      "dbeval({|| .T.}, , " + block + ", -1)",
      "dblocate({|| !" + leave + "})",
      "dbinfo(34, " + block + "), dbgotop(), dbcontinue()",
      "dbcount(" + quoted + ")",
      "dbsum(" + quoted + ")",
      "dbaverage({" + block + "})",
      "dbreplace('n', {|| iif(" + leave + ", n, 0)})",
      "dbdelete(" + block + ")",
      "dbserver():getarrfields(1, " + block + ")",
      "dbsetfilter(" + quoted + "), dbskip()",
      "dbgoto(2), dbsetfilter(" + block + ")",
      "dbsetrelation('u', " + block + "), dbgoto(2)",
  };
  for (const std::string& expressions : whole) {
    SCOPED_TRACE(expressions);
    call("dbgotop");
    EXPECT_NE(in_sequence([&] { run(expressions); }), nullptr);
    EXPECT_EQ(run("alias()"), "C T");
    const DbfIdx& dbf = table();
    EXPECT_EQ(dbf.locks.readers + dbf.locks.writers + dbf.locks.records.count(), 0);
    EXPECT_FALSE(dbf.buffer.changed() || dbf.relations.running || dbf.progress != nullptr);
    run("dbclearfilter(), dbclearrelation()");
    EXPECT_EQ(run("dbsum('n')[1]"), "N 6");
  }
}

// The key of an order is code that runs while the lock of a change is held.
TEST_F(Scans, ABreakInAKeyLeavesNoRecordLockedOrChanged) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}, {"m", "N", 5, 0}}) && open("t", Use::kExclusive));
  run("aeval({1, 2, 3}, {|x| dbappend(), fieldput(1, x), fieldput(2, x)})");
  ASSERT_EQ(run("dbcreateindex('i', 'iif(set(9), break(1), n)'), dbclosearea()"), "L T");
  ASSERT_TRUE(open("t", Use::kShared) && yes("dbsetindex", {text("i")}));
  run("dbsetorder(0)");
  for (const char* change :
       {"fieldput(1, 9)", "dbdelete()", "dbdelete(, , 1)", "dbreplace('n', 9, , , 1)",
        "dbreplace({'m', 'n'}, {9, {|| break(1)}}, , , 1)"}) {
    SCOPED_TRACE(change);
    run("dbgotop()");
    const bool own = std::string_view(change).find("{||") != std::string_view::npos;
    EXPECT_NE(in_sequence([&] { run((own ? "" : "set(9, .T.), ") + std::string(change)); }),
              nullptr);
    run("set(9, .F.)");
    EXPECT_EQ(table().locks.records.count() + table().locks.writers, 0);
    EXPECT_FALSE(table().buffer.changed());
  }
  EXPECT_EQ(run("dbgotop(), m"), "N 1");
}

TEST_F(Scans, ProcessesThatMoveRecordsInTheOrderTheyScanChangeEachOnce) {
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  EXPECT_EQ(run("aeval(array(100), {|| dbappend()}), dbcreateindex('i', 'n'), dbclosearea()"),
            "L T");
  // Four change, four look: in natural order each record is there once, along the order at least one.
  const auto work = [](int i) {
    if (!open("t", Use::kShared) || !yes("dbsetindex", {text("i")})) return false;
    if (i % 2 == 0) return run("dbreplace('n', {|| n + 1}), dbreplace('n', {|| n + 2})") == "L T";
    for (int k = 0; k < 20; ++k)
      if (run("dbsetorder(1), dblocate('n >= 0')") != "L T" ||
          run("dbsetorder(0), dbcount('n >= 0 .and. n <= 12')") != "I 100")
        return false;
    return true;
  };
  EXPECT_EQ(run_processes(8, work), 0);
  ASSERT_TRUE(open("t", Use::kExclusive) && yes("dbsetindex", {text("i")}));
  EXPECT_EQ(run("dbsum('n', 'n = 12')[1]"), "N 1200");
  EXPECT_EQ(count("dborderinfo", {integer(5002)}), 0);
}

// A table as a list: what every scan visits, by the values of n.
struct ListedTable {
  struct Record {
    int n;
    bool deleted;
  };
  std::vector<Record> records;
  bool ordered = false, filtered = false, hides_deleted = false;

  bool shows(const Record& r) const {
    return !(hides_deleted && r.deleted) && !(filtered && r.n % 3 == 0);
  }
  std::vector<int> visited() const {
    std::vector<int> values;
    for (const Record& r : records)
      if (shows(r)) values.push_back(r.n);
    if (ordered) std::sort(values.begin(), values.end());
    return values;
  }
  template <typename Change>
  void change(int above, Change change) {
    for (Record& r : records)
      if (shows(r) && r.n > above) change(r);
  }
};

TEST_F(Scans, RandomWorkVisitsWhatAListShows) {
  std::minstd_rand random(7);
  const auto draw = [&](int below) {
    return static_cast<int>(random() % static_cast<unsigned>(below));
  };
  ASSERT_TRUE(create("t", {{"n", "N", 5, 0}}) && open("t", Use::kExclusive));
  for (const char* name : {"seen", "hits"}) GET_MEMVAR(name);
  ASSERT_EQ(run("dbcreateindex('i', 'n'), dbclosearea()"), "L T");
  ListedTable list;
  for (int step = 0; step < 600; ++step) {
    if (step % 60 == 0) {  // each time with the other use and the other order
      call("dbcloseall");
      ASSERT_TRUE(open("t", step % 120 == 0 ? Use::kShared : Use::kExclusive));
      ASSERT_TRUE(yes("dbsetindex", {text("i")}));
      list.filtered = false;
    }
    const int above = draw(60), value = draw(100);
    const std::string scope = "'n > " + std::to_string(above) + "'";
    SCOPED_TRACE(std::to_string(step) + " " + scope);
    switch (draw(8)) {
      case 0:
      case 1:
        run("dbappend(), n := " + std::to_string(value) + ", dbunlock()");
        list.records.push_back({value, false});
        break;
      case 2:
        EXPECT_EQ(run("dbreplace('n', {|| (n + 7) % 100}, " + scope + ")"), "L T");
        list.change(above, [](auto& r) { r.n = (r.n + 7) % 100; });
        break;
      case 3:
        EXPECT_EQ(run("dbdelete(" + scope + ")"), "L T");
        list.change(above, [](auto& r) { r.deleted = true; });
        break;
      case 4:
        EXPECT_EQ(run("dbrecall(" + scope + ")"), "L T");
        list.change(above, [](auto& r) { r.deleted = false; });
        break;
      case 5:
        list.filtered = !list.filtered;
        run(list.filtered ? "dbsetfilter(, 'n % 3 # 0')" : "dbclearfilter()");
        break;
      case 6:
        settings().deleted = list.hides_deleted = !list.hides_deleted;
        break;
      default:
        list.ordered = !list.ordered;
    }
    call("dbsetorder", {integer(list.ordered ? 1 : 0)});
    const std::vector<int> wanted = list.visited();
    run("seen := {}, dbeval({|| aadd(seen, n)})");
    std::vector<int> seen;
    for (std::int32_t i = 1; i <= element_count(GET_MEMVAR("seen")); ++i)
      seen.push_back(integer_of(element(GET_MEMVAR("seen"), i)));
    ASSERT_EQ(seen, wanted);
    const auto sum = std::accumulate(wanted.begin(), wanted.end(), 0);
    EXPECT_EQ(run("dbsum('n')[1]"), "N " + std::to_string(sum));
    const auto hits = std::count(wanted.begin(), wanted.end(), value);
    const std::string wants = "'n = " + std::to_string(value) + "'";
    EXPECT_EQ(
        run("dblocate(" + wants + "), hits := 0, dbeval({|| hits++}, " + wants + ", , .T.), hits"),
        "I " + std::to_string(hits));
  }
}

}  // namespace
}  // namespace tarnel::testing
