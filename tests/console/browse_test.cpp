// The browser of tables, on a terminal that shows it.
#include <signal.h>

#include "tests/console/tmux.h"

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
  type("C-End");
  EXPECT_NE(wait_for("\nmemo").find("     2     0.50 F  ababab"), std::string::npos) << picture();
  type("C-Home NPage Down");
  wait_for("\necho\n");
  type("C-PPage Down l");
  wait_for("     4 L bravo");
  type("f Right Right Right Right Right");
  wait_for("record   name       on long");
  type("o");
  wait_for("T  filter size > 0  shared");
  type("F C-h C-h 1");
  wait_for("filter: size >1");
  type("Enter");
  EXPECT_NE(wait_for("T  filter size >1  shared").find("     5   golf"), std::string::npos);
  type("g 6 Enter q");
  wait_for("left       6          1 size > 0          0          1          2");
}

TEST_F(Browse, SeeksLocatesAndEvaluates) {
  browse();
  wait_for("?=help");
  type("/ e");
  wait_for("seek: e");
  EXPECT_NE(picture().find("\necho\n"), std::string::npos) << picture();
  type("z");
  wait_for("\ngolf\n");
  type("Escape");
  wait_for("\nalpha\n?=help");
  type("= ");
  type("-l 'upper(name) + str(recno() * 1000)'");
  type("Enter");
  wait_for("ALPHA           2000");
  type("o / l z Enter");
  wait_for("not found: lz");
  type("/ o Enter");
  wait_for("\necho\n?=help");
  type("n");
  wait_for("\nbravo\n?=help");
  type("x");  // no key of its own
  type("F2 Down Enter s b Enter f Enter C-PPage");
  EXPECT_NE(wait_for("order i  filter name >= \"b\" .and. name <= \"f\"  shared")
                .find("     3   echo       01/04/00   0.75 F\n\n"),
            std::string::npos)
      << picture();
}

TEST_F(Browse, EditsUnderALockAndFollowsTheRecord) {
  browse();
  wait_for("?=help");
  type("Enter");
  type("-l 'zulu '");
  type("Home Delete Delete Delete Delete Delete End BSpace Enter");
  EXPECT_NE(wait_for("\nzulu\n").find("     8   kilo       01/09/00   2.00 F\n     2   zulu"),
            std::string::npos)
      << picture();
  EXPECT_EQ(records("-e \"t->(dbgoto(2))\" -e 'trim(t->name)'"), "zulu\n");
  type("Right Enter Home 9 9 Enter");
  wait_for("this is no date");
  type("Home 0 2 Enter");
  wait_for("zulu       02/03/00");
  type("Right Enter");
  type("Home 9 9 9 9 Enter");
  wait_for("too large");
  type("Escape");
  wait_for("\n0.50\n?=help");
  type("Delete");
  wait_for("     2*  zulu");
  type("Insert");
  wait_for("Append a record? (y/n)");
  type("y");
  wait_for("     9");
}

TEST_F(Browse, TextsOfAnotherSetAreShownAndStored) {
  browse("", ".charset cp850\n.edit 1 name := 'Ähre'\ndbgotop()");
  wait_for("?=help");
  type("g 1 Enter");
  wait_for("\nÄhre\n?=help");
  type("Enter");
  type("-l 'Ж'");
  type("Enter");
  wait_for("Ж (U+0416), which cp850 hasn't");
  type("BSpace");
  type("-l 'Ö567890'");
  type("Enter");
  wait_for("the text is too long for the field");
  type("BSpace Enter");
  wait_for("\nÄhreÖ56789\n?=help");
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
  type("Enter");
  wait_for("record 2 is locked by another user");
  EXPECT_NE(picture().find("     2 ! alpha"), std::string::npos) << picture();
  kill(holder, SIGTERM);                            // its change is written as it ends
  wait_for("     2 ! alpha      01/03/00  99.00");  // without a key
  type("Enter");
  type("-l x");
  type("Enter");
  wait_for("alphax     01/03/00  99.00");
}

TEST_F(Browse, MemosAreShownAndEditedByTheUsersEditor) {
  write("editor", "#!/bin/sh\nstat -c %a \"$1\" > mode\nsed -i 's/one/three/' \"$1\"\n");
  browse("", "ov_set('setenvir', 'EDITOR', 'sh ./editor')");
  wait_for("?=help");
  type("C-End Enter");
  wait_for("│one two");
  type("Enter");
  wait_for("?=help");
  EXPECT_TRUE(becomes([&] { return read("mode") == "600\n"; })) << read("mode");
  type("Enter");
  wait_for("│three two");
  type("q");
  EXPECT_EQ(records("-e \"t->(dbgoto(2))\" -e 't->note'"), "three two\n");
}

TEST_F(Browse, ChangesNothingWhereItMayNot) {
  browse("name on ro", "", ".f.");
  EXPECT_NE(wait_for("?=help").find("T  order i  read-only\nrecord   name       on\n"),
            std::string::npos)
      << picture();
  for (const char* key : {"Enter", "Insert", "Delete", "l"}) {
    type("r");
    wait_for("?=help");
    type(key);
    wait_for("\nread-only");
  }
  tmux("resize-window -x 30 -y 4");
  wait_for("window too small");
  tmux("resize-window -x 30 -y 6");
  EXPECT_NE(wait_for("alpha").find("     4   bravo"), std::string::npos) << picture();
  type("q x");
  wait_for("over");
  // A relation moves its child: here it is only shown.
  browse("",
         "dbusearea(.t., , 't', 'parent', .t.)\ndbsetrelation('t', 'recno()')\ndbselectarea('t')");
  EXPECT_NE(wait_for("?=help").find("read-only"), std::string::npos) << picture();
  type("Delete");
  wait_for("\nread-only");
  type("q x");
  wait_for("over");
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
  type("x");
  wait_for("stopped");
  type("q");
  wait_for("left");
}

}  // namespace
}  // namespace tarnel::testing
