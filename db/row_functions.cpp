#include "db/row_functions.h"

#include <string>
#include <vector>

#include "core/arrays.h"
#include "core/classes.h"
#include "core/errors.h"
#include "core/stacks.h"
#include "db/dbfidx/scan/conditions.h"
#include "db/front.h"
#include "db/table_rows.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

std::int32_t field_count(Var* server) {
  return integer_of(get_ivar(server, "fcount"));
}

// The shown records as text in a mode, after an error the error value.
Var* area_text(std::int32_t argc, Var** argv, RowMode mode, const char* function) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return error_value();
  const CellHold held(server);  // a condition may close the table
  RowRequest request;
  request.from_top = true;
  if (Var* condition = argument_or_nil(argc, argv, 0); !is_nil(condition)) {
    request.own_scope = true;
    request.for_block = block_of(condition);
    if (request.for_block == nullptr)
      return is_text(condition) ? error_value()
                                : RT_ERROR(312, format_text("%s(): takes a condition", function));
  }
  std::int64_t unread = 0;
  request.unread_memos = &unread;
  for (std::int32_t i = 1; i <= field_count(server); ++i) request.fields.push_back(i);
  ByteBuffer out;
  const std::vector<RowColumn> columns = columns_of(server, request);
  RowForm form;
  form.mode = mode;
  WrittenRows rows(form, columns, "", out);
  const bool whole = give_records(
      server, request,
      [&](std::span<const RowCell> cells) {
        rows.add(cells);
        return out.text().size() <= std::size_t{kMaxTextLength} && unread == 0;
      },
      function);
  if (!truth_of(get_ivar(server, "used")))
    return RT_ERROR(320, format_text("%s(): the condition closed the table", function));
  const bool too_long = out.text().size() > std::size_t{kMaxTextLength};
  if (!whole && !too_long) return error_value();  // the error was raised where the read failed
  rows.finish();
  std::string_view text = out.text();
  if (mode == RowMode::kJson) text.remove_suffix(1);  // the end of a line is no part of a value
  return TMP_TEXT(text);
}

// Where the values of a row go. Empty after an error.
struct Target {
  std::int32_t field;
  Var* value;
};
bool is_pair(const Var* value) {
  return value->type == 'A' && element_count(value) == 2 && is_text(element(value, 1));
}
bool find_targets(Var* server, const Var* row, std::vector<Target>& targets) {
  for (std::int32_t i = 1; i <= element_count(row); ++i) {
    Target target = {i, element(row, i)};
    if (is_pair(target.value)) {
      Var* name = element(target.value, 1);
      target = {integer_of(front_call(server, {"fieldpos", kMethod}, 1, &name)),
                element(target.value, 2)};
    }
    if (target.field < 1 || target.field > field_count(server)) {
      RT_ERROR(320, format_text("ARRAYTOROW(): no field for element %d", i));
      return false;
    }
    if (is_nil(target.value)) continue;
    if (!is_number_or_logical(target.value) && !is_text(target.value) &&
        target.value->type != 'D') {
      RT_ERROR(312, format_text("ARRAYTOROW(): element %d", i));
      return false;
    }
    targets.push_back({target.field, ARG_VAR(target.value)});
  }
  return true;
}

}  // namespace

Var* areacsv(std::int32_t argc, Var** argv) {
  return area_text(argc, argv, RowMode::kCsv, "AREACSV");
}
Var* areajson(std::int32_t argc, Var** argv) {
  return area_text(argc, argv, RowMode::kJson, "AREAJSON");
}

Var* rowtoarray(std::int32_t, Var**) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return error_value();
  const CellHold held(server);
  const std::int32_t count = field_count(server);
  Var* row = cscreara(NEW_TEMP(), count, kAllNil);
  for (std::int32_t i = 1; i <= count; ++i) {
    const TempsMark mark;
    Var* number = TMP_INT(i);
    CPY_VAR(element(row, i), front_call(server, {"fieldget", kMethod}, 1, &number));
  }
  return row;
}

Var* rowpairs(std::int32_t argc, Var** argv) {
  Var* row = rowtoarray(argc, argv);
  if (is_error(row)) return row;
  Var* server = current_server();
  for (std::int32_t i = 1; i <= element_count(row); ++i) {
    const TempsMark mark;
    Var* number = TMP_INT(i);
    Var* name = front_call(server, {"fieldname", kMethod}, 1, &number);
    Var* pair = NEW_TEMP();
    cscrearr(pair, 2, kCopyValues, {name, element(row, i)});
    CPY_VAR(element(row, i), pair);
  }
  return row;
}

Var* arraytorow(std::int32_t argc, Var** argv) {
  Var* server = front_server(NoArea::kError322);
  if (server == nullptr) return false_value();
  if (!arg_is(argc, argv, 0, "A")) {
    RT_ERROR(312, "ARRAYTOROW(): takes an array");
    return false_value();
  }
  const CellHold held(server);
  std::vector<Target> targets;
  if (!find_targets(server, argv[0], targets)) return false_value();
  for (const Target& target : targets) {
    Var* passed[] = {TMP_INT(target.field), target.value};
    const Var* stored = front_call(server, {"fieldput", kMethod}, 2, passed);
    if (is_nil(stored) || is_error(stored)) return false_value();
  }
  return true_value();
}

}  // namespace tarnel
