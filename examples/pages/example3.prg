// Example 3: looks an account up by its number.

PROCEDURE example3(aEnv, aForm)
  tnhtml()
  tnbody()
  balance(tnlookup(aForm, "ACCOUNT"))
  tnbodyend()
  tnhtmlend()
RETURN

// Writes whose account it is. (The balance is made, but tnline() writes its first argument only.)
PROCEDURE balance(cAccount)
  LOCAL cName, nBalance
  USE user INDEX user1
  cAccount := padl(alltrim(cAccount), len(user->userid))  // numbers stand at the right of their field
  IF dbseek(cAccount, .F.)
    cName := alltrim(user->firstname) + " " + alltrim(user->middlename) + " " + alltrim(user->lastname)
    nBalance := user->balance
    tnline(cName, "your balance is $" + alltrim(str(nBalance, 7, 2)))
  ELSE
    ? "Sorry, your account is not in our database...yet!  "
    ? "But as long as you're here, why not "
    tnlink("#example2", "register")
    ? " to take advantage of these <EM>great</EM> offers?"
  ENDIF
  USE
RETURN
