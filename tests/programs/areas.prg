* A break takes the selection of an area back that was made on its way.
procedure main
  local e
  dbcreate("ta", {{"k", "N", 3, 0}})
  dbcreate("tb", {{"k", "N", 3, 0}})
  begin sequence
    use tb new
    append blank
    break
  recover
    ? "before any table", select(), used()
  end
  use ta new
  append blank
  leave("aeval", {|| aeval({1}, {|| away()})})
  leave("dbeval", {|| dbeval({|| away()})})
  leave("alias", {|| tb->(away())})
  leave("select", {|| dbselectarea("tb"), break(alias())})
  leave("opened", {|| dbusearea(.t., , "tb", "again"), away()})
  leave("closed", {|| dbclosearea(), break("closed")})
  use ta
  leave("index", {|| dbcreateindex("ai", "k", {|| away()})})
  leave("locate", {|| __dblocate({|| away()})})
  leave("replace", {|| __dbreplace({"k"}, {{|| away()}})})
  leave("relation", {|| dbsetrelation("tb", {|| away()})})
  dbclearrelation()
  replace k with 5
  dbcommitall()
  ? k, tb->k
  errorblock({|o| break(o)})
  begin sequence
    tb->(eval({|| dbselectarea("ta"), 1 + {}}))
  recover using e
    ? e:gencode, alias()
  end
  begin sequence
    k := undefined
  recover using e
    ? e:gencode, k
  end
  // Without a table each tells it once.
  errorblock({|o| qout(o:gencode)})
  close all
  replace k with 1
  select 3
  replace k with 1
  ? field->k
  (7)->k := 1
  // An alias means the table that has it now.
  use ta alias t
  show()
  use tb alias t
  show()
  close all
  show()

procedure show
  ? t->k, t->(reccount())

procedure leave(cHow, bHow)
  local e
  begin sequence
    eval(bHow)
  recover using e
    ? cHow, e, alias(), select()
  end

function away
  dbselectarea("tb")
  break("broken")
  return 0
