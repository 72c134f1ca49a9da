procedure main
  local k, n
  use t readonly
  for k := 1 to 5
    n := 0
    go top
    do while .not. eof()
      n += field->amount
      skip
    enddo
  next
  ? n
