// Texts of the source as arguments, which procedures change, give back and keep.
procedure main
  local b, a := {}
  ? grow("abc"), grow("")
  ? same("xyz") == "xyz", len(same("a"))
  b := keeper("literal")
  ? eval(b), eval(b)
  aadd(a, "one")
  a[1] += "!"
  ? a[1]
  put(a, "two")
  a[2] += "?"
  ? a[2], typed("T"), fixed("q")
  priv("pp")
  ? loops("x")
  errorblock({|e| qout(e:gencode)})
  ? counted("no number"), counted("")

function counted(c)
return valtype(c--) + valtype(++c) + c

function grow(c)
  c += "def"
  c := c + upper(c)
return c

function same(c)
return c

function keeper(c)
return {|| c += "+", c}

procedure put(a, c)
  aadd(a, c)
  c := "changed"

function typed(c as character) as character
  c := c + "yped"
return c

function fixed(c as character)
  c += c
return c

procedure priv(c)
  private p := c
  p += "x"
  ? p, c, type("p")
  byref(@c)
  ? c

procedure byref(c)
  c += "r"

function loops(c)
  local i
  for i := 1 to 5
    c += str(i, 1)
    c := padl(c, 12, "*")
  next
return c
