// Orders beside SQLite and LMDB, doing the same work on the same keys in the same run. Each line
// gives microseconds for one key here and there, and the ratio; every figure is the best of three
// runs.
//
//   bench_orders [RECORDS]...      10000 100000 1000000 by default
//
// In exclusive use the peer works inside one transaction, in shared use with one transaction for
// each operation, in WAL mode: a change of another process must show at the next step.
#include <lmdb.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
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
#include "macro/macro.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRuns = 3;
constexpr int kLookups = 50000, kMostChanges = 20000;

struct Plan {
  int n;
  bool numeric;
  int changes() const { return std::min(n, kMostChanges); }
  std::vector<int> keys;     // in the order of insertion
  std::vector<int> lookups;  // random existing ones
};

std::string key_text(int key) {
  char text[16];
  std::snprintf(text, sizeof text, "%010d", key);
  return text;
}

[[noreturn]] void die(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::exit(2);
}

// --- This engine, as compiled code of the language calls it.

class Tables {
 public:
  explicit Tables(const Plan& plan) : plan_(plan) {}

  void create() {
    for (const char* file : {"o.dbf", "o.idx"}) std::filesystem::remove(file);
    const std::int32_t mark = temp_top();
    Var* rows = NEW_TEMP();
    cscreara(rows, 2, kAllNil);
    row(element(rows, 1), "k", plan_.numeric ? "N" : "C", 10);
    row(element(rows, 2), "v", "N", 8);
    CALL_SIMPLE(GET_FUNC("dbcreate"), TMP_TEXT("o"), rows);
    POP_TEMPS(mark);
  }
  void open(bool shared, bool with_order = true) {
    const std::int32_t mark = temp_top();
    Var* done = CALL_SIMPLE(GET_FUNC("dbusearea"), true_value(), nil_value(), TMP_TEXT("o"),
                            nil_value(), logical(shared));
    if (!truth_of(done)) die("can't open the table");
    if (with_order && !truth_of(CALL_SIMPLE(GET_FUNC("ordlistadd"), TMP_TEXT("o"))))
      die("can't open the order");
    POP_TEMPS(mark);
  }
  void build() {
    const std::int32_t mark = temp_top();
    if (!truth_of(CALL_SIMPLE(GET_FUNC("dbcreatein"), TMP_TEXT("o"), TMP_TEXT("k"))))
      die("can't build the order");
    POP_TEMPS(mark);
  }
  void append() {
    for (const int key : plan_.keys) {
      const std::int32_t mark = temp_top();
      CALL_SIMPLE(append_);
      store_key(key);
      SET_INT(RESOLVE_NAME(v_), key % 1000000);
      POP_TEMPS(mark);
    }
    close_all_areas();
  }
  double seek() {
    double sum = 0;
    for (const int key : plan_.lookups) {
      const std::int32_t mark = temp_top();
      if (!truth_of(CALL_SIMPLE(seek_, key_value(key)))) die("a key is missing");
      sum += RESOLVE_NAME(v_)->num;
      POP_TEMPS(mark);
    }
    return sum;
  }
  double walk(int steps) {
    double sum = 0;
    CALL_SIMPLE(GET_FUNC("dbgotop"));
    for (; steps > 0 && !truth_of(CALL_SIMPLE(eof_)); --steps) {
      const std::int32_t mark = temp_top();
      sum += RESOLVE_NAME(v_)->num;
      CALL_SIMPLE(skip_);
      POP_TEMPS(mark);
    }
    return sum;
  }
  // Moves keys up and, the next time, down again.
  void change(int from, int to) {
    for (int i = 0; i < plan_.changes(); ++i) {
      const std::int32_t mark = temp_top();
      const int key = plan_.keys[static_cast<std::size_t>(i)];
      if (!truth_of(CALL_SIMPLE(seek_, key_value(key + from)))) die("a changed key is missing");
      CALL_SIMPLE(rlock_);
      store_key(key + to);
      CALL_SIMPLE(unlock_);
      POP_TEMPS(mark);
    }
  }

 private:
  static void row(Var* target, const char* name, const char* type, int length) {
    cscrearr(target, 4, kCopyValues, {TMP_TEXT(name), TMP_TEXT(type), TMP_INT(length), TMP_INT(0)});
  }
  Var* key_value(int key) const { return plan_.numeric ? TMP_INT(key) : TMP_TEXT(key_text(key)); }
  void store_key(int key) const { CPY_VAR(RESOLVE_NAME(k_), key_value(key)); }

  const Plan& plan_;
  const Function append_ = GET_FUNC("dbappend"), seek_ = GET_FUNC("dbseek"),
                 skip_ = GET_FUNC("dbskip"), eof_ = GET_FUNC("eof"), rlock_ = GET_FUNC("rlock"),
                 unlock_ = GET_FUNC("dbunlock");
  const std::int32_t k_ = ADD_SYMBOL("k"), v_ = ADD_SYMBOL("v");
};

// --- SQLite.

class Sqlite {
 public:
  explicit Sqlite(const Plan& plan) : plan_(plan) {}
  ~Sqlite() { close(); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void create() {
    close();
    for (const char* file : {"o.sqlite", "o.sqlite-wal", "o.sqlite-shm"})
      std::filesystem::remove(file);
    open(false);
    run(plan_.numeric ? "CREATE TABLE t(k REAL, v INTEGER)" : "CREATE TABLE t(k TEXT, v INTEGER)");
  }
  void open(bool wal) {
    close();
    sqlite3_open("o.sqlite", &db_);
    run("PRAGMA synchronous=OFF");
    run(wal ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=OFF");
    if (!wal) run("PRAGMA cache_size=-200000");
  }
  void close() {
    for (sqlite3_stmt* s : statements_) sqlite3_finalize(s);
    statements_.clear();
    if (db_ != nullptr) sqlite3_close(db_);
    db_ = nullptr;
  }
  void run(const char* sql) {
    if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) die(sqlite3_errmsg(db_));
  }
  void append() {
    sqlite3_stmt* s = prepare("INSERT INTO t VALUES(?,?)");
    for (const int key : plan_.keys) {
      bind(s, 1, key);
      sqlite3_bind_int(s, 2, key % 1000000);
      step(s, SQLITE_DONE);
    }
  }
  double seek() {
    sqlite3_stmt* s = prepare("SELECT v FROM t WHERE k=?");
    double sum = 0;
    for (const int key : plan_.lookups) {
      bind(s, 1, key);
      if (sqlite3_step(s) != SQLITE_ROW) die("SQLite misses a key");
      sum += sqlite3_column_double(s, 0);
      sqlite3_reset(s);
    }
    return sum;
  }
  double walk(int steps) {
    sqlite3_stmt* s = prepare("SELECT v FROM t INDEXED BY i WHERE k IS NOT NULL ORDER BY k");
    double sum = 0;
    for (; steps > 0 && sqlite3_step(s) == SQLITE_ROW; --steps) sum += sqlite3_column_double(s, 0);
    sqlite3_reset(s);
    return sum;
  }
  // Each step a transaction of its own, from the key where the last one ended.
  double step_by_step(int steps) {
    sqlite3_stmt* s = prepare("SELECT k, v FROM t WHERE k>? ORDER BY k LIMIT 1");
    double sum = 0;
    std::string at;
    double number = -1;
    for (; steps > 0; --steps) {
      if (plan_.numeric)
        sqlite3_bind_double(s, 1, number);
      else
        sqlite3_bind_text(s, 1, at.c_str(), -1, SQLITE_TRANSIENT);
      if (sqlite3_step(s) != SQLITE_ROW) break;
      sum += sqlite3_column_double(s, 1);
      if (plan_.numeric)
        number = sqlite3_column_double(s, 0);
      else
        at = reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
      sqlite3_reset(s);
    }
    return sum;
  }
  void change(int from, int to) {
    sqlite3_stmt* s = prepare("UPDATE t SET k=? WHERE k=?");
    for (int i = 0; i < plan_.changes(); ++i) {
      const int key = plan_.keys[static_cast<std::size_t>(i)];
      bind(s, 1, key + to);
      bind(s, 2, key + from);
      step(s, SQLITE_DONE);
    }
  }

 private:
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &s, nullptr) != SQLITE_OK) die(sqlite3_errmsg(db_));
    statements_.push_back(s);
    return s;
  }
  void bind(sqlite3_stmt* s, int i, int key) const {
    if (plan_.numeric)
      sqlite3_bind_double(s, i, key);
    else
      sqlite3_bind_text(s, i, key_text(key).c_str(), 10, SQLITE_TRANSIENT);
  }
  void step(sqlite3_stmt* s, int expected) {
    if (sqlite3_step(s) != expected) die(sqlite3_errmsg(db_));
    sqlite3_reset(s);
  }

  const Plan& plan_;
  sqlite3* db_ = nullptr;
  std::vector<sqlite3_stmt*> statements_;
};

// --- LMDB: the value lies beside its key.

class Lmdb {
 public:
  explicit Lmdb(const Plan& plan) : plan_(plan) {
    std::filesystem::remove_all("o.lmdb");
    std::filesystem::create_directory("o.lmdb");
    mdb_env_create(&env_);
    mdb_env_set_mapsize(env_, std::size_t{1} << 30);
    if (mdb_env_open(env_, "o.lmdb", MDB_NOSYNC, 0600) != 0) die("can't open LMDB");
    MDB_txn* txn = nullptr;
    mdb_txn_begin(env_, nullptr, 0, &txn);
    mdb_dbi_open(txn, nullptr, 0, &dbi_);
    for (const int key : plan.keys) {
      double value = key % 1000000;
      std::string text = bytes(key);
      MDB_val k{text.size(), text.data()}, v{sizeof value, &value};
      if (mdb_put(txn, dbi_, &k, &v, 0) != 0) die("LMDB refuses a key");
    }
    mdb_txn_commit(txn);
  }
  ~Lmdb() { mdb_env_close(env_); }
  Lmdb(const Lmdb&) = delete;
  Lmdb& operator=(const Lmdb&) = delete;

  double seek() {
    MDB_txn* txn = nullptr;
    mdb_txn_begin(env_, nullptr, MDB_RDONLY, &txn);
    double sum = 0;
    for (const int key : plan_.lookups) {
      std::string text = bytes(key);
      MDB_val k{text.size(), text.data()}, v{};
      if (mdb_get(txn, dbi_, &k, &v) != 0) die("LMDB misses a key");
      double value;
      std::memcpy(&value, v.mv_data, sizeof value);
      sum += value;
    }
    mdb_txn_abort(txn);
    return sum;
  }

 private:
  // Numbers as eight bytes that sort like them.
  std::string bytes(int key) const {
    if (!plan_.numeric) return key_text(key);
    std::string text(8, '\0');
    for (std::size_t i = 0; i < 4; ++i)
      text[7 - i] = static_cast<char>(static_cast<unsigned>(key) >> 8 * i);
    return text;
  }

  const Plan& plan_;
  MDB_env* env_ = nullptr;
  MDB_dbi dbi_ = 0;
};

// --- Measuring.

double best_of(int runs, const std::function<void()>& prepare, const std::function<void()>& work) {
  double best = 1e9;
  for (int run = 0; run < runs; ++run) {
    prepare();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - start;
    best = std::min(best, taken.count());
  }
  return best;
}

void report(const char* what, double ours, double theirs, int count, const char* peer = "SQLite") {
  std::printf("  %-34s %8.3f us   %-6s %8.3f us   ratio %.2f\n", what, ours / count, peer,
              theirs / count, ours / theirs);
  std::fflush(stdout);
}

void measure_building(const Plan& plan, Tables& tables, Sqlite& sqlite) {
  double ours = best_of(
      kRuns, [&] { tables.create(), tables.open(false, false), tables.build(); },
      [&] { tables.append(); });
  double theirs = best_of(
      kRuns, [&] { sqlite.create(), sqlite.run("CREATE INDEX i ON t(k)"), sqlite.run("BEGIN"); },
      [&] { sqlite.append(), sqlite.run("COMMIT"); });
  report("append with one order", ours, theirs, plan.n);
  ours = best_of(
      kRuns, [&] { close_all_areas(), tables.open(false, false); }, [&] { tables.build(); });
  close_all_areas();
  theirs = best_of(
      kRuns, [&] { sqlite.run("DROP INDEX IF EXISTS i"); },
      [&] { sqlite.run("CREATE INDEX i ON t(k)"); });
  report("build of an order", ours, theirs, plan.n);
}

void measure_exclusive(const Plan& plan, Tables& tables, Sqlite& sqlite) {
  const int lookups = static_cast<int>(plan.lookups.size());
  double sum = 0, other = 0, third = 0;
  Lmdb lmdb(plan);
  tables.open(false);
  sqlite.run("BEGIN");
  const auto nothing = [] {};
  double ours = best_of(kRuns, nothing, [&] { sum = tables.seek(); });
  double theirs = best_of(kRuns, nothing, [&] { other = sqlite.seek(); });
  const double mapped = best_of(kRuns, nothing, [&] { third = lmdb.seek(); });
  if (sum != other || sum != third) die("the seeks differ");
  report("exclusive seek, one field", ours, theirs, lookups);
  report("exclusive seek, one field", ours, mapped, lookups, "LMDB");
  ours = best_of(kRuns, nothing, [&] { sum = tables.walk(plan.n); });
  theirs = best_of(kRuns, nothing, [&] { other = sqlite.walk(plan.n); });
  if (sum != other) die("the walks differ");
  report("exclusive walk, one field", ours, theirs, plan.n);
  bool up = false;
  const auto turn = [&] { up = !up; };
  ours = best_of(kRuns + 1, turn, [&] { tables.change(up ? 0 : 5, up ? 5 : 0); });
  theirs = best_of(kRuns + 1, turn, [&] { sqlite.change(up ? 0 : 5, up ? 5 : 0); });
  report("exclusive change of a key", ours, theirs, plan.changes());
  sqlite.run("COMMIT");
  close_all_areas();
}

void measure_shared(const Plan& plan, Tables& tables, Sqlite& sqlite) {
  const int steps = std::min(plan.n, kLookups);
  const int lookups = static_cast<int>(plan.lookups.size());
  double sum = 0, other = 0;
  tables.open(true);
  sqlite.open(true);
  const auto nothing = [] {};
  double ours = best_of(kRuns, nothing, [&] { sum = tables.seek(); });
  double theirs = best_of(kRuns, nothing, [&] { other = sqlite.seek(); });
  if (sum != other) die("the shared seeks differ");
  report("shared seek, one field", ours, theirs, lookups);
  ours = best_of(kRuns, nothing, [&] { sum = tables.walk(steps); });
  theirs = best_of(kRuns, nothing, [&] { other = sqlite.step_by_step(steps); });
  if (sum != other) die("the shared walks differ");
  report("shared skip, one field", ours, theirs, steps);
  bool up = false;
  const auto turn = [&] { up = !up; };
  ours = best_of(kRuns + 1, turn, [&] { tables.change(up ? 0 : 5, up ? 5 : 0); });
  theirs = best_of(kRuns + 1, turn, [&] { sqlite.change(up ? 0 : 5, up ? 5 : 0); });
  report("shared change of a key", ours, theirs, plan.changes());
  close_all_areas();
}

Plan make_plan(int n, bool numeric, bool random) {
  Plan plan{n, numeric, std::vector<int>(static_cast<std::size_t>(n)), {}};
  std::iota(plan.keys.begin(), plan.keys.end(), 1);
  for (int& key : plan.keys) key *= 10;
  std::mt19937 engine(5);
  if (random) std::shuffle(plan.keys.begin(), plan.keys.end(), engine);
  for (int i = 0; i < kLookups; ++i)
    plan.lookups.push_back(10 * (1 + static_cast<int>(engine() % static_cast<unsigned>(n))));
  return plan;
}

}  // namespace

int main(int argc, char** argv) {
  init_macro();
  start_library({kFunctions.table(), kModules});
  install_signal_handlers();
  init_db();
  std::string directory = std::filesystem::temp_directory_path() / "orders-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr || chdir(directory.c_str()) != 0) die("no directory");
  std::vector<int> sizes;
  for (int i = 1; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
  if (sizes.empty()) sizes = {10000, 100000, 1000000};
  for (const int n : sizes)
    for (const bool numeric : {false, true})
      for (const bool random : {true, false}) {
        std::printf("%d %s keys, inserted in %s order\n", n, numeric ? "numeric" : "character",
                    random ? "random" : "ascending");
        const Plan plan = make_plan(n, numeric, random);
        Tables tables(plan);
        Sqlite sqlite(plan);
        measure_building(plan, tables, sqlite);
        measure_exclusive(plan, tables, sqlite);
        measure_shared(plan, tables, sqlite);
      }
  std::filesystem::current_path("/");
  std::filesystem::remove_all(directory);
  return 0;
}
