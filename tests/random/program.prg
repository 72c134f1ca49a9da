* Writes a random program: arguments are the seed and the number of its procedures. Whatever it does it ends, tells each
* error with its place, and shows what its variables held.
STATIC nSeed := 1, nDepth := 0, nLoops := 0, nCount := 0, nSequences := 0, nStatements := 0

FUNCTION main(cSeed, cCount)
  LOCAL i, n := val(cCount)
  nSeed := val(cSeed) % 2147483646 + 1
  wr("PROCEDURE main")
  wr("  LOCAL x")
  wr("  PUBLIC pub := 3")
  wr("  errorblock({|e| told(e)})")
  FOR i := 1 TO n
    wr("  x := " + pick({"2", "-1.5", ["ab"], ".t.", "nil", "{1, 2}", "0"}))
    wr("  ? 'proc', " + num(i) + ", p" + num(i) + "(x, " + num(rnd(9)) + ", @x), x")
  NEXT
  wr("")
  wr("FUNCTION told(oError)")
  wr("  STATIC nTold := 0")
  wr("  ? 'error', oError:gencode, procname(2), procline(2)")
  wr("  IF ++nTold > 2000")
  wr("    QUIT")
  wr("  ENDIF")
  wr("RETURN 1")
  wr("")
  wr("FUNCTION show(x)")
  wr("  STATIC nShown := 0")
  wr("  IF ++nShown > 3000")
  wr("    QUIT")
  wr("  ENDIF")
  wr("  IF valtype(x) == 'A'")
  wr("    aeval(x, {|y| qqout('<'), show(y)})")
  wr("  ELSEIF valtype(x) == 'B'")
  wr("    ?? 'block'")
  wr("  ELSE")
  wr("    ?? valtype(x), x")
  wr("  ENDIF")
  wr("RETURN x")
  FOR i := 1 TO n
    nCount := i
    one(i)
  NEXT
RETURN 0

PROCEDURE one(i)
  nStatements := 0
  wr("")
  wr("FUNCTION p" + num(i) + "(a, b, c)")
  wr("  LOCAL n := " + expr("N", 2) + ", t := " + expr("C", 1) + ", l := .f., v := {1, 'two', {3, 4}}, k1, k2, k3, z")
  wr("  STATIC s := " + pick({"0", ["s"], "{7}"}))
  wr("  PRIVATE q := " + expr("U", 1) + ", name := 'q'")
  body(1)
  wr("  ? n, t, l, s, q, a, b, c")
  wr("  show(n)")
  wr("  show(v)")
RETURN

PROCEDURE body(nLevel)
  LOCAL i
  FOR i := 1 TO 1 + rnd(4)
    statement(nLevel)
  NEXT
RETURN

PROCEDURE statement(nLevel)
  LOCAL c := space(2 * nLevel), k := "k" + num(nLoops + 1), n := rnd(20)
  IF ++nStatements > 40 .or. (nLevel > 5 .and. n > 8)
    n := rnd(8)
  ENDIF
  DO CASE
  CASE n <= 1
    wr(c + var("N") + pick({" := ", " += ", " -= ", " *= "}) + expr("N", 3))
  CASE n = 2
    wr(c + var("C") + pick({" := ", " += ", " := "}) + expr("C", 3))
  CASE n = 3
    wr(c + var("U") + " := " + expr("U", 3))
  CASE n = 4
    wr(c + "? " + expr("U", 3) + ", " + expr("U", 2))
  CASE n = 5
    wr(c + var("N") + pick({"++", "--"}))
  CASE n = 6
    wr(c + "l := " + expr("L", 3))
  CASE n = 7
    wr(c + "v[" + pick({"1", "2", "n", "9"}) + "] := " + expr("U", 2))
  CASE n = 8
    wr(c + pick({"aadd(v, " + expr("U", 2) + ")", "&name := " + expr("U", 2), "z := {|x, y| x := " + expr("U", 2) + ", n += 1, " + expr("U", 2) + "}", "m->q := " + expr("U", 2), "asize(v, 3)", "show(" + expr("U", 3) + ")"}))
  CASE n <= 11
    wr(c + "IF " + expr("L", 3))
    body(nLevel + 1)
    IF rnd(2) = 0
      wr(c + "ELSEIF " + expr("L", 2))
      body(nLevel + 1)
    ENDIF
    IF rnd(2) = 0
      wr(c + "ELSE")
      body(nLevel + 1)
    ENDIF
    wr(c + "ENDIF")
  CASE n <= 13 .and. nLoops < 3
    ++nLoops
    wr(c + "FOR " + k + " := " + num(rnd(3)) + " TO " + pick({"2", "3", "min(n, 3)", "len(v)"}) + pick({"", "", " STEP 1", " STEP 2"}))
    body(nLevel + 1)
    leaves(nLevel + 1)
    wr(c + "NEXT")
    --nLoops
  CASE n = 14 .and. nLoops < 3
    ++nLoops
    wr(c + k + " := 0")
    wr(c + "DO WHILE " + k + "++ < " + num(rnd(4)))
    body(nLevel + 1)
    leaves(nLevel + 1)
    wr(c + "ENDDO")
    --nLoops
  CASE n = 15 .and. nLoops < 3
    ++nLoops
    wr(c + "FOR EACH " + pick({"z", "q", "t"}) + " IN " + pick({"{1, 'b', .t.}", "v", "aclone(v)"}))
    body(nLevel + 1)
    leaves(nLevel + 1)
    wr(c + "NEXT")
    --nLoops
  CASE n = 16
    wr(c + "DO CASE")
    wr(c + "CASE " + expr("L", 2))
    body(nLevel + 1)
    wr(c + "CASE " + expr("L", 2))
    body(nLevel + 1)
    wr(c + "OTHERWISE")
    body(nLevel + 1)
    wr(c + "ENDCASE")
  CASE n = 17
    ++nSequences
    wr(c + "BEGIN SEQUENCE")
    body(nLevel + 1)
    leaves(nLevel + 1)
    --nSequences
    wr(c + "RECOVER" + pick({"", " USING z", " USING q", " USING v[1]"}))
    body(nLevel + 1)
    wr(c + "END")
  CASE n = 18 .and. nSequences > 0
    wr(c + "IF " + expr("L", 2))
    wr(c + "  BREAK " + expr("U", 2))
    wr(c + "ENDIF")
  CASE nLevel > 1 .and. rnd(3) = 0
    wr(c + "IF " + expr("L", 2))
    wr(c + "  RETURN " + expr("U", 2))
    wr(c + "ENDIF")
  OTHERWISE
    wr(c + "? " + expr("U", 4))
  ENDCASE
RETURN

* LOOP or EXIT under a condition, where a loop is open.
PROCEDURE leaves(nLevel)
  LOCAL c := space(2 * nLevel)
  IF nLoops = 0 .or. rnd(2) = 0
    RETURN
  ENDIF
  wr(c + "IF " + expr("L", 2))
  wr(c + "  " + pick({"LOOP", "EXIT"}))
  wr(c + "ENDIF")
  statement(nLevel)
RETURN

* A variable that mostly holds a value of the type.
FUNCTION var(cType)
  DO CASE
  CASE cType == "N"
    RETURN pick({"n", "n", "b", "s", "pub", "v[1]", "q"})
  CASE cType == "C"
    RETURN pick({"t", "t", "t", "v[2]", "q"})
  ENDCASE
RETURN pick({"n", "t", "q", "z", "a", "b", "s", "pub", "v[1]", "v[3][1]"})

FUNCTION expr(cType, nLevel)
  LOCAL n := rnd(10), nNext := nLevel - 1
  IF rnd(40) = 0
    cType := pick({"N", "C", "L", "U"})
  ENDIF
  IF nLevel <= 0
    RETURN leaf(cType)
  ENDIF
  DO CASE
  CASE cType == "N"
    DO CASE
    CASE n <= 4
      RETURN "(" + expr("N", nNext) + pick({" + ", " - ", " * ", " / ", " % "}) + expr("N", nNext) + ")"
    CASE n = 5
      RETURN "len(" + expr("C", nNext) + ")"
    CASE n = 6
      RETURN pick({"-", "+"}) + expr("N", nNext)
    CASE n = 7
      RETURN var("N") + pick({"++", "--"})
    CASE n = 8
      RETURN "(n := " + expr("N", nNext) + ")"
    ENDCASE
  CASE cType == "C"
    DO CASE
    CASE n <= 3
      RETURN "(" + expr("C", nNext) + pick({" + ", " - "}) + expr("C", nNext) + ")"
    CASE n = 4
      RETURN "str(" + expr("N", nNext) + ", 8, 2)"
    CASE n = 5
      RETURN "left(" + expr("C", nNext) + ", " + expr("N", nNext) + " % 10)"
    CASE n = 6
      RETURN "upper(" + expr("C", nNext) + ")"
    ENDCASE
  CASE cType == "L"
    DO CASE
    CASE n <= 2
      RETURN "(" + expr("N", nNext) + pick({" < ", " > ", " = ", " # ", " <= ", " >= ", " == "}) + expr("N", nNext) + ")"
    CASE n = 3
      RETURN "(" + expr("C", nNext) + pick({" = ", " == ", " $ ", " < "}) + expr("C", nNext) + ")"
    CASE n <= 6
      RETURN "(" + expr("L", nNext) + pick({" .and. ", " .or. "}) + expr("L", nNext) + ")"
    CASE n = 7
      RETURN "!" + expr("L", nNext)
    CASE n = 8
      RETURN "empty(" + expr("U", nNext) + ")"
    ENDCASE
  OTHERWISE
    DO CASE
    CASE n = 0
      RETURN "iif(" + expr("L", nNext) + ", " + expr("U", nNext) + ", " + expr("U", nNext) + ")"
    CASE n = 1
      RETURN "eval({|x, y| " + expr("U", nNext) + pick({"", ", n := x", ", y"}) + "}, " + expr("U", nNext) + ", " + expr("U", nNext) + ")"
    CASE n = 2 .and. nCount > 1 .and. nLoops < 2
      RETURN "p" + num(1 + rnd(nCount - 1)) + "(" + expr("U", nNext) + ", " + expr("N", nNext) + pick({"", ", @z", ", @q"}) + ")"
    CASE n = 3
      RETURN "{" + expr("U", nNext) + ", " + expr("U", nNext) + "}[" + pick({"1", "2", "n"}) + "]"
    CASE n = 4
      RETURN pick({"&name", "&('q')", "&('pub + 1')", "m->q", "valtype(z)", "type('q')", "_l->n", "&('_p->a')", "_procvar('t')", "_procvar('s', 'F')"})
    CASE n = 5
      RETURN "(" + var("U") + " := " + expr("U", nNext) + ")"
    CASE n = 6
      RETURN "show(" + expr("U", nNext) + ")"
    OTHERWISE
      RETURN expr(pick({"N", "C", "L"}), nNext)
    ENDCASE
  ENDCASE
RETURN leaf(cType)

FUNCTION leaf(cType)
  DO CASE
  CASE cType == "N"
    RETURN pick({num(rnd(12)), "0.5", "2.25", "n", "n", "b", "pub", "len(v)", "k1"})
  CASE cType == "C"
    RETURN pick({["ab"], [""], ["x y"], "t", "t", "dtoc({^2001-02-03})", [chr(65)]})
  CASE cType == "L"
    RETURN pick({".t.", ".f.", "l", "l"})
  ENDCASE
RETURN pick({"n", "t", "l", "q", "s", "a", "b", "c", "z", "nil", "v[2]", "{^1999-12-31}", "7", ["u"]})

* --- Chance and output.
FUNCTION rnd(n)
  nSeed := nSeed * 16807 % 2147483647
RETURN int(nSeed / 7) % n

FUNCTION pick(aChoices)
RETURN aChoices[1 + rnd(len(aChoices))]

FUNCTION num(n)
RETURN alltrim(str(n))

PROCEDURE wr(cLine)
  qqout(cLine + chr(10))
RETURN
