* An array has at most 65,535 elements.
procedure main
  local i, k, n := 1, a
  for k := 1 to 10
    a := array(60000)
    for i := 1 to 60000
      n := (n * 16807) % 2147483647
      a[i] := n
    next
    asort(a)
  next
  ? a[1]
