// Any bytes as a table with its memo file: opened, walked, read, changed and closed. The input is
// two bytes, the size of the memo file little-endian, then the memo file, then the table.
#include <algorithm>
#include <string_view>

#include "db/area.h"
#include "db/codec.h"
#include "fuzz/tables.h"

using namespace tarnel;

namespace {

constexpr int kSteps = 40, kFields = 40;

bool yes(const char* function) {
  return truth_of(call(function));
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
  start_in_folder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view files(reinterpret_cast<const char*>(data) + 2, size - 2);
  const std::size_t memo = std::min<std::size_t>(get_u16le(data), size - 2);
  for (const bool shared : {true, false}) {
    testing::write_file("fuzz.dbt", files.substr(0, memo));
    testing::write_file("fuzz.dbf", files.substr(memo));
    use_table(shared);
  }
  return 0;
}
