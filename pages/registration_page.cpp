// example2: adds one account to the user table.
#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"
#include "frontend/toolkit.h"
#include "lib/file_functions.h"
#include "lib/number_text.h"
#include "lib/strings.h"
#include "lib/values.h"
#include "pages/pages.h"
#include "pages/table_access.h"

namespace tarnel {
namespace {

// {|| user->userid}
Var* userid_key(std::int32_t argc, Var**, Var**) {
  Procedure p("example2", "cb_1_34_9", 34, argc);
  return p.result(field(page_alias::user, page_field::userid));
}

// The next account number, padded to the field's width: one more than the last in key order.
Var* next_id() {
  CALL_SIMPLE(front_dbgobottom);
  Var* id = field(page_alias::user, page_field::userid);
  const std::int32_t width = integer_of(CALL_SIMPLE(len, id));
  return CALL_SIMPLE(str, csnaddu(1, 0, CALL_SIMPLE(val, id), false), TMP_INT(width), TMP_INT(0));
}

}  // namespace

Var* example2(std::int32_t argc, Var** argv) {
  Procedure p("example2", "example2", 8, argc);
  p.param(argv);
  Var* form = p.param(argv);
  LINE_HOOK(10);
  CALL_SIMPLE(tnhtml, TMP_STR("Doro's Clip-O-Rama Registration"));
  CALL_SIMPLE(tnbody);
  LINE_HOOK(12);
  CALL_SIMPLE(tnline, TMP_STR("Thank you for registering at Doro's Clip-O-Rama!"));
  LINE_HOOK(13);
  CALL_SIMPLE(regform, form);
  LINE_HOOK(14);
  CALL_SIMPLE(tnbodyend);
  CALL_SIMPLE(tnhtmlend);
  return p.end();
}

Var* regform(std::int32_t argc, Var** argv) {
  Procedure p("example2", "regform", 20, argc);
  Var* form = p.param(argv);
  Var* first = p.local('C');
  Var* middle = p.local('C');
  Var* last = p.local('C');
  Var* id = p.local('C');
  LINE_HOOK(25);
  CPY_VAR(first, lookup_pair(form, "FIRSTNAME"));
  CPY_VAR(middle, lookup_pair(form, "MIDDLENAME"));
  CPY_VAR(last, lookup_pair(form, "LASTNAME"));
  LINE_HOOK(30);
  CALL_SIMPLE(tnline, cscaddu("Current directory is ", CALL_SIMPLE(curdir)));
  LINE_HOOK(33);
  open_table(Area::kSame, "user", false_value());
  LINE_HOOK(34);
  create_order("user1", "user->userid", userid_key);
  CALL_SIMPLE(front_dbcloseare);
  LINE_HOOK(37);
  open_table(Area::kSame, "user", nil_value());
  set_order("user1");
  LINE_HOOK(39);
  CPY_VAR(id, next_id());
  LINE_HOOK(43);
  CALL_SIMPLE(dbappend, false_value(), false_value());
  LINE_HOOK(44);
  put_field(page_alias::user, page_field::firstname, first);
  put_field(page_alias::user, page_field::middlename, middle);
  put_field(page_alias::user, page_field::lastname, last);
  put_field(page_alias::user, page_field::userid, id);
  LINE_HOOK(48);
  CALL_SIMPLE(front_dbcloseare);
  LINE_HOOK(50);
  CALL_SIMPLE(tnline,
              csuaddc(cscaddu("You have been registered as user <EM>", id), "</EM>.", false));
  CALL_SIMPLE(tnline, TMP_STR("Your user information is:"));
  LINE_HOOK(52);
  Var* name = csuaddc(cscaddu("Name: ", CALL_SIMPLE(alltrim, first)), " ", false);
  name = csuaddc(csuaddu(name, CALL_SIMPLE(alltrim, middle), false), " ", false);
  CALL_SIMPLE(tnline, csuaddu(name, CALL_SIMPLE(alltrim, last), false));
  LINE_HOOK(54);
  CALL_SIMPLE(tnline, TMP_STR("Thank you for registering at Doro's Clipper Web-O-Rama!"));
  return p.end();
}

}  // namespace tarnel
