// The commands of the language: what they become, and what they do to tables.
#include "lang/commands.h"

#include "core/core_modules.h"
#include "db/db_modules.h"
#include "lang/source_scanner.h"
#include "lib/lib_modules.h"
#include "term/term_modules.h"
#include "tests/db/table_test.h"
#include "tests/lang/read_statements.h"

namespace tarnel::testing {
namespace {

constexpr auto kModules =
    join_modules(kTermModules, kDbModules, kLibModules, kBorrowedModules, kCoreModules);
constexpr auto kFunctions = link_functions<count_functions(kModules)>(kModules);

bool is_function(const std::string& name) {
  const FunctionTable table = kFunctions.table();
  return name == "iif" ||
         std::ranges::any_of(
             table.entries, table.entries + table.count, [&](const FunctionEntry& entry) {
               return name.substr(0, 10) == std::string_view(entry.name).substr(0, 10);
             });
}

TEST(Commands, AreRulesWithoutFault) {
  EXPECT_EQ("", read(std::string(commands_text())));
}

TEST(Commands, CallFunctionsThatThereAre) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  SourceScanner scanner(files, files.add("commands.ch", std::string(commands_text())), diagnostics);
  SourceTokens tokens;
  int calls = 0;
  while (scanner.next(tokens) != SourceScanner::Found::kEnd) {
    auto token = std::ranges::find(tokens, "=>", &SourceToken::text);
    for (; token + 1 < tokens.end(); ++token)
      if (token->is_name() && token[1].is("(") && token[1].gap == SourceGap::kNone) {
        ++calls;
        EXPECT_TRUE(is_function(std::string(token->text))) << token->text;
      }
  }
  EXPECT_GT(calls, 100);
}

TEST(Commands, BecomeCalls) {
  const Case cases[] = {
      {"", "? \"a\", b\n?\n?? c", "qout(\"a\", b)\nqout()\nqqout(c)"},
      {"", "use users", "dbusearea(.F.,, \"users\",, iif(.F., .F., iif(.F., .T., NIL)), .F.)"},
      {"", "USE (f) new alias u shared index a, b via 'dbfidx' readonly",
       "dbusearea(.T., 'dbfidx', (f), \"u\", iif(.F., .F., iif(.T., .T., NIL)), .T.).and. "
       "dbsetindex(\"a\").and. dbsetindex(\"b\")"},
      {"", "use\nselect users\nselect 2\nselect (n)\nclose\nclos data\nclose users",
       "dbclosearea()\ndbselectarea(\"users\")\ndbselectarea(\"2\")\ndbselectarea((n))\n"
       "dbclosearea()\ndbcloseall()\nusers->(dbclosearea())"},
      {"", "go top\ngoto 5\nskip\nskip -n + 1\nskip 2 alias u\nseek a + b soft\nseek(a)",
       "dbgotop()\ndbgoto(5)\ndbskip()\ndbskip(-n + 1)\nu->(dbskip(2))\ndbseek(a + b, "
       ".T.)\nseek(a)"},
      {"", "locate for a = 1 next 5\nlocate while b rest\nloca rest for a",
       "__dblocate({|| a = 1},, 5,, .F.)\n__dblocate({|| .T.}, {|| b},,, .T.)\n"
       "__dblocate({|| a},,,, .T.)"},
      {"", "replace a with 1, u->b with c + 1, &d with 2",
       "field->a := 1\nu->b := c + 1\nfield->&d := 2"},
      {"",
       "replace a with a + 1, b with 'x' for a > 1 while ! eof()\nrepl next 5 a with 0\nrepl all "
       "with 1 all",
       "__dbreplace({\"a\", \"b\"}, {{|| a + 1}, {|| 'x'}}, {|| a > 1}, {|| ! eof()},,, .F.)\n"
       "__dbreplace({\"a\"}, {{|| 0}},,, 5,, .F.)\n__dbreplace({\"all\"}, {{|| 1}},,,,, .F.)"},
      {"", "delete\ndelete all\nreca record 3 for x\ndelete file a.txt",
       "__dbtable()\ndbdelete()\n__dbdelete(,,,, .F.)\n__dbrecall({|| x},,, 3, "
       ".F.)\nferase(\"a.txt\")"},
      {"", "count to n for a\nsum a, b + 1 to x, y while z",
       "n := __dbcount({|| a},,,, .F.)\n"
       "__dbsum({{|| a},{|| b + 1}},, {|| z},,, .F., @x, @y)"},
      {"",
       "copy to new fields a, b for a > 1\ncopy to x.txt deli with blank\ncopy stru to e\ncopy "
       "file a to b",
       "__dbcopy(\"new\", {\"a\",\"b\"}, {|| a > 1},,,, .F.,)\n"
       "__dbdelim(.T., \"x.txt\", \"blank\", {},,,,, .F.)\n__dbcopyst(\"e\", "
       "{})\n__copyfile(\"a\", \"b\")"},
      {"", "append blank\nappe from f sdf for x\nsort on a/D, b to s\ntotal on a to t fields b",
       "__dbtable()\ndbappend()\n__dbsdf(.F., \"f\", {}, {|| x},,,, .F.)\n"
       "__dbsort(\"s\", {\"a/D\",\"b\"},,,,, .F.)\n__dbtotal(\"t\", {|| a}, {\"b\"},,,,, .F.)"},
      {"", "update from u on k replace a with u->a, b with 0 random",
       "__dbupdate(\"u\", {|| k}, .T., {|| field->a := u->a, field->b := 0})"},
      {"", "index on upper(a) + b to i\nindex on a to i for b > 1 desc",
       "dbcreateindex(\"i\", \"upper(a) + b\", {|| upper(a) + b})\n"
       "ordcondset(\"b > 1\", {|| b > 1}, .F.,,,, recno(),,, .F., .T.)\n"
       "dbcreateindex(\"i\", \"a\", {|| a}, iif(.F., .T., NIL))"},
      {"",
       "set rela to a into u, to b into v\nset filter to a > 1\nset filter to &c\nset orde to 2",
       "dbclearrelation()\ndbsetrelation(\"u\", {|| a}, \"a\")\ndbsetrelation(\"v\", {|| b}, "
       "\"b\")\n"
       "dbsetfilter({|| a > 1}, \"a > 1\")\ndbsetfilter(c, c)\ndbsetorder(2)"},
      {"", "set rela off into u, (v)\nrelease all like a*\nrelease all exce ?b",
       "dbclearrelation(\"u\")\ndbclearrelation((v))\n__mrelease(\"a*\", .T.)\n"
       "__mrelease(\"?b\", .F.)"},
      {"", "store 1 + 2 to a, b\nrelease a, b\nsave to f all like a*\nrest from f addi",
       "a :=b := 1 + 2\n__mrelease(\"a\")\n__mrelease(\"b\")\n__mvsave(\"f\", \"a*\", "
       ".T.)\n__mvrestore(\"f\", .T.)"},
      {"",
       "@ 1, 2 say a pict '99' color 'w/n'\n@ r, c to 5, 6 double\n@ 1,2 clear\nwait to k\naccept "
       "'n' to n\ninput to z",
       "devpos(1, 2)\ndevout(transform(a, '99'), 'w/n')\ndispbox(r, c, 5, 6, 2,)\n"
       "scroll(1, 2, maxrow(), maxcol())\nsetpos(1, 2)\nk := __wait()\nn := __accept('n')\nz := "
       "__input()"},
      {"", "set exact on\nset dele (l)\nset softseek &x\nset century junk",
       "set(1, \"on\")\nset(11, l)\nset(9, x)\nset century junk"},
      {"",
       "set path to /a, b\nset path to (p)\nset color to w/n, n/w\nset alte to x.txt addi\nset "
       "shortname on",
       "set(6, \"/a, b\")\nset(6, (p))\nsetcolor(\"w/n, n/w\")\nset(19, \"x.txt\", .T.)\n"
       "ov_set(\"shortname\", .T.)"},
      {"", "run ls -l \"a b\"\nrun (c)\nquit", "run('ls -l \"a b\"')\nrun(c)\n__quit()"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.statements, read(c.text));
}

// Runs the statements one after the other.
TEST(Commands, SetEverySetting) {
  constexpr int kColour = 15, kAlwaysOn = 38, kLast = 41;  // by setcolor(); it changes nothing
  for (int n = 1; n <= kLast; ++n)
    EXPECT_TRUE(n == kColour || n == kAlwaysOn ||
                commands_text().find("set(" + std::to_string(n) + ",") != std::string_view::npos)
        << n;
}

class CommandRun : public TableTest {
 protected:
  static std::string does(const std::string& program) {
    std::string last;
    const std::string statements = read(program);
    for (std::size_t at = 0; at < statements.size();) {
      const std::size_t end = std::min(statements.find('\n', at), statements.size());
      last = run(statements.substr(at, end - at));
      at = end + 1;
    }
    return last + take_errors();
  }
};

TEST_F(CommandRun, ScopesAreWhatCommandsSay) {
  run("dbcreate('t', {{'n', 'N', 5, 0}, {'c', 'C', 3, 0}})");
  does(
      "use t exclusive\nappend blank\nreplace n with 1\nappend blank\nrepl n with 2, c with 'b'\n"
      "append blank\nreplace n with 3");
  run("__mvpublic('k', 's', 'x', 'y')");
  const Case cases[] = {
      {"", "count to k\nk", "I 3"},
      {"", "go 2\ncount to k while .t.\nk", "I 2"},
      {"", "go 1\ncount to k for n > 1 next 2\nk", "I 1"},
      {"", "sum n, n * 2 to x, y for n > 1\nx * 100 + y", "N 510"},
      {"", "go 3\naverage n to x rest\nx", "N 3.00"},
      {"", "go 2\nreplace c with 'z'\nlocate for c = 'z'\nrecno()", "N 2"},
      {"", "replace all n with n + 10\nsum n to s\ns", "N 36"},
      {"", "go 2\nrepl n with 0 rest\nsum n to s\ns", "N 11"},
      {"", "delete for n = 0\ncount to k for deleted()\nk", "I 2"},
      {"", "recall record 2\ncount to k for deleted()\nk", "I 1"},
      {"", "go bottom\nskip\nreplace n with 1", "N 0334"},
      {"", "index on -n to t\nset order to 1\ngo top\nrecno()", "N 1"},
      {"", "pack\nlastrec()", "N 2"},
      {"", "use\ncount to k", "L F322"},
  };
  for (const Case& c : cases) {
    const std::string got = does(c.text);
    EXPECT_TRUE(got.starts_with(c.statements)) << c.text << "\n" << got;
  }
}

TEST_F(CommandRun, OneThatNeedsATableSaysSo) {
  for (const char* command : {"append blank",
                              "delete",
                              "delete all",
                              "recall",
                              "recall all",
                              "replace all a with 1",
                              "go top",
                              "skip",
                              "seek 1",
                              "locate for .t.",
                              "continue",
                              "pack",
                              "zap",
                              "list",
                              "copy to x",
                              "sort to x on a",
                              "index on a to x",
                              "reindex",
                              "set index to x",
                              "set index to x additive",
                              "set order to 1",
                              "set filter to a"})
    EXPECT_NE(does(command).find("322"), std::string::npos) << command;
  for (const char* nothing_to_do : {"use", "close", "commit", "unlock", "set index to"})
    EXPECT_EQ(does(nothing_to_do).find("322"), std::string::npos) << nothing_to_do;
}

}  // namespace
}  // namespace tarnel::testing
