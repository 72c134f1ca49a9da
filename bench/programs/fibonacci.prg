procedure main
  ? fib(29)

function fib(n)
  if n < 2
    return n
  endif
  return fib(n - 1) + fib(n - 2)
