// What happens to a table when processes die, disks fill, calls fail and bytes are damaged.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>

#include "core/file_ops.h"
#include "core/open_files.h"
#include "core/symbols.h"
#include "db/mapped_file.h"
#include "tests/db/table_test.h"

namespace tarnel::testing {
namespace {

class Faults : public TableTest {
 protected:
  void make_table(bool memo = true) {
    if (memo)
      ASSERT_TRUE(create("t", {{"n", "N", 8, 0}, {"who", "C", 12, 0}, {"note", "M", 10, 0}}));
    else
      ASSERT_TRUE(create("t", {{"n", "N", 8, 0}, {"who", "C", 12, 0}}));
    ASSERT_TRUE(open("t", Use::kExclusive));
    run("aeval(array(20), {|x, i| dbappend(), n := i})");
    if (memo) run("dbeval({|| note := 'note ' + ltrim(str(recno()))})");
    call("dbclosearea");
  }
  static std::int32_t n() { return integer_of(RESOLVE_NAME(ADD_SYMBOL("n"))); }
};

TEST_F(Faults, KilledWritersLoseNothingCommitted) {
  const char* wanted = std::getenv("TABLE_KILLS");
  const int kills = wanted != nullptr ? std::atoi(wanted) : 40;
  ASSERT_TRUE(create("t", {{"n", "N", 8, 0}, {"who", "C", 12, 0}}));
  std::mt19937 random(4711);
  for (int round = 0; round < kills; ++round) {
    int report[2];
    ASSERT_EQ(pipe(report), 0);
    const pid_t pid = start_process([&] {
      if (!open("t", Use::kShared)) _exit(2);
      for (std::int32_t value = 1;; ++value) {
        const std::int32_t mark = temp_top();
        if (value % 3 != 0 || count("lastrec") == 0)
          call("dbappend");
        else
          yes("rlock", {integer(1 + value * 7 % count("lastrec"))});
        if (value % 3 == 0) call("dbgoto", {integer(1 + value * 7 % count("lastrec"))});
        put("n", integer(value));
        const std::int32_t line[2] = {count("recno"), value};
        call("dbunlock");
        if (write(report[1], line, sizeof line) != sizeof line) _exit(3);
        POP_TEMPS(mark);
      }
    });
    close(report[1]);
    usleep(static_cast<useconds_t>(500 + random() % 6000));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    std::map<std::int32_t, std::int32_t> now;
    std::int32_t newest = 0;
    for (std::int32_t line[2]; read(report[0], line, sizeof line) == sizeof line;)
      now[line[0]] = newest = line[1];
    close(report[0]);

    ASSERT_TRUE(open("t", Use::kExclusive)) << "locks are gone; " << take_errors();
    const auto last = count("lastrec");
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size("t.dbf"));
    EXPECT_GE(size, 97 + 21 * std::int64_t{last});
    EXPECT_LE(size, 97 + 21 * (std::int64_t{last} + 1));
    for (const auto& [record, value] : now) {
      const std::int32_t mark = temp_top();
      ASSERT_LE(record, last);
      call("dbgoto", {integer(record)});
      // The one replacement in flight may have come after the report.
      EXPECT_TRUE(n() == value || n() > newest) << record << " " << n() << " " << value;
      POP_TEMPS(mark);
    }
    call("dbclosearea");
  }
  RecordProperty("records", static_cast<int>((std::filesystem::file_size("t.dbf") - 97) / 21));
}

TEST_F(Faults, MissingPermissionsAreErrors) {
  make_table();
  std::filesystem::permissions(directory(), std::filesystem::perms{0555});
  std::filesystem::permissions("t.dbt", std::filesystem::perms{0444});
  const bool told = elsewhere([] {
    if (geteuid() == 0 && seteuid(65534) != 0) return false;
    if (create("new", {{"a", "C", 1, 0}}) || take_errors().substr(0, 4) != "105 ") return false;
    return !open("t", Use::kShared) && take_errors().substr(0, 4) == "101 ";
  });
  std::filesystem::permissions(directory(), std::filesystem::perms{0755});
  EXPECT_TRUE(told);
  EXPECT_FALSE(std::filesystem::exists("new.dbf"));
}

// Opens, walks and reads whatever the files hold.
void read_everything() {
  if (!open("damaged", Use::kShared)) return;
  const std::int32_t mark = temp_top();
  for (int steps = 0; !yes("eof") && steps < 100; ++steps, POP_TEMPS(mark))
    run("aeval(array(min(fcount(), 50)), {|x, i| fieldget(i)}), deleted(), dbskip()");
  run("dbgobottom(), dbclosearea()");
}

TEST_F(Faults, DamagedHeadersEndInANumberedError) {
  make_table();
  const std::string good = read_file("t.dbf");
  struct {
    std::size_t at;
    std::string bytes;
    const char* reason;
  } const cases[] = {{8, le16(32), "header too short"},
                     {8, le16(60000), "header longer than the file"},
                     {10, le16(0), "record size 0"},
                     {10, le16(20), "fields do not add up to the record"},
                     {8, le16(97), "fields do not add up to the record"},
                     {4, le32(0xFFFFFFFF), "more records than a table can have"},
                     {4, le32(0x7FFFFFFE), "more records than the file holds"},
                     {4, le32(22), "more records than the file holds"}};
  write_file("damaged.dbt", read_file("t.dbt"));
  for (const auto& c : cases) {
    std::string bad = good;
    bad.replace(c.at, c.bytes.size(), c.bytes);
    write_file("damaged.dbf", bad);
    EXPECT_FALSE(open("damaged", Use::kShared)) << c.reason;
    EXPECT_EQ(take_errors(), "103 DBFIDX:Init();" + directory() + "/damaged.dbf;damaged header: " +
                                 c.reason + ";103 (file read error)");
    // What can still be told apart may be read.
    const bool readable = std::string_view(c.reason).starts_with("fields");
    EXPECT_EQ(open("damaged", Use::kReadOnly), readable) << c.reason << take_errors();
    call("dbclosearea");
    EXPECT_EQ(read_file("damaged.dbf"), bad);
    take_errors();
  }
}

TEST_F(Faults, AnyDamagedByteIsSurvived) {
  make_table();
  for (const char* end : {".dbf", ".dbt"}) {
    write_file("damaged.dbf", read_file("t.dbf"));
    write_file("damaged.dbt", read_file("t.dbt"));
    const std::string good = read_file(std::string("t") + end);
    const int fd = ::open((std::string("damaged") + end).c_str(), O_RDWR | O_CLOEXEC);
    for (std::size_t at = 0; at < std::min<std::size_t>(good.size(), 700); ++at) {
      for (const char value : {'\0', '\1', '\x7F', '\xFF'}) {
        ASSERT_TRUE(write_at(fd, &value, 1, static_cast<std::int64_t>(at)));
        read_everything();
      }
      ASSERT_TRUE(write_at(fd, &good[at], 1, static_cast<std::int64_t>(at)));
    }
    ::close(fd);
  }
  take_errors();
}

// A read beyond the end must not make bytes count that aren't mapped yet.
TEST_F(Faults, MappedFileGivesWhatTheFileHas) {
  write_file("m", "0123456789");
  const int fd = open_file("m", O_RDWR);
  MappedFile mapped(fd);
  char got[2] = {};
  const auto at = [&](std::int64_t place) {
    return mapped.read(got, sizeof got, place) ? std::string(got, sizeof got) : "none";
  };
  EXPECT_EQ(at(9), "none");
  EXPECT_EQ(at(4), "45");
  constexpr std::int64_t kFar = 5 << 20;  // several mappings further on
  ASSERT_TRUE(write_at(fd, "ab", 2, kFar));
  EXPECT_EQ(at(kFar + 1), "none");
  EXPECT_EQ(at(kFar), "ab");
  EXPECT_EQ(at(kFar / 2), std::string(2, '\0'));
  ASSERT_EQ(::ftruncate(fd, 10), 0);
  EXPECT_EQ(at(kFar), "none");
  EXPECT_EQ(at(0), "01");
  EXPECT_EQ(at(-1), "none");
  ::close(fd);
}

// What shared use reads through a mapping is missed there as it would be in the file.
TEST_F(Faults, TableCutShortUnderASharedUserIsAnError) {
  make_table(false);
  ASSERT_TRUE(open("t", Use::kShared));
  call("dbgoto", {integer(20)});
  EXPECT_EQ(n(), 20);
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size("t.dbf"));
  for (const std::int64_t left : {size - 1, size - 30, std::int64_t{10}}) {
    ASSERT_EQ(truncate("t.dbf", left), 0);
    call("dbgoto", {integer(20)});
    take_errors();
    call("dbskip", {integer(0)});
    EXPECT_EQ(n(), 0);
    EXPECT_NE(take_errors().find("103 (file read error)"), std::string::npos) << left;
  }
  call("dbclosearea");
  take_errors();
}

}  // namespace
}  // namespace tarnel::testing
