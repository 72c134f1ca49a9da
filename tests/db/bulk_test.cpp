// Operations on whole sets of records: whatever fails or dies on the way, what was there stays or what was
// asked for is there, and no temporary file is left.
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "core/sequence.h"
#include "core/switched.h"
#include "db/area.h"
#include "db/dbfidx/bulk/field_plan.h"
#include "db/dbfidx/bulk/record_pieces.h"
#include "db/dbfidx/bulk/restructure.h"
#include "tests/db/die_at_each_call.h"
#include "tests/db/ordered_table.h"

namespace tarnel::testing {
namespace {

constexpr int kRecords = 12;

// What the files hold.
struct State {
  Records t, s, u;
  std::string text;
  bool operator==(const State&) const = default;
};

// The table, some of its records deleted, with a third order; beside it tables and texts of some of them.
class Bulk : public OrderedTable {
 protected:
  // Flushing to the disk takes most of the time of a test that does it a thousand times.
  Bulk() : fsync_(file_ops().fsync, [](int) { return 0; }) {}

  void SetUp() override {
    make(kRecords, [](int i) {
      return std::string(static_cast<std::size_t>(90 * i), static_cast<char>('a' + i));
    });
    ASSERT_EQ(
        run("dbdelete('n / 10 % 3 = 2'), __dbcopy('s', , 'n < 60'), __dbcopy('u', , 'n < 40'), "
            "__dbcopyde('s', , , 'n < 30'), ordcreate('bywho', , 'who'), ordcreate('byn', , 'n')"),
        "L T");
    ASSERT_EQ(run("ordcondset('n > 50', {|| n > 50}), ordcreate('some', , 'n'), dbclosearea()"),
              "L T");
    write_file("u.txt", "former");
    saved_ = read_files({"t.dbf", "t.dbt", "byn.idx", "bywho.idx", "some.idx", "s.dbf", "s.dbt",
                         "s.txt", "u.dbf", "u.dbt", "u.txt"});
    open_all(Use::kExclusive);
    for (const int n : {1, 2, 3})
      EXPECT_EQ(count("dborderinfo", {integer(5002), nil_value(), integer(n)}), kIndexGood);
    close_all_areas();
  }
  void open_again(Use use = Use::kExclusive) {
    put_back();
    for (const std::string& name : files_beginning_with("new")) ::unlink(name.c_str());
    open_all(use);
  }
  static void open_all(Use use) {
    ASSERT_TRUE(open("t", use));
    ASSERT_EQ(run("dbsetindex('byn'), dbsetindex('bywho'), dbsetindex('some'), "
                  "dbusearea(.T., , 's', , .T.), dbselectarea('T'), used()"),
              "L T");
    take_errors();
  }
  static State state() {
    return {records_of("t"), records_of("s"), records_of("u"), read_file("u.txt")};
  }
  static void expect_orders_agree_or_differ(const Records& records) {
    OrderedTable::expect_orders_agree_or_differ(records);
    EXPECT_EQ(
        order_fault("some.idx", "t.dbf", records, {1, 5},
                    [](const std::string& r) { return std::atoi(r.substr(1, 5).c_str()) > 50; }),
        "");
  }

 private:
  const Switched<int (*)(int)> fsync_;
};

// Gives the open table its fields in another order, with or without the memos.
bool restructure(bool with_memos) {
  DbfIdx& dbf = dbf_of(current_server());
  const KeepObject keep(dbf.object);
  std::vector<dbf::Field> fields = {dbf.fields[1], dbf.fields[0]};
  if (with_memos) fields.push_back(dbf.fields[2]);
  Restructure next(dbf, fields);
  if (!next.begin()) return false;
  FieldPlan plan;
  for (const dbf::Field& field : next.fields())
    if (!plan.add(dbf, field_position(dbf, field.name) - 1, field)) return false;
  const MemoSink memos{&next, [](void* table, std::string_view text) {
                         return static_cast<Restructure*>(table)->add_memo(text);
                       }};
  RecordPieces pieces(dbf, "restructure");
  while (pieces.next())
    for (std::int32_t i = 0; i < pieces.count(); ++i)
      if (!plan.fill_from(dbf, pieces.data() + i * dbf.recordSize, pieces.first() + i,
                          next.blank_record(), memos, "restructure") ||
          !next.add())
        return false;
  return !pieces.failed() && next.finish();
}

// What an operation that fails may leave of the table: all of its work or none, some of the records that it
// adds, each record changed or not.
enum class Way { kWhole, kAdds, kEach };
struct Operation {
  const char* name;  // its expression, unless it has an act
  Way way = Way::kWhole;
  Use use = Use::kExclusive;
  bool (*act)() = nullptr;
  bool stale = false;  // the orders lack a change of the table

  bool does() const { return act != nullptr ? act() : run(name) == "L T"; }
};
const Operation kRewritings[] = {
    {"__dbpack()"},
    {"__dbzap()"},
    {"__dbpack()", Way::kWhole, Use::kExclusive, nullptr, true},
    {"fields", Way::kWhole, Use::kExclusive, [] { return restructure(true); }},
    {"fields without memos", Way::kWhole, Use::kExclusive, [] { return restructure(false); }}};
const Operation kOthers[] = {
    {"__dbcopy('u', {'who', 'n', 'note'})"},
    {"__dbsort('u', {'who/D'})"},
    {"__dbtotal('u', 'n > 60', 'n')"},
    {"__dbjoin('s', 'u', , 'who == s->who')"},
    {"__dbcopyde('u', , , 'n < 30')"},
    {"__dbapp('s')", Way::kAdds},
    {"__dbapp('s')", Way::kAdds, Use::kShared},
    {"__dbapp('s')", Way::kAdds, Use::kShared, nullptr, true},
    {"__dbappgen('s')", Way::kAdds},
    {"__dbupdate('s', 'n', .T., {|| t->n := s->n + 500})", Way::kEach},
    {"__dbupdate('s', 'n', .T., {|| t->n := s->n + 500})", Way::kEach, Use::kShared}};

class EachCall : public Bulk, public ::testing::WithParamInterface<Operation> {
 protected:
  void SetUp() override {
    Bulk::SetUp();
    if (operation_.stale) {
      ASSERT_TRUE(elsewhere("dbgoto(1), n := 15, dbcommit()", Use::kExclusive));
      saved_["t.dbf"] = read_file("t.dbf");
    }
    open_again(operation_.use);
    before_ = state();
    ASSERT_TRUE(operation_.does()) << take_errors();
    close_all_areas();
    after_ = state();
    ASSERT_FALSE(before_ == after_);
  }
  bool may_be(const State& now) const {
    State others = now;
    others.t = before_.t;
    if (operation_.way == Way::kWhole || now == after_ || !(others == before_))
      return now == before_ || now == after_;
    bool each = now.t.size() >= before_.t.size() && now.t.size() <= after_.t.size();
    for (std::size_t i = 0; each && i < now.t.size(); ++i)
      each = now.t[i] == after_.t[i] || (operation_.way == Way::kEach && now.t[i] == before_.t[i]);
    return each;
  }

  const Operation operation_ = GetParam();
  State before_, after_;
};
// With the name of the operation in its failures.
void PrintTo(const Operation& operation, std::ostream* out) {
  *out << operation.name << (operation.use == Use::kShared ? ", shared" : "")
       << (operation.stale ? ", stale" : "");
}
INSTANTIATE_TEST_SUITE_P(Rewritings, EachCall, ::testing::ValuesIn(kRewritings));
INSTANTIATE_TEST_SUITE_P(Others, EachCall, ::testing::ValuesIn(kOthers));

TEST_P(EachCall, MayFail) {
  bool says = false;
  const int runs = fail_each_call(
      {kIoError, kDiskFull, kNoLocks, kNoDescriptors, kShortWrite},
      [&] { open_again(operation_.use); }, [&] { says = operation_.does(); },
      [&](const Fault* fault) {
        const std::string errors = take_errors();
        EXPECT_TRUE(says || (fault != nullptr && !harmless(*fault)));
        const bool each = operation_.way == Way::kEach;  // goes on past a record, and tells
        EXPECT_TRUE(says == errors.empty() || (says && each)) << errors;
        EXPECT_EQ(files_beginning_with("new"), Records());
        EXPECT_EQ(run("select()"), "I 1");
        EXPECT_EQ(area_by_number(3), nullptr);
        close_all_areas();
        const bool told = !take_errors().empty() || !errors.empty();
        const State now = state();
        EXPECT_TRUE(says && !(told && each) ? now == after_ : may_be(now));
        expect_orders_agree_or_differ(now.t);
        take_errors();
        if (!(now == before_)) return;
        open_all(operation_.use);
        EXPECT_TRUE(operation_.does()) << take_errors();
        close_all_areas();
        EXPECT_TRUE(state() == after_);
      });
  EXPECT_GT(runs, 20);
}

// Neither can the way back be gone then, until somebody comes who may write again.
TEST_P(EachCall, MayFailAndAllBehindItToo) {
  bool says = false;
  const int runs = fail_each_call(
      {kReadOnlyDisk, kBusyTarget}, [&] { open_again(operation_.use); },
      [&] {
        says = operation_.does();
        close_all_areas();
      },
      [&](const Fault* fault) {
        const bool told = !take_errors().empty();
        EXPECT_TRUE(fault == nullptr ? says && !told : says || told);
        for (const char* table : {"t", "u"}) {
          ASSERT_TRUE(open(table, Use::kExclusive)) << take_errors();
          call("dbclosearea");
        }
        take_errors();
        if (fault == nullptr || fault->error == EBUSY) {
          EXPECT_EQ(files_beginning_with("new"), Records());
        }
        const State now = state();
        EXPECT_TRUE(says && !told ? now == after_ : may_be(now));
        expect_orders_agree_or_differ(now.t);
      });
  EXPECT_GT(runs, 3);
}

class EachCallOfARewriting : public EachCall {};
INSTANTIATE_TEST_SUITE_P(Rewritings, EachCallOfARewriting, ::testing::ValuesIn(kRewritings));
TEST_P(EachCallOfARewriting, MayBeTheLast) {
  die_at_each_call([&] { open_again(); }, [&] { return operation_.does(); },
                   [&](int n) {
                     // Whoever comes first, whatever for.
                     const Use uses[] = {Use::kExclusive, Use::kShared, Use::kReadOnly};
                     ASSERT_TRUE(open("t", uses[n % 3])) << take_errors();
                     const State seen = state();
                     EXPECT_TRUE(seen == before_ || seen == after_);
                     expect_orders_agree_or_differ(seen.t);
                     EXPECT_EQ(run("dbgobottom(), fcount() = 2 .or. len(note) / 90 * 10 = n"),
                               "L T");
                     call("dbclosearea");
                     open_all(Use::kExclusive);
                     EXPECT_TRUE(seen == after_ || operation_.does()) << take_errors();
                     close_all_areas();
                     EXPECT_TRUE(state() == after_);
                   });
}

// The handler of an error closes all tables, opens them again, or leaves by break, each in its turn.
TEST_P(EachCall, MayFailUnderAHandlerThatClosesReopensOrBreaks) {
  static int turn;
  static bool busy;  // a handler that fails itself does no more
  const auto handler = [](std::int32_t, Var**, Var**) {
    if (turn % 3 == 0) return call("break", {integer(1)});
    if (std::exchange(busy, true)) return nil_value();
    call("dbcloseall");
    if (turn % 3 == 1) open("t", Use::kShared);
    busy = false;
    return nil_value();
  };
  Var* former = call("errorblock");
  const std::int32_t mark = temp_top();
  fail_each_call(
      {kIoError},
      [&] {
        open_again(operation_.use);
        ++turn;
        call("errorblock", {TMP_BLOCK(handler)});
      },
      [&] { in_sequence([&] { operation_.does(); }); },
      [&](const Fault*) {
        call("errorblock", {former});
        call("dbcloseall");
        take_errors();
        EXPECT_EQ(files_beginning_with("new"), Records());
        EXPECT_TRUE(elsewhere("dbgobottom()", Use::kExclusive));
        const State now = state();
        EXPECT_TRUE(may_be(now));
        expect_orders_agree_or_differ(now.t);
        POP_TEMPS(mark);
      });
}

// After a failure of the power a new name must not lead to a file without contents.
TEST_F(Bulk, APackIsOnTheDiskBeforeItHasTheName) {
  static std::string calls;
  const Switched<int (*)(int)> fsync(file_ops().fsync, [](int) { return calls += 'f', 0; });
  static const auto real = file_ops().rename;
  const Switched<int (*)(const char*, const char*)> renaming(
      file_ops().rename,
      [](const char* from, const char* to) { return calls += 'r', real(from, to); });
  ASSERT_TRUE(open("t", Use::kExclusive));
  EXPECT_EQ(run("__dbpack()"), "L T");
  EXPECT_EQ(calls, "ffrfrf");
}

// Records that wait for their write have no keys yet, and belong to those that were added.
TEST_F(Bulk, WhatWaitsWhenAMemoIsDamagedIsThereWhateverTheHandlerDoes) {
  std::string source = read_file("s.dbf");
  source.replace(129 + 22 * 4 + 12, 10, "       999");
  for (const char* act : {"dbsetindex('byn')", "break(1)"}) {
    put_back();
    write_file("s.dbf", source);
    ASSERT_TRUE(open("t", Use::kExclusive));
    Var* former = call("errorblock");
    run(std::string("errorblock({|| ") + act + "})");
    in_sequence([] { EXPECT_EQ(run("__dbapp('s')"), "L F"); });
    call("errorblock", {former});
    EXPECT_EQ(run("dbcloseall()"), "L T");
    const Records records = records_of("t");
    EXPECT_EQ(records.size(), kRecords + 4U) << act;
    expect_orders_agree_or_differ(records);
  }
}

TEST_F(Bulk, ABreakOrAQuitLeavesNoFileAndNoArea) {
  open_again();
  const State before = state();
  for (const char* expression : {"__dbcopy('u', , {|| iif(n = 30, break(1), .T.)})",
                                 "__dbapp('s', , {|| iif(n = 30, break(1), .T.)})"}) {
    EXPECT_NE(in_sequence([&] { run(expression); }), nullptr);
    EXPECT_EQ(files_beginning_with("new"), Records());
    EXPECT_EQ(run("select()"), "I 1");
    EXPECT_EQ(area_by_number(3), nullptr);
    EXPECT_EQ(records_of("u"), before.u);
    open_again();
  }
  elsewhere("__dbcopy('u', , {|| iif(n = 30, __quit(), .T.)})");
  EXPECT_EQ(files_beginning_with("new"), Records());
  EXPECT_TRUE(state() == before);
}

TEST_F(Bulk, ProcessesThatAppendAtOnceLoseNothing) {
  ASSERT_TRUE(open("t", Use::kExclusive));
  ASSERT_EQ(run("__dbcopy('s'), dbclosearea()"), "L T");
  EXPECT_EQ(run_processes(3,
                          [](int) {
                            if (!open("t", Use::kShared) || !yes("dbsetindex", {text("byn")}))
                              return false;
                            for (int done = 0; done < 5;) {
                              if (run("__dbapp('s')") == "L T")
                                ++done;
                              else if (!take_errors().starts_with("325 "))
                                return false;
                            }
                            return true;
                          }),
            0);
  // Those of two processes may come in turn; none ends halfway and does some of them again.
  const Records records = records_of("t");
  Records sorted = records, expected;
  for (int i = 0; i < 16; ++i)
    expected.insert(expected.end(), records.begin(), records.begin() + kRecords);
  std::sort(sorted.begin(), sorted.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(sorted, expected);
  EXPECT_EQ(order_fault("byn.idx", "t.dbf", records, {1, 5}), "");
}

}  // namespace
}  // namespace tarnel::testing
