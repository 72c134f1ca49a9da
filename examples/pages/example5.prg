// Example 5: a route planner, in steps. oState:state tells which one is due. As a process answers one request and
// begins with a new state object, the page always shows the first step; the later ones are here to be read.
// The tables: stop, route (the lines), rtstop (which line serves which stop), trx (where one can change), stoptime.

#define EOL chr(10)

// What the later steps find out, as memory variables: a procedure sees those of its callers.
MEMVAR x1, y1, x2, y2, time1, stop1, stop2, lines1, lines2, i, j

FUNCTION example5(aEnv, aForm, oState)
  tnhtml()
  ?? "<TITLE>Waypath route planner[tm]</TITLE>" + EOL
  tnbody()
  ?? "<h1>Waypath Route Planner[tm]</h1>" + EOL
  tnline("Current state: " + ltrim(str(oState:state)))

  DO CASE
    CASE oState:state == 0
      state0(aEnv, aForm, oState)
    CASE oState:state == 1
      // Here state1() will answer.
    CASE oState:state == 2
      CLOSE ALL
      SELECT 1
  ENDCASE

  tnbodyend()
  tnhtmlend()
RETURN oState

// The address of this request. It isn't finished: without brackets tnlookup is no function but a variable, which
// nobody has assigned, and nothing can be appended to that.
FUNCTION thisurl(aEnv)
RETURN "http://" + tnlookup(aEnv, "HTTP_HOST") + tnlookup(aEnv, "SCRIPT_NAME") + tnlookup

// --- The steps

// The form. No order is called stop3, as reindex() makes stop2 twice: where nobody has made one by hand, the page
// ends where it opens the table of the stops.
PROCEDURE state0(aEnv, aForm, oState)
  reindex()

  // Each in an area of its own.
  USE stop NEW INDEX stop1, stop2, stop3
  USE route NEW INDEX route1
  USE rtstop NEW INDEX rtstop1
  USE trx NEW INDEX trx1
  USE stoptime NEW INDEX stoptim1

  ?? "<HR>" + EOL
  ?? "<FORM ACTION=" + thisurl(aEnv) + " METHOD=POST>" + EOL
  TEXT
Starting point: <INPUT TYPE=STRING><BR>
Destination point: <INPUT TYPE=STRING><BR>
<INPUT TYPE=SUBMIT NAME=Submit><BR>
<INPUT TYPE=RESET NAME=Forget><BR>
</FORM>
<HR>
<PRE>
Waypath Route Planner[tm]
  ENDTEXT
  ?? "Last updated " + dtoc(date()) + EOL

  oState:state := 1
RETURN

// The answer: the ways from the stop that is nearest to the start to the one that is nearest to the destination.
FUNCTION state1(aEnv, aForm, oState)
  x1 := val(tnlookup(aForm, "X1"))
  y1 := val(tnlookup(aForm, "Y1"))
  x2 := val(tnlookup(aForm, "X2"))
  y2 := val(tnlookup(aForm, "Y2"))
  time1 := tnlookup(aForm, "TIME")

  stop1 := closestop(x1, y1)
  stop2 := closestop(x2, y2)
  lines1 := linesbystop(stop1)
  lines2 := linesbystop(stop2)

  tnline("The closest stop to your starting point is " + namestop(stop1) + ".")
  tnline("The closest stop to your destination is " + namestop(stop2) + ".")

  tnline("You starting point is on the following lines:")
  aeval(lines1, {|x| tnline(nameline(x) + "<BR>")})
  tnline("Your destination is on the following lines:")
  aeval(lines2, {|x| tnline(nameline(x) + "<BR>")})

  tnline("You can get there these ways:")
  showroutes(lines1, lines2, time1)
  oState:state := 2
RETURN oState

// --- Stops and lines

// The stop that is nearest to a point, of two the earlier one in the order; their distances are compared as squares.
FUNCTION closestop(nX, nY)
  LOCAL nBest AS INTEGER, nDist AS INTEGER, cBest := "ERR"
  nBest := 999999
  stop->(dbgotop())
  DO WHILE !stop->(eof())
    nDist := (nX - stop->xcoord) ^ 2 + (nY - stop->ycoord) ^ 2
    IF nBest > nDist
      nBest := nDist
      cBest := stop->stopid
    ENDIF
    SKIP ALIAS stop
  ENDDO
RETURN cBest

FUNCTION namestop(cId)
  IF stop->(dbseek(cId))
    RETURN alltrim(stop->stopname)
  ENDIF
RETURN "NO STOP"

FUNCTION nameline(cId)
  IF route->(dbseek(cId))
    RETURN "(" + alltrim(cId) + ") " + alltrim(route->routename)
  ENDIF
RETURN "NO ROUTE"

// The lines that serve a stop.
FUNCTION linesbystop(cStop)
  LOCAL aLines := {}
  rtstop->(dbgotop())
  DO WHILE !rtstop->(eof())
    IF rtstop->stopid == cStop
      aadd(aLines, rtstop->routeid)
    ENDIF
    SKIP ALIAS rtstop
  ENDDO
RETURN aLines

// Is there a stop at which one can change from the first line to the second?
FUNCTION istransfer(cRoute1, cRoute2)
RETURN trx->(dbseek(cRoute1 + cRoute2))

// Writes the ways from any of some lines to any of others. The time doesn't count yet.
PROCEDURE showroutes(aLines1, aLines2, cTime)
  FOR i := 1 TO len(aLines1)
    FOR j := 1 TO len(aLines2)
      IF aLines1[i] == aLines2[j]
        tnline(nameline(aLines1[i]) + " <EM>DIRECT</EM>")
      ENDIF
      IF istransfer(aLines1[i], aLines2[j])
        tnline(nameline(aLines1[i]) + " transfer to " + nameline(aLines2[j]))
      ENDIF
    NEXT
  NEXT
RETURN

// --- The orders of the tables

PROCEDURE reindex
  USE stop EXCLUSIVE
  INDEX ON stopid TO stop1
  INDEX ON str(xcoord,3,0) +str(ycoord,3,0) TO stop2
  INDEX ON str(ycoord,3,0) +str(xcoord,3,0) TO stop2
  USE route EXCLUSIVE
  INDEX ON routeid TO route1
  USE rtstop EXCLUSIVE
  INDEX ON routeid +stopid TO rtstop1
  USE trx EXCLUSIVE
  INDEX ON route1 +route2 TO trx1
  INDEX ON route2 +route1 TO trx2
  USE stoptime
  INDEX ON routeid +tripid +seq TO stoptim1
  CLOSE ALL
RETURN
