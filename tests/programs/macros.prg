* Macros in statements and expressions.
procedure main
  local cExpr := "1 + n", cName := "n", cProc := "other", x
  private n := 5, n1 := "one", aList := {7, 8}, cAmp := "n"

  qout(&cExpr, &(cExpr + " + 1"), &cName, n&("1"), &cName.1)
  &cName := 6
  m->&cName += 1
  qout(n, &("aList")[2], "a text with &cAmp and &cName")
  x := "newvar"
  &x := "made"
  qout(&x, type("newvar"), newvar)
  do &cProc with "by name"
  qout(&cProc("called"))
  qout(eval({|| &cExpr}), eval(&("{|y| y * n}"), 3))
  qout(type("x"), type("cExpr"))
  &cProc.()
  return

function other(c)
  qout("other", c)
  return 1
