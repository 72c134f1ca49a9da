// An index file of any content beside a sound table: an error with a number or some answer, but no
// crash and no hang. The first byte chooses how the table is used, the rest is the file.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "core/arrays.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/runtime.h"
#include "core/stacks.h"
#include "db/area.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"
#include "macro/macro.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kRecords = 60, kSteps = 300;

Var* call(const char* function, std::initializer_list<Var*> arguments = {}) {
  std::array<Var*, 8> argv{};
  std::copy(arguments.begin(), arguments.end(), argv.begin());
  return GET_FUNC(function)(static_cast<std::int32_t>(arguments.size()), argv.data());
}

Var* go_on(std::int32_t, Var**, Var**) {
  return nil_value();
}

void fill_record(int i) {
  CPY_VAR(RESOLVE_NAME(ADD_SYMBOL("c")), TMP_TEXT(std::to_string(i * 7 % 100)));
  CPY_VAR(RESOLVE_NAME(ADD_SYMBOL("n")), TMP_INT(i * 11 % 50));
}

void create_table() {
  Var* rows = NEW_TEMP();
  cscreara(rows, 2, kAllNil);
  cscrearr(element(rows, 1), 4, kCopyValues,
           {TMP_TEXT("c"), TMP_TEXT("C"), TMP_INT(10), TMP_INT(0)});
  cscrearr(element(rows, 2), 4, kCopyValues,
           {TMP_TEXT("n"), TMP_TEXT("N"), TMP_INT(6), TMP_INT(0)});
  call("dbcreate", {TMP_TEXT("fuzz"), rows});
}

std::string table_bytes;

// The table as it is before each file, and with FUZZ_SEEDS set its orders as seeds there.
void prepare() {
  create_table();
  call("dbusearea", {true_value(), nil_value(), TMP_TEXT("fuzz"), nil_value(), false_value()});
  for (int i = 1; i <= kRecords; ++i) {
    call("dbappend");
    fill_record(i);
  }
  if (const char* seeds = std::getenv("FUZZ_SEEDS"); seeds != nullptr) {
    int n = 0;
    for (const char* key : {"c", "n", "c + str(n)", "space(228) + c", "n > 5"}) {
      call("dbcreatein", {TMP_TEXT("fuzz"), TMP_TEXT(key), nil_value(), logical(n % 2 != 0)});
      call("ordlistcle");
      std::ifstream in("fuzz.idx", std::ios::binary);
      std::ofstream out(std::string(seeds) + "/order" + std::to_string(n), std::ios::binary);
      out << static_cast<char>(n++ % 3) << in.rdbuf();
    }
  }
  close_all_areas();
  std::ifstream in("fuzz.dbf", std::ios::binary);
  table_bytes.assign(std::istreambuf_iterator<char>(in), {});
}

void use_order(unsigned use) {
  const bool shared = (use & 1) != 0, read_only = (use & 2) != 0;
  call("dbusearea", {true_value(), nil_value(), TMP_TEXT("fuzz"), nil_value(), logical(shared),
                     logical(read_only)});
  call("ordlistadd", {TMP_TEXT("fuzz")});
  for (int i = 0; i < kSteps && !truth_of(call("eof")); ++i) call("dbskip");
  call("dbgobottom");
  call("dbskip", {TMP_INT(-kSteps)});
  for (const char* key : {"7", "", "99"}) call("dbseek", {TMP_TEXT(key), true_value()});
  call("dbseek", {TMP_INT(11)});
  call("ordkeycoun");
  if (!read_only) {
    for (int i = 0; i < 40; ++i) {
      call("dbappend");
      fill_record(i);
      call("dbgoto", {TMP_INT(i + 1)});
      call("rlock");
      fill_record(i * 3);
    }
    call("dbgotop");
    if (!shared) call("dbreindex");
  }
  close_all_areas();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  init_macro();
  start_library({kFunctions.table(), kModules});
  init_db();
  static std::string directory = std::filesystem::temp_directory_path() / "fuzz-idx-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr || chdir(directory.c_str()) != 0) std::abort();
  std::atexit([] { std::filesystem::remove_all(directory); });
  call("errorblock", {TMP_BLOCK(go_on)});
  prepare();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::int32_t mark = temp_top();
  std::ofstream("fuzz.dbf", std::ios::binary) << table_bytes;
  std::ofstream("fuzz.idx", std::ios::binary)
      .write(reinterpret_cast<const char*>(data) + 1, static_cast<std::streamsize>(size - 1));
  use_order(data[0]);
  POP_TEMPS(mark);
  return 0;
}
