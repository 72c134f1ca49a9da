// Variables of the code are known by name to macros and to those who ask: of the procedure that runs, and of its callers.
static total := 3
static y := "of the file", z := _s->total + 1

class pair
  var size
  method show
endclass

procedure main(first, unused)
  local x := 5, averylongname := "long", again
  static y := 7, own := {|p| told(p) + own()}
  ? _p->first, _l->x, _s->y, _s->total, _l->first, _p->x, _s->x
  ? &("_l->x * 2"), &("_l->AVERYLONGNOTTHIS")
  ? _procvar("X"), _procvar("first"), _procvar("y"), _procvar("y", "F"), _procvar("y", "T")
  _procvar("x", "L", 0, 6)
  x += _procvar("total", "F", 0, 10)
  ? x, total, z
  again := {|p, q| told(p, @x)}
  private kept := x
  for each i in {1}
    _displvar(0)
  next
  eval(again, "in a block")
  ? x
  inner(@x)
  ? x, _procvar("x", "L", 5)
  pairnew():show(1)
return

// From within a block: its own parameters and what it keeps, and the statics of the procedure around it.
static function told(p, n)
  ? _procvar("p", "L", 1), _procvar("x", "L", 1), _procvar("again", "L", 1), _procvar("y", "F", 1)
  ? _procvar("x", "L", 2), _procvar("own", "F"), _procvar("y", "F")
  n += 1
return p

procedure inner(n)
  local deeper := "deeper"
  _displvar(1)
  n := 0
  ? _procvar("x", "L", 1)
  _procvar("x", "L", 1, 20)
  ? n
  _displvar(0)
  begin sequence
    again(3)
  end
  ? _procvar("deeper")
return

function again(times)
  if times = 0
    _procvar("deeper", "L", 4, "changed")
    break
  endif
return again(times - 1)

method show(n) class pair
  ? valtype(_p->self), _p->n, _l->self == self
return self

function own
return " and more"
