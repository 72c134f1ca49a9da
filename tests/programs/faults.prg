* What is wrong is told in one pass, and nothing runs.
procedure main
  local a, b, a
  ? "never"
  if a > (1
    x := 1 +
  endif x
  for i := 1 to
  next
  a := @b
  f(@b[1])
  do case
    y := 1
  case .t. ;
    .and. ]
  endcase
  "abc
  next
  loop
  d := {13/45/99}
  private p[3 ~ 4]

procedure customer_number
  customer_name := 1
  return

procedure customer_name
  while .t.
  if .t.
