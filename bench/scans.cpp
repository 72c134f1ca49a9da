// Scans of whole tables beside SQLite, on the same records in the same run. Each line gives microseconds
// for one record here and there, and the ratio; every figure is the best of five runs.
//
//   bench_scans [RECORDS]...      10000 100000 1000000 by default
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRuns = 5;

[[noreturn]] void die(const char* why) {
  std::fprintf(stderr, "bench_scans: %s\n", why);
  std::exit(2);
}

// --- This engine. Lines of the language; the table is T with about 80 bytes a record.

constexpr const char* kCreate =
    "dbcreate('t', {{'n', 'N', 8, 0}, {'name', 'C', 30, 0}, {'city', 'C', 20, 0}, "
    "{'amount', 'N', 10, 2}, {'born', 'D', 8, 0}, {'ok', 'L', 1, 0}})";
constexpr const char* kAppend =
    "{|i| dbappend(), field->n := i * 79 % 1000, field->name := 'Somebody with a usual name', "
    "field->city := 'A town of ours', field->amount := i % 100000, field->born := {12/31/99}, "
    "field->ok := .t.}";

double evaluate(const char* line) {
  const std::int32_t mark = temp_top();
  Var* value = EXP_EVAL(line);
  if (value->type == 'A') value = element(value, 1);
  if (!is_number_or_logical(value)) die(line);
  const double number = number_of(value);
  POP_TEMPS(mark);
  return number;
}

void fill_table(int records) {
  evaluate(kCreate);
  evaluate("dbusearea(.t., , 't', , .f.)");
  Var* append = EXP_EVAL(kAppend);
  for (int i = 0; i < records; ++i) {
    const std::int32_t mark = temp_top();
    run_block_with(append, TMP_INT(i));
    POP_TEMPS(mark);
  }
  evaluate("iif(dbclosearea() = nil, .t., .t.)");
}

// The filter as compiled code writes it.
Var* is_large(std::int32_t argc, Var**, Var**) {
  static const std::int32_t n = ADD_SYMBOL("n");
  Procedure p("bench", "cb_1_1_1", 1, argc);
  return p.result(csnltu(500, RESOLVE_NAME(n)));
}

double walk() {
  static const Function top = GET_FUNC("dbgotop"), skip = GET_FUNC("dbskip"), eof = GET_FUNC("eof");
  static const std::int32_t n = ADD_SYMBOL("n");
  double sum = 0;
  CALL_SIMPLE(top);
  while (!truth_of(CALL_SIMPLE(eof))) {
    const std::int32_t mark = temp_top();
    sum += number_of(RESOLVE_NAME(n));
    CALL_SIMPLE(skip);
    POP_TEMPS(mark);
  }
  return sum;
}

// The same over a child that follows by key.
double walk_with_child() {
  static const Function top = GET_FUNC("dbgotop"), skip = GET_FUNC("dbskip"), eof = GET_FUNC("eof");
  double sum = 0;
  CALL_SIMPLE(top);
  while (!truth_of(CALL_SIMPLE(eof))) {
    const std::int32_t mark = temp_top();
    sum += number_of(EXP_EVAL("child->v"));
    CALL_SIMPLE(skip);
    POP_TEMPS(mark);
  }
  return sum;
}

// --- SQLite.

class Sqlite {
 public:
  explicit Sqlite(bool wal) {
    sqlite3_open("t.sqlite", &db_);
    run("PRAGMA synchronous=OFF");
    run(wal ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=OFF");
  }
  ~Sqlite() { sqlite3_close(db_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const char* sql) {
    if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) die(sqlite3_errmsg(db_));
  }
  // The sum of the first column of all rows.
  double select(const char* sql) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &s, nullptr) != SQLITE_OK) die(sqlite3_errmsg(db_));
    double sum = 0;
    while (sqlite3_step(s) == SQLITE_ROW) sum += sqlite3_column_double(s, 0);
    sqlite3_finalize(s);
    return sum;
  }
  void fill(int records) {
    run("DROP TABLE IF EXISTS t");
    run("CREATE TABLE t(n INTEGER, name TEXT, city TEXT, amount REAL, born INTEGER, ok INTEGER)");
    run("BEGIN");
    run(("WITH RECURSIVE r(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM r WHERE i + 1 < " +
         std::to_string(records) +
         ") INSERT INTO t SELECT i * 79 % 1000, 'Somebody with a usual name', 'A town of ours', "
         "i % 100000, 730485, 1 FROM r")
            .c_str());
    run("COMMIT");
  }

 private:
  sqlite3* db_ = nullptr;
};

// --- Measuring.

double best(const std::function<double()>& work, double& value) {
  double result = 1e9;
  for (int i = 0; i < kRuns; ++i) {
    const auto start = std::chrono::steady_clock::now();
    value = work();
    result = std::min(
        result, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return result;
}

struct Work {
  const char* name;
  std::function<double()> ours;
  const char* sql;  // its value is that of `ours`; null: a change
  const char* change = nullptr;
};

void measure(const Work& work, int records, Sqlite& db) {
  double mine = 0, theirs = 0;
  const double ours = best(work.ours, mine);
  const double peer = best(
      [&] {
        if (work.sql != nullptr) return db.select(work.sql);
        db.run(work.change);
        return 0.0;
      },
      theirs);
  if (work.sql != nullptr && std::abs(mine - theirs) > 0.5) die(work.name);
  std::printf("%-38s %8d  %7.3f  %7.3f  %6.2f\n", work.name, records, ours / records * 1e6,
              peer / records * 1e6, ours / peer);
  std::fflush(stdout);
}

std::function<double()> line(const char* text) {
  return [text] { return evaluate(text); };
}

void measure_exclusive(int records, Sqlite& db) {
  evaluate("dbusearea(.t., , 't', , .f.)");
  const char* count = "SELECT count(*) FROM t WHERE n > 500";
  const auto clear = [] { EXP_EVAL("dbclearfilter()"); };
  measure({"walk by dbskip, one field", walk, "SELECT n FROM t"}, records, db);
  EXP_EVAL("dbsetfilter(, 'n > 500')");
  measure({"count, filter n > 500 as text", line("dbcount()"), count}, records, db);
  clear();
  Var* filter[] = {TMP_BLOCK(is_large)};
  GET_FUNC("dbsetfilter")(1, filter);
  measure({"the same, compiled", line("dbcount()"), count}, records, db);
  clear();
  measure({"sum of a field as text", line("dbsum('n')"), "SELECT sum(n) FROM t"}, records, db);
  measure({"locate, the hit at the end", line("iif(dblocate('n = 1001'), 1, 0)"),
           "SELECT count(*) FROM (SELECT 1 FROM t WHERE n = 1001 LIMIT 1)"},
          records, db);
  measure({"replace by n + 1 in all records", line("dbreplace('n', {|| n + 1})"), nullptr,
           "UPDATE t SET n = n + 1"},
          records, db);
  EXP_EVAL("dbclosearea()");
}

// A child of 1000 records by key, in which each parent finds one.
void measure_relation(int records, Sqlite& db) {
  evaluate("dbcreate('child', {{'k', 'N', 8, 0}, {'v', 'N', 8, 0}})");
  evaluate("dbusearea(.t., , 't', 'parent', .f.)");
  evaluate("dbusearea(.t., , 'child', 'child', .f.)");
  evaluate("len(aeval(array(1000), {|x, i| dbappend(), field->k := i, field->v := i * 2}))");
  EXP_EVAL("dbcreateindex('child', 'k')");
  EXP_EVAL("dbselectarea('parent')");
  EXP_EVAL("dbsetrelation('child', 'n')");
  db.run("DROP TABLE IF EXISTS c");
  db.run("CREATE TABLE c(k INTEGER, v INTEGER)");
  db.run(
      "WITH RECURSIVE r(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM r WHERE i < 1000) "
      "INSERT INTO c SELECT i, i * 2 FROM r");
  db.run("CREATE INDEX ck ON c(k)");
  measure({"walk with a child by key", walk_with_child, "SELECT v FROM t JOIN c ON k = n"}, records,
          db);
  EXP_EVAL("dbcloseall()");
}

void measure_shared(int records, Sqlite& db) {
  evaluate("dbusearea(.t., , 't', , .t.)");
  measure({"shared: walk by dbskip, one field", walk, "SELECT n FROM t"}, records, db);
  EXP_EVAL("dbsetfilter(, 'n > 500')");
  measure(
      {"shared: count, filter as text", line("dbcount()"), "SELECT count(*) FROM t WHERE n > 500"},
      records, db);
  EXP_EVAL("dbclearfilter()");
  measure({"shared: sum of a field as text", line("dbsum('n')"), "SELECT sum(n) FROM t"}, records,
          db);
  EXP_EVAL("dbclosearea()");
}

void measure_all(int records) {
  std::filesystem::remove("t.sqlite");
  fill_table(records);
  {
    Sqlite db(false);
    db.fill(records);
    measure_exclusive(records, db);
    measure_relation(records, db);
  }
  Sqlite wal(true);
  measure_shared(records, wal);
}

}  // namespace

int main(int argc, char** argv) {
  init_macro();
  init_db();
  start_library({kFunctions.table(), kModules});
  install_signal_handlers();
  std::string directory = std::filesystem::temp_directory_path() / "bench-scans-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) return 2;
  std::filesystem::current_path(directory);
  std::printf("%-38s %8s  %7s  %7s  ratio\n", "microseconds a record", "records", "here", "there");
  if (argc < 2)
    for (const int records : {10000, 100000, 1000000}) measure_all(records);
  for (int i = 1; i < argc; ++i) measure_all(std::atoi(argv[i]));
  std::filesystem::remove_all(directory);
  return 0;
}
