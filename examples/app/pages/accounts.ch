// What the pages of the accounts share. No server gives out a file that ends so.

// Opens the table: order 1 is by number, 2 by name. Both follow each change.
PROCEDURE open_accounts
  SET DELETED ON
  SET EXACT OFF
  USE account SHARED INDEX account1, account2
RETURN

// Goes to an account. Is there one?
FUNCTION find(nNumber)
  SET ORDER TO 1
RETURN nNumber > 0 .and. nNumber < 99999999 .and. dbseek(str(nNumber, 8))

// The text of a field: of one that was sent twice the first.
FUNCTION one(xValue)
RETURN iif(valtype(xValue) == "A", xValue[1], xValue)

// Is it a number such as -12.50, which the field has room for?
FUNCTION is_amount(cText)
  LOCAL cDigits := iif(left(cText, 1) == "-", substr(cText, 2), cText), nPoint, i
  nPoint := at(".", cDigits)
  IF nPoint > 0
    IF len(cDigits) - nPoint > 2
      RETURN .F.
    ENDIF
    cDigits := left(cDigits, nPoint - 1) + substr(cDigits, nPoint + 1)
  ENDIF
  FOR i := 1 TO len(cDigits)
    IF !isdigit(substr(cDigits, i, 1))
      RETURN .F.
    ENDIF
  NEXT
RETURN !empty(cDigits) .and. abs(val(cText)) < 10000000
