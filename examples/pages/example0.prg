// Example 0: the index page.

#define EOL chr(10)

PROCEDURE example0(aEnv, aForm)
TEXT
<HTML>
<TITLE>Tarnel programs</TITLE>
<BODY>
<H4>Tarnel, web pages over tables. Free software under the MIT licence.</H4>
<H1>Tarnel demo programs</H1>

<HR>
Shortcuts:<br>
<ol>
<li><a href=#example1>Example 1</a><br>
<li><a href=#example2>Example 2</a><br>
<li><a href=#example3>Example 3</a><br>
<li><a href=#example4>Example 4</a><br>
<li><a href=#example5>Example 5</a><br>
<li><a href=#example6>Example 6</a><br>
</ol>

<HR>
<A NAME=example1>
<H1>Example 1</H1>
ENDTEXT
  ?? "<A HREF=" + exlink(1) + " METHOD=POST>Look at</A>" + EOL
TEXT
your CGI environment variables and form variables.  (You
won't actually have any form variables because this example is invoked
without a &lt;FORM&gt tag.)

<HR>
<A NAME=example2>
ENDTEXT
  ?? "<FORM ACTION=" + exlink(2) + " METHOD=POST>" + EOL
TEXT
<H1>Example 2</H1>
This is a sample registration type of form.  Obviously you can add
more fields and do a lot more processing than in the example here.
<P>
Please enter your name:<BR>
First: <INPUT TYPE=TEXT NAME=FIRSTNAME SIZE=20><BR>
Middle: <INPUT TYPE=TEXT NAME=MIDDLENAME SIZE=20><BR>
Last: <INPUT TYPE=TEXT NAME=LASTNAME SIZE=20><BR>
<INPUT TYPE=SUBMIT VALUE=Register><BR>
<INPUT TYPE=SUBMIT VALUE=Reset><BR>
</FORM>

<HR>
<A NAME=example3>
ENDTEXT
  ?? "<FORM ACTION=" + exlink(3) + " METHOD=POST>" + EOL
TEXT
<H1>Example 3</H1><BR>
This is a typical lookup using DBSEEK().  Nothing fancy.
<P>
Account Number: <INPUT TYPE=TEXT NAME=ACCOUNT SIZE=20><BR>
<INPUT TYPE=SUBMIT VALUE=Lookup>
</FORM>

<HR>
<A NAME=example4>
<H1>Example 4</H1>
Here's how you might display a picklist from a database.
<P>
Display a list of 
ENDTEXT
  ?? "<A HREF=" + exlink(4) + ">URLs</A>" + EOL
TEXT
 right here.

<HR>
<A NAME=example5>
<H1>Example 5</H1>
This form and the code behind are incomplete, but you can see how
an interactive sequence might be made by reading the code in
example5.prg.  For a future project I'm working on giving this
a snazzy Java front end, too.
ENDTEXT
  ?? "<A HREF=" + exlink(5) + ">Try it!</A>" + EOL
TEXT

<HR>
<H1>Example 6</H1>
This is another incomplete example.  It uses Netscape-style table
output to give the effect of a database browser.  It's hardcoded
to use the users.dbf that is set up in Example 2 and searched in
Example 3.
ENDTEXT
  ?? "<A HREF=" + exlink(6) + ">Try it!</A>" + EOL
TEXT

</BODY>
</HTML>
ENDTEXT
RETURN

// The address of a page: of 3 it is /cgi-bin/example0/example3.
FUNCTION exlink(nPage)
RETURN "/cgi-bin/example0" + iif(fastcgi(), ".fcgi", "") + "/example" + ltrim(str(nPage))
