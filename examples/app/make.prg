// Makes the table of the accounts, with some to begin with, in the working directory:
//   cd examples/app; mkdir -p data; cd data; tnsh ../make.prg
PROCEDURE main
  LOCAL aNames := {"Ada Berg", "Bo Lind", "Clara Ek", "David Falk", "Elsa Holm"}, i
  IF file("account.dbf")
    ? "The table is there already"
    RETURN 1
  ENDIF
  // Four bytes for each letter that the pages allow: the most that one takes in UTF-8.
  dbcreate("account", {{"NUMBER", "N", 8, 0}, {"NAME", "C", 160, 0}, {"EMAIL", "C", 240, 0}, ;
                       {"BALANCE", "N", 12, 2}, {"VERSION", "N", 8, 0}})
  USE account EXCLUSIVE
  INDEX ON str(number, 8) TO account1
  INDEX ON upper(name) + str(number, 8) TO account2
  SET INDEX TO account1, account2
  FOR i := 1 TO len(aNames)
    APPEND BLANK
    REPLACE number WITH i, name WITH aNames[i], balance WITH i * 12.5, version WITH 1
  NEXT
RETURN 0
