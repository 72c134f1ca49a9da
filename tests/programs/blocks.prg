* Blocks with detached locals, blocks in blocks, blocks that outlive their procedure.
function main
  local aCounters := {}, i, bLine, b, k := 2

  for i := 1 to 3
    aadd(aCounters, counter(i * 10))
  next
  eval(aCounters[1]); eval(aCounters[1])
  ? eval(aCounters[1]), eval(aCounters[2])

  b := {|x| eval({|y| x * y + k}, 10)}
  ? eval(b, 4)
  k := 100
  ? eval(b, 4), eval({|a, b| valtype(b)}, 1)
  i := {}
  aeval({3, 1, 2}, {|x, n| aadd(i, x * n)})
  ? i[1], i[2], i[3]
  asort(i,,, {|l, r| l > r})
  ? i[1], i[2], i[3]
  reference(@k)
  ? k
  ? eval({|| procname() + " " + ltrim(str(procline()))})
  ? eval({|x| x := 5, x + 1}, 1), eval({||})
  ? loop_blocks()

function counter(n)
  return {|| n++, n}

procedure reference(x)
  local b := {|| x := x + 1}
  eval(b)

* One cell for each activation: the blocks of a loop share it.
function loop_blocks
  local i, a := {}
  for i := 1 to 3
    aadd(a, {|| i})
  next
  return eval(a[1]) + eval(a[3])
