* BEGIN SEQUENCE with ways out of it, from depths and from handlers.
procedure main
  local x := 0, e, i, bOld

  begin sequence
    x := 1
    deep(3)
    x := 2
  recover using e
    ? "recovered", e, x, procname()
  end sequence

  for i := 1 to 4
    begin sequence
      if i = 2
        loop
      elseif i = 4
        exit
      endif
      begin sequence
        if i = 3
          loop
        endif
        break
      recover using e
        ? i, e
        break "outer"
      end
    recover using e
      ? i, e
      loop
    endsequence
  next
  ? i, inside()

  bOld := errorblock({|o| break(o)})
  begin sequence
    ? 1 + {}
    ? "never"
  recover using e
    ? e:gencode, valtype(e), isbegseq()
  end
  errorblock({|o| qout("handled", o:gencode), .t.})
  x := 1 + "a"
  ? "goes on", valtype(x)
  errorblock(bOld)
  begin sequence
    aeval({1, 2, 3}, {|n| iif(n = 2, break(n), qout(n))})
  recover using e
    ? "out of aeval with", e
  end
  break "nobody"

procedure deep(n)
  private p := n
  if n = 0
    break "from the deep"
  endif
  deep(n - 1)

function inside
  begin sequence
    begin sequence
      return "returned"
    end
  end
  return "never"
