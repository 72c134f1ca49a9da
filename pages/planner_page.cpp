// example5: a small route planner in steps. A process answers one request, so the page always shows
// its first step; what belongs to the later ones is kept with it.
#include "core/arrays.h"
#include "core/classes.h"
#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"
#include "frontend/toolkit.h"
#include "lib/date_functions.h"
#include "lib/number_text.h"
#include "lib/strings.h"
#include "lib/values.h"
#include "pages/pages.h"
#include "pages/planner_tables.h"
#include "pages/table_access.h"

namespace tarnel {
namespace {

constexpr const char* kModule = "example5";

void assign(std::int32_t variable, Var* value) {
  CPY_VAR(RESOLVE_NAME(variable), value);
}
Var* variable(std::int32_t slot) {
  return RESOLVE_NAME(slot);
}
Var* plus(Var* left, Var* right) {
  return csuaddu(left, right, false);
}
Var* plus(Var* left, const char* right) {
  return csuaddc(left, right, false);
}
Var* form_number(Var* form, const char* name) {
  return CALL_SIMPLE(val, lookup_pair(form, name));
}

// (n - field) ^ 2
Var* squared_distance(Var* n, std::int32_t name) {
  return csupown(csusubu(n, field(page_alias::stop, name), false), 2, false);
}

void write_form(Var* env) {
  write_line("<HR>");
  write_line(plus(cscaddu("<FORM ACTION=", CALL_SIMPLE(thisurl, env)), " METHOD=POST>"));
  write_line("Starting point: <INPUT TYPE=STRING><BR>");
  write_line("Destination point: <INPUT TYPE=STRING><BR>");
  write_line("<INPUT TYPE=SUBMIT NAME=Submit><BR>");
  write_line("<INPUT TYPE=RESET NAME=Forget><BR>");
  write_line("</FORM>");
  write_line("<HR>");
  write_line("<PRE>");
  write_line("Waypath Route Planner[tm]");
  write_line(cscaddu("Last updated ", CALL_SIMPLE(dtoc, CALL_SIMPLE(date))));
}

void write_lines(Procedure& p, Var* lines, std::int32_t line) {
  for (std::int32_t n = 1; n <= element_count(lines); ++n) {
    LINE_HOOK(line + 1);
    CALL_SIMPLE(tnline, plus(CALL_SIMPLE(nameline, csgetarr(lines, n)), "<BR>"));
    p.next_iteration(line);
  }
}

}  // namespace

Var* example5(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "example5", 12, argc);
  Var* env = p.param(argv);
  Var* form = p.param(argv);
  Var* request_state = p.param(argv);
  LINE_HOOK(14);
  CALL_SIMPLE(tnhtml);
  write_line("<TITLE>Waypath route planner[tm]</TITLE>");
  CALL_SIMPLE(tnbody);
  LINE_HOOK(18);
  write_line("<h1>Waypath Route Planner[tm]</h1>");
  Var* step = get_ivar(request_state, "state");
  write_line(plus(cscaddu("Current state: ", CALL_SIMPLE(ltrim, CALL_SIMPLE(str, step))), "<BR>"));
  LINE_HOOK(22);
  if (csifu(csnequu(0, step))) {
    CALL_SIMPLE(state0, env, form, request_state);
  } else if (csifu(csnequu(2, step))) {
    CALL_SIMPLE(dbcloseall);
    CALL_SIMPLE(dbselectar, TMP_INT(1));
  }
  LINE_HOOK(34);
  CALL_SIMPLE(tnbodyend);
  CALL_SIMPLE(tnhtmlend);
  return p.result(request_state);
}

Var* state0(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "state0", 40, argc);
  Var* env = p.param(argv);
  p.param(argv);
  Var* request_state = p.param(argv);
  LINE_HOOK(42);
  CALL_SIMPLE(reindex_planner);
  for (const PlannerTable& table : kPlannerTables) {
    LINE_HOOK(44);
    open_table(Area::kNew, table.name, nil_value());
    for (const char* file : table.orders)
      if (file != nullptr) set_order(file);
    p.next_iteration(43);
  }
  LINE_HOOK(50);
  write_form(env);
  LINE_HOOK(62);
  put_ivar(request_state, "state", TMP_INT(1));
  return p.end();
}

// The function's name stands without its arguments, as a variable that nobody assigned: the address
// ends in the error of that concatenation.
Var* thisurl(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "thisurl", 66, argc);
  Var* env = p.param(argv);
  LINE_HOOK(68);
  Var* address = cscaddu("http://", lookup_pair(env, "HTTP_HOST"));
  address = plus(address, lookup_pair(env, "SCRIPT_NAME"));
  return p.result(plus(address, variable(page_variable::tnlookup)));
}

Var* state1(std::int32_t argc, Var** argv) {
  namespace v = page_variable;
  Procedure p(kModule, "state1", 74, argc);
  p.param(argv);
  Var* form = p.param(argv);
  Var* request_state = p.param(argv);
  LINE_HOOK(76);
  assign(v::x1, form_number(form, "X1"));
  assign(v::y1, form_number(form, "Y1"));
  assign(v::x2, form_number(form, "X2"));
  assign(v::y2, form_number(form, "Y2"));
  assign(v::time1, lookup_pair(form, "TIME"));
  LINE_HOOK(82);
  assign(v::stop1, CALL_SIMPLE(closestop, variable(v::x1), variable(v::y1)));
  assign(v::stop2, CALL_SIMPLE(closestop, variable(v::x2), variable(v::y2)));
  assign(v::lines1, CALL_SIMPLE(linesbysto, variable(v::stop1)));
  assign(v::lines2, CALL_SIMPLE(linesbysto, variable(v::stop2)));
  LINE_HOOK(87);
  Var* name = CALL_SIMPLE(namestop, variable(v::stop1));
  write_line(plus(cscaddu("The closest stop to your starting point is ", name), ".<BR>"));
  name = CALL_SIMPLE(namestop, variable(v::stop2));
  write_line(plus(cscaddu("The closest stop to your destination is ", name), ".<BR>"));
  LINE_HOOK(90);
  write_line("You starting point is on the following lines:<BR>");
  write_lines(p, variable(v::lines1), 91);
  LINE_HOOK(94);
  write_line("Your destination is on the following lines:<BR>");
  write_lines(p, variable(v::lines2), 95);
  LINE_HOOK(98);
  write_line("You can get there these ways:<BR>");
  CALL_SIMPLE(showroutes, variable(v::lines1), variable(v::lines2), variable(v::time1));
  put_ivar(request_state, "state", TMP_INT(2));
  return p.result(request_state);
}

// The stop with the least squared distance, the earlier one of two in key order.
Var* closestop(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "closestop", 106, argc);
  Var* x = p.param(argv);
  Var* y = p.param(argv);
  Var* best_stop = p.local();
  std::int32_t best = 999999;
  SET_STR(best_stop, "ERR", -1);
  LINE_HOOK(111);
  const AliasScope in(page_alias::stop);
  CALL_SIMPLE(front_dbgotop);
  while (!at_end()) {
    LINE_HOOK(114);
    Var* sum =
        plus(squared_distance(x, page_field::xcoord), squared_distance(y, page_field::ycoord));
    const std::int32_t distance = is_number_or_logical(sum) ? integer_of(sum) : 0;
    if (best > distance) {
      best = distance;
      CPY_VAR(best_stop, field(page_alias::stop, page_field::stopid));
    }
    skip_record();
    p.next_iteration(112);
  }
  return p.result(best_stop);
}

Var* namestop(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "namestop", 126, argc);
  Var* id = p.param(argv);
  LINE_HOOK(128);
  const AliasScope in(page_alias::stop);
  if (!csifu(CALL_SIMPLE(dbseek, id))) return p.result(TMP_STR("NO STOP"));
  return p.result(CALL_SIMPLE(alltrim, field(page_alias::stop, page_field::stopname)));
}

Var* nameline(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "nameline", 134, argc);
  Var* id = p.param(argv);
  LINE_HOOK(136);
  const AliasScope in(page_alias::route);
  if (!csifu(CALL_SIMPLE(dbseek, id))) return p.result(TMP_STR("NO ROUTE"));
  Var* text = plus(cscaddu("(", CALL_SIMPLE(alltrim, id)), ") ");
  return p.result(
      plus(text, CALL_SIMPLE(alltrim, field(page_alias::route, page_field::routename))));
}

Var* linesbysto(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "linesbysto", 144, argc);
  Var* stop = p.param(argv);
  Var* lines = p.local('A');
  LINE_HOOK(147);
  const AliasScope in(page_alias::rtstop);
  CALL_SIMPLE(front_dbgotop);
  while (!at_end()) {
    LINE_HOOK(150);
    if (csifu(csueequu(field(page_alias::rtstop, page_field::stopid), stop)))
      CALL_SIMPLE(aadd, lines, field(page_alias::rtstop, page_field::routeid));
    skip_record();
    p.next_iteration(148);
  }
  return p.result(lines);
}

Var* istransfer(std::int32_t argc, Var** argv) {
  Procedure p(kModule, "istransfer", 158, argc);
  Var* first = p.param(argv);
  Var* second = p.param(argv);
  LINE_HOOK(160);
  const AliasScope in(page_alias::trx);
  return p.result(CALL_SIMPLE(dbseek, plus(first, second)));
}

Var* showroutes(std::int32_t argc, Var** argv) {
  namespace v = page_variable;
  Procedure p(kModule, "showroutes", 164, argc);
  Var* lines1 = p.param(argv);
  Var* lines2 = p.param(argv);
  p.param(argv);
  for (assign(v::i, TMP_INT(1)); csifu(csulequ(variable(v::i), CALL_SIMPLE(len, lines1)));
       csincu(variable(v::i))) {
    for (assign(v::j, TMP_INT(1)); csifu(csulequ(variable(v::j), CALL_SIMPLE(len, lines2)));
         csincu(variable(v::j))) {
      LINE_HOOK(168);
      Var* from = csgetarv(lines1, variable(v::i));
      Var* to = csgetarv(lines2, variable(v::j));
      if (csifu(csueequu(from, to)))
        CALL_SIMPLE(tnline, plus(CALL_SIMPLE(nameline, from), " <EM>DIRECT</EM>"));
      LINE_HOOK(171);
      if (csifu(CALL_SIMPLE(istransfer, from, to))) {
        Var* text = plus(CALL_SIMPLE(nameline, from), " transfer to ");
        CALL_SIMPLE(tnline, plus(text, CALL_SIMPLE(nameline, to)));
      }
      p.next_iteration(167);
    }
    p.next_iteration(166);
  }
  return p.end();
}

}  // namespace tarnel
