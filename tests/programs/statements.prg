* Statements in their forms; keywords in any case and cut to four letters.
function main(cFirst, cSecond, cThird)
  local i, j, n := 0, a := {}

  ? cFirst, cSecond, cThird, pcount()
  if n > 0
    ? "never"
  elseif n = 0 .and. .not. empty(cFirst)
    ? "elseif"
  else
    ? "never"
  end

  for i := 1 to 3
    ?? i
  next i
  for i = 3 to 1 step -2
    ?? i
  end for
  ?? "then", i
  for i := 1 to n + 2       && the limit is looked at before each turn
    n := min(n + 1, 2)
    if i = 3
      i := 10
      loop
    endif
  next
  ? i, n

  do whil .t.
    n++
    if n < 5
      loop
    end if
    exit
  endd
  ? n
  while n > 3
    n -= 1
  end do
  ? n

  do case
  case n = 4
    ? "four"
  case n = 3
    ? "three"
    for j := 1 to 9
      if j = 2
        exit
      endif
    next
    ? j
  case n = 3
    ? "never"
  otherwise
    ? "never"
  endcase

  for each i in {1, "two", {3}}
    aadd(a, valtype(i))
    if valtype(i) = "C"
      loop
    endif
  next
  ? a[1], a[2], a[3], i[1]
  for each i in a
    if len(a) < 5
      aadd(a, "more")
    endif
  next
  ? len(a), i

  turns()
  do show with "done", n
  retu nothing() + 3      && the status

procedure show(c, n)
  ? c; ?? n; ?? pcount()

function nothing
  local return := 0       && a word of a statement as a name
  return := return + 1
  return(return + 1)

* Counters of all types, a limit and a counter that change.
procedure turns
  local i, n := 4, d as date, k as integer
  for i := 1 to n
    n := 3
    if i = 2
      i := 2.5
    endif
  next
  ? i
  for d := {^1999-12-30} to {^2000-01-01}
    ?? "", d
  next
  for k := 3 to 1 step -1
    ?? k
  next
