// Any bytes as CSV, TSV or JSON: no crash, no hang, and every row is one of the file. The first byte chooses the
// form. Each value then goes into a field of each type, which holds no more bytes than it has, and what is written of
// a row of CSV or TSV is read as the same row.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "console/import_reader.h"
#include "core/core_modules.h"
#include "core/runtime.h"
#include "lib/cell_text.h"
#include "lib/delimited_rows.h"
#include "lib/lib_modules.h"

namespace {

using namespace tarnel;

constexpr auto kModules = join_modules(kCoreModules, kLibModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

constexpr std::uint8_t kGuard = 0xA5;

void expect(bool holds) {
  if (!holds) std::abort();
}

void put(const InputValue& value) {
  for (const auto& [type, length, decimals] :
       {std::tuple{'C', 5, 0}, {'N', 7, 2}, {'N', 3, 0}, {'D', 8, 0}, {'L', 1, 0}}) {
    const dbf::Field field{.name = "F",
                           .type = type,
                           .length_byte = static_cast<std::uint8_t>(length),
                           .decimals = static_cast<std::uint8_t>(decimals),
                           .offset = 0,
                           .length = static_cast<std::uint16_t>(length)};
    std::uint8_t bytes[16];
    std::memset(bytes, kGuard, sizeof bytes);
    put_input(field, bytes, value, false);
    expect(bytes[length] == kGuard);
  }
  shown_input(value);
}

void expect_same_again(const std::vector<InputValue>& row, RowNotation notation) {
  const bool csv = notation == RowNotation::kCsv;
  ByteBuffer out;
  out.put("names\n");
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (i > 0) out.put(csv ? ',' : '\t');
    (csv ? put_csv : put_tsv)(out, {CellKind::kText, row[i].text});
  }
  out.put('\n');
  DelimitedReader reader(out.text(), notation);
  std::vector<InputValue> again;
  expect(reader.next(again) && reader.next(again) && reader.fault().empty());
  expect(again.size() == row.size());
  for (std::size_t i = 0; i < row.size(); ++i) expect(again[i].text == row[i].text);
  expect(!reader.next(again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const bool started = (start_library({kFunctions.table(), kModules}), true);
  if (!started || size < 1) return 0;
  constexpr ImportForm kForms[] = {ImportForm::kCsv, ImportForm::kTsv, ImportForm::kJson};
  const ImportForm form = kForms[data[0] % std::size(kForms)];
  const std::string_view text{reinterpret_cast<const char*>(data) + 1, size - 1};
  ImportReader reader(text, form);
  std::size_t rows = 0;
  std::int64_t line = 0;
  for (std::vector<InputValue> row; reader.next(row);) {
    expect(++rows <= size && reader.line() >= line);
    expect(!reader.fault().empty() || row.size() <= reader.columns().size());
    line = reader.line();
    if (form != ImportForm::kJson && reader.fault().empty())
      expect_same_again(row, form == ImportForm::kCsv ? RowNotation::kCsv : RowNotation::kTsv);
    for (const InputValue& value : row) put(value);
  }
  return 0;
}
