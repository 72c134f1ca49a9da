// An order that missed a change says so until it is built anew, however many changes follow.
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "core/file_ops.h"
#include "core/sequence.h"
#include "tests/db/idx_checker.h"
#include "tests/db/table_files.h"
#include "tests/db/table_test.h"
#include "tests/support/fail_nth.h"

namespace tarnel::testing {
namespace {

// Whatever writes to a file meets this, until it gives false or is taken back.
struct OnWrite {
  static inline FileOps real{};
  static inline std::function<bool(off_t at, std::size_t n)> fails;

  explicit OnWrite(std::function<bool(off_t, std::size_t)> when) {
    real = file_ops();
    fails = std::move(when);
    file_ops().pwrite = [](int fd, const void* bytes, std::size_t n, off_t at) -> ssize_t {
      if (!fails(at, n)) return real.pwrite(fd, bytes, n, at);
      errno = EIO;
      return -1;
    };
  }
  ~OnWrite() { file_ops() = real; }
};

Var* break_out(std::int32_t, Var**, Var**) {
  break_sequence(nil_value());
}

constexpr std::size_t kRecordSize = 13, kPageSize = 512;

class AgreementTest : public TableTest {
 protected:
  // The condition hides a lacking key from the count of keys.
  void make() {
    ASSERT_TRUE(create("t", {{"name", "C", 8, 0}, {"n", "N", 4, 0}}) && open("t", Use::kExclusive));
    ASSERT_EQ(run("aeval({'delta', 'alpha', 'charlie'}, {|x| dbappend(), name := x}), "
                  "ordcondset('n >= 0'), dbcreateindex('i', 'name'), dbclosearea()"),
              "L T");
  }
  static bool use(bool alone = false) {
    return open("t", Use::kShared) && yes("ordlistadd", {text("i"), nil_value(), logical(alone)});
  }
  static bool change(int recno, std::string_view name) {
    call("dbgoto", {integer(recno)});
    if (!yes("rlock")) return false;
    put("name", text(name));
    return yes("dbcommit");
  }
  static int state() { return count("dborderinfo", {integer(5002)}); }
  static void patch(const char* file, std::size_t at, char byte) {
    std::string bytes = read_file(file);
    bytes[at] = byte;
    write_file(file, bytes);
  }
  // The change of record 1 while its write, or that of its key's page, fails.
  static bool change_fails(std::size_t size) {
    bool done = use();
    const OnWrite failing([=](off_t, std::size_t n) { return n == size; });
    done = done && !change(1, "zulu");
    call("dbclosearea");
    return done;
  }
};

TEST_F(AgreementTest, ADifferenceStaysUntilABuild) {
  struct Row {
    const char* what;
    bool alone;  // the order stays open, for this process alone
    std::function<bool()> part;
  };
  const auto others_change = [] {
    return elsewhere("dbgoto(1), rlock(), name := 'zulu', dbcommit()");
  };
  const Row rows[] = {
      {"a change without the order", false, others_change},
      {"a death before the record is written", false,
       [&] {
         return elsewhere([] {
           if (!use()) return false;
           const OnWrite dying([](off_t, std::size_t n) {
             if (n == kRecordSize) _exit(0);
             return false;
           });
           return change(1, "zulu") && false;
         });
       }},
      {"a record that can't be written", false, [] { return change_fails(kRecordSize); }},
      {"a page that can't be written", false, [] { return change_fails(kPageSize); }},
      {"a handler that breaks", false,
       [] {
         Var* former = call("errorblock", {TMP_BLOCK(break_out)});
         const Var* broken = in_sequence([] { change_fails(kPageSize); });
         call("errorblock", {former});
         call("dbclosearea");
         return broken != nullptr;
       }},
      {"a table not changed before", false,
       [] { return patch("t.dbf", 31, 1), patch("i.idx", 1025, 2), true; }},
      {"a table of others, changed by them", true, [&] { return use(true) && others_change(); }},
      {"the same, and closed at once", false,
       [&] {
         const bool done = use(true) && change(2, "yankee") && others_change();
         return call("dbclosearea"), done;
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    make();
    ASSERT_TRUE(row.part());
    take_errors();
    ASSERT_TRUE(row.alone || use());
    for (int i = 0; i < 300; ++i) {
      ASSERT_EQ(state(), 1) << i;
      ASSERT_TRUE(change(2, i % 2 != 0 ? "bravo" : "alpha"));
    }
    call("dbclosearea");
    EXPECT_EQ(check_idx("i.idx").counter, 1);
    ASSERT_TRUE(open("t", Use::kExclusive) && yes("ordlistadd", {text("i")}));
    EXPECT_EQ(state(), 1);
    EXPECT_TRUE(yes("dbreindex"));
    EXPECT_EQ(state(), 0);
    call("dbclosearea");
    EXPECT_EQ(check_idx("i.idx").counter, static_cast<unsigned char>(read_file("t.dbf")[31]));
    take_errors();
  }
}

// What can't have done harm leaves no mark: a change that was refused before anything was written, an
// order that nobody knows anything of, one held alone on a table that nobody else changed.
TEST_F(AgreementTest, WhatAgreesGoesOnAgreeing) {
  make();
  ASSERT_TRUE(use());
  {
    // A record behind the others is not there until it is counted.
    const OnWrite failing([](off_t, std::size_t n) { return n == kRecordSize; });
    EXPECT_FALSE(yes("dbappend"));
  }
  EXPECT_NE(take_errors(), "");
  EXPECT_EQ(state(), 0);
  EXPECT_TRUE(change(1, "zulu"));
  call("dbclosearea");
  for (const bool alone : {false, true}) {
    ASSERT_TRUE(use(alone));
    EXPECT_TRUE(change(1, alone ? "xray" : "yankee"));
    EXPECT_EQ(state(), 0);
    call("dbclosearea");
    EXPECT_EQ(check_idx("i.idx").counter, static_cast<unsigned char>(read_file("t.dbf")[31]));
  }
  patch("i.idx", 1025, 0);
  ASSERT_TRUE(use());
  EXPECT_TRUE(change(1, "whisky"));
  EXPECT_EQ(state(), 0);
  call("dbclosearea");
  EXPECT_EQ(check_idx("i.idx").counter, 0);
  // An order whose file can't say that it differs refuses the change.
  ASSERT_TRUE(use(true));
  {
    const OnWrite failing([](off_t at, std::size_t) { return at == 1024; });
    EXPECT_FALSE(change(1, "victor"));
  }
  call("dbclosearea");
  take_errors();
  ASSERT_TRUE(open("t", Use::kReadOnly));
  EXPECT_EQ(run("fieldget('name')"), "C whisky  ");
}

// Every call of the file layer fails once, and the handler of the error closes, breaks or opens anew.
// Afterwards another process gets the table alone, and an order that claims to agree does.
class HandlersTest : public AgreementTest {
 protected:
  static void work(Use use) {
    if (!open("t", use)) return;
    run(use == Use::kShared ? "dbsetindex('i'), ordlistadd('j', , .T.)"
                            : "dbsetindex('i'), ordlistadd('j')");
    run("iif(dbappend(), name := 'bravo', '')");
    run("dbgoto(1), iif(rlock(), name := 'zulu', '')");
    run("dbcommit(), dbseek('alpha'), dbskip(2), dbskip(-1), dborderinfo(5002)");
    run("dbreplace('name', {|| 'm' + name}, 'n = 0', , 2)");
    if (use == Use::kExclusive)
      call("dbreindex");
    else
      yes("dbcreateindex", {text("k"), text("n")});
    call("dbcloseall");
  }
};

TEST_F(HandlersTest, CloseBreakOrReopenAtEachFault) {
  using Handler = Var* (*)(std::int32_t, Var**, Var**);
  static bool busy;  // a handler that fails itself does no more
  busy = false;
  static const auto once = [](auto work) {
    if (!std::exchange(busy, true)) work(), busy = false;
    return nil_value();
  };
  const Handler handlers[] = {
      [](std::int32_t, Var**, Var**) { return once([] { call("dbcloseall"); }); },
      [](std::int32_t, Var**, Var**) { return once([] { call("ordlistclear"); }); },
      [](std::int32_t, Var**, Var**) {
        return once([] {
          call("dbcloseall");
          open("t", Use::kShared);
          call("dbsetindex", {text("j")});
        });
      },
      [](std::int32_t, Var**, Var**) {
        return yes("used") ? break_out(0, nullptr, nullptr) : nil_value();
      },
  };
  make();
  ASSERT_TRUE(elsewhere("dbcreateindex('j', 'name')", Use::kExclusive));
  const Files files = read_files({"t.dbf", "i.idx", "j.idx"});
  Var* former = call("errorblock");
  for (const Handler& handler : handlers)
    for (const Use use : {Use::kShared, Use::kExclusive}) {
      SCOPED_TRACE(::testing::Message()
                   << "handler " << &handler - handlers << ", use " << static_cast<int>(use));
      const std::int32_t mark = temp_top();
      const auto prepare = [&] {
        write_files(files);
        call("errorblock", {TMP_BLOCK(handler)});
      };
      const auto check = [&](const Fault*) {
        call("errorblock", {former});
        call("dbcloseall");
        take_errors();
        EXPECT_TRUE(elsewhere("used()", Use::kExclusive));
        for (const char* order : {"i.idx", "j.idx"})
          EXPECT_EQ(order_fault(order, "t.dbf", records_of("t"), {1, 8}), "");
        POP_TEMPS(mark);
      };
      const int runs = fail_each_call(
          {kIoError}, prepare, [&] { in_sequence([&] { work(use); }); }, check);
      EXPECT_GT(runs, 50);
    }
}

}  // namespace
}  // namespace tarnel::testing
