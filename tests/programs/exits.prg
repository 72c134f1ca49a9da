* What fails in an EXIT procedure is told as anywhere else, and what it handles goes on.
procedure main
  ? "main"

exit procedure first
  local e
  errorblock({|o| break(o)})
  begin sequence
    ? 1 + {}
  recover using e
    ? "handled", e:gencode
  end
  errorblock({|o| iif(o:gencode = 308, break(o), qout("goes on after", o:gencode))})
  e := 1 + {}
  deep()
  ? "never"

procedure deep
  nowhere()

exit procedure second
  ? "never"
