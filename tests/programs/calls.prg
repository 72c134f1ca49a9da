* Procedures that call procedures: how deep, and what each way out of them leaves behind.
static depth := 0
procedure main
  local e, was, o, i
  was := errorblock({|x| break(x)})
  begin sequence
    endless(1)
  recover using e
    ? "309?", valtype(e), depth > 1000
  end
  ? procname(0), procline(0)
  begin sequence
    mixed(1)
  recover using e
    ? "mixed", valtype(e)
  end
  begin sequence
    o := thing()
    o:endless(1)
  recover using e
    ? "method", valtype(e), depth > 1000
  end
  for i := 1 to 25000  // no way out of a binding takes room
    begin sequence
      if i % 2 = 0
        typed("x")
      else
        aeval({"x"}, {|x| typed(x)})
      endif
    recover using e
    end
  next
  ? e:gencode
  errorblock(was)
  dbcreate("ta", {{"k", "N", 3, 0}})
  dbcreate("tb", {{"k", "N", 3, 0}})
  use ta new
  use tb new
  begin sequence
    ? in_areas(3)
    ? in_areas(-4)
  recover using e
    ? "left", e, alias()
  end
  close all
  ? try(5), try(40)
  ? leaves(10), turns(30)
  ? args(1, 2, 3), args(1), args()
  ? count_args(1, , 3, "x")
  ? ref_test()
  ? nested(3)
  ? text_call()
  i := 0
  aeval(array(30000), {|| i := add(i, 1)})  // nor does a call from outside
  ? i
return

class thing
  method endless(n)
endclass
method endless(n) class thing
  depth := n
return self:endless(n + 1) + 1

function in_areas(n)
  if n = 0
    return alias()
  elseif n = -1
    break alias()
  endif
return ta->(in_more(n)) + alias()

function in_more(n)
return tb->(in_areas(n + iif(n > 0, -1, 1)))

function typed(n as numeric)
return n

function endless(n)
  depth := n
return endless(n + 1) + 1

function mixed(n)
  local b := {|x| mixed(x + 1)}
return eval(b, n)

function try(n)
  local got, e
  begin sequence
    got := down(n)
  recover using e
    got := "caught " + e + " in " + procname(0) + str(procline(0), 3)
  end
return got

function down(n)
  local inner
  if n = 20
    begin sequence
      inner := down(n - 1)
    recover using inner
      break "again " + inner
    end
  elseif n = 0
    break "bottom"
  endif
return down(n - 1)

function leaves(n)
  if n > 0
    begin sequence
      return leaves(n - 1) + 1
    recover
      return -1
    end
  endif
return 0

function turns(n)
  local i, sum := 0
  for i := 1 to n
    begin sequence
      if i % 3 = 0
        loop
      elseif i = 25
        exit
      endif
      sum += add(i, 1)
    end
  next
return sum

function add(a, b)
return a + b

function args(a, b, c)
return valtype(a) + valtype(b) + valtype(c) + str(pcount(), 2)

function count_args
return pcount()

function change(x)
  x := x + 1
return x

function ref_test
  local a := 1, b := change(@a), c := change(a)
return str(a, 3) + str(b, 3) + str(c, 3)

function nested(n)
return add(add(n, add(1, 2)), add(add(n, 1), 4)) + iif(n > 0, nested(n - 1), 0)

function text_call
  private t := "nested(2) + add(1, 2)"
return &t
