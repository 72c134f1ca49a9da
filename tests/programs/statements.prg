* Statements in their forms; keywords in any case and cut to four letters.
function main(cFirst, cSecond, cThird)
  local i, j, n := 0, a := {}

  qout(cFirst, cSecond, cThird, pcount())
  if n > 0
    qout("never")
  elseif n = 0 .and. .not. empty(cFirst)
    qout("elseif")
  else
    qout("never")
  end

  for i := 1 to 3
    qqout(i)
  next i
  for i = 3 to 1 step -2
    qqout(i)
  end for
  qqout("then", i)
  for i := 1 to n + 2       && the limit is looked at before each turn
    n := min(n + 1, 2)
    if i = 3
      i := 10
      loop
    endif
  next
  qout(i, n)

  do whil .t.
    n++
    if n < 5
      loop
    end if
    exit
  endd
  qout(n)
  while n > 3
    n -= 1
  end do
  qout(n)

  do case
  case n = 4
    qout("four")
  case n = 3
    qout("three")
    for j := 1 to 9
      if j = 2
        exit
      endif
    next
    qout(j)
  case n = 3
    qout("never")
  otherwise
    qout("never")
  endcase

  for each i in {1, "two", {3}}
    aadd(a, valtype(i))
    if valtype(i) = "C"
      loop
    endif
  next
  qout(a[1], a[2], a[3], i[1])
  for each i in a
    if len(a) < 5
      aadd(a, "more")
    endif
  next
  qout(len(a), i)

  do show with "done", n
  retu nothing() + 3      && the status

procedure show(c, n)
  qout(c); qqout(n); qqout(pcount())
  return

function nothing
  local return := 0       && a word of a statement as a name
  return := return + 1
  return(return + 1)
