// Directives, and what their constants and rules make of statements.
#include <gtest/gtest.h>

#include "tests/lang/read_statements.h"
#include "tests/support/texts.h"

namespace tarnel::testing {
namespace {

TEST(Constants, StandForTokens) {
  const Case cases[] = {
      {"names in their case, not in texts", "#define N 10\n#define e\nx := N + n + 'N' + N1 e",
       "x := 10 + n + 'N' + N1"},
      {"parameters",
       "#define f(a, b) ((a) + b)\n#DEFINE g (x)\ny := f(1, (2,3)) + f + g + f (f(1,2),3)",
       "y := ((1) + (2,3)) + f + (x) + ((((1) + 2)) + 3)"},
      {"no parameters", "#define f() 7\nx := f() + f( )", "x := 7 + 7"},
      {"one through another", "#define a b\n#define b c(\n#define c(x) x * x\nz := a 2)",
       "z := 2 * 2"},
      {"several statements", "#define both a() ; b()\nboth", "a()\nb()"},
      {"undone and changed", "#define a 1\n#define a 2\n!a\n#undef a\n!a", "!2\n!a"},
      {"conditions",
       "#define y\n#ifdef y\n1\n#ifndef y\n2\n#else\n3\n#endif\n#else\n4 'x\n#ifdef "
       "y\n5\n#endif\n#junk\n#endif\n6",
       "1\n3\n6"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.statements, read(c.text)) << c.name;
}

TEST(Rules, MatchAndMakeStatements) {
  const Case cases[] = {
      {"an expression up to the next word",
       "#command MOVE <a> TO <b> => m(<b>, <a>)\nmove x + to(1) to y[1, 2]:z",
       "m(y[1, 2]:z, x + to(1))"},
      {"cut words",
       "#command MOVELY <a> => m(<a>)\n#xcommand WHOLE <a> => w(<a>)\nmovel 1\nmov 1\nwhol "
       "1\nWhole 1",
       "m(1)\nmov 1\nwhol 1\nw(1)"},
      {"newest first, older when it doesn't match",
       "#command c <x> => old(<x>)\n#command c 1 => new()\nc 1\nc 2", "new()\nold(2)"},
      {"lists", "#command ?? [<x,...>] => o(<x>)\n??\n?? 1\n?? a,,b(1,2)",
       "o()\no(1)\no(a,,b(1,2))"},
      {"restricted words are whole", "#command s <x:ON,OFF> => s(<(x)>)\ns On\ns off\ns onn",
       "s(\"On\")\ns(\"off\")\ns onn"},
      {"wild", "#command note <*x*> => t(#<x>)\nnote all, [free] + 1\nnote",
       "t(\"all, [free] + 1\")\nt()"},
      {"clauses in any order",
       "#command u [<(f)>] [ALIAS <a>] [<n: NEW>] [VIA <v>] => u(<(f)>, <\"a\">, <.n.>, <v>)\n"
       "u\nu a/b.dbf new via 'x' alias q\nu alias q ../x\nu (f) new\nu &m. via &x",
       "u(,, .F.,)\nu(\"a/b.dbf\", \"q\", .T., 'x')\nu(\"../x\", \"q\", .F.,)\nu((f),, .T.,"
       ")\nu(m,, .F., &x)"},
      {"a clause that repeats",
       "#command r <f> WITH <v> [, <g> WITH <w>] [FOR <c>] => r({|| <f> := <v> [, <g> := <w>]}[, "
       "<{c}>])\n"
       "r a with 1\nr a with 1, b with c + 1, d with 2 for e",
       "r({|| a := 1})\nr({|| a := 1, b := c + 1, d := 2}, {|| e})"},
      {"clauses within clauses, in step with each other",
       "#command k <a> [, <b> [AS <c>]] => k(<a>[, {<b>, <(c)>}])\nk 1\nk 1, 2, 3 as x, 4",
       "k(1)\nk(1, {2,}, {3, \"x\"}, {4,})"},
      {"forms of results",
       "#command f <x,...> => #<x>; <\"x\">; <(x)>; <{x}>; <.x.>; <x>\nf a + 1, &b, (c), {|z| z}, "
       "\"d\"",
       "'a + 1, &b, (c), {|z| z}, \"d\"'\n\"a + 1\",\"&b\",\"(c)\",\"{|z| z}\",'\"d\"'\n"
       "\"a + 1\",b, (c),\"{|z| z}\", \"d\"\n{|| a + 1},{|| &b},{|| (c)}, {|z| z},{|| "
       "\"d\"}\n.T.\na + 1, "
       "&b, (c), {|z| z}, \"d\""},
      {"signs of rules as they are", "#command g <x> => \\[<x>\\] \\<x> <x>=1 <x><>2\ng 5",
       "[5] <x> 5=1 5<>2"},
      {"translations",
       "#translate old(<x>) => new(<x>)\n#translate max => Max\ny := old(old(1)) + [old(1)] + maxi",
       "y := new(new(1)) + [old(1)] + maxi"},
      {"a rule over several lines, of several statements",
       "#command p <x> => ;\n a(<x>) ; ; // why\n b(<x>)\np 1 ; p 2", "a(1)\nb(1)\na(2)\nb(2)"},
      {"results are read again",
       "#define N 3\n#command a <x> => b <x> ; b N\n#command b <x> => c(<x>)\na 1", "c(1)\nc(3)"},
      {"expressions that begin with a command's word",
       "#command seek <x> => s(<x>)\nseek(1)\nseek (1)\nseek := 1\nseek [1] := 2\nseek = 1\nseek "
       "++\nseek->x\nseek.x\nseek -1",
       "seek(1)\ns((1))\nseek := 1\nseek [1] := 2\nseek = 1\nseek ++\nseek->x\nseek.x\ns(-1)"},
      {"brackets are texts behind words of rules",
       "#command say <x> AT <y> => s(<x>, <y>)\nsay a at [b;c]", "s(a, [b;c])"},
      {"nothing made", "#command gone => \ngone\na", "a"},
      {"macros in names", "#command z <x> TO <y> => z(<x>,<y>)\nz t&n.5 + &a.b:c to &d",
       "z(t&n.5 + &a.b:c,&d)"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.statements, read(c.text)) << c.name;
}

TEST(Rules, TellWhatIsWrong) {
  const Fault faults[] = {
      {"#junk", "1:1", "an unknown directive"},
      {"#defi a 1", "1:1", "an unknown directive"},
      {"#else", "1:1", "#else without #ifdef or #ifndef"},
      {"#endif", "1:1", "#endif without #ifdef or #ifndef"},
      {"#ifdef a\n#else\n#else\n#endif", "3:1", "#else without #ifdef or #ifndef"},
      {"\n #ifdef x\na", "2:2", "a condition without its #endif"},
      {"#error it's ; so", "1:1", "it's ; so"},
      {"#define 1", "1:1", "#define takes a name"},
      {"#define f(a,1)", "1:1", "a parameter must be a name"},
      {"#define f(a) a\nx := f(1, 2)", "2:6", "f() takes 1 arguments, not 2"},
      {"#define f(a) a\nx := f(1", "2:6", "f() without its closing )"},
      {"#include x", "1:1", "#include takes the name of a file in quotes"},
      {"#include 'none'", "1:10", "none can't be read: No such file or directory"},
      {"#command a <x>", "1:15", "a rule has => between its pattern and its result"},
      {"#command <x> => y", "1:10", "a rule begins with a word or sign"},
      {"#command a <x => y", "1:15", "a marker without its closing >"},
      {"#command a [<x> => y", "1:17", "a clause without its closing ]"},
      {"#command a <x> => <y>", "1:19", "a marker that the pattern doesn't have"},
      {"#command a <x> => [b]", "1:22", "a repeated part without a marker"},
      {"#command a <x> => #<x>\na \"'\"+[1]+\"]\"", "2:3", "a text with quotes of all kinds in it"},
      {"#define a b\n#define b a\nx := a", "3:1",
       "a constant that is rewritten more than 256 times, at last by a, b, a"},
      {"#command a => b\n#command b => c\n#command c => a\na", "4:1",
       "a statement that is rewritten more than 256 times, at last by c (x.prg:3), a (x.prg:1), b "
       "(x.prg:2)"},
      {"#define a b b\n#define b a a\nx := a", "3:1",
       "a constant that is rewritten more than 256 times, at last by a, b, a"},
      {"#translate a => (a a)\nx := a", "2:1",
       "a statement that is rewritten more than 256 times, at last by a (x.prg:1), a (x.prg:1), a "
       "(x.prg:1)"},
  };
  for (const Fault& fault : faults) {
    const std::string told = read(fault.text);
    EXPECT_TRUE(holds(told, fault.line())) << fault.text;
  }
}

TEST(Rules, TakeNoLongerThanTheirLimits) {
  // Doubles that vanish, markers that look at all that follows for each token, clauses that never end.
  std::string doubles;
  for (int i = 0; i < 60; ++i)
    doubles += "#define a" + std::to_string(i) + " a" + std::to_string(i + 1) + " a" +
               std::to_string(i + 1) + "\n";
  EXPECT_TRUE(holds(read(doubles + "#define a60\na0"), "longer than 1 MiB"));
  EXPECT_TRUE(holds(read("#translate a <x> z => <x>\n" + repeat("a+", 50000)), "too long"));
  EXPECT_TRUE(holds(read("#command a [(<x>)] [<y> b] => [<x>] [<y>]\na " + repeat("((", 20000)),
                    "a ((((("));
}

TEST(Rules, LeaveThePlacesOfWhatTheyMatch) {
  SourceFiles files;
  Diagnostics diagnostics(files);
  StatementReader reader(files, diagnostics);
  reader.open(
      files.add("x.prg", "#define K (1)\n#command put <x> => a() ; <x>:put()\n put ;\n  b + K\n"));
  PlacedText statement;
  ASSERT_TRUE(reader.next(statement) && statement.text() == "a()");
  EXPECT_EQ((Place{0, 3, 2}), statement.place_at(1));
  ASSERT_TRUE(reader.next(statement));
  EXPECT_EQ("b + (1):put()", statement.text());
  EXPECT_EQ((Place{0, 3, 2}), statement.start());
  const Place places[] = {{0, 4, 3}, {0, 4, 5}, {0, 4, 5}, {0, 4, 7},
                          {0, 4, 7}, {0, 4, 7}, {0, 4, 7}, {0, 3, 2}};
  for (std::size_t i = 0; i < std::size(places); ++i)
    EXPECT_EQ(places[i], statement.place_at(i)) << i;
}

TEST(Includes, AreSoughtBesideTheFileThenInTheFolders) {
  const Folder folder, other;
  std::filesystem::create_directory(folder.path("sub"));
  folder.write("sub/a.ch", "#include 'b.ch'\n#include 'c.ch'\n#ifdef x\n");
  folder.write("sub/b.ch", "beside()\n#define x\n");
  other.write("b.ch", "not_this()\n");
  other.write("c.ch", "elsewhere()");
  other.write("loop.ch", "#include 'loop.ch'");
  const auto from = [&](const std::string& text) {
    return read(text, folder.path("x.prg"), {other.path("")});
  };
  EXPECT_EQ("beside()\nelsewhere()\nlast()\n" + folder.path("sub/a.ch") +
                ":3:1: error: a condition without its #endif\n#ifdef x\n^\n",
            from("#include \"sub/a.ch\"\nlast()"));
  EXPECT_TRUE(
      holds(from("#include 'loop.ch'"), "loop.ch:1:1: error: files that include each other"));
}

}  // namespace
}  // namespace tarnel::testing
