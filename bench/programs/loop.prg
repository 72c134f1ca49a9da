procedure main
  local i
  for i := 1 to 10000000
  next
