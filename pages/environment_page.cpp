// example1: what the front end decoded.
#include "core/arrays.h"
#include "core/frame.h"
#include "core/operators.h"
#include "frontend/toolkit.h"
#include "lib/number_text.h"
#include "lib/strings.h"
#include "lib/values.h"
#include "pages/pages.h"

namespace tarnel {
namespace {

// The count of the pairs under a heading, then a line for each: name: "value"
void list_pairs(Procedure& p, Var* pairs, const char* heading, std::int32_t line) {
  LINE_HOOK(line);
  Var* count = CALL_SIMPLE(alltrim, CALL_SIMPLE(str, CALL_SIMPLE(len, pairs)));
  CALL_SIMPLE(tnline, csuaddc(cscaddu("<EM>Your ", count), heading, false));
  CALL_SIMPLE(tnline);
  for (std::int32_t i = 1; i <= element_count(pairs); ++i) {
    LINE_HOOK(line + 3);
    Var* pair = csgetarr(pairs, i);
    Var* text = csuaddc(csgetarr(pair, 1), ": \"", false);
    CALL_SIMPLE(tnline, csuaddc(csuaddu(text, csgetarr(pair, 2), false), "\"", false));
    p.next_iteration(line + 2);
  }
}

}  // namespace

Var* example1(std::int32_t argc, Var** argv) {
  Procedure p("example1", "example1", 8, argc);
  Var* env = p.param(argv);
  Var* form = p.param(argv);
  LINE_HOOK(12);
  CALL_SIMPLE(tnhtml, TMP_STR("Very basic Tarnel[tm] example"));
  CALL_SIMPLE(tnbody);
  list_pairs(p, env, " CGI environment variables are:</EM>", 15);
  LINE_HOOK(21);
  CALL_SIMPLE(tnhrule);
  list_pairs(p, form, " CGI form variables are:</EM>", 23);
  LINE_HOOK(29);
  CALL_SIMPLE(tnhrule);
  CALL_SIMPLE(tnbodyend);
  CALL_SIMPLE(tnhtmlend);
  return p.end();
}

}  // namespace tarnel
