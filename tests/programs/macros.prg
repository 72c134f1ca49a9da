* Macros in statements and expressions.
procedure main
  local cExpr := "1 + n", cName := "n", cProc := "other", x
  private n := 5, n1 := "one", aList := {7, 8}, cAmp := "n"

  ? &cExpr, &(cExpr + " + 1"), &cName, n&("1"), &cName.1
  &cName := 6
  m->&cName += 1
  ? n, &("aList")[2], "a text with &cAmp and &cName"
  x := "newvar"
  &x := "made"
  ? &x, type("newvar"), newvar
  do &cProc with "by name"
  ? &cProc("called")
  ? eval({|| &cExpr}), eval(&("{|y| y * n}"), 3)
  ? type("x"), type("cExpr")
  &cProc.()

function other(c)
  ? "other", c
  return 1
