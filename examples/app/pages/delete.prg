// Deletes an account that nobody has changed since its visitor saw it.
PROCEDURE main(aEnv, aForm)
  IF tnmethod() != "POST" .or. !tncheck(aForm)
    tnstatus(403)
    ?? "This form isn't one of this visit."
    RETURN
  ENDIF
  open_accounts()
  IF find(one(tnform(aForm, "number")))
    IF !rlock() .or. version != val(one(tnform(aForm, "version")))
      tnstatus(409)
      ?? "Somebody else is changing this account, or has changed it."
      RETURN
    ENDIF
    DELETE
    COMMIT
    UNLOCK
  ENDIF
  tnredirect("index.tnp")
RETURN

#include "accounts.ch"
