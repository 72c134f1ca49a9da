#include "lib/csv_functions.h"

#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/errors.h"
#include "core/signals.h"
#include "core/stacks.h"
#include "lib/cell_text.h"
#include "lib/delimited_rows.h"

namespace tarnel {

Var* tocsv(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "A")) return RT_ERROR(312, "TOCSV(): takes an array of rows");
  ByteBuffer out;
  std::string room;
  for (std::int32_t i = 1; i <= element_count(argv[0]); ++i) {
    const Var* row = element(argv[0], i);
    if (row->type != 'A') return RT_ERROR(312, format_text("TOCSV(): element %d is no row", i));
    for (std::int32_t j = 1; j <= element_count(row); ++j) {
      if (j > 1) out.put(',');
      if (std::string_view("CMNFILDU").find(element(row, j)->type) == std::string_view::npos)
        return RT_ERROR(
            203, format_text("TOCSV(): a value of type '%c' has no CSV", element(row, j)->type));
      if (const RowCell cell = cell_of_value(element(row, j), room);
          cell.kind != CellKind::kNothing)
        put_csv(out, cell);
    }
    out.put('\n');
  }
  return TMP_TEXT(out.text());
}

Var* fromcsv(std::int32_t argc, Var** argv) {
  if (!arg_is(argc, argv, 0, "CM")) return RT_ERROR(312, "FROMCSV(): takes a text");
  const std::string text(text_of(argv[0]));
  DelimitedReader reader(text, RowNotation::kCsv);
  Var* rows = cscreara(NEW_TEMP(), 0, kAllNil);
  std::int32_t count = 0;
  for (std::vector<InputValue> values; reader.next(values);) {
    look_at_signals();
    const std::string place = format_text("FROMCSV(): line %d: ", static_cast<int>(reader.line()));
    if (!reader.fault().empty()) return RT_ERROR(320, place + reader.fault());
    if (count == kMaxElements || values.size() > std::size_t{kMaxElements})
      return RT_ERROR(320, place + "more than an array has elements");
    const TempsMark mark;
    Var* row = cscreara(NEW_TEMP(), static_cast<std::int32_t>(values.size()), kAllNil);
    for (std::size_t i = 0; i < values.size(); ++i)
      SET_STR(element(row, static_cast<std::int32_t>(i) + 1), values[i].text);
    cscrearr(rows, ++count, kKeep, {row});
  }
  return rows;
}

}  // namespace tarnel
