// The browser of tables, on a terminal that shows it.
#include <signal.h>

#include "tests/console/tmux.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

class Browse : public OnTerminal {
 protected:
  Browse() {
    write("make",
          "dbcreate('t', {{'name', 'C', 10, 0}, {'born', 'D', 8, 0}, {'size', 'N', 6, 2}, {'on', "
          "'L', 1, 0}, "
          "{'long', 'C', 60, 0}, {'note', 'M', 10, 0}})\n"
          "dbusearea(.f., , 't', , .f.)\ndbcreateindex('i', 'name')\n"
          "put := {|c, i| dbappend(), fieldput(1, c), fieldput(2, ctod('01/01/2000') + i), "
          "fieldput(3, i / 4), "
          "fieldput(4, i = 1), fieldput(5, replicate('ab', 30)), iif(i = 2, fieldput(6, 'one "
          "two'), 0)}\n"
          "aeval({'delta', 'alpha', 'echo', 'bravo', 'golf', 'hotel', 'india', 'kilo'}, put)\n");
    output_of("cd " + path("") + "; " TARNEL_CONSOLE " make");
  }
  // Browses with the order, in shared use unless told otherwise; then tells where the table is left.
  void browse(const std::string& arguments = "", const std::string& before = "",
              const char* shared = ".t.") {
    write("script", std::string("dbusearea(.f., , 't', , ") + shared + ")\ndbsetindex('i')\n" +
                        before + "\n.browse " + arguments +
                        "\nqout('left', recno(), indexord(), dbfilter(), len(dbrlocklist()), "
                        "row(), col())\ninkey(0)\n");
    start(TARNEL_CONSOLE " -s script");
  }
  std::string records(const std::string& expressions) {
    return output_of("cd " + path("") +
                     "; " TARNEL_CONSOLE " -e \"dbusearea(.f., , 't', , .t.)\" " + expressions +
                     " 2>&1 | tail -1");
  }
};

TEST_F(Browse, ShowsRecordsInOrderAndLeavesTheTableAsItWas) {
  browse("", "setpos(1, 2)\ndbsetfilter(, 'size > 0')");
  EXPECT_EQ(wait_for("?=help"),
            "T  order i  filter size > 0  shared\n"
            "record   name       born       size on\n"
            "     2   alpha      01/03/00   0.50 F\n"
            "     4   bravo      01/05/00   1.00 F\n"
            "     1   delta      01/02/00   0.25 T\n"
            "     3   echo       01/04/00   0.75 F\n"
            "     5   golf       01/06/00   1.25 F\n"
            "     6   hotel      01/07/00   1.50 F\n"
            "alpha\n"
            "?=help  Enter=edit  Ins=append  Del=mark  /=seek  o=order  F=filter  …\n");
  EXPECT_TRUE(holds(press("C-End", "\nmemo"), "     2     0.50 F  ababab"));
  press("C-Home NPage Down", "\necho\n");
  press("C-PPage Down l", "     4 L bravo");
  press("f Right Right Right Right Right", "record   name       on long");
  press("o", "T  filter size > 0  shared");
  press("F C-h C-h 1", "filter: size >1");
  EXPECT_TRUE(holds(press("Enter", "T  filter size >1  shared"), "     5   golf"));
  press("g 6 Enter q", "left       6          1 size > 0          0          1          2");
}

TEST_F(Browse, SeeksLocatesAndEvaluates) {
  browse();
  wait_for("?=help");
  press("/ e", "seek: e");
  EXPECT_TRUE(holds(picture(), "\necho\n"));
  press("z", "\ngolf\n");
  press("Escape", "\nalpha\n?=help");
  type("= ");
  type("-l 'upper(name) + str(recno() * 1000)'");
  press("Enter", "ALPHA           2000");
  press("o / l z Enter", "not found: lz");
  press("/ o Enter", "\necho\n?=help");
  press("n", "\nbravo\n?=help");
  type("x");  // no key of its own
  EXPECT_TRUE(holds(press("F2 Down Enter s b Enter f Enter C-PPage",
                          "order i  filter name >= \"b\" .and. name <= \"f\"  shared"),
                    "     3   echo       01/04/00   0.75 F\n\n"));
}

TEST_F(Browse, EditsUnderALockAndFollowsTheRecord) {
  browse();
  wait_for("?=help");
  type("Enter");
  type("-l 'zulu '");
  EXPECT_TRUE(holds(press("Home Delete Delete Delete Delete Delete End BSpace Enter", "\nzulu\n"),
                    "     8   kilo       01/09/00   2.00 F\n     2   zulu"));
  EXPECT_EQ(records("-e \"t->(dbgoto(2))\" -e 'trim(t->name)'"), "zulu\n");
  press("Right Enter Home 9 9 Enter", "this is no date");
  press("Home 0 2 Enter", "zulu       02/03/00");
  type("Right Enter");
  press("Home 9 9 9 9 Enter", "too large");
  press("Escape", "\n0.50\n?=help");
  press("Delete", "     2*  zulu");
  press("Insert", "Append a record? (y/n)");
  press("y", "     9");
}

TEST_F(Browse, TextsOfAnotherSetAreShownAndStored) {
  browse("", ".charset cp850\n.edit 1 name := 'Ähre'\ndbgotop()");
  wait_for("?=help");
  press("g 1 Enter", "\nÄhre\n?=help");
  type("Enter");
  type("-l 'Ж'");
  press("Enter", "Ж (U+0416), which cp850 hasn't");
  type("BSpace");
  type("-l 'Ö567890'");
  press("Enter", "the text is too long for the field");
  press("BSpace Enter", "\nÄhreÖ56789\n?=help");
  EXPECT_EQ(records("-e 'asc(substr(name, 5))'"), "       153\n");
}

TEST_F(Browse, ARecordThatAnotherUserHoldsIsLeftAlone) {
  browse();
  wait_for("?=help");
  write("holder",
        "dbusearea(.f., , 't', , .t.)\nt->(dbgoto(2))\nt->(rlock(2))\n"
        "memowrit('held', '')\nt->size := 99\ninkey(30)\n");
  const pid_t holder = std::stoi(
      output_of("cd " + path("") + "; " TARNEL_CONSOLE " holder > /dev/null 2>&1 & echo $!"));
  ASSERT_TRUE(becomes([&] { return std::filesystem::exists(path("held")); }));
  press("Enter", "record 2 is locked by another user");
  EXPECT_TRUE(holds(picture(), "     2 ! alpha"));
  kill(holder, SIGTERM);                            // its change is written as it ends
  wait_for("     2 ! alpha      01/03/00  99.00");  // without a key
  type("Enter");
  type("-l x");
  press("Enter", "alphax     01/03/00  99.00");
}

TEST_F(Browse, MemosAreShownAndEditedByTheUsersEditor) {
  write("editor", "#!/bin/sh\nstat -c %a \"$1\" > mode\nsed -i 's/one/three/' \"$1\"\n");
  browse("", "ov_set('setenvir', 'EDITOR', 'sh ./editor')");
  wait_for("?=help");
  press("C-End Enter", "│one two");
  press("Enter", "?=help");
  EXPECT_TRUE(becomes([&] { return read("mode") == "600\n"; })) << read("mode");
  press("Enter", "│three two");
  type("q");
  EXPECT_EQ(records("-e \"t->(dbgoto(2))\" -e 't->note'"), "three two\n");
}

TEST_F(Browse, ChangesNothingWhereItMayNot) {
  browse("name on ro", "", ".f.");
  EXPECT_TRUE(holds(wait_for("?=help"), "T  order i  read-only\nrecord   name       on\n"));
  for (const char* key : {"Enter", "Insert", "Delete", "l"}) {
    press("r", "?=help");
    press(key, "\nread-only");
  }
  tmux("resize-window -x 30 -y 4");
  wait_for("window too small");
  tmux("resize-window -x 30 -y 6");
  EXPECT_TRUE(holds(wait_for("alpha"), "     4   bravo"));
  press("q x", "over");
  // A relation moves its child: here it is only shown.
  browse("",
         "dbusearea(.t., , 't', 'parent', .t.)\ndbsetrelation('t', 'recno()')\ndbselectarea('t')");
  EXPECT_TRUE(holds(wait_for("?=help"), "read-only"));
  press("Delete", "\nread-only");
  press("q x", "over");
  EXPECT_EQ(records("-e .browse"), ".browse needs a terminal, .list shows records without one\n");
  EXPECT_EQ(records("-e '.browse nix'"), "there is no field nix\n");
}

// The condition alone takes milliseconds, so that the search of all records never ends by itself.
TEST_F(Browse, AKeyStopsASearchThatTakesLong) {
  browse("",
         "aeval(array(3000), {|| dbappend()})\ndbsetfilter(, 'len(aeval(array(300), {|| "
         "aeval(array(300), {|| 1})})) < 0')",
         ".f.");
  wait_for("searching, any key stops");
  press("x", "stopped");
  press("q", "left");
}

}  // namespace
}  // namespace tarnel::testing
