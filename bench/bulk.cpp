// Whole tables moved beside SQLite doing the same, on the same records in the same run. Each line gives
// seconds here and there, the best of three runs each, the ratio, and the memory at its peak above that
// before, in KiB.
//
//   bench_bulk [RECORDS]...      1000000 by default
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/errors.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "db/dbfidx/check/check.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRuns = 3;

[[noreturn]] void die(const char* why) {
  std::fprintf(stderr, "bench_bulk: %s\n", why);
  std::exit(2);
}

// A line of the language that gives true.
void run(const std::string& line) {
  const std::int32_t mark = temp_top();
  const Var* value = EXP_EVAL(line.c_str());
  if (!is_number_or_logical(value) || !truth_of(value)) die(line.c_str());
  POP_TEMPS(mark);
}

// About 80 bytes a record; the names are in no order, and so are the numbers.
void fill_table(int records) {
  run("dbcreate('t', {{'n', 'N', 8, 0}, {'name', 'C', 20, 0}, {'city', 'C', 30, 0}, {'amount', "
      "'N', 10, "
      "2}, {'born', 'D', 8, 0}, {'ok', 'L', 1, 0}})");
  run("dbusearea(.t., , 't', , .f.)");
  Var* append = EXP_EVAL(
      "{|i| dbappend(), field->n := i * 7919 % 1000003, field->name := 'Name ' + str(i * 7919 % "
      "1000003, 9), "
      "field->city := 'A town of ours', field->amount := i % 100000, field->born := {12/31/99}, "
      "field->ok := .t.}");
  for (int i = 1; i <= records; ++i) {
    const std::int32_t mark = temp_top();
    run_block_with(append, TMP_INT(i));
    POP_TEMPS(mark);
  }
  run("dbcommit()");
}

class Sqlite {
 public:
  Sqlite() {
    sqlite3_open("t.sqlite", &db_);
    run("PRAGMA synchronous=OFF");
    run("PRAGMA journal_mode=OFF");
  }
  ~Sqlite() { sqlite3_close(db_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const std::string& sql) {
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
      die(sqlite3_errmsg(db_));
  }
  void fill(int records) {
    run("CREATE TABLE t(n INTEGER, name TEXT, city TEXT, amount REAL, born INTEGER, ok INTEGER)");
    run("BEGIN");
    run("WITH RECURSIVE r(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM r WHERE i < " +
        std::to_string(records) +
        ") INSERT INTO t SELECT i * 7919 % 1000003, printf('Name %9d', i * 7919 % 1000003), "
        "'A town of ours', i % 100000, 730485, 1 FROM r");
    run("COMMIT");
  }

 private:
  sqlite3* db_ = nullptr;
};

double seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A line of /proc/self/status, in KiB.
long memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return std::atol(line.c_str() + name.size());
  return 0;
}
void forget_peak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

struct Work {
  const char* name;
  std::function<void()> prepare, ours;
  std::function<void()> prepare_peer, peer;
};

void measure(const Work& work) {
  double ours = 1e9, peer = 1e9;
  long peak = 0;
  for (int i = 0; i < kRuns; ++i) {
    work.prepare();
    forget_peak();
    const long before = memory("RssAnon:") + memory("RssFile:");
    ours = std::min(ours, seconds(work.ours));
    peak = std::max(peak, memory("VmHWM:") - before);
    work.prepare_peer();
    peer = std::min(peer, seconds(work.peer));
  }
  std::printf("%-34s %7.3f  %7.3f  %5.2f  %8ld\n", work.name, ours, peer, ours / peer, peak);
  std::fflush(stdout);
}

void measure_all(int records) {
  std::filesystem::remove("t.sqlite");
  Sqlite db;
  fill_table(records);
  db.fill(records);
  const auto line = [](const char* text) { return [text] { run(text); }; };
  const auto sql = [&](const char* text) { return [&db, text] { db.run(text); }; };
  run("__dbcopyst('empty')");
  const auto no_copy = [] { std::filesystem::remove("u.dbf"); };
  const auto no_table = sql("DROP TABLE IF EXISTS u");
  measure({"copy, all fields", no_copy, line("__dbcopy('u')"), no_table,
           sql("CREATE TABLE u AS SELECT * FROM t")});
  measure({"copy, two fields, FOR as text", no_copy,
           line("__dbcopy('u', {'n', 'name'}, 'amount > 5000')"), no_table,
           sql("CREATE TABLE u AS SELECT n, name FROM t WHERE amount > 5000")});
  measure({"sort on a text of 20", no_copy, line("__dbsort('u', 'name')"), no_table,
           sql("CREATE TABLE u AS SELECT * FROM t ORDER BY name")});
  measure({"sort on a number", no_copy, line("__dbsort('u', 'n')"), no_table,
           sql("CREATE TABLE u AS SELECT * FROM t ORDER BY n")});
  run("iif(dbclosearea() = nil, .t., .t.)");
  measure({"append from a like table",
           [] {
             std::filesystem::copy_file("empty.dbf", "u.dbf",
                                        std::filesystem::copy_options::overwrite_existing);
             run("dbusearea(.t., , 'u', , .f.)");
           },
           line("__dbapp('t') .and. dbcommit()"),
           [&] {
             EXP_EVAL("dbclosearea()");
             db.run("DROP TABLE IF EXISTS u");
             db.run(
                 "CREATE TABLE u(n INTEGER, name TEXT, city TEXT, amount REAL, born INTEGER, ok "
                 "INTEGER)");
           },
           sql("INSERT INTO u SELECT * FROM t")});
}

// Both sides flushed to the disk.
void measure_pack(int records) {
  Sqlite db;
  const std::string count = std::to_string(records);
  std::filesystem::copy_file("t.dbf", "whole.dbf",
                             std::filesystem::copy_options::overwrite_existing);
  db.run("PRAGMA journal_mode=DELETE");
  db.run("PRAGMA synchronous=FULL");
  measure({"pack, a tenth deleted",
           [] {
             std::filesystem::copy_file("whole.dbf", "t.dbf",
                                        std::filesystem::copy_options::overwrite_existing);
             run("dbusearea(.t., , 't', , .f.)");
             run("dbdelete({|| recno() % 10 = 0})");
             run("dbcommit()");
           },
           [] { run("__dbpack()"); },
           [&] {
             EXP_EVAL("dbclosearea()");
             db.run("DROP TABLE IF EXISTS u");
             db.run("CREATE TABLE u AS SELECT * FROM t");
             db.run("DELETE FROM u WHERE rowid % 10 = 0");
           },
           [&] { db.run("VACUUM"); }});
}

// A table with one order, on both sides.
void measure_check() {
  Sqlite db;
  run("dbusearea(.t., , 't', , .f.) .and. dbcreateindex('ti', 'n')");
  EXP_EVAL("dbclosearea()");
  db.run("CREATE INDEX ti ON t(n)");
  const auto nothing = [] {};
  measure({"check, one order", nothing,
           [] {
             const CheckResult result = check_table("t", {}, [](const std::string&) {});
             if (result.faults > 0 || result.orders != 1) die("the table is damaged");
           },
           nothing, [&] { db.run("PRAGMA integrity_check"); }});
  std::filesystem::remove("ti.idx");
  db.run("DROP INDEX ti");
}

// Commands of the sqlite3 program, whose start is a few milliseconds of it.
std::function<void()> shell(const std::string& commands) {
  return [commands] {
    const std::string line =
        "printf '%s\\n' 'PRAGMA synchronous=OFF;' 'PRAGMA journal_mode=OFF;' " + commands +
        " | sqlite3 t.sqlite > /dev/null";
    if (std::system(line.c_str()) != 0) die(line.c_str());
  };
}

void measure_texts() {
  run("dbusearea(.t., , 't', , .f.)");
  const auto line = [](const char* text) { return [text] { run(text); }; };
  const auto nothing = [] {};
  measure({"copy to delimited text", nothing, line("__dbcopyde('de')"), nothing,
           shell("'.mode csv' '.output peer.csv' 'SELECT * FROM t;'")});
  measure({"copy to text in columns", nothing, line("__dbcopysd('sd')"), nothing,
           shell("'.mode tabs' '.output peer.tsv' 'SELECT * FROM t;'")});
  run("iif(dbclosearea() = nil, .t., .t.)");
  const auto empty_table = [] {
    std::filesystem::copy_file("empty.dbf", "u.dbf",
                               std::filesystem::copy_options::overwrite_existing);
    run("dbusearea(.t., , 'u', , .f.)");
  };
  const auto no_table = [] {
    EXP_EVAL("dbclosearea()");
    shell(
        "'DROP TABLE IF EXISTS u;' 'CREATE TABLE u(n INTEGER, name TEXT, city TEXT, amount REAL, "
        "born INTEGER, ok INTEGER);'")();
  };
  measure({"append from delimited text", empty_table, line("__dbappgen('de') .and. dbcommit()"),
           no_table, shell("'.mode csv' '.import de.txt u'")});
}

}  // namespace

int main(int argc, char** argv) {
  init_macro();
  init_db();
  start_library({kFunctions.table(), kModules});
  install_signal_handlers();
  std::string directory = std::filesystem::temp_directory_path() / "bench-bulk-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) return 2;
  std::filesystem::current_path(directory);
  std::printf("%-34s %7s  %7s  %5s  %8s\n", "seconds", "here", "there", "ratio", "memory");
  for (int i = 1; i < std::max(argc, 2); ++i) {
    const int records = argc < 2 ? 1000000 : std::atoi(argv[i]);
    std::printf("%d records\n", records);
    measure_all(records);
    EXP_EVAL("dbcloseall()");
    measure_texts();
    measure_check();
    measure_pack(records);
  }
  std::filesystem::remove_all(directory);
  return 0;
}
