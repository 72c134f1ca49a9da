#include "tests/db/table_test.h"

#include <sys/wait.h>
#include <unistd.h>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/memvars.h"
#include "core/symbols.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"

namespace tarnel::testing {
namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
[[maybe_unused]] const auto* const kRuntime =
    start_before_tests({kFunctions.table(), kModules}, [] {
      init_macro();
      init_db();
    });

// The error block: what the driver reports joins what the raise calls record.
Var* record_object(std::int32_t, Var** argv, Var**) {
  if (integer_of(get_ivar(argv[0], "gencode")) == 902 && !settings().developer) return nil_value();
  raised_errors().push_back({integer_of(get_ivar(argv[0], "gencode")),
                             integer_of(get_ivar(argv[0], "severity")),
                             std::string(text_of(get_ivar(argv[0], "descriptio")))});
  return nil_value();
}

}  // namespace

Var* text(std::string_view value) {
  return TMP_TEXT(value);
}
Var* number(double value, int decimals) {
  return TMP_NUM(value, decimals);
}
Var* integer(std::int32_t value) {
  return TMP_INT(value);
}

Var* structure(std::initializer_list<FieldRow> rows) {
  Var* array = NEW_TEMP();
  cscreara(array, static_cast<std::int32_t>(rows.size()), kAllNil);
  std::int32_t i = 0;
  for (const FieldRow& row : rows) {
    Var* cells = NEW_TEMP();
    cscrearr(cells, 4, kCopyValues,
             {text(row.name), text(row.type), integer(row.length), integer(row.decimals)});
    CPY_VAR(element(array, ++i), cells);
  }
  return array;
}

Var* call(const char* function, std::initializer_list<Var*> arguments) {
  std::vector<Var*> argv(arguments);
  argv.push_back(nullptr);
  return CALL_VECTOR(GET_FUNC(function), static_cast<std::int32_t>(arguments.size()), argv.data());
}
bool yes(const char* function, std::initializer_list<Var*> arguments) {
  const Var* result = call(function, arguments);
  return result->type == 'L' && truth_of(result);
}
std::int32_t count(const char* function, std::initializer_list<Var*> arguments) {
  return integer_of(call(function, arguments));
}

std::string get(const char* field) {
  return show(RESOLVE_NAME(ADD_SYMBOL(field)));
}
void put(const char* field, Var* value) {
  CPY_VAR(RESOLVE_NAME(ADD_SYMBOL(field)), value);
}

std::string run(const std::string& expressions) {
  return show(EVAL_ANY(ogmakecb(expressions)));
}

bool create(const char* file, std::initializer_list<FieldRow> rows) {
  return yes("dbcreate", {text(file), structure(rows)});
}

bool open(const char* file, Use use, const char* alias) {
  return yes("dbusearea",
             {true_value(), nil_value(), text(file), alias != nullptr ? text(alias) : nil_value(),
              logical(use != Use::kExclusive), logical(use == Use::kReadOnly)});
}

DbfIdx& table() {
  return dbf_of(current_server());
}

std::string le16(unsigned value) {
  return {static_cast<char>(value & 255), static_cast<char>(value >> 8 & 255)};
}
std::string le32(unsigned value) {
  return le16(value & 65535) + le16(value >> 16);
}

int run_processes(int n, const std::function<bool(int)>& body) {
  int gate[2];
  if (pipe(gate) != 0) return n;
  std::vector<pid_t> children;
  for (int i = 0; i < n; ++i) {
    const pid_t pid = fork();
    if (pid == 0) {
      char c;
      close(gate[1]);
      while (read(gate[0], &c, 1) > 0) continue;  // until the parent opens the gate
      const bool ok = body(i);
      close_all_areas();
      _exit(ok ? 0 : 1);
    }
    children.push_back(pid);
  }
  close(gate[0]);
  close(gate[1]);
  int failed = 0;
  for (const pid_t pid : children) failed += ended_well(pid) ? 0 : 1;
  return failed;
}

bool elsewhere(const std::function<bool()>& work) {
  return run_processes(1, [&](int) { return work(); }) == 0;
}
bool elsewhere(const std::string& expressions, Use use) {
  return elsewhere(
      [&] { return open("t", use) && run(expressions) == "L T" && take_errors().empty(); });
}

pid_t start_process(const std::function<void()>& body) {
  const pid_t pid = fork();
  if (pid == 0) {
    body();
    close_all_areas();
    _exit(0);
  }
  return pid;
}

bool ended_well(pid_t pid) {
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TableTest::TableTest() {
  call("errorblock", {TMP_BLOCK(record_object)});
}

void TableTest::TearDown() {
  close_all_areas();
  EXPECT_EQ(take_errors(), "");
}

}  // namespace tarnel::testing
