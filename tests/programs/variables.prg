* Locals, statics, privates, publics, parameters, fields; what is passed how.
static nCount := 10, aList[2, 3]
static cName as character
memvar m1

procedure start(a)
  local x := 1, y as numeric, z as numeric := 2, g[2]
  private p1 := "private", p2
  public q1

  ? x, y, z, valtype(y), len(g), len(aList[2]), nCount, "<" + cName + ">"
  ? p1, p2, q1, type("p1"), type("x")
  do byref with x, (z), g
  ? x, z, g[1]
  byvalue(z, @x)
  ? x, z
  a := {1, 2}
  byarray(a)
  ? len(a), a[1]
  count(); count()
  ? count(), nCount
  m1 := "private by assignment"
  inner()
  ? m1, type("deep")
  p1 := 5
  if .t.
    local late := z + 1
    ? late
  endif
  ? late
  restoring()
  ? p1
  typed("wrong")

* RESTORE takes the place of what is private here.
procedure restoring
  private own := "own", other := 1, ober := 2
  save to own all like own
  own := "changed"
  restore from own
  ? own, type("other"), p1
  own := other := ober := 1
  release all like o?er
  ? own, type("other"), type("ober")
  release all except o*
  ? own

procedure byref(u, v, w)
  u := u + 100
  v := v + 100
  w[1] := "shared"

procedure byvalue(u, v)
  u := "other"
  v := "by reference"

procedure byarray(w)
  w[1] := "seen"
  w := nil

function count
  static nCalls := 0
  nCalls++
  nCount += nCalls
  return nCalls

procedure inner
  parameters one, two
  private m1 := "hidden"
  deep := m1
  ? m1, p1, one, deep

procedure typed(n as numeric)
  ? "not reached"
