// Any bytes as a table with its memo file: opened, walked, read, changed and closed. The input is
// two bytes, the size of the memo file little-endian, then the memo file, then the table.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "core/blocks.h"
#include "core/core_modules.h"
#include "core/error_object.h"
#include "core/stacks.h"
#include "db/area.h"
#include "db/codec.h"
#include "db/db.h"
#include "db/db_modules.h"
#include "lib/lib_modules.h"

using namespace tarnel;

namespace {

constexpr auto kModules = join_modules(kDbModules, kLibModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);
constexpr int kSteps = 40, kFields = 40;

Var* ignore_error(std::int32_t, Var**, Var**) {
  return nil_value();
}

Var* call(const char* function, std::initializer_list<Var*> arguments = {}) {
  std::vector<Var*> argv(arguments);
  argv.push_back(nullptr);
  return GET_FUNC(function)(static_cast<std::int32_t>(arguments.size()), argv.data());
}

bool yes(const char* function) {
  return truth_of(call(function));
}

void write_file(const char* name, const std::uint8_t* bytes, std::size_t n) {
  std::FILE* file = std::fopen(name, "wb");
  if (file == nullptr || std::fwrite(bytes, 1, n, file) != n) std::abort();
  std::fclose(file);
}

void read_record(std::int32_t fields) {
  for (std::int32_t i = 1; i <= fields; ++i) call("fieldget", {TMP_INT(i)});
  yes("deleted");
}

void change_record(std::int32_t fields) {
  Var* values[] = {TMP_STR("text"), TMP_NUM(12.5, 1), TMP_DATE(730485), true_value()};
  for (std::int32_t i = 1; i <= fields; ++i)
    for (Var* value : values) call("fieldput", {TMP_INT(i), value});
}

void use_table(bool shared) {
  const std::int32_t mark = temp_top();
  if (truth_of(call("dbusearea",
                    {true_value(), nil_value(), TMP_STR("fuzz"), nil_value(), logical(shared)}))) {
    const std::int32_t fields = std::min(kFields, integer_of(call("fcount")));
    for (int step = 0; step < kSteps && !yes("eof"); ++step) {
      read_record(fields);
      call("dbskip");
    }
    call("dbgobottom");
    call("rlock");
    change_record(fields);
    call("dbcommit");
    call("dbappend");
    change_record(fields);
    read_record(fields);
    call("dbskip", {TMP_INT(-3)});
    read_record(fields);
    call("dbstruct");
    call("lupdate");
  }
  close_all_areas();
  POP_TEMPS(mark);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  init_db();
  start_library({kFunctions.table(), kModules});
  call("errorblock", {TMP_BLOCK(ignore_error)});
  static std::string directory = std::filesystem::temp_directory_path() / "fuzz-dbf-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) return 1;
  std::filesystem::current_path(directory);
  std::atexit([] { std::filesystem::remove_all(directory); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t memo = std::min<std::size_t>(get_u16le(data), size - 2);
  for (const bool shared : {true, false}) {
    write_file("fuzz.dbt", data + 2, memo);
    write_file("fuzz.dbf", data + 2 + memo, size - 2 - memo);
    use_table(shared);
  }
  return 0;
}
