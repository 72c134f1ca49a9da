// All accounts as CSV, a row at a time.
PROCEDURE main
  open_accounts()
  tnheader("Content-type", "text/csv; charset=utf-8")
  tnheader("Content-Disposition", 'attachment; filename="accounts.csv"')
  SET ORDER TO 1
  GO TOP
  ?? tocsv({{"number", "name", "email", "balance"}})
  DO WHILE !eof()
    ?? tocsv({{number, safe(trim(name)), safe(trim(email)), balance}})
    SKIP
  ENDDO
RETURN

// A spreadsheet would take such a text for a formula.
FUNCTION safe(cText)
RETURN iif(left(cText, 1) $ "=+-@" + chr(9) + chr(13) .and. !(cText == ""), "'" + cText, cText)

#include "accounts.ch"
