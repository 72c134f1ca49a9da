* A handler that breaks where there is no sequence: the error is told that it has got.
procedure main
  errorblock({|o| handle(o)})
  fail({})
  ? "never"

procedure fail(n)
  ? 1 + n

procedure handle(o)
  break o:gencode
