// Tables beside SQLite, and a walk beside shapelib, doing the same work in the same run. Each line
// gives microseconds for one record here and there, and the ratio; every figure is the best of
// three runs.
//
//   bench_tables [RECORDS]...      10000 100000 1000000 by default
#include <shapefil.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "core/core_modules.h"
#include "core/errors.h"
#include "core/frame.h"
#include "core/runtime.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "core/symbols.h"
#include "db/area.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRuns = 3;
constexpr int kChanges = 20000;

struct Row {
  const char* name;
  const char* type;
  int length, decimals;
};
constexpr Row kRows[] = {{"id", "N", 8, 0},      {"name", "C", 30, 0}, {"city", "C", 20, 0},
                         {"amount", "N", 10, 2}, {"born", "D", 8, 0},  {"ok", "L", 1, 0}};
constexpr char kName[] = "Somebody with a usual name", kCity[] = "A town of ours";
constexpr std::int32_t kBorn = 730485;

double amount_of(int i) {
  return i % 100000 + (i % 100) / 100.0;
}

// --- This engine, as compiled code of the language calls it.

struct Functions {
  Function append = GET_FUNC("dbappend"), skip = GET_FUNC("dbskip"), go = GET_FUNC("dbgoto"),
           top = GET_FUNC("dbgotop"), eof = GET_FUNC("eof"), rlock = GET_FUNC("rlock"),
           unlock = GET_FUNC("dbunlock"), commit = GET_FUNC("dbcommit");
  std::int32_t id = ADD_SYMBOL("id"), name = ADD_SYMBOL("name"), city = ADD_SYMBOL("city"),
               amount = ADD_SYMBOL("amount"), born = ADD_SYMBOL("born"), ok = ADD_SYMBOL("ok");
};

const Functions& functions() {
  static const Functions f;
  return f;
}

void create_table() {
  const std::int32_t mark = temp_top();
  Var* rows = NEW_TEMP();
  cscreara(rows, static_cast<std::int32_t>(std::size(kRows)), kAllNil);
  for (std::int32_t i = 0; i < element_count(rows); ++i) {
    const Row& r = kRows[i];
    Var* cells = NEW_TEMP();
    cscrearr(cells, 4, kCopyValues,
             {TMP_TEXT(r.name), TMP_TEXT(r.type), TMP_INT(r.length), TMP_INT(r.decimals)});
    CPY_VAR(element(rows, i + 1), cells);
  }
  CALL_SIMPLE(GET_FUNC("dbcreate"), TMP_TEXT("bench"), rows);
  POP_TEMPS(mark);
}

void open_table(bool shared) {
  const std::int32_t mark = temp_top();
  Var* done = CALL_SIMPLE(GET_FUNC("dbusearea"), true_value(), nil_value(), TMP_TEXT("bench"),
                          nil_value(), logical(shared));
  if (!truth_of(done)) std::exit(2);
  POP_TEMPS(mark);
}

void append_records(int n) {
  const Functions& f = functions();
  for (int i = 0; i < n; ++i) {
    const std::int32_t mark = temp_top();
    CALL_SIMPLE(f.append);
    SET_INT(RESOLVE_NAME(f.id), i);
    SET_STRP(RESOLVE_NAME(f.name), kName);
    SET_STRP(RESOLVE_NAME(f.city), kCity);
    SET_NUM(RESOLVE_NAME(f.amount), amount_of(i), 2);
    SET_DATE(RESOLVE_NAME(f.born), kBorn);
    SET_LOG(RESOLVE_NAME(f.ok), true);
    POP_TEMPS(mark);
  }
  close_all_areas();
}

int nth_record(int i, int n) {
  return static_cast<int>(i * 7919LL % n) + 1;
}

void change_records(int n) {
  const Functions& f = functions();
  for (int i = 0; i < kChanges; ++i) {
    const std::int32_t mark = temp_top();
    CALL_SIMPLE(f.go, TMP_INT(nth_record(i, n)));
    CALL_SIMPLE(f.rlock);
    SET_NUM(RESOLVE_NAME(f.amount), i, 2);
    CALL_SIMPLE(f.unlock);
    POP_TEMPS(mark);
  }
}

double walk_table(int) {
  const Functions& f = functions();
  double sum = 0;
  CALL_SIMPLE(f.top);
  while (!truth_of(CALL_SIMPLE(f.eof))) {
    const std::int32_t mark = temp_top();
    sum += RESOLVE_NAME(f.amount)->num;
    CALL_SIMPLE(f.skip);
    POP_TEMPS(mark);
  }
  return sum;
}

// --- SQLite.

class Sqlite {
 public:
  explicit Sqlite(bool fresh) {
    if (fresh) std::filesystem::remove("bench.sqlite");
    sqlite3_open("bench.sqlite", &db_);
    run("PRAGMA synchronous=OFF");
    run("PRAGMA journal_mode=OFF");
    if (fresh)
      run("CREATE TABLE t(id INTEGER, name TEXT, city TEXT, amount REAL, born INTEGER, ok "
          "INTEGER)");
  }
  ~Sqlite() {
    for (sqlite3_stmt* s : statements_) sqlite3_finalize(s);
    sqlite3_close(db_);
  }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const char* sql) {
    if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "%s\n", sqlite3_errmsg(db_));
      std::exit(2);
    }
  }
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* s = nullptr;
    sqlite3_prepare_v2(db_, sql, -1, &s, nullptr);
    statements_.push_back(s);
    return s;
  }
  void insert_rows(int n) {
    sqlite3_stmt* s = prepare("INSERT INTO t VALUES(?,?,?,?,?,?)");
    for (int i = 0; i < n; ++i) {
      sqlite3_bind_int(s, 1, i);
      sqlite3_bind_text(s, 2, kName, -1, SQLITE_STATIC);
      sqlite3_bind_text(s, 3, kCity, -1, SQLITE_STATIC);
      sqlite3_bind_double(s, 4, amount_of(i));
      sqlite3_bind_int(s, 5, kBorn);
      sqlite3_bind_int(s, 6, 1);
      sqlite3_step(s);
      sqlite3_reset(s);
    }
  }
  void change_rows(int n) {
    sqlite3_stmt* s = prepare("UPDATE t SET amount=? WHERE rowid=?");
    for (int i = 0; i < kChanges; ++i) {
      sqlite3_bind_double(s, 1, i);
      sqlite3_bind_int(s, 2, nth_record(i, n));
      sqlite3_step(s);
      sqlite3_reset(s);
    }
  }
  double walk() {
    sqlite3_stmt* s = prepare("SELECT amount FROM t");
    double sum = 0;
    while (sqlite3_step(s) == SQLITE_ROW) sum += sqlite3_column_double(s, 0);
    return sum;
  }

 private:
  sqlite3* db_ = nullptr;
  std::vector<sqlite3_stmt*> statements_;
};

double walk_shapelib() {
  DBFHandle h = DBFOpen("bench.dbf", "rb");
  double sum = 0;
  for (int i = 0; i < DBFGetRecordCount(h); ++i) sum += DBFReadDoubleAttribute(h, i, 3);
  DBFClose(h);
  return sum;
}

// --- Measuring.

double seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double best(const std::function<void()>& prepare, const std::function<void()>& work) {
  double result = 1e9;
  for (int i = 0; i < kRuns; ++i) {
    prepare();
    result = std::min(result, seconds(work));
  }
  return result;
}

void report(const char* what, int n, int units, double ours, double theirs, const char* peer) {
  std::printf("%-36s %8d  %8.3f  %8.3f  %6.2f of %s\n", what, n, ours / units * 1e6,
              theirs / units * 1e6, ours / theirs, peer);
  std::fflush(stdout);
}

void measure(int n) {
  const auto nothing = [] {};
  const auto fresh_table = [](bool shared) {
    return [shared] {
      create_table();
      open_table(shared);
    };
  };
  const double shared = best(fresh_table(true), [n] { append_records(n); });
  const double exclusive = best(fresh_table(false), [n] { append_records(n); });
  double each = 1e9, bulk = 1e9;
  for (int i = 0; i < kRuns; ++i) {
    Sqlite db(true);
    each = std::min(each, seconds([&] { db.insert_rows(n); }));
  }
  for (int i = 0; i < kRuns; ++i) {
    Sqlite db(true);
    bulk = std::min(bulk, seconds([&] {
                      db.run("BEGIN");
                      db.insert_rows(n);
                      db.run("COMMIT");
                    }));
  }
  report("append, shared / own transactions", n, n, shared, each, "SQLite");
  report("append, exclusive / one transaction", n, n, exclusive, bulk, "SQLite");

  Sqlite db(false);
  open_table(true);
  const double change = best(nothing, [n] { change_records(n); });
  const double walk_shared = best(nothing, [n] { walk_table(n); });
  close_all_areas();
  const double change_theirs = best(nothing, [&] { db.change_rows(n); });
  const double walk_theirs = best(nothing, [&] { db.walk(); });
  report("change a field under a record lock", n, kChanges, change, change_theirs, "SQLite");

  open_table(false);
  const double walk = best(nothing, [n] { walk_table(n); });
  close_all_areas();
  const double walk_library = best(nothing, walk_shapelib);
  report("walk, one field, exclusive", n, n, walk, walk_theirs, "SQLite");
  report("walk, one field, exclusive", n, n, walk, walk_library, "shapelib");
  report("walk, one field, shared, locked", n, n, walk_shared, walk_theirs, "SQLite");
}

}  // namespace

int main(int argc, char** argv) {
  init_db();
  start_library({kFunctions.table(), kModules});
  install_signal_handlers();
  std::string directory = std::filesystem::temp_directory_path() / "bench-tables-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) return 2;
  std::filesystem::current_path(directory);
  std::printf("%-36s %8s  %8s  %8s  ratio\n", "microseconds a record", "records", "here", "there");
  if (argc < 2)
    for (const int n : {10000, 100000, 1000000}) measure(n);
  for (int i = 1; i < argc; ++i) measure(std::atoi(argv[i]));
  std::filesystem::remove_all(directory);
  return 0;
}
