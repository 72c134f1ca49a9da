// What the pages of the accounts share. No server gives out a file that ends so.

// Opens the table: order 1 is by number, 2 by name. Both follow each change. While somebody has it for himself
// the page ends with a word of that.
PROCEDURE open_accounts
  SET DELETED ON
  SET EXACT OFF
  USE account SHARED INDEX account1, account2
  IF neterr()
    tnstatus(503)
    ?? "The accounts are being worked on. Come again in a minute."
    QUIT
  ENDIF
RETURN

// Goes to the account of a number as a visitor has sent it. Is there one? If not, the cursor stays on another.
FUNCTION find(cNumber)
  SET ORDER TO 1
RETURN is_digits(cNumber) .and. len(cNumber) <= 8 .and. dbseek(padl(cNumber, 8))

// The text of a field: of one that was sent twice the first.
FUNCTION one(xValue)
RETURN iif(valtype(xValue) == "A", xValue[1], xValue)

FUNCTION is_digits(cText)
  LOCAL i
  FOR i := 1 TO len(cText)
    IF !isdigit(substr(cText, i, 1))
      RETURN .F.
    ENDIF
  NEXT
RETURN !empty(cText)

// Is it a text of one line, of no more letters? A field has four bytes for each, the most that one takes in UTF-8.
FUNCTION is_line(cText, nMost)
  LOCAL i
  IF utf8len(cText) > nMost
    RETURN .F.
  ENDIF
  FOR i := 1 TO len(cText)
    IF asc(substr(cText, i, 1)) < 32
      RETURN .F.
    ENDIF
  NEXT
RETURN .T.

// Is it a number such as -12.50, which the field has room for?
FUNCTION is_amount(cText)
  LOCAL cDigits := iif(left(cText, 1) == "-", substr(cText, 2), cText), nPoint := at(".", cDigits)
  IF nPoint > 0
    IF len(cDigits) - nPoint > 2
      RETURN .F.
    ENDIF
    cDigits := left(cDigits, nPoint - 1) + substr(cDigits, nPoint + 1)
  ENDIF
RETURN is_digits(cDigits) .and. abs(val(cText)) < 10000000
