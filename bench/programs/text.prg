procedure main
  local i, k, c
  for k := 1 to 20
    c := ""
    for i := 1 to 100000
      c += "0123456789"
    next
  next
  ? len(c)
