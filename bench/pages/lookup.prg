// The account look-up of the compiled pages, as a file.
PROCEDURE main(aEnv, aForm)
  LOCAL cAccount
  tnhtml()
  tnbody()
  USE user
  SET INDEX TO user1
  cAccount := padl(alltrim(tnlookup(aForm, "ACCOUNT")), len(user->userid))
  IF dbseek(cAccount)
    tnline(alltrim(user->firstname) + " " + alltrim(user->middlename) + " " + alltrim(user->lastname), ;
           "your balance is $" + alltrim(str(user->balance, 7, 2)))
  ELSE
    ? "Sorry, your account is not in our database...yet!  "
    ? "But as long as you're here, why not "
    tnlink("#example2", "register")
    ? " to take advantage of these <EM>great</EM> offers?"
  ENDIF
  CLOSE
  tnbodyend()
  tnhtmlend()
RETURN
