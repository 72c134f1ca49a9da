// Example 1: what the request brought, the variables of its environment and those of its form.

PROCEDURE example1(aEnv, aForm)
  LOCAL i
  tnhtml("Very basic Tarnel[tm] example")
  tnbody()

  tnline("<EM>Your " + alltrim(str(len(aEnv))) + " CGI environment variables are:</EM>")
  tnline()
  FOR i := 1 TO len(aEnv)
    tnline(aEnv[i][1] + ': "' + aEnv[i][2] + '"')
  NEXT
  tnhrule()

  tnline("<EM>Your " + alltrim(str(len(aForm))) + " CGI form variables are:</EM>")
  tnline()
  FOR i := 1 TO len(aForm)
    tnline(aForm[i][1] + ': "' + aForm[i][2] + '"')
  NEXT
  tnhrule()

  tnbodyend()
  tnhtmlend()
RETURN
