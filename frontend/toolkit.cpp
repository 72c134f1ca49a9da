#include "frontend/toolkit.h"

#include <string>

#include "core/arrays.h"
#include "core/blocks.h"
#include "core/frame.h"
#include "core/operators.h"
#include "core/output.h"
#include "lib/strings.h"
#include "lib/value_text.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "tnfunc";

// left + value + right; a value that is no text raises the error of the concatenation.
Var* wrap(const char* left, Var* value, const char* right) {
  return csuaddc(cscaddu(left, value), right, false);
}

// A procedure whose whole work is one fixed line.
Var* write_fixed(const char* proc, std::int32_t line, std::int32_t argc, const char* text) {
  Procedure p(kModule, proc, line, argc);
  LINE_HOOK(line + 1);
  write_line(text);
  return p.result(true_value());
}

// {|x| x[1] == cKey}
Var* key_equals(std::int32_t argc, Var** argv, Var** locals) {
  Procedure p(kModule, "cb_1_124_2", 124, argc);
  Var* pair = p.param(argv);
  return p.result(csueequu(csgetarr(pair, 1), locals[0]));
}

}  // namespace

void write_line(std::string_view text) {
  write_output(text);
  write_output("\n");
}

void write_line(Var* value) {
  NumberBuffer buffer;
  write_line(varToText(value, buffer));
}

Var* fastcgi(std::int32_t, Var**) {
  return false_value();
}

Var* tnhtml(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnhtml", 10, argc);
  Var* title = p.param(argv);
  LINE_HOOK(12);
  write_line("<HTML>");
  if (title->type == 'C') write_line(wrap("<TITLE>", title, "</TITLE><BR>"));
  return p.result(true_value());
}

Var* tnbody(std::int32_t argc, Var**) {
  return write_fixed("tnbody", 20, argc, "<BODY>");
}
Var* tnhtmlend(std::int32_t argc, Var**) {
  return write_fixed("tnhtmlend", 26, argc, "</HTML>");
}
Var* tnbodyend(std::int32_t argc, Var**) {
  return write_fixed("tnbodyend", 32, argc, "</BODY>");
}
Var* tnhrule(std::int32_t argc, Var**) {
  return write_fixed("tnhrule", 38, argc, "<HR>");
}

Var* tnem(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnem", 44, argc);
  Var* text = p.param(argv);
  LINE_HOOK(46);
  write_line(wrap("<EM>", text, "</EM>"));
  return p.result(true_value());
}

Var* tnline(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnline", 50, argc);
  Var* text = p.param(argv);
  LINE_HOOK(52);
  if (text->type != 'C') text = empty_text();
  LINE_HOOK(54);
  write_line(csuaddc(text, "<BR>", false));
  return p.result(true_value());
}

Var* tnlist(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnlist", 60, argc);
  Var* items = p.param(argv);
  Var* numbered = p.param(argv);
  if (is_nil(numbered)) CPY_VAR(numbered, false_value());
  LINE_HOOK(65);
  const bool ordered = csifu(numbered);
  write_line(ordered ? "<OL>" : "<UL>");
  const std::int32_t count = items->type == 'A' ? element_count(items) : 0;
  for (std::int32_t i = 1; i <= count; ++i) {
    LINE_HOOK(71);
    write_line(cscaddu("<LI>", csgetarr(items, i)));
    p.next_iteration(70);
  }
  LINE_HOOK(74);
  write_line(ordered ? "</OL>" : "</UL>");
  return p.result(true_value());
}

Var* tntable(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tntable", 80, argc);
  Var* rows = p.param(argv);
  Var* caption = p.param(argv);
  LINE_HOOK(84);
  if (is_nil(caption))
    write_line("<TABLE>");
  else
    write_line(wrap("<TABLE CAPTION='", caption, "'>"));
  const std::int32_t count = rows->type == 'A' ? element_count(rows) : 0;
  for (std::int32_t i = 1; i <= count; ++i) {
    LINE_HOOK(90);
    write_line("<TR>");
    Var* row = csgetarr(rows, i);
    const std::int32_t cells = row->type == 'A' ? element_count(row) : 0;
    for (std::int32_t j = 1; j <= cells; ++j) {
      LINE_HOOK(92);
      write_line(wrap("<TD>", csgetarr(row, j), "</TD>"));
      p.next_iteration(91);
    }
    LINE_HOOK(94);
    write_line("</TR>");
    p.next_iteration(89);
  }
  LINE_HOOK(96);
  write_line("</TABLE>");
  return p.result(true_value());
}

Var* tnlink(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnlink", 100, argc);
  Var* url = p.param(argv);
  Var* text = p.param(argv);
  LINE_HOOK(102);
  write_line(csuaddc(csuaddu(wrap("<A HREF=\"", url, "\">"), text, false), "</A>", false));
  return p.result(true_value());
}

Var* tnimage(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnimage", 108, argc);
  Var* source = p.param(argv);
  Var* alt = p.param(argv);
  if (is_nil(alt)) CPY_VAR(alt, TMP_STR("[image here]"));
  LINE_HOOK(112);
  write_line(csuaddc(csuaddu(wrap("<IMG=\"", source, "\" ALT=\""), alt, false), "\">", false));
  return p.result(true_value());
}

Var* tnlookup(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "tnlookup", 120, argc);
  Var* pairs = p.param(argv);
  Var* key = p.param(argv);
  LINE_HOOK(122);
  CPY_VAR(key, CALL_SIMPLE(alltrim, CALL_SIMPLE(upper, key)));
  LINE_HOOK(124);
  const std::int32_t position =
      integer_of(CALL_SIMPLE(ascan, pairs, TMP_BLOCK(key_equals, &key, 1)));
  LINE_HOOK(126);
  if (position < 1) return p.result(empty_text());
  return p.result(csgetarr(csgetarr(pairs, position), 2));
}

}  // namespace tarnel
