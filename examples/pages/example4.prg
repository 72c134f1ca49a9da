// Example 4: a list of links out of a table.

PROCEDURE example4(aEnv, aForm)
  tnhtml()
  tnbody()
  picklist()
  tnbodyend()
  tnhtmlend()
RETURN

// Writes the links in their order, numbered.
PROCEDURE picklist
  LOCAL nCount := 0
  USE urls EXCLUSIVE
  INDEX ON urls->url TO urls1
  USE

  ? "Here are the other fantastic Internet resources we offer!  "
  ? "Why not try one?"
  ? "<BR>"
  USE urls INDEX urls1
  GO TOP
  DO WHILE !eof()
    nCount++
    ?? str(nCount, 3, 0) + " "
    tnlink(alltrim(urls->url), alltrim(urls->desc))
    ? "<BR>"
    SKIP
  ENDDO
  USE
  ? "<BR>"
  ? "Or go back to <A HREF=/test.html>Doro's Web-O-Rama!</A>"
RETURN
