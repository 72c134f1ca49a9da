// Example 2: a form of registration. It adds an account to the table of users.

PROCEDURE example2(aEnv, aForm)
  tnhtml("Doro's Clip-O-Rama Registration")
  tnbody()
  tnline("Thank you for registering at Doro's Clip-O-Rama!")
  regform(aForm)
  tnbodyend()
  tnhtmlend()
RETURN

// Adds the account with the names in the form, and tells its number.
PROCEDURE regform(aForm)
  LOCAL cFirst AS CHARACTER, cMiddle AS CHARACTER, cLast AS CHARACTER, cNewId AS CHARACTER

  cFirst  := tnlookup(aForm, "FIRSTNAME")
  cMiddle := tnlookup(aForm, "MIDDLENAME")
  cLast   := tnlookup(aForm, "LASTNAME")
  tnline("Current directory is " + curdir())

  // The order is made anew for each request: nobody else can have the table open meanwhile.
  USE user EXCLUSIVE
  INDEX ON user->userid TO user1
  USE

  // The next number, as wide as the field: one more than the last in the order.
  USE user INDEX user1
  GO BOTTOM
  cNewId := str(val(user->userid) + 1, len(user->userid), 0)

  APPEND BLANK
  REPLACE firstname WITH cFirst, middlename WITH cMiddle, lastname WITH cLast, userid WITH cNewId
  USE

  tnline("You have been registered as user <EM>" + cNewId + "</EM>.")
  tnline("Your user information is:")
  tnline("Name: " + alltrim(cFirst) + " " + alltrim(cMiddle) + " " + alltrim(cLast))
  tnline("Thank you for registering at Doro's Clipper Web-O-Rama!")
RETURN
