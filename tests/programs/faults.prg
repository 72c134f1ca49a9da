* What is wrong is told in one pass, and nothing runs.
procedure main
  local a, b, a
  ? "never"
  f(@b[1])
  store 1 + to x
  while .t.

class c
  var x
procedure after
