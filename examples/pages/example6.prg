// Example 6: a table as an HTML table, knowing nothing of its fields beforehand.

#define EOL chr(10)

PROCEDURE example6(aEnv, aForm)
  LOCAL nFields, aTypes, aIsText := {}, i, cRow, cEnd := "</td>" + EOL
  tnhtml()
  tnbody()
  USE user SHARED READONLY
  ? "<table>"
  ? "<caption>Example table-browser output</caption>"
  nFields := fcount()
  aTypes := array(nFields)
  afields(, aTypes)
  FOR i := 1 TO nFields
    aadd(aIsText, aTypes[i] == "C")
    ? "<th>" + fieldname(i) + "</th>"
  NEXT
  DO WHILE !eof()
    cRow := "<tr>" + EOL
    FOR i := 1 TO nFields
      cRow += "<td>"
      IF aIsText[i]  // as most are
        cRow += alltrim(fieldget(i))
      ELSEIF aTypes[i] == "M"  // what can be of any length isn't shown
        cRow += "[type M?]"
      ELSE
        cRow += alltrim(asstring(fieldget(i)))
      ENDIF
      cRow += cEnd
    NEXT
    ? cRow + "</tr>"
    SKIP
  ENDDO
  USE
  ? "<tr>END OF DATA</tr>"
  ? "</table>"
  tnbodyend()
  tnhtmlend()
RETURN

// A field's value as text. Its type is asked of the variable itself, for which no copy is made then.
FUNCTION asstring(xValue) AS CHARACTER
  DO CASE
    CASE valtype(@xValue) == "C"
      RETURN xValue
    CASE valtype(@xValue) == "N"
      RETURN ntrim(xValue)
    CASE valtype(@xValue) == "L"
      RETURN iif(xValue, "y", "n")
    CASE valtype(@xValue) == "D"
      RETURN dtoc(xValue)
  ENDCASE
RETURN "[type " + valtype(@xValue) + "?]"

// A number without the blanks before it.
FUNCTION ntrim(nValue AS NUMERIC) AS CHARACTER
RETURN alltrim(str(nValue))
