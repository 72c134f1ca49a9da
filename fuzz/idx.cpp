// An index file of any content beside a sound table: an error with a number or some answer, but no
// crash and no hang. The first byte chooses how the table is used, the rest is the file.
#include <cstdlib>
#include <string>

#include "core/arrays.h"
#include "db/area.h"
#include "fuzz/tables.h"

namespace {

using namespace tarnel;
using testing::read_file, testing::write_file;

constexpr int kRecords = 60, kSteps = 300;

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
      write_file(std::string(seeds) + "/order" + std::to_string(n),
                 static_cast<char>(n % 3) + read_file("fuzz.idx"));
      ++n;
    }
  }
  close_all_areas();
  table_bytes = read_file("fuzz.dbf");
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
  start_in_folder();
  prepare();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::int32_t mark = temp_top();
  write_file("fuzz.dbf", table_bytes);
  write_file("fuzz.idx", {reinterpret_cast<const char*>(data) + 1, size - 1});
  use_order(data[0]);
  POP_TEMPS(mark);
  return 0;
}
