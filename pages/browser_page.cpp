// example6: a table as an HTML table, knowing nothing of its fields beforehand.
#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"
#include "frontend/toolkit.h"
#include "lib/date_functions.h"
#include "lib/number_text.h"
#include "lib/numbers.h"
#include "lib/strings.h"
#include "lib/value_text.h"
#include "lib/values.h"
#include "pages/pages.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "example6";

void write_cell(const char* before, Var* text, const char* after) {
  CALL_SIMPLE(qout, csuaddc(cscaddu(before, text), after, false));
}

// A copy of a field's value. A memo stays one, where copies are plain texts else: the page names the
// type of what can be of any length.
Var* value_of_field(std::int32_t number) {
  Var* cell = CALL_SIMPLE(fieldget, TMP_INT(number));
  Var* value = ARG_VAR(cell);
  if (cell->type == 'M') value->type = 'M';
  return value;
}

}  // namespace

Var* ntrim(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "ntrim", 8, argc);
  Var* value = p.param(argv, 'N');
  LINE_HOOK(9);
  return p.result(CALL_SIMPLE(alltrim, CALL_SIMPLE(str, value)), 'C');
}

Var* asstring(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "asstring", 14, argc);
  Var* value = p.param(argv);
  LINE_HOOK(17);
  Var* type = CALL_SIMPLE(valtype, value);
  switch (text_of(type).front()) {
    case 'C':
      return p.result(value, 'C');
    case 'N':
      return p.result(CALL_SIMPLE(ntrim, value), 'C');
    case 'L':
      return p.result(TMP_STR(csifu(value) ? "y" : "n"), 'C');
    case 'D':
      return p.result(CALL_SIMPLE(dtoc, value), 'C');
    default:
      return p.result(csuaddc(cscaddu("[type ", type), "?]", false), 'C');
  }
}

Var* example6(std::int32_t argc, Var**) {
  Procedure p(kModule, "example6", 36, argc);
  LINE_HOOK(38);
  CALL_SIMPLE(tnhtml);
  CALL_SIMPLE(tnbody);
  LINE_HOOK(41);
  CALL_SIMPLE(dbusearea, false_value(), nil_value(), TMP_STR("user"), nil_value(), true_value(),
              true_value());
  LINE_HOOK(43);
  CALL_SIMPLE(qout, TMP_STR("<table>"));
  CALL_SIMPLE(qout, TMP_STR("<caption>Example table-browser output</caption>"));
  const std::int32_t fields = integer_of(CALL_SIMPLE(front_fcount));
  for (std::int32_t i = 1; i <= fields; ++i) {
    LINE_HOOK(46);
    write_cell("<th>", CALL_SIMPLE(front_fieldname, TMP_INT(i)), "</th>");
    p.next_iteration(45);
  }
  while (!csifu(CALL_SIMPLE(front_eof))) {
    LINE_HOOK(49);
    CALL_SIMPLE(qout, TMP_STR("<tr>"));
    for (std::int32_t i = 1; i <= fields; ++i) {
      LINE_HOOK(51);
      Var* text = CALL_SIMPLE(asstring, value_of_field(i));
      write_cell("<td>", CALL_SIMPLE(alltrim, text), "</td>");
      p.next_iteration(50);
    }
    LINE_HOOK(53);
    CALL_SIMPLE(qout, TMP_STR("</tr>"));
    CALL_SIMPLE(front_dbskip, TMP_INT(1));
    p.next_iteration(48);
  }
  LINE_HOOK(57);
  CALL_SIMPLE(front_dbcloseare);
  CALL_SIMPLE(qout, TMP_STR("<tr>END OF DATA</tr>"));
  CALL_SIMPLE(qout, TMP_STR("</table>"));
  LINE_HOOK(60);
  CALL_SIMPLE(tnbodyend);
  CALL_SIMPLE(tnhtmlend);
  return p.end();
}

}  // namespace tarnel
