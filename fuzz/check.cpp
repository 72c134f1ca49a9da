// A table of which one file has any content, checked and mended. The first byte chooses the file, the rest is
// what it holds. A check writes nothing; behind a repair the record file has no fault but values that are none
// of their type, which a repair leaves as they are.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#include "core/arrays.h"
#include "core/file_ops.h"
#include "db/area.h"
#include "db/dbfidx/check/check.h"
#include "db/dbfidx/check/repair.h"
#include "fuzz/tables.h"

namespace {

using namespace tarnel;
using testing::read_file, testing::write_file;

constexpr int kRecords = 30;
constexpr const char* kFiles[] = {"t.dbf", "t.dbt", "t.idx"};
constexpr std::string_view kStays[] = {": no number",       ": no date",
                                       ": neither T nor F", ": a name that another field has",
                                       ": note: ",          " more: "};

void create_table() {
  constexpr struct {
    const char *name, *type;
    int length, decimals;
  } kFields[] = {{"c", "C", 10, 0}, {"n", "N", 6, 1}, {"f", "F", 8, 0},
                 {"d", "D", 8, 0},  {"l", "L", 1, 0}, {"m", "M", 10, 0}};
  Var* rows = NEW_TEMP();
  cscreara(rows, static_cast<std::int32_t>(std::size(kFields)), kAllNil);
  for (std::int32_t i = 0; const auto& field : kFields)
    cscrearr(element(rows, ++i), 4, kCopyValues,
             {TMP_TEXT(field.name), TMP_TEXT(field.type), TMP_INT(field.length),
              TMP_INT(field.decimals)});
  call("dbcreate", {TMP_TEXT("t"), rows});
}

std::string sound[std::size(kFiles)];

// The sound files, and with FUZZ_SEEDS set the seeds there.
void prepare() {
  create_table();
  call("dbusearea", {true_value(), nil_value(), TMP_TEXT("t"), nil_value(), false_value()});
  for (int i = 1; i <= kRecords; ++i) {
    call("dbappend");
    CPY_VAR(RESOLVE_NAME(ADD_SYMBOL("c")), TMP_TEXT(std::to_string(i * 7 % 100)));
    CPY_VAR(RESOLVE_NAME(ADD_SYMBOL("n")), TMP_INT(i));
    if (i % 5 == 0)
      CPY_VAR(RESOLVE_NAME(ADD_SYMBOL("m")),
              TMP_TEXT(std::string(static_cast<std::size_t>(i * 15), 'm')));
  }
  call("dbcreatein", {TMP_TEXT("t"), TMP_TEXT("c")});
  close_all_areas();
  const char* seeds = std::getenv("FUZZ_SEEDS");
  for (std::size_t i = 0; i < std::size(kFiles); ++i) {
    sound[i] = read_file(kFiles[i]);
    if (seeds != nullptr)
      write_file(std::string(seeds) + "/" + kFiles[i], static_cast<char>(i) + sound[i]);
  }
}

// The lines that tell of the record file what a repair should have mended.
int left_over() {
  int lines = 0;
  check_table("t", {}, [&](const std::string& line) {
    lines += line.starts_with("t.dbf:") &&
             std::none_of(std::begin(kStays), std::end(kStays), [&](std::string_view stays) {
               return line.find(stays) != std::string::npos;
             });
  });
  return lines;
}

void insist(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

void check_and_mend(std::size_t which) {
  const std::string bytes = read_file(kFiles[which]);
  static_cast<void>(left_over());
  insist(read_file(kFiles[which]) == bytes, "a check wrote");
  bool mended = false;
  {
    TableRepair repair("t", [](const std::string&) {});
    mended = repair.plan() && repair.run();
  }
  insist(!mended || left_over() == 0, "a repair left damage");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  start_in_folder();
  file_ops().fsync = [](int) { return 0; };  // what reaches the disk is not looked at here
  prepare();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::int32_t mark = temp_top();
  const std::size_t which = data[0] % std::size(kFiles);
  for (std::size_t i = 0; i < std::size(kFiles); ++i) write_file(kFiles[i], sound[i]);
  write_file(kFiles[which], {reinterpret_cast<const char*>(data) + 1, size - 1});
  check_and_mend(which);
  POP_TEMPS(mark);
  return 0;
}
