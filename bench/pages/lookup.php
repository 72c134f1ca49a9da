<HTML>
<BODY>
<?php
$db = new SQLite3(getenv("DATABASE"), SQLITE3_OPEN_READONLY);
$found = $db->prepare("select firstname, middlename, lastname from user where userid = ?");
$found->bindValue(1, str_pad(trim($_POST["ACCOUNT"]), 8, " ", STR_PAD_LEFT));
$row = $found->execute()->fetchArray(SQLITE3_NUM);
if ($row) { ?>
<?= htmlspecialchars($row[0] . " " . $row[1] . " " . $row[2]) ?><BR>
<?php } else { ?>
Sorry, your account is not in our database...yet!
But as long as you're here, why not
<A HREF="#example2">register</A>
 to take advantage of these <EM>great</EM> offers?
<?php } ?>
</BODY>
</HTML>
