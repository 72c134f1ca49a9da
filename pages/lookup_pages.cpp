// example3, which looks one account up, and example4, which lists a table as links.
#include "core/frame.h"
#include "core/operators.h"
#include "db/front.h"
#include "frontend/toolkit.h"
#include "lib/number_text.h"
#include "lib/strings.h"
#include "lib/value_text.h"
#include "lib/values.h"
#include "pages/pages.h"
#include "pages/table_access.h"

namespace tarnel {
namespace {

void page_begin() {
  CALL_SIMPLE(tnhtml);
  CALL_SIMPLE(tnbody);
}

void page_end() {
  CALL_SIMPLE(tnbodyend);
  CALL_SIMPLE(tnhtmlend);
}

void write_new_line(const char* text) {
  CALL_SIMPLE(qout, TMP_STR(text));
}

Var* trimmed_field(std::int32_t alias, std::int32_t name) {
  return CALL_SIMPLE(alltrim, field(alias, name));
}

// {|| urls->url}
Var* url_key(std::int32_t argc, Var**, Var**) {
  Procedure p("example4", "cb_1_22_9", 22, argc);
  return p.result(field(page_alias::urls, page_field::url));
}

// The account's name; the balance goes to tnline as a second argument, which that does not write.
void write_account() {
  Var* name = csuaddc(trimmed_field(page_alias::user, page_field::firstname), " ", false);
  name = csuaddu(name, trimmed_field(page_alias::user, page_field::middlename), false);
  name = csuaddc(name, " ", false);
  name = csuaddu(name, trimmed_field(page_alias::user, page_field::lastname), false);
  Var* balance =
      CALL_SIMPLE(str, field(page_alias::user, page_field::balance), TMP_INT(7), TMP_INT(2));
  CALL_SIMPLE(tnline, name, cscaddu("your balance is $", CALL_SIMPLE(alltrim, balance)));
}

}  // namespace

Var* example3(std::int32_t argc, Var** argv) {
  Procedure p("example3", "example3", 6, argc);
  p.param(argv);
  Var* form = p.param(argv);
  LINE_HOOK(8);
  page_begin();
  LINE_HOOK(10);
  CALL_SIMPLE(balance, lookup_pair(form, "ACCOUNT"));
  LINE_HOOK(11);
  page_end();
  return p.end();
}

Var* balance(std::int32_t argc, Var** argv) {
  Procedure p("example3", "balance", 16, argc);
  Var* account = p.param(argv);
  LINE_HOOK(19);
  open_table(Area::kSame, "user", nil_value());
  set_order("user1");
  LINE_HOOK(21);
  Var* width = CALL_SIMPLE(len, field(page_alias::user, page_field::userid));
  CPY_VAR(account, CALL_SIMPLE(padl, CALL_SIMPLE(alltrim, account), width));
  LINE_HOOK(23);
  if (csifu(CALL_SIMPLE(dbseek, account, false_value()))) {
    LINE_HOOK(24);
    write_account();
  } else {
    LINE_HOOK(29);
    write_new_line("Sorry, your account is not in our database...yet!  ");
    write_new_line("But as long as you're here, why not ");
    CALL_SIMPLE(tnlink, TMP_STR("#example2"), TMP_STR("register"));
    write_new_line(" to take advantage of these <EM>great</EM> offers?");
  }
  LINE_HOOK(35);
  CALL_SIMPLE(front_dbcloseare);
  return p.end();
}

Var* example4(std::int32_t argc, Var**) {
  Procedure p("example4", "example4", 6, argc);
  LINE_HOOK(8);
  page_begin();
  LINE_HOOK(10);
  CALL_SIMPLE(picklist);
  LINE_HOOK(11);
  page_end();
  return p.end();
}

Var* picklist(std::int32_t argc, Var**) {
  Procedure p("example4", "picklist", 16, argc);
  Var* count = p.local('N');
  LINE_HOOK(21);
  open_table(Area::kSame, "urls", false_value());
  LINE_HOOK(22);
  create_order("urls1", "urls->url", url_key);
  CALL_SIMPLE(front_dbcloseare);
  LINE_HOOK(25);
  write_new_line("Here are the other fantastic Internet resources we offer!  ");
  write_new_line("Why not try one?");
  write_new_line("<BR>");
  LINE_HOOK(29);
  open_table(Area::kSame, "urls", nil_value());
  set_order("urls1");
  CALL_SIMPLE(front_dbgotop);
  while (!at_end()) {
    LINE_HOOK(33);
    csnaddu(1, 0, count, true);
    CALL_SIMPLE(qqout, csuaddc(CALL_SIMPLE(str, count, TMP_INT(3), TMP_INT(0)), " ", false));
    LINE_HOOK(35);
    CALL_SIMPLE(tnlink, trimmed_field(page_alias::urls, page_field::url),
                trimmed_field(page_alias::urls, page_field::desc));
    write_new_line("<BR>");
    skip_record();
    p.next_iteration(32);
  }
  LINE_HOOK(40);
  CALL_SIMPLE(front_dbcloseare);
  write_new_line("<BR>");
  write_new_line("Or go back to <A HREF=/test.html>Doro's Web-O-Rama!</A>");
  return p.end();
}

}  // namespace tarnel
