procedure main
  local i := 0, n := 0
  do while i < 5000000
    n := n + i * 2 % 7 - 1
    i++
  enddo
  ? n
