* LIST and DISPLAY, and what stands for a record behind the last one.
procedure main
  dbcreate("fruit", {{"name", "C", 8, 0}, {"price", "N", 6, 2}})
  use fruit exclusive
  append blank
  replace name with "quince", price with 2.5
  append blank
  replace name with "apple", price with 0.4
  delete
  list
  list off name, price * 2 for price < 1
  go 1
  display
  display name while price > 1
  list upper(name) next 1
  errorblock({|e| break(e:gencode)})
  begin sequence
    go bottom
    skip
    replace price with 1
  recover using e
    ? e
  end
  close
  begin sequence
    list
  recover using e
    ? e
  end
