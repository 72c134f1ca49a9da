* What a translation could take for something else than it is.
STATIC a := f()
PROCEDURE main
  LOCAL constant := 1, in_sequence := 2, break_sequence := 3, x, y
  errorblock({|e| h(e)})
  ? a, constant + 2, in_sequence, break_sequence
  ? 12345678901234567890, 98765432109876543210, 1234567890
  FOR x := 1 TO g() STEP 0
    ? x
  NEXT
  DO CASE
  ENDCASE
  DO CASE
  OTHERWISE
    ? "only"
  ENDCASE
  ? 1, none->(5), 3
  ? "h" + chr(228) + "ä"
  ? undefined_function_one(1)
  ? undefined_function_two(1)
  BEGIN SEQUENCE
    ? assert(2)
    BREAK 1
  RECOVER USING y
    ? y
  END
  elements()
  dbcreate("one", {{"N", "N", 5, 0}})
  dbcreate("two", {{"N", "N", 5, 0}})
  dbusearea(.t., , "one")
  dbusearea(.t., , "two")
  ? one->(two->(alias())), alias()
  BEGIN SEQUENCE
    r(1)
  RECOVER
    ? "recovered"
  END
  ? "never"
FUNCTION f
  STATIC s := 5
  ? s
RETURN 1
FUNCTION g
  ? "g called"
RETURN 2
FUNCTION h(e)
  ? "h", e:gencode, e:description, procname(1), procline(1)
RETURN 0
FUNCTION assert(x)
RETURN x * 2
FUNCTION r(n)
RETURN r(n + 1)
EXIT PROCEDURE e2
  ? "e2"
FUNCTION statics
RETURN 1
* An element that an expression has taken goes with its value where the rest of the expression sorts.
PROCEDURE elements
  LOCAL p := {3, 1, 2}, q := {3, 1, 2}, r := {3, 1, 2}, s := {3, 1, 2}
  q[1] += asort(q)[3]
  r[1] := asort(r)[2]
  ? p[1] + asort(p)[1], q[3], r[3], {s[1], asort(s)[1]}[1], max(s[3], asort(s, , , {|x, y| x > y})[3])
